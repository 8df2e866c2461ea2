"""From an empty host to an unattended upgrade, by the host's own timers."""

import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.polling import wait_until
from disposable_hosts.site import EVERY_FEW_SECONDS

# Seconds; a few on a machine with nothing else to do.
PATIENCE = 180

OFTEN = {apt.CALENDAR_KEY: EVERY_FEW_SECONDS, apt.DELAY_KEY: "0"}


@pytest.mark.slow
@pytest.mark.parametrize("scheme", ["http", "https"])
@pytest.mark.parametrize("release", ["bullseye", "bookworm", "trixie"])
def test_an_empty_host_comes_to_upgrade_the_package_unattended(open_site, release, scheme):
    site = open_site(release, https=scheme == "https", settings=OFTEN)
    site.take_away_unattended_upgrades()
    site.refresh_lists_often()
    site.host.run("apt-mark hold zant-velmora")

    site.minder.start()
    site.wait_until_in_order(timeout=PATIENCE)
    site.repository.publish("2.0")

    wait_until(site.installed_version, "the host to upgrade zant-velmora", expect="2.0", timeout=PATIENCE)
    assert site.minder.state() == "active"


def test_a_held_package_is_not_upgraded_until_package_minder_releases_it(site):
    site.minder.once()
    site.minder.run("hold")
    site.repository.publish("2.0")
    site.host.run("apt-get --quiet update")

    site.host.run("unattended-upgrade")
    assert (site.holds(), site.installed_version()) == (["zant-velmora"], "1.0")

    site.minder.run("release")
    site.host.run("unattended-upgrade")
    assert (site.holds(), site.installed_version()) == ([], "2.0")


def test_with_automatic_upgrades_off_only_the_repository_is_registered(open_site):
    site = open_site(settings={"minder.automatic_upgrades": "false"})
    before = site.host.snapshot()

    site.minder.once()

    added = sorted(site.host.snapshot().keys() - before.keys())
    assert added == [apt.SOURCE_LIST, apt.KEYRING]
    assert site.host.read(apt.SERVICE_FILES[0]) == before[apt.SERVICE_FILES[0]].text


def test_a_second_cycle_changes_nothing(site):
    site.minder.once()
    before = site.host.snapshot()

    site.minder.once()

    assert site.differences_since(before) == []
