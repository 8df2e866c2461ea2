"""An EL host whose repository cannot be reached, in each of the ways in which that happens."""

import time

import documents
import pytest
from disposable_hosts import network
from disposable_hosts.dnf import site as dnf
from disposable_hosts.package_minder import UNIT
from disposable_hosts.polling import wait_until
from disposable_hosts.web_server import NAME

TIME_LIMIT, KILL_DELAY = 2, 1
IMPATIENT = {"minder.command_time_limit": TIME_LIMIT, "minder.command_kill_delay": KILL_DELAY}
ONE_CYCLE = {**IMPATIENT, "minder.interval": 3600, "minder.log.level": "trace"}
PATIENT = 300

NO_KEY = "the repository's key is not imported"
ENDED_IMPORT = f"Ending a command that takes longer than {TIME_LIMIT} s | Command: rpm --import"
ENDED_QUERY = f"Ending a command that takes longer than {TIME_LIMIT} s | Command: dnf repoquery"


def _processes_of_the_service(site):
    return site.host.output_of(f"cat /sys/fs/cgroup/system.slice/{UNIT}/cgroup.procs").split()


def _wait_until_it_imports_the_key(site):
    # rpm has curl fetch it.
    wait_until(lambda: site.host.succeeds("pgrep --exact curl"), "the import of the key to begin")


def _set_up_and_forget_the_repository(site):
    """The host is in order but for the key, and whoever asks for the packages has to ask the server.

    dnf-automatic is there already: its installation is a thing that no time limit ends.
    """
    site.minder.run(f"--set minder.command_time_limit={PATIENT} once")
    site.host.run("rpm --erase --allmatches gpg-pubkey && dnf --quiet clean all")


def test_a_refused_connection_delays_only_what_needs_it(open_dnf_site):
    site = open_dnf_site()
    with site.server.gone():
        site.minder.start()
        wait_until(site.out_of_order, "all but the key to be set up", expect=[NO_KEY], timeout=60)
        site.wait_for_log("Set zant-velmora packages to be included with automatic upgrades")

    site.wait_until_in_order()


def test_a_cycle_that_reaches_neither_key_nor_repository_fails_everywhere(open_dnf_site):
    site = open_dnf_site()
    site.minder.once()
    with site.server.gone():
        site.host.run("dnf --quiet clean all")
        result = site.minder.once(check=False)
        seen = documents.parse(site.minder.run("status --json").output)

    assert (result.status, "The cycle failed (repository): The repository's key could not be imported" in result.error) == (1, True)
    assert [failure["kind"] for failure in seen["last_cycle"]["failures"]] == ["repository"]
    assert "cycle.failed" in [reason["code"] for reason in seen["reasons"]]
    assert seen["hold"] == "unknown"


def test_a_masked_timer_fails_the_cycle(open_dnf_site):
    site = open_dnf_site(settings={dnf.CALENDAR_KEY: "", dnf.DELAY_KEY: ""})
    site.minder.once()
    site.host.run("systemctl mask --now dnf-automatic-install.timer")

    result = site.minder.once(check=False)

    assert result.status == 1
    assert "The cycle failed (automatic_upgrades): dnf-automatic-install.timer could not be started" in result.error


@pytest.mark.slow
def test_dropped_packets_cost_no_more_than_the_time_limit(open_dnf_site):
    site = open_dnf_site(settings=IMPATIENT)
    _set_up_and_forget_the_repository(site)
    with network.packets_dropped(site.host, NAME):
        result = site.minder.once(timeout=60, check=False)
        log = result.error

    assert result.status == 1
    assert ENDED_IMPORT in log
    assert ENDED_QUERY in log
    assert site.out_of_order() == [NO_KEY]


@pytest.mark.slow
@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_a_cycle_ends_although_the_server_never_answers(open_dnf_site, image):
    site = open_dnf_site(image, settings=ONE_CYCLE)
    _set_up_and_forget_the_repository(site)
    with site.server.silent():
        site.minder.start()
        site.wait_for_log("Worker is going into a waiting state", timeout=60)

        assert ENDED_IMPORT in site.minder.log()
        assert ENDED_QUERY in site.minder.log()
        assert len(_processes_of_the_service(site)) == 1, "nothing of what the cycle ran may be left"
        assert not site.host.succeeds("pgrep --exact 'rpm|rpmkeys|curl|dnf'")

    site.minder.stop()
    assert site.out_of_order() == [NO_KEY]


@pytest.mark.slow
def test_stopping_the_service_while_the_server_never_answers_returns(open_dnf_site):
    site = open_dnf_site(settings=ONE_CYCLE)
    _set_up_and_forget_the_repository(site)
    with site.server.silent():
        site.minder.start()
        _wait_until_it_imports_the_key(site)

        begin = time.monotonic()
        site.minder.stop()
        took = time.monotonic() - begin

    # Both commands of a cycle that reach for the repository run into the limit; the rest takes moments.
    assert took < 2 * (TIME_LIMIT + KILL_DELAY) + 10
    assert site.host.output_of(f"systemctl show --property=Result --value {UNIT}") == "success"
    assert not site.host.succeeds("pgrep --exact 'rpm|rpmkeys|curl|dnf'")


def test_after_a_kill_in_the_middle_of_a_cycle_a_new_start_converges(open_dnf_site):
    site = open_dnf_site()
    with site.server.silent():
        site.minder.start()
        _wait_until_it_imports_the_key(site)
        site.host.run(f"systemctl kill --signal=KILL {UNIT}")
        wait_until(site.minder.state, "the service to be gone", expect=lambda state: state != "active")
    assert site.out_of_order(), "the cycle must not have got to its end"

    # A mere start would wait until systemd restarts the service of its own accord.
    site.host.run(f"systemctl restart {UNIT}")

    site.wait_until_in_order()


@pytest.mark.slow
def test_killed_at_any_moment_the_next_cycle_reaches_the_same_state(dnf_site):
    """Sweeps the moment of the kill over a cycle on a host that has dnf-automatic already."""
    dnf_site.minder.once()
    wanted = dnf_site.host.snapshot()
    kills = 0

    for milliseconds in range(50, 2000, 250):
        dnf_site.minder.run("purge")
        killed = dnf_site.host.run(f"timeout --signal=KILL {milliseconds / 1000} package-minder once", check=False)
        dnf_site.minder.once()
        assert dnf_site.differences_since(wanted) == [], f"after a kill at {milliseconds} ms"
        if killed.status == 0:
            break  # The cycle was over before the kill: every moment has had its turn.
        kills += 1
    assert kills, "no cycle was killed"
