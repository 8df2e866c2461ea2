"""package-minder's own packages on a Debian host: what is the host's own there, above all what they leave."""

import pytest
from disposable_hosts import snapshot
from disposable_hosts.apt import site as apt
from disposable_hosts.package_minder import SETTINGS_FILE, STAGING
from disposable_hosts.polling import wait_until
from packaged_minder import PACKAGES, PROGRAM_PACKAGES, UNDO_ON_REMOVAL

SET_UP = {apt.KEYRING, apt.SOURCE_LIST, *apt.SERVICE_FILES, apt.BACKUPS, apt.DROP_INS, apt.CALENDAR_DROP_IN, apt.DELAY_DROP_IN}
# What the administrator made, and the directories around it.
ADMINISTRATORS = {"/etc/package-minder", SETTINGS_FILE, "/usr/share/package-minder", STAGING, f"{STAGING}/keyrings", apt.SHIPPED_KEYRING}


@pytest.fixture
def minder(open_packaged_minder):
    return open_packaged_minder("bookworm-server")


def test_the_hosts_own_unattended_upgrade_upgrades_it_while_it_works(minder):
    minder.install(minder.present)
    minder.set_up_and_enable()
    minder.site.wait_until_in_order()
    for package in minder.following.paths(*PROGRAM_PACKAGES):
        minder.site.repository.publish_file(package)

    minder.host.run("apt-get -qq update && unattended-upgrade")

    assert minder.site.installed_version("package-minder") == minder.following.version
    minder.site.wait_for_log("package-minder: Stopped")
    wait_until(minder.site.minder.state, "the new version to run", expect="active")
    minder.site.wait_until_in_order()


def test_removal_stops_it_and_leaves_what_it_set_up(minder):
    before = minder.whole_host()
    minder.install(minder.present)
    minder.set_up_and_enable()
    minder.site.wait_until_in_order()

    minder.host.run(f"apt-get -qq remove --autoremove {PACKAGES}")

    assert not minder.host.succeeds("pgrep package-minder")
    assert minder.site.out_of_order() == []
    left = {path for path in minder.whole_host().keys() - before.keys() if not _is_below(path, "/var/lib/package-minder", apt.BACKUPS)}
    assert left == (SET_UP - before.keys()) | ADMINISTRATORS | {"/var/lib/package-minder"}


def test_removal_undoes_what_it_set_up_when_the_settings_ask_for_it(minder):
    before = minder.host.snapshot()
    minder.install(minder.present)
    minder.set_up_and_enable(UNDO_ON_REMOVAL)
    minder.site.wait_until_in_order()

    minder.remove()

    assert sorted(minder.host.snapshot().keys() ^ before.keys()) == ["/etc/package-minder", SETTINGS_FILE]
    assert not minder.host.exists("/var/lib/package-minder")


def test_purged_with_all_undone_nothing_is_left(minder):
    before = minder.whole_host()
    minder.install(minder.present)
    minder.set_up_and_enable(UNDO_ON_REMOVAL)
    minder.site.wait_until_in_order()

    minder.host.run(f"apt-get -qq purge --autoremove {PACKAGES}")

    assert snapshot.differences(before, minder.whole_host()) == []


def test_maintainer_scripts_may_run_again(minder):
    minder.install(minder.present)
    minder.host.run("cp /var/lib/dpkg/info/package-minder.p* /root")

    for line in ("postinst configure", "postinst configure 0.9.0", "prerm remove", "postrm remove", "postrm purge"):
        minder.host.run(f"/root/package-minder.{line} && /root/package-minder.{line}")


def _is_below(path, *directories):
    return path.startswith(tuple(f"{directory}/" for directory in directories))
