"""The demonstration on a Debian host."""

import contextlib
import tempfile

from disposable_hosts import bundle
from disposable_hosts.apt import site as apt
from disposable_hosts.polling import wait_until
from disposable_hosts.signing_key import SigningKey
from disposable_hosts.site import EVERY_FEW_SECONDS

IMAGE = "bookworm"
SETTINGS = {apt.CALENDAR_KEY: EVERY_FEW_SECONDS, apt.DELAY_KEY: "0"}


def run(narrator, build_directory):
    with contextlib.ExitStack() as stack:
        site = _boot(narrator, build_directory, stack)
        _publish_and_install(narrator, site)
        before = _install_minder(narrator, site)
        _show_repository(narrator, site)
        _show_release_of_hold(narrator, site)
        _show_upgrade_machinery(narrator, site)
        _show_unattended_upgrade(narrator, site)
        _show_purge(narrator, site, before)


def _boot(narrator, build_directory, stack):
    with narrator.step(
        "Boot a disposable host",
        """A Debian 12 with systemd in a container. It exists for this demonstration only; its network
        reaches nothing but itself. Its image is built once and kept.""",
    ):
        scratch = stack.enter_context(tempfile.TemporaryDirectory(prefix="package-minder-demo-"))
        key = stack.enter_context(SigningKey(f"{scratch}/key"))
        program = bundle.make(build_directory, f"{scratch}/bundle")
        site = stack.enter_context(apt.AptSite(IMAGE, program, key, say=narrator.say))
        narrator.show_command(site.host, "grep PRETTY_NAME /etc/os-release; systemctl is-system-running")
    return site


def _publish_and_install(narrator, site):
    with narrator.step(
        "Publish zant-velmora 1.0, install it and hold it",
        """The vendor's signed package repository opens, at repo.velmora.test. The first version is
        installed from its file, so the host knows nothing of the repository yet. Then an
        administrator holds the package: no upgrade would get through.""",
    ):
        site.install_package("1.0")
        site.host.run("apt-mark hold zant-velmora")
        narrator.show_command(site.host, "dpkg-query --show zant-velmora; apt-mark showhold; apt-cache policy zant-velmora")


def _install_minder(narrator, site):
    with narrator.step(
        "Install package-minder and start its service",
        """Its settings say where the repository is. The others are for impatient spectators: it looks after
        the host every second instead of every hour, and upgrades are installed every five seconds instead of
        once a day. The host's own refresh of its package lists, else twice a day, is hurried likewise. What
        /etc holds now is remembered for later.""",
    ):
        site.install_minder(SETTINGS)
        site.refresh_lists_often()
        narrator.show_command(site.host, "cat /etc/package-minder/package-minder.properties")
        before = site.host.snapshot()
        site.minder.start()
        narrator.show("# systemctl start package-minder")
    return before


def _show_repository(narrator, site):
    with narrator.step(
        "package-minder registers the repository",
        "It installs the vendor's keyring and a source list, and proves with apt-get that the repository works.",
    ):
        wait_until(
            lambda: site.host.run("apt-cache policy zant-velmora").output, "APT to know the repository",
            expect=lambda policy: site.repository_url().rstrip("/") in policy,
        )
        narrator.show_command(site.host, f"grep ^deb {apt.SOURCE_LIST}; apt-cache policy zant-velmora")


def _show_release_of_hold(narrator, site):
    with narrator.step("package-minder releases the hold", "Nothing keeps the package from being upgraded any more."):
        wait_until(site.holds, "the hold to be released", expect=[])
        narrator.show_command(site.host, "apt-mark showhold")


def _show_upgrade_machinery(narrator, site):
    with narrator.step(
        "package-minder sets up the host's own unattended upgrades",
        """Three files tell unattended-upgrades what it may upgrade and how fast it may download; two
        drop-ins tell the host's upgrade timer when. What was there before is kept for the way back.""",
    ):
        site.wait_until_in_order()
        narrator.show_command(site.host, "ls -A /etc/apt/apt.conf.d /etc/systemd/system/apt-daily-upgrade.timer.d")
        narrator.show_command(site.host, "systemctl show --property=ActiveState,TimersCalendar apt-daily-upgrade.timer")
        narrator.tell("All that package-minder has to say about its work so far:")
        narrator.show_command(site.host, "journalctl --quiet --output=cat --unit=package-minder _COMM=package-minder")


def _show_unattended_upgrade(narrator, site):
    with narrator.step(
        "Publish zant-velmora 2.0 and wait",
        """From here on nobody does anything. The host's own timers find the new version and install it;
        package-minder itself never installs a version of zant-velmora.""",
    ):
        site.repository.publish("2.0")
        wait_until(site.installed_version, "the host to upgrade zant-velmora", expect="2.0", timeout=60)
        narrator.show_command(site.host, "dpkg-query --show zant-velmora")
        narrator.show_command(site.host, "grep upgraded: /var/log/unattended-upgrades/unattended-upgrades.log | tail -n 1")


def _show_purge(narrator, site, before):
    with narrator.step(
        "Stop the service and purge",
        "package-minder takes out what it installed and puts back what was there. /etc is compared, file by file, with before.",
    ):
        site.minder.stop()
        narrator.show_command(site.host, "package-minder purge 2>&1")
        differences = site.differences_since(before)
        if differences:
            narrator.show("\n".join(differences))
            raise AssertionError("/etc is not as it was before")
        narrator.tell(f"All {len(before)} files, links and directories below /etc are as they were before.")
