"""package-minder on a host as its own packages bring it there, and as an administrator handles them."""

import re

from disposable_hosts.package_minder import SETTINGS_FILE, UNIT
from disposable_hosts.polling import wait_until

PROGRAM_PACKAGES = (
    "libzant-logging1", "libpackage-minder1", "libpackage-minder-host1", "package-minder-data", "package-minder",
)
PACKAGES = " ".join(PROGRAM_PACKAGES)
UNDO_ON_REMOVAL = {"minder.purge_on_removal": "true"}


class PackagedMinder:
    """`present` and `following` are the packages of this checkout's version and of the next one."""

    # What the package managers and systemd keep of their own doings.
    BOOKKEEPING = ("/var/lib/systemd/", "/etc/ld.so.cache")

    def __init__(self, site, built):
        self.site = site
        self.host = site.host
        self.present, self.following = built

    def set_up_and_enable(self, changes=None):
        self.site.minder.configure(self.site.settings(changes))
        self.host.run(f"systemctl enable --quiet --now {UNIT}")

    def copy_in(self, built):
        self.host.run("rm -rf /root/packages")
        for path in built.paths(*PROGRAM_PACKAGES):
            self.host.copy_in(path, f"/root/packages/{path.name}")

    def settings(self):
        return self.host.read(SETTINGS_FILE)

    def state(self):
        return self.site.minder.state(), self.host.run(f"systemctl is-enabled {UNIT}", check=False).output.strip()

    def version(self):
        return self.host.output_of("package-minder --version").removeprefix("package-minder ")

    def main_process(self):
        return self.host.output_of(f"systemctl show --property=MainPID --value {UNIT}")

    def wait_until_its_cycle_hangs(self):
        """Where the repository's server is silent."""
        wait_until(lambda: self.host.succeeds(f"pgrep --exact {self.COMMAND_THAT_HANGS}"), "a command of the cycle to hang")

    def whole_host(self):
        entries = {}
        for directory in ("/etc", "/usr", "/var/lib"):
            entries.update(self.host.snapshot(directory))
        return {path: entry for path, entry in entries.items() if not path.startswith(self.BOOKKEEPING)}


class DebMinder(PackagedMinder):
    BOOKKEEPING = (*PackagedMinder.BOOKKEEPING, "/var/lib/dpkg/", "/var/lib/apt/")
    COMMAND_THAT_HANGS = "apt-get"

    def set_up_and_enable(self, changes=None):
        self.site.install_keyring()
        super().set_up_and_enable(changes)

    def install(self, built):
        self.copy_in(built)
        self.host.run("DEBIAN_FRONTEND=noninteractive apt-get -qq install /root/packages/*.deb", timeout=300)

    def upgrade_at_once(self, built):
        """Without APT, whose locks the service may hold."""
        self.copy_in(built)
        self.host.run("dpkg --install /root/packages/*.deb", timeout=60)

    def remove(self):
        self.host.run("apt-get -qq remove package-minder", timeout=60)

    def remove_at_once(self):
        return self.host.run("dpkg --purge package-minder")

    def find_damage(self):
        return self.host.output_of(f"dpkg --audit; dpkg --verify {PACKAGES}")


class RpmMinder(PackagedMinder):
    BOOKKEEPING = (*PackagedMinder.BOOKKEEPING, "/var/lib/rpm/", "/var/lib/dnf/")
    COMMAND_THAT_HANGS = "curl"

    def install(self, built):
        self.copy_in(built)
        self._run_dnf("install /root/packages/*.rpm")

    def upgrade_at_once(self, built):
        """Without DNF, whose locks the service may hold."""
        self.copy_in(built)
        self.host.run("rpm --upgrade /root/packages/*.rpm", timeout=60)

    def remove(self):
        self._run_dnf(f"remove {PACKAGES}")

    def remove_at_once(self):
        return self.host.run("rpm --erase package-minder")

    def find_damage(self):
        return self.host.output_of(f"rpm --verify {PACKAGES}")

    def _run_dnf(self, arguments):
        result = self.host.run(f"dnf --assumeyes {arguments}")
        # For rpm a script that fails after the installation is no failure of it.
        assert not re.search("scriptlet (failed|in rpm package)", result.output + result.error), result
