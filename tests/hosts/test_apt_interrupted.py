"""Ends at a bad moment, and tools that are in each other's way."""

import pytest
from disposable_hosts import snapshot
from disposable_hosts.apt import site as apt
from disposable_hosts.package_minder import UNIT
from disposable_hosts.polling import wait_until

LISTS_LOCK = "/var/lib/apt/lists/lock"


def _wait_until_it_refreshes_the_lists(site):
    wait_until(lambda: site.host.succeeds("pgrep --exact apt-get"), "package-minder to refresh the lists")


def _etc_without_backups(site):
    # A kill between the making of the backup directory and the copies into it leaves it empty for good.
    return {path: entry for path, entry in site.host.snapshot().items() if not path.startswith(apt.BACKUPS)}


def test_after_a_kill_in_the_middle_of_a_cycle_a_new_start_converges(site):
    with site.server.silent():
        site.minder.start()
        _wait_until_it_refreshes_the_lists(site)
        site.host.run(f"systemctl kill --signal=KILL {UNIT}")
        wait_until(site.minder.state, "the service to be gone", expect=lambda state: state != "active")
    assert site.out_of_order(), "the cycle must not have got to its end"

    # A mere start would wait until systemd restarts the service of its own accord.
    site.host.run(f"systemctl restart {UNIT}")

    site.wait_until_in_order()
    assert site.host.succeeds("apt-get update")


def test_killed_at_any_moment_the_next_cycle_reaches_the_same_state(site):
    """Sweeps the moment of the kill over the whole length of a first cycle."""
    site.minder.once()
    wanted = _etc_without_backups(site)
    kills = 0

    for milliseconds in range(20, 1100, 90):
        site.minder.run("purge")
        first = site.host.run(f"timeout --signal=KILL {milliseconds / 1000} package-minder once", check=False)
        if first.status == 0:
            break  # It was over before the kill: every moment has had its turn.
        kills += 1
        # What the killed program had started goes on, and has APT's locks until it is done.
        wait_until(lambda: site.host.succeeds("pgrep apt-get"), "no apt-get", expect=lambda runs: not runs)
        site.minder.once()
        assert snapshot.differences(wanted, _etc_without_backups(site)) == [], f"after a kill at {milliseconds} ms"

    assert kills >= 5, "the first cycles must have been cut short"


def test_a_stop_during_a_cycle_lets_the_cycle_end(site):
    with site.server.silent():
        site.minder.start()
        _wait_until_it_refreshes_the_lists(site)
        site.host.run(f"systemctl stop --no-block {UNIT}")
        wait_until(site.minder.state, "the stop to begin", expect="deactivating")
    wait_until(site.minder.state, "the service to end", expect="inactive")

    assert site.out_of_order() == [], "the cycle that had begun must have come to its end"
    assert "package-minder: Stopped" in site.minder.log()


def test_a_waiting_service_stops_at_once(open_site):
    site = open_site(settings={"minder.interval": "3600", "minder.log.level": "trace"})
    site.minder.start()
    site.wait_for_log("Worker is going into a waiting state")

    site.host.run(f"systemctl stop {UNIT}", timeout=10)

    assert site.minder.state() == "inactive"


def test_the_lists_lock_held_at_the_first_cycle_delays_only_that_cycle(site):
    with site.host.locked(LISTS_LOCK):
        site.minder.start()
        site.wait_for_log("The APT source list file for zant-velmora is invalid")
        assert not site.host.exists(apt.SOURCE_LIST)

    site.wait_until_in_order()


def test_the_package_lock_held_while_a_hold_is_to_be_released_delays_only_that(site):
    site.minder.once()
    site.host.run("apt-mark hold zant-velmora")
    with site.host.locked("/var/lib/dpkg/lock"):
        site.minder.start()
        site.wait_for_log('Failed to set zant-velmora package to "unhold"')

    wait_until(site.holds, "the hold to be released", expect=[])


@pytest.mark.parametrize("command", ["once", "run", "purge"])
def test_a_second_package_minder_is_refused(site, command):
    site.minder.start()

    assert site.minder.run(command, check=False).status == 75
