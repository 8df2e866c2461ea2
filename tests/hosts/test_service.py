"""package-minder as a service of the host's systemd."""

import json

from disposable_hosts.package_minder import UNIT
from disposable_hosts.polling import wait_until


def test_installing_it_starts_nothing(site):
    assert site.minder.state() == "inactive"
    assert site.host.run(f"systemctl is-enabled {UNIT}", check=False).output.strip() == "disabled"


def test_systemd_finds_nothing_to_complain_about_in_the_unit(site):
    assert site.host.run(f"systemd-analyze verify --man=no {UNIT}").error == ""


def test_its_log_lines_carry_the_journals_priorities(site):
    site.host.run("apt-mark hold zant-velmora")
    site.minder.start()
    site.wait_until_in_order()

    lines = site.host.output_of(f"journalctl --output=json --output-fields=PRIORITY,MESSAGE --unit={UNIT}")

    assert _priority_of('Set zant-velmora package to "unhold"', lines) == "5"


def test_it_is_to_be_started_again_after_a_crash(site):
    site.minder.start()
    site.wait_until_in_order()

    site.host.run(f"systemctl kill --signal=SEGV {UNIT}")

    wait_until(lambda: site.host.output_of(f"systemctl show --property=SubState --value {UNIT}"), "a restart", expect="auto-restart")


def _priority_of(message, lines):
    return next(record["PRIORITY"] for record in map(json.loads, lines.splitlines()) if message in record["MESSAGE"])
