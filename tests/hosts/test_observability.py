"""What the service reports of its cycles: the record of the last one, metrics, systemd's status line, watchdog pings."""

import re

import documents
import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.package_minder import UNIT
from disposable_hosts.polling import wait_until

RECORD = "/var/lib/package-minder/last-cycle.json"
METRICS = "/var/lib/prometheus/node-exporter/package-minder.prom"

pytestmark = pytest.mark.xdist_group("observability")


@pytest.fixture(scope="module")
def site(open_shared_site):
    """One site for all tests here: the service runs, a cycle every second."""
    site = open_shared_site(settings={"minder.metrics_file": METRICS})
    site.host.run(f"mkdir -p $(dirname {METRICS})")
    site.minder.start()
    site.wait_until_in_order()
    wait_until(lambda: metric(site, "cycles_total") > 1, "a second cycle")
    return site


def record(site):
    return documents.parse(site.host.read(RECORD))


def metric(site, name):
    text = site.host.run(f"cat {METRICS}", check=False).output
    value = re.search(rf"^package_minder_{re.escape(name)} (\S+)$", text, re.MULTILINE)
    return float(value[1]) if value else 0


def test_the_record_is_there_whole_after_each_cycle(site):
    seen = record(site)

    assert (seen["format"], seen["version"]) == ("package-minder/last-cycle", 1)
    assert seen["last_cycle"]["failures"] == []
    wait_until(lambda: record(site)["history"]["cycles"], "the next cycle", expect=lambda cycles: cycles > seen["history"]["cycles"])


def test_repaired_drift_is_recorded_and_counted(site):
    before = metric(site, 'drift_repaired_total{kind="upgrade_configuration"}')

    site.host.run(f"echo '// edited' >> {apt.SERVICE_FILES[2]}")

    wait_until(
        lambda: metric(site, 'drift_repaired_total{kind="upgrade_configuration"}'), "the repair to be counted",
        expect=before + 1,
    )


def test_a_released_hold_is_counted(site):
    before = metric(site, "holds_released_total")

    site.host.run("apt-mark hold zant-velmora")

    wait_until(lambda: metric(site, "holds_released_total"), "the release to be counted", expect=before + 1)


def test_a_failure_is_counted_and_a_success_stays_dated(site):
    before = metric(site, 'failures_total{kind="automatic_upgrades"}')
    site.host.run("systemctl mask --now unattended-upgrades.service")

    wait_until(
        lambda: metric(site, 'failures_total{kind="automatic_upgrades"}'), "the failure to be counted",
        expect=lambda count: count > before,
    )
    assert metric(site, "last_success_timestamp_seconds") > 0
    assert [failure["message"] for failure in record(site)["last_cycle"]["failures"]] == ["Failed to start the unattended-upgrades service"]
    assert "failed, Failed to start" in site.host.output_of(f"systemctl show --property=StatusText {UNIT}")

    site.host.run("systemctl unmask unattended-upgrades.service")
    site.wait_until_in_order()


def test_systemd_is_told_of_each_cycle_in_one_line(site):
    wait_until(
        lambda: site.host.output_of(f"systemctl show --property=StatusText --value {UNIT}"), "the line",
        expect=lambda line: re.fullmatch(r"(?:.*; )?Last cycle \S+, \d+\.\d s: everything in step", line),
    )


def test_the_metrics_can_be_read_by_everybody(site):
    assert site.host.output_of(f"stat --format=%a {METRICS}") == "644"


def test_counters_go_on_after_a_restart(site):
    before = metric(site, "cycles_total")

    site.host.run(f"systemctl restart {UNIT}")

    wait_until(lambda: metric(site, "cycles_total"), "the next cycle", expect=lambda count: count > before)


def test_a_stopped_process_is_started_again_by_the_watchdog(open_site):
    site = open_site()
    site.host.write(f"/run/systemd/system/{UNIT}.d/soon.conf", "[Service]\nWatchdogSec=2s\nRestartSec=1s\n")
    site.host.run("systemctl daemon-reload")
    site.minder.start()
    site.wait_until_in_order()
    first = site.host.output_of(f"systemctl show --property=MainPID --value {UNIT}")

    site.host.run(f"kill -STOP {first}")

    wait_until(
        lambda: site.host.output_of(f"systemctl show --property=MainPID,ActiveState {UNIT}"), "another process",
        expect=lambda seen: "ActiveState=active" in seen and f"MainPID={first}\n" not in f"{seen}\n",
    )


def test_a_long_command_is_no_reason_to_be_started_again(open_site):
    site = open_site()
    site.host.write(f"/run/systemd/system/{UNIT}.d/soon.conf", "[Service]\nWatchdogSec=1s\n")
    # The hold query, in every cycle, for longer than the watchdog waits.
    site.host.write("/usr/local/sbin/apt-mark", "#!/bin/sh\nsleep 4\nexec /usr/bin/apt-mark \"$@\"\n", mode="0755")
    site.host.run("systemctl daemon-reload")
    site.minder.start()

    site.wait_until_in_order()

    assert site.host.output_of(f"systemctl show --property=NRestarts --value {UNIT}") == "0"


def test_a_purge_takes_record_and_metrics_away(open_site):
    site = open_site(settings={"minder.metrics_file": "/var/lib/metrics.prom"})
    site.minder.once()
    assert site.host.exists(RECORD)
    assert site.host.exists("/var/lib/metrics.prom")

    site.minder.run("purge")

    assert not site.host.exists("/var/lib/package-minder")
    assert not site.host.exists("/var/lib/metrics.prom")
