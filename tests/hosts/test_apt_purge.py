"""Purge gives the host back as it was."""

import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.site import Schedule

OWN_FILES = {
    f"{apt.APT_CONFIGURATION}/20auto-upgrades": 'APT::Periodic::Enable "0";\n',
    f"{apt.APT_CONFIGURATION}/50unattended-upgrades": 'Unattended-Upgrade::Mail "root";\n// mine\n',
    f"{apt.APT_CONFIGURATION}/75lowerspeed": 'Acquire::http::Dl-Limit "70";\n',
    f"{apt.APT_CONFIGURATION}/99-of-the-administrator": 'APT::Install-Recommends "0";\n',
}


def _write_own_files(host):
    for path, text in OWN_FILES.items():
        host.write(path, text)


@pytest.mark.parametrize("own_files", [False, True], ids=["stock host", "host with files of the administrator's own"])
def test_purge_gives_back_etc_byte_for_byte(site, own_files):
    if own_files:
        _write_own_files(site.host)
    before = site.host.snapshot()
    site.minder.once()
    assert site.differences_since(before), "something must have been installed"

    site.minder.run("purge")

    assert site.differences_since(before) == []
    assert site.timer_schedule() == Schedule("*-*-* 06:00:00", "1h")


def test_purge_releases_a_hold(site):
    site.minder.once()
    site.minder.run("hold")

    site.minder.run("purge")

    assert site.holds() == []


def test_purging_only_the_upgrades_leaves_the_repository(site):
    before = site.host.snapshot()
    site.minder.once()

    site.minder.run("purge --upgrades-only")

    assert sorted(site.host.snapshot().keys() - before.keys()) == [apt.SOURCE_LIST, apt.KEYRING]
    assert [line for line in site.differences_since(before) if line.startswith(("changed", "removed"))] == []


def test_purge_on_a_host_without_anything_to_purge_changes_nothing(site):
    before = site.host.snapshot()

    site.minder.run("purge")

    assert site.differences_since(before) == []


def test_set_up_purged_and_set_up_again_is_as_set_up_once(site):
    site.minder.once()
    before = site.host.snapshot()

    site.minder.run("purge")
    site.minder.once()

    assert site.differences_since(before) == []


def test_purge_is_refused_while_the_service_works(site):
    site.minder.start()
    site.wait_until_in_order()

    result = site.minder.run("purge", check=False)

    assert result.status == 75
    assert site.out_of_order() == []
