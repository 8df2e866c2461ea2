"""A host whose init is not systemd: everything but the timer."""

import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.polling import wait_until

DEFAULT_HOST = "repo.velmora.example"
NO_TIMER = {apt.CALENDAR_KEY: "", apt.DELAY_KEY: ""}
CANNOT_START_TIMER = "Timer restoration wasn't necessary, but failed to restart the timer. Continuing anyway."


@pytest.fixture
def site(open_site):
    return open_site("bookworm-sysvinit", settings=NO_TIMER)


def test_it_gets_the_plain_address_and_a_channel_of_its_own(site):
    site.host.add_name(DEFAULT_HOST)
    site.minder.configure({"minder.interval": 1})

    site.minder.once()

    assert f"http://{DEFAULT_HOST}/velmora-apt-repo/ sysvinit-production main" in site.host.read(apt.SOURCE_LIST)


def test_without_timer_settings_all_but_the_timer_is_set_up_and_every_cycle_says_so(site):
    site.host.run("apt-mark hold zant-velmora")

    for _ in range(2):
        result = site.minder.once()
        assert result.error.count(CANNOT_START_TIMER) == 1

    assert site.holds() == []
    assert site.missing_files(drop_ins=False) == []


def test_with_timer_settings_the_drop_ins_are_rolled_back_and_every_cycle_fails(site):
    site.minder.configure(site.settings())

    for _ in range(2):
        result = site.minder.once(check=False)
        assert (result.status, "Failed to install upgrade timer overrides" in result.error) == (1, True)

    assert not site.host.exists(apt.DROP_INS)


def test_crons_daily_job_upgrades_the_package(site):
    site.minder.once()
    site.repository.publish("2.0")
    # The job puts itself off by up to half an hour, so that not all hosts ask at once.
    site.host.write("/etc/apt/apt.conf.d/99test", 'APT::Periodic::RandomSleep "0";\n')

    site.host.run("run-parts --regex='^apt-compat$' /etc/cron.daily")

    assert site.installed_version() == "2.0"


def test_purge_gives_back_etc_byte_for_byte(site):
    before = site.host.snapshot()
    site.minder.once()

    site.minder.run("purge")

    assert site.differences_since(before) == []


def test_it_works_on_in_the_background_until_it_is_told_to_stop(site):
    site.host.run("setsid package-minder run > /var/log/package-minder.log 2>&1 < /dev/null &")
    wait_until(lambda: site.missing_files(drop_ins=False), "package-minder to install its files", expect=[])

    site.host.run("pkill --exact package-minder")

    wait_until(lambda: "package-minder: Stopped" in site.host.read("/var/log/package-minder.log"), "it to stop")
