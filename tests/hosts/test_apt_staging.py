"""What the installed files mean to the host's own tools."""

import pytest
from disposable_hosts.apt import site as apt

RELEASES = pytest.mark.parametrize("release", ["bullseye", "bookworm", "trixie"])


@RELEASES
def test_the_hosts_tools_read_the_installed_files_as_meant(open_site, release):
    site = open_site(release, settings={"package.apt.repo.bandwidth_limit": "700"})
    site.minder.once()
    host = site.host

    assert host.output_of("apt-config shell X APT::Periodic::Enable") == "X='1'"
    assert host.output_of("apt-config shell X APT::Periodic::Update-Package-Lists") == "X='always'"
    assert host.output_of("apt-config shell X APT::Periodic::Unattended-Upgrade") == "X='always'"
    assert host.output_of("apt-config shell X Acquire::http::Dl-Limit Y Acquire::https::Dl-Limit") == "X='700'\nY='700'"
    assert host.output_of(f"systemd-analyze verify {apt.TIMER} 2>&1 | grep {apt.TIMER} || true") == ""
    timer = host.output_of(f"systemctl show {apt.TIMER}")
    assert "OnCalendar=*-*-* 03:00:00 ;" in timer
    assert timer.count("OnCalendar=") == 1, "the stock schedule must be gone"
    assert "AccuracyUSec=1s\n" in timer
    assert "RandomizedDelayUSec=15min\n" in timer


@RELEASES
def test_the_distributions_own_security_upgrades_stay_in_force(open_site, release):
    site = open_site(release)
    suite = f"{release}-security"
    security = site.add_repository("security", suites=(suite,), origin="Debian", label="Debian-Security")
    foreign = site.add_repository("foreign", suites=("stable",), origin="Somebody", label="Somebody")
    for repository, name in ((security, "fixed-package"), (foreign, "foreign-package")):
        site.install_package("1.0", name, repository)
        repository.publish("1.1", name)
    site.repository.publish("2.0")
    site.host.write(
        "/etc/apt/sources.list",
        f"deb [trusted=yes] {site.url('security')} {suite} main\ndeb [trusted=yes] {site.url('foreign')} stable main\n",
    )

    site.minder.once()
    site.host.run("unattended-upgrade")

    assert site.installed_version() == "2.0"
    assert site.installed_version("fixed-package") == "1.1"
    assert site.installed_version("foreign-package") == "1.0", "only what the origins allow is upgraded"


def test_several_origins_are_allowed_at_once(open_site):
    site = open_site(settings={"package.apt.repo.origins_pattern": "o=One,n=stable; o=Other Maker "})

    site.minder.once()

    origins = site.host.output_of("apt-config dump Unattended-Upgrade::Origins-Pattern").splitlines()
    assert origins[-2:] == [
        'Unattended-Upgrade::Origins-Pattern:: "o=One,n=stable";',
        'Unattended-Upgrade::Origins-Pattern:: "o=Other Maker";',
    ]


def test_without_timer_settings_the_stock_schedule_stays(open_site):
    site = open_site(settings={apt.CALENDAR_KEY: "", apt.DELAY_KEY: ""})

    site.minder.once()

    assert not site.host.exists(apt.DROP_INS)
    assert "OnCalendar=*-*-* 06:00:00 ;" in site.host.output_of(f"systemctl show {apt.TIMER}")


def test_a_timer_setting_that_is_cleared_takes_its_drop_in_away(site):
    site.minder.once()
    site.minder.configure(site.settings({apt.DELAY_KEY: ""}))

    site.minder.once()

    assert site.host.output_of(f"ls {apt.DROP_INS}") == "apt-daily-upgrade.timer.on-calendar.conf"
    assert "RandomizedDelayUSec=1h\n" in site.host.output_of(f"systemctl show {apt.TIMER}")
