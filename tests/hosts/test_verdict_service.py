"""What the service does about the verdict: when it finds it, where it tells it, and what that costs."""

import json
import re

import documents
import pytest
from disposable_hosts.package_minder import UNIT
from disposable_hosts.polling import wait_until

VERDICT = "/var/lib/package-minder/verdict.json"
METRICS = "/var/lib/package-minder-metrics/package-minder.prom"
PIN = "/etc/apt/preferences.d/stop"
SETTINGS = {"minder.metrics_file": METRICS, "minder.log.level": "trace"}

pytestmark = pytest.mark.xdist_group("verdict_service")


@pytest.fixture
def site(open_site):
    """A host that is in order and has the newest version; the service is not started yet."""
    site = open_site(settings=SETTINGS)
    site.host.run(f"mkdir -p {METRICS.rsplit('/', 1)[0]}")
    return site


def verdict(site):
    text = site.host.run(f"cat {VERDICT}", check=False).output
    return documents.parse(text) if text else None


def kind_of(site):
    seen = verdict(site)
    return seen["verdict"] if seen else None


def wait_for_verdict(site, kind):
    # Where something changes in every cycle, the questions take a twentieth of the time.
    wait_until(lambda: kind_of(site), f"the verdict {kind}", timeout=180, expect=kind)


def changes_in_log(site):
    """The severity and the verdict of each change that the service has logged."""
    output = site.host.output_of(f"journalctl --unit {UNIT} --output json --priority notice")
    entries = [json.loads(line) for line in output.splitlines() if line.startswith("{")]
    found = [(int(entry["PRIORITY"]), re.search(r"Verdict on the upgrades: ([a-z ]+):", str(entry["MESSAGE"]))) for entry in entries]
    return [(priority, match[1]) for priority, match in found if match]


def status_line(site):
    return site.host.output_of(f"systemctl show --property=StatusText --value {UNIT}")


def test_a_change_is_told_once_everywhere_and_not_again_after_a_restart(site):
    site.minder.start()
    site.wait_until_in_order()
    wait_for_verdict(site, "up_to_date")

    site.host.write(PIN, "Package: zant-velmora\nPin: version *\nPin-Priority: -1\n")
    wait_for_verdict(site, "blocked")

    codes = [cause["code"] for cause in verdict(site)["outlook"]["causes"]]
    assert codes
    wait_until(lambda: status_line(site), "systemd's line", expect=lambda line: re.match(r"blocked: zant-velmora .*; Last cycle ", line))
    metrics = site.host.read(METRICS)
    assert 'package_minder_verdict{verdict="blocked"} 1\n' in metrics
    assert f'package_minder_cause{{code="{codes[0]}"}} 1\n' in metrics
    assert changes_in_log(site) == [(4, "blocked")]

    found = verdict(site)["found"]
    site.host.run(f"systemctl restart {UNIT}")
    wait_until(lambda: verdict(site)["found"], "the verdict after the restart", expect=lambda time: time > found)
    assert changes_in_log(site) == [(4, "blocked")]

    site.host.run(f"rm {PIN}")
    wait_for_verdict(site, "up_to_date")
    found = verdict(site)["found"]
    site.host.run(f"systemctl restart {UNIT}")
    wait_until(lambda: verdict(site)["found"], "the verdict after the restart", expect=lambda time: time > found)
    assert changes_in_log(site) == [(4, "blocked"), (5, "up to date")]


def commands_since(site, cursor):
    """What the service has run since then, with the cycles that it has begun."""
    output = site.host.output_of(f"journalctl --unit {UNIT} --output cat --after-cursor '{cursor}'")
    return re.findall(r"Running command: (.*)", output), len(re.findall(r"Worker is active", output))


def cursor_of(site):
    return re.search(r"-- cursor: (.*)", site.host.output_of(f"journalctl --unit {UNIT} --lines 0 --show-cursor"))[1]


def test_nothing_is_asked_while_nothing_changes(site):
    site.minder.start()
    site.wait_until_in_order()
    wait_for_verdict(site, "up_to_date")
    # What the first cycles have changed may be looked at once more.
    wait_until(lambda: verdict(site)["found"], "a verdict that stays",
               expect=lambda found, seen=[]: seen.append(found) or seen[-40:].count(found) == 40, timeout=180)
    found = verdict(site)["found"]
    cursor = cursor_of(site)

    wait_until(lambda: commands_since(site, cursor)[1], "ten cycles", expect=lambda cycles: cycles >= 10)

    commands, cycles = commands_since(site, cursor)
    assert verdict(site)["found"] == found
    # Six command lines a cycle, as without a verdict.
    assert len(commands) <= 6 * (cycles + 1), commands


def test_a_verdict_takes_little_of_the_processor(site):
    site.minder.start()
    site.wait_until_in_order()
    wait_for_verdict(site, "up_to_date")

    report = site.host.run("bash -c 'time package-minder why --json' 2>&1").output
    user, system = (float(re.search(rf"(?m)^{name}\t0m([0-9.]+)s$", report)[1]) for name in ("user", "sys"))
    print(f"A verdict took {user + system:.2f} s of processor time.")

    assert user + system < 5


def test_a_stop_does_not_wait_for_a_question(site):
    site.minder.start()
    site.wait_until_in_order()
    wait_for_verdict(site, "up_to_date")
    # No cycle runs this, but it is asked whether it can begin; what changes makes the verdict be found.
    site.host.write("/usr/local/sbin/dpkg", "#!/bin/sh\nsleep 50\n", mode="0755")
    site.host.write(PIN, "# nothing\n")
    wait_until(lambda: site.host.run("pgrep --full '[s]leep 50'", check=False).status, "a question", expect=0, timeout=120)

    seconds = float(site.host.output_of(f"bash -c 'TIMEFORMAT=%R; time systemctl stop {UNIT}' 2>&1"))

    print(f"The stop took {seconds:.2f} s.")
    assert seconds < 5
    assert verdict(site)["verdict"] == "up_to_date"


def test_once_finds_no_verdict_and_a_purge_takes_it_away(site):
    site.minder.once()
    assert not site.host.exists(VERDICT)

    site.minder.start()
    site.wait_until_in_order()
    wait_for_verdict(site, "up_to_date")
    site.minder.stop()
    site.minder.once()
    assert "package_minder_verdict{" in site.host.read(METRICS)

    site.minder.run("purge")

    assert not site.host.exists("/var/lib/package-minder")


def test_monitoring_gets_one_line_and_its_exit_status(site):
    site.minder.start()
    site.wait_until_in_order()

    seen = site.minder.run("status --monitoring", check=False)

    assert (seen.status, seen.output.count("\n")) == (0, 1), seen.output
    assert seen.output.startswith("PACKAGE_MINDER OK - up to date: zant-velmora ")

    site.host.write(PIN, "Package: zant-velmora\nPin: version *\nPin-Priority: -1\n")
    seen = site.minder.run("status --monitoring", check=False)
    assert seen.status == 2
    assert seen.output.startswith("PACKAGE_MINDER CRITICAL - blocked: zant-velmora ")

    site.host.run(f"rm {PIN} && systemctl stop {UNIT}")
    seen = site.minder.run("status --monitoring", check=False)
    assert seen.status == 1
    assert re.match(r"PACKAGE_MINDER WARNING - up to date: zant-velmora [^;]*; needs attention: service.not_running \| ", seen.output)

    site.minder.configure({"minder.interval": "soon"})
    seen = site.minder.run("status --monitoring", check=False)
    assert (seen.status, seen.output.count("PACKAGE_MINDER UNKNOWN - ")) == (3, 1)


def test_a_dnf_host_is_told_of_too(open_dnf_site):
    """The service is confined, and what DNF is asked with must not need more."""
    site = open_dnf_site(settings=SETTINGS)
    site.host.run(f"mkdir -p {METRICS.rsplit('/', 1)[0]}")
    site.minder.start()
    site.wait_until_in_order()
    wait_for_verdict(site, "up_to_date")
    assert verdict(site)["outlook"]["causes"] == []

    site.host.run("echo 'zant-velmora-0:1.0-1.*' >> /etc/dnf/plugins/versionlock.list")
    wait_for_verdict(site, "blocked")
    assert [cause["code"] for cause in verdict(site)["outlook"]["causes"]] == ["package.version_locked"]
    wait_until(lambda: status_line(site), "systemd's line", expect=lambda line: re.match(r"blocked: zant-velmora .*; Last cycle ", line))
    metrics = site.host.read(METRICS)
    assert 'package_minder_verdict{verdict="blocked"} 1\n' in metrics
    assert 'package_minder_cause{code="package.version_locked"} 1\n' in metrics

    site.host.run("sed -i '$d' /etc/dnf/plugins/versionlock.list")
    wait_for_verdict(site, "up_to_date")
    wait_until(lambda: site.host.read(METRICS), "the metrics", expect=lambda text: 'package_minder_verdict{verdict="up_to_date"} 1\n' in text)
    assert changes_in_log(site) == [(4, "blocked"), (5, "up to date")]
