"""Drift is repaired by the running service."""

import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.polling import wait_until
from disposable_hosts.site import Schedule

pytestmark = pytest.mark.xdist_group("drift")


@pytest.fixture(scope="module")
def site(open_shared_site):
    """One site for all tests here: each causes drift and waits until the service has repaired it."""
    site = open_shared_site()
    site.minder.start()
    site.wait_until_in_order()
    return site


@pytest.mark.parametrize(
    "what_an_administrator_does",
    [
        f"rm {apt.SOURCE_LIST}",
        f"sed -i s/main/main\\ contrib/ {apt.SOURCE_LIST}",
        f"rm {apt.KEYRING}",
        f"echo spoilt > {apt.KEYRING}",
        f"echo 'APT::Periodic::Enable \"0\";' > {apt.SERVICE_FILES[0]}",
        f"sed -i '/Quorvane/d' {apt.SERVICE_FILES[1]}",
        f"rm {apt.SERVICE_FILES[2]}",
        f"chmod 0 {apt.SOURCE_LIST}",
        f"chmod 0666 {apt.SERVICE_FILES[0]}",
        f"chown nobody {apt.CALENDAR_DROP_IN}",
        f"sed -i 's/03:00/04:00/' {apt.CALENDAR_DROP_IN} && systemctl daemon-reload",
        f"rm {apt.DELAY_DROP_IN}",
        f"rm -r {apt.DROP_INS} && systemctl daemon-reload",
    ],
)
def test_a_changed_file_is_put_back(site, what_an_administrator_does):
    before = site.host.snapshot()

    site.host.run(f"systemctl stop package-minder && {what_an_administrator_does}")
    assert site.differences_since(before), "the change must show, or this test shows nothing"
    site.minder.start()

    wait_until(lambda: site.differences_since(before), "the file to be put back", expect=[])
    wait_until(site.timer_schedule, "the timer to have its schedule", expect=Schedule("*-*-* 03:00:00", "15min"))


def test_a_hold_by_an_administrator_is_released(site):
    site.host.run("apt-mark hold zant-velmora")

    wait_until(site.holds, "the hold to be released", expect=[])


def test_a_hold_on_another_package_stays(site):
    site.install_package("1.0", "zant-velmora-extras")
    site.host.run("apt-mark hold zant-velmora-extras zant-velmora")

    wait_until(site.holds, "only the hold on zant-velmora to be released", expect=["zant-velmora-extras"])


@pytest.mark.parametrize("unit", [apt.TIMER, "unattended-upgrades.service"])
def test_a_stopped_unit_is_started_again(site, unit):
    site.host.run(f"systemctl stop {unit}")

    wait_until(lambda: site.host.output_of(f"systemctl show --property=ActiveState --value {unit}"), f"{unit} to run", expect="active")


def test_a_removed_unattended_upgrades_is_installed_again(site):
    site.take_away_unattended_upgrades()
    site.host.run("apt-get --quiet update")

    site.wait_until_in_order()
