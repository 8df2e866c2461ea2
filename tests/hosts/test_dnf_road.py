"""From an empty EL host to an unattended upgrade, by the host's own timer."""

import pytest
from disposable_hosts.dnf import site as dnf
from disposable_hosts.site import EVERY_FEW_SECONDS

OFTEN = {dnf.CALENDAR_KEY: EVERY_FEW_SECONDS, dnf.DELAY_KEY: "0"}


@pytest.mark.slow
@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_an_empty_host_comes_to_upgrade_the_package_unattended(open_dnf_site, image):
    site = open_dnf_site(image, settings=OFTEN)
    before = site.host.snapshot()

    site.minder.start()
    site.wait_until_in_order()
    site.ask_the_repository_often()
    site.repository.publish("2.0")
    site.wait_for_version("2.0")
    assert site.minder.state() == "active"

    site.minder.stop()
    site.minder.run("purge")
    assert site.paths_changed_since(before) == dnf.RESIDUE_IN_ETC


@pytest.mark.slow
@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_a_held_package_is_not_upgraded_until_package_minder_releases_it(open_dnf_site, image):
    site = open_dnf_site(image)
    site.minder.once()
    site.ask_the_repository_often()
    site.minder.run("hold")
    site.repository.publish("2.0")

    site.upgrade_unattended()
    assert (site.is_held(), site.installed_version()) == (True, "1.0")

    site.minder.run("release")
    site.upgrade_unattended()
    assert (site.is_held(), site.installed_version()) == (False, "2.0")


def test_holding_and_releasing_changes_nothing_but_the_exclusion(dnf_site):
    dnf_site.minder.once()
    before = dnf_site.host.read(dnf.REPO_FILE)

    dnf_site.minder.run("hold")
    assert dnf_site.host.read(dnf.REPO_FILE).splitlines() == [*before.splitlines(), "exclude=*"]
    assert dnf_site.offered_versions() == []

    dnf_site.minder.run("release")
    assert dnf_site.host.read(dnf.REPO_FILE).splitlines() == [*before.splitlines(), "exclude="]
    assert dnf_site.offered_versions() == ["1.0"]


def test_with_automatic_upgrades_off_only_the_repository_is_registered(open_dnf_site):
    site = open_dnf_site(settings={"minder.automatic_upgrades": "false"})
    before = site.host.snapshot()

    site.minder.once()

    assert site.paths_changed_since(before) == [dnf.REPO_FILE]
    assert site.knows_the_key()
    assert site.installed_version("dnf-automatic") == ""


def test_without_a_schedule_the_timer_keeps_its_own(open_dnf_site):
    site = open_dnf_site(settings={dnf.CALENDAR_KEY: "", dnf.DELAY_KEY: ""})

    site.minder.once()

    assert site.is_active(dnf.TIMER)
    assert not site.host.exists(dnf.DROP_INS)
    assert site.timer_schedule() == dnf.STOCK_SCHEDULE


def test_a_second_cycle_changes_nothing(dnf_site):
    dnf_site.minder.once()
    before = dnf_site.host.snapshot()

    dnf_site.minder.once()

    assert dnf_site.differences_since(before) == []
