"""An APT host with zant-velmora on it, the vendor's repository in reach, and package-minder ready to start."""

import shlex
import shutil

from disposable_hosts.apt.repository import PACKAGE, AptRepository
from disposable_hosts.package_minder import STAGING
from disposable_hosts.site import EVERY_FEW_SECONDS, Site

SUITES = ("systemd-production", "sysvinit-production")
REPOSITORY = "velmora-apt-repo"
SHIPPED_KEYRING = f"{STAGING}/keyrings/zant-velmora.gpg"
KEYRING = "/etc/apt/trusted.gpg.d/zant-velmora.gpg"
SOURCE_LIST = "/etc/apt/sources.list.d/zant-velmora.list"
APT_CONFIGURATION = "/etc/apt/apt.conf.d"
SERVICE_FILES = tuple(f"{APT_CONFIGURATION}/{name}" for name in ("20auto-upgrades", "50unattended-upgrades", "75lowerspeed"))
BACKUPS = f"{APT_CONFIGURATION}/.zant-backups"
TIMER = "apt-daily-upgrade.timer"
DROP_INS = f"/etc/systemd/system/{TIMER}.d"
CALENDAR_DROP_IN = f"{DROP_INS}/{TIMER}.on-calendar.conf"
DELAY_DROP_IN = f"{DROP_INS}/{TIMER}.randomized-delay.conf"

CALENDAR_KEY, DELAY_KEY = "package.apt.upgrade_timer.on_calendar", "package.apt.upgrade_timer.randomized_delay"
URL_KEY = "package.apt.repo.url"

# Stock, the refresh of the package lists is put off by up to twelve hours. Nothing but the schedule is changed.
REFRESH_DROP_IN = "/etc/systemd/system/apt-daily.timer.d/of-the-test.conf"
REFRESH_EVERY_FEW_SECONDS = f"""\
[Timer]
OnCalendar=
OnCalendar={EVERY_FEW_SECONDS}
RandomizedDelaySec=0
AccuracySec=1s
"""

# The fields that dpkg adds are none of a package's own; directories may be links on the host.
MAKE_PACKAGE = """
set -e
rm -rf /root/again
mkdir -p /root/again/DEBIAN
cd /var/lib/dpkg/info
dpkg-query --status {name} | sed '/^Status:/d; /^Conffiles:/,/^[^ ]/{{ /^Conffiles:/d; /^ /d }}' > /root/again/DEBIAN/control
for part in preinst postinst prerm postrm triggers conffiles; do
  ! test -e {name}.$part || cp {name}.$part /root/again/DEBIAN/$part
done
cd /
dpkg-query --listfiles {name} | while read -r file; do ! test -e "$file" || {{ test -L "$file" && test -d "$file"; }} || echo "${{file#/}}"; done > /root/files
tar --create --no-recursion --files-from=/root/files | tar --extract --directory=/root/again
dpkg-deb --build /root/again /root/{name}.deb
"""


class AptSite(Site):
    timer = TIMER
    _distribution = None

    def new_repository(self):
        return self.add_repository(REPOSITORY)

    def add_repository(self, path, *, key=None, suites=SUITES, **release):
        """A further repository on the same server."""
        return AptRepository(self.web_root / path, key or self._key, suites=suites, **release)

    def repository_url(self):
        return self.url(f"{REPOSITORY}/")

    def settings(self, changes=None):
        """Settings for this site: upgrades at night, a cycle every second; `changes` replace or add to them."""
        usual = {URL_KEY: self.repository_url(), CALENDAR_KEY: "*-*-* 03:00", DELAY_KEY: "15m", "minder.interval": 1}
        return {**usual, **(changes or {})}

    def install_package(self, version, name=PACKAGE, repository=None):
        """Publishes a version and installs it as the vendor's first installer does: from the file."""
        self.install_file((repository or self.repository).publish(version, name))

    def install_file(self, package):
        self.host.copy_in(package, "/root/package.deb")
        self.host.run("dpkg --install /root/package.deb && rm /root/package.deb")

    def install_minder(self, changes=None):
        """Puts package-minder, the keyring and a settings file onto the host; `changes` as for settings()."""
        self.minder.install(self._bundle)
        self.install_keyring()
        self.minder.configure(self.settings(changes))

    def install_keyring(self):
        """Gives package-minder the key of the vendor's repository, as an administrator does where none was shipped."""
        self.host.write(SHIPPED_KEYRING, self._key.public_key())

    def take_away_unattended_upgrades(self):
        """Makes a host that does not have it yet; its distribution, on this site's server, offers it."""
        self.offer_distribution()
        self.host.run("dpkg --purge unattended-upgrades")

    def offer_distribution(self, *installed):
        """From now on the host has its distribution, which offers unattended-upgrades and these installed packages."""
        if not self._distribution:
            self._distribution = self.add_repository("distribution", suites=("stable",), origin="Debian", label="Debian")
            for package in (self._image_root / "srv" / "packages").glob("unattended-upgrades_*.deb"):
                self._distribution.publish_file(package)
        for name in installed:
            self._distribution.publish_file(self._made_of_installed(name))
        self.host.write("/etc/apt/sources.list", f"deb [trusted=yes] {self.url('distribution')} stable main\n")

    def _made_of_installed(self, name):
        """A package of the files that an installed one has on the host."""
        self.host.run(MAKE_PACKAGE.format(name=name))
        package = self.web_root / f"{name}.deb"
        shutil.copy(self.host.root / "root" / package.name, package)
        return package

    def refresh_lists_often(self):
        self.host.write(REFRESH_DROP_IN, REFRESH_EVERY_FEW_SECONDS)
        self.host.run("systemctl daemon-reload && systemctl restart apt-daily.timer")

    def installed_version(self, name=PACKAGE):
        """The version that dpkg has, or an empty text."""
        return self.host.run(f"dpkg-query --show --showformat='${{Version}}' {shlex.quote(name)}", check=False).output

    def holds(self):
        """The held packages, as dpkg has them: apt-mark may fail while another APT command writes its cache."""
        return self.host.output_of("dpkg --get-selections | sed -n 's/[[:space:]]*hold$//p'").split()

    def missing_files(self, *, drop_ins=True):
        """Those of package-minder's files that are not installed."""
        wanted = [KEYRING, SOURCE_LIST, *SERVICE_FILES, *([CALENDAR_DROP_IN, DELAY_DROP_IN] if drop_ins else [])]
        return self.host.output_of(f"for file in {shlex.join(wanted)}; do test -e $file || echo $file; done").splitlines()

    def out_of_order(self):
        """What package-minder has still to put right on this host; empty when nothing."""
        findings = [f"{path} is missing" for path in self.missing_files()]
        findings += [f"{unit} does not run" for unit in (TIMER, "unattended-upgrades.service") if not self.is_active(unit)]
        findings += [f"{PACKAGE} is held"] if PACKAGE in self.holds() else []
        return findings
