"""The demonstration on a host of the RHEL family."""

import contextlib
import tempfile

from disposable_hosts import bundle
from disposable_hosts.dnf import site as dnf
from disposable_hosts.dnf.repository import KEY_ALGORITHM
from disposable_hosts.polling import wait_until
from disposable_hosts.signing_key import SigningKey
from disposable_hosts.site import EVERY_FEW_SECONDS

IMAGE = "el-bookworm"
SETTINGS = {dnf.CALENDAR_KEY: EVERY_FEW_SECONDS, dnf.DELAY_KEY: "0"}
OFFERED = "dnf --quiet repoquery --repoid quorvane"


def run(narrator, build_directory):
    with contextlib.ExitStack() as stack:
        site = _boot(narrator, build_directory, stack)
        _publish_and_install(narrator, site)
        before = _install_minder(narrator, site)
        _show_repository(narrator, site)
        _show_upgrade_machinery(narrator, site)
        _show_hold(narrator, site)
        _show_release_of_hold(narrator, site)
        _show_unattended_upgrade(narrator, site)
        _show_purge(narrator, site, before)


def _boot(narrator, build_directory, stack):
    with narrator.step(
        "Boot a disposable host",
        """A host with systemd, dnf and rpm, made like one of the RHEL family, in a container. It exists for
        this demonstration only; its network reaches nothing but itself, and its distribution's packages lie
        on its disk. Its image is built once and kept.""",
    ):
        scratch = stack.enter_context(tempfile.TemporaryDirectory(prefix="package-minder-demo-"))
        key = stack.enter_context(SigningKey(f"{scratch}/key", algorithm=KEY_ALGORITHM))
        program = bundle.make(build_directory, f"{scratch}/bundle")
        site = stack.enter_context(dnf.DnfSite(IMAGE, program, key, say=narrator.say))
        narrator.show_command(site.host, "grep -E 'PRETTY_NAME|ID_LIKE' /etc/os-release; systemctl is-system-running; dnf repolist")
    return site


def _publish_and_install(narrator, site):
    with narrator.step(
        "Publish zant-velmora 1.0 and install it",
        """The vendor's signed package repository opens, at repo.velmora.test. The first version is
        installed from its file, so the host knows nothing of the repository yet.""",
    ):
        site.install_package("1.0")
        narrator.show_command(site.host, "rpm --query zant-velmora")


def _install_minder(narrator, site):
    with narrator.step(
        "Install package-minder and start its service",
        """Its settings say where the repository and its key are. The others are for impatient spectators: it
        looks after the host every second instead of every hour, and upgrades are installed every five seconds
        instead of once a day. What /etc holds now is remembered for later.""",
    ):
        site.install_minder(SETTINGS)
        narrator.show_command(site.host, "cat /etc/package-minder/package-minder.properties")
        before = site.host.snapshot()
        site.minder.start()
        narrator.show("# systemctl start package-minder")
    return before


def _show_repository(narrator, site):
    with narrator.step(
        "package-minder registers the repository and imports its key",
        "It installs the repository's file, and has rpm fetch the key that the packages are signed with.",
    ):
        wait_until(lambda: site.host.exists(dnf.REPO_FILE) and site.knows_the_key(), "the repository and its key to be known", timeout=60)
        narrator.show_command(site.host, f"grep -v '^#' {dnf.REPO_FILE}")
        narrator.show_command(site.host, "rpm --query --queryformat '%{SUMMARY}\\n' gpg-pubkey")


def _show_upgrade_machinery(narrator, site):
    with narrator.step(
        "package-minder sets up the host's own unattended upgrades",
        """It has dnf install dnf-automatic from the distribution, switches off those of its timers that would
        get in the way, and gives the one that installs upgrades its schedule with two drop-ins.""",
    ):
        site.wait_until_in_order()
        narrator.show_command(site.host, f"rpm --query dnf-automatic; ls {dnf.DROP_INS}")
        narrator.show_command(site.host, f"systemctl show --property=ActiveState,TimersCalendar {dnf.TIMER}")


def _show_hold(narrator, site):
    with narrator.step(
        "Stop the service and hold the package",
        """The way of DNF is to exclude everything that the repository has: dnf sees no package there any more,
        and no upgrade gets through.""",
    ):
        site.minder.stop()
        site.minder.run("hold")
        narrator.show("# systemctl stop package-minder; package-minder hold")
        narrator.show_command(site.host, f"grep exclude {dnf.REPO_FILE}; {OFFERED} | wc --lines")
        if not site.is_held() or site.offered_versions():
            raise AssertionError("the package is not held")


def _show_release_of_hold(narrator, site):
    with narrator.step(
        "Start the service again: it releases the hold", "Nothing keeps the package from being upgraded any more."
    ):
        site.minder.start()
        wait_until(site.is_held, "the hold to be released", expect=False, timeout=60)
        wait_until(site.offered_versions, "dnf to see the package again", expect=["1.0"])
        narrator.show_command(site.host, f"grep exclude {dnf.REPO_FILE}; {OFFERED}")


def _show_unattended_upgrade(narrator, site):
    with narrator.step(
        "Publish zant-velmora 2.0 and wait",
        """From here on nobody does anything: the host's own timer finds the new version and installs it. One
        more setting for impatient spectators came before: dnf looks for news in every run instead of once an
        hour. It is an option in the repository's file, of those that package-minder leaves to the
        administrator.""",
    ):
        site.ask_the_repository_often()
        narrator.show(f"# {dnf.ASK_OFTEN}")
        site.repository.publish("2.0")
        site.wait_for_version("2.0")
        narrator.show_command(site.host, "rpm --query zant-velmora")
        narrator.show_command(site.host, "journalctl --quiet --output=cat --unit=dnf-automatic-install.service | grep zant-velmora | tail -n 1")


def _show_purge(narrator, site, before):
    with narrator.step(
        "Stop the service and purge",
        """package-minder takes out what it installed. /etc is compared, file by file, with before. Two things
        stay on purpose: dnf-automatic with its settings, since others on the host may have come to rely on it,
        and the imported key.""",
    ):
        site.minder.stop()
        site.minder.run("purge")
        narrator.show("# package-minder purge")
        narrator.show_command(site.host, "rpm --query dnf-automatic gpg-pubkey")
        changed = site.paths_changed_since(before)
        if changed != dnf.RESIDUE_IN_ETC:
            narrator.show("\n".join(site.differences_since(before)))
            raise AssertionError("/etc is not as it was before")
        narrator.tell(
            f"All {len(before)} files, links and directories below /etc are as they were before; added is only {' '.join(changed)}."
        )
