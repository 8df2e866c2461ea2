"""What an administrator is told before the first cycle and beside a running service."""

import documents
from disposable_hosts.apt import site as apt
from disposable_hosts.dnf import site as dnf

FAILED, FINDINGS = 1, 1
OWN_UPGRADES = f"{apt.APT_CONFIGURATION}/50unattended-upgrades"


def findings(site):
    return documents.parse(site.minder.run("check --json", check=False).output)["findings"]


def codes(entries):
    return [entry["code"] for entry in entries]


def reasons(site):
    return documents.parse(site.minder.run("status --json").output)["reasons"]


def test_the_distributions_own_files_lose_nothing(site):
    assert site.host.exists(OWN_UPGRADES), "the image has unattended-upgrades"
    assert findings(site) == []
    assert documents.parse(site.minder.run("plan --json", check=False).output)["displaced_settings"] == []


def test_settings_of_the_administrators_that_go_out_of_force_are_listed_before_the_first_cycle(site):
    site.host.write(
        OWN_UPGRADES,
        'Unattended-Upgrade::Origins-Pattern {\n  "origin=Debian,codename=${distro_codename}-security,label=Debian-Security";\n};\n'
        'Unattended-Upgrade::Package-Blacklist { "nginx"; };\n'
        'Unattended-Upgrade::Automatic-Reboot "true";\n'
        'Unattended-Upgrade::Mail "root";\n',
    )
    site.host.write(f"{apt.APT_CONFIGURATION}/52local", 'Unattended-Upgrade::Mail "root";\n')

    found = [finding["message"] for finding in findings(site) if finding["code"] == "upgrades.setting_displaced"]
    plan = documents.parse(site.minder.run("plan --json", check=False).output)

    lost = ["Package-Blacklist", "Automatic-Reboot", "Origins-Pattern", "Origins-Pattern"]
    assert [setting["setting"] for setting in plan["displaced_settings"]] == [f"Unattended-Upgrade::{name}" for name in lost]
    assert 'Package-Blacklist "nginx" goes out of force' in found[0]
    assert "codename=${distro_codename},label=Debian" in " ".join(found)

    # What is in force after the cycle is what was foretold.
    site.minder.once()
    in_force = site.host.output_of("apt-config dump")
    assert "nginx" not in in_force and "Automatic-Reboot" not in in_force
    assert 'Unattended-Upgrade::Mail "root";' in in_force


def test_without_the_package_a_cycle_is_refused_in_words_and_apt_goes_on_working(site):
    site.host.run(f"dpkg --purge {apt.PACKAGE}")
    before = site.host.snapshot()

    result = site.minder.once(check=False)

    assert result.status == FAILED
    assert "zant-velmora: is not installed" in result.error
    assert site.differences_since(before) == []
    site.host.run("apt-get --quiet update")
    assert "package.not_installed" in codes(findings(site))
    assert "cycle.would_fail" in codes(reasons(site))
    record = documents.parse(site.host.read("/var/lib/package-minder/last-cycle.json"))
    assert "is not installed" in record["last_cycle"]["failures"][0]["message"]

    site.install_package("1.0")
    site.minder.once()
    assert site.missing_files() == []


def test_a_hold_beside_the_running_service_says_that_it_will_be_released(site):
    site.minder.configure(site.settings({"minder.interval": 3600}))
    assert "releases this hold" not in site.minder.run("hold").error
    site.minder.start()

    assert "releases this hold in its next cycle" in site.minder.run("hold").error


def test_a_timer_of_apts_that_is_not_enabled_is_named(site):
    site.minder.once()
    site.host.run("systemctl disable apt-daily.timer apt-daily-upgrade.timer")

    assert codes(findings(site)) == ["units.not_enabled", "units.not_enabled"]
    assert "timer.not_enabled" in codes(reasons(site))


def test_a_timer_of_dnf_automatics_is_named_until_it_is_enabled(dnf_site):
    dnf_site.minder.once()

    assert "units.not_enabled" in codes(findings(dnf_site))
    assert "timer.not_enabled" in codes(reasons(dnf_site))

    dnf_site.host.run(f"systemctl enable {dnf.TIMER}")
    assert "units.not_enabled" not in codes(findings(dnf_site))
    assert "timer.not_enabled" not in codes(reasons(dnf_site))


def test_a_host_without_systemd_says_that_nothing_runs_unless_something_does(open_site):
    site = open_site("bookworm-sysvinit", settings={apt.CALENDAR_KEY: "", apt.DELAY_KEY: ""})
    site.minder.once()

    assert codes(reasons(site)) == ["service.no_systemd"]
