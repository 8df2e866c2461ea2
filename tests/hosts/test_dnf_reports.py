"""status, plan and check on EL hosts: the same reports over other tools."""

import documents
import pytest
from disposable_hosts.dnf import site as dnf

DONE, FINDINGS, PENDING = 0, 1, 2

pytestmark = pytest.mark.xdist_group("dnf reports")


@pytest.fixture(scope="module")
def site(open_shared_dnf_site):
    """One site for all tests here; the first finds it as it came, the others in order."""
    return open_shared_dnf_site()


def report(site, command):
    """The exit status and the report, after checking that /etc is as it was."""
    before = site.host.snapshot()
    result = site.minder.run(f"{command} --json", check=False)
    assert site.differences_since(before) == []
    return result.status, documents.parse(result.output)


def changing_commands(plan):
    return [command["line"] for command in plan["commands"] if command["changes_host"]]


def paths(plan):
    return [file["path"] for file in plan["files"]]


def codes(findings):
    return [finding["code"] for finding in findings]


# No cycle has run: neither the repository nor dnf-automatic is there.
CONFIGURED = [
    ("package.excluded", "sed -i '/^\\[main\\]/a excludepkgs=zant-*' /etc/dnf/dnf.conf", "/etc/dnf/dnf.conf:2: excludepkgs=zant-*"),
    ("package.not_included", "sed -i '/^\\[main\\]/a includepkgs=bash' /etc/dnf/dnf.conf", "/etc/dnf/dnf.conf:2: includepkgs=bash"),
    ("package.version_locked", "echo 'zant-velmora-0:1.0-1.*' >> /etc/dnf/plugins/versionlock.list", "/etc/dnf/plugins/versionlock.list:"),
    ("repository.cache_only", "sed -i '/^\\[main\\]/a cacheonly=1' /etc/dnf/dnf.conf", "/etc/dnf/dnf.conf:2: cacheonly=1"),
    ("dnf.configuration_broken", "echo nonsense >> /etc/dnf/dnf.conf", ""),
]


def findings(site, options=""):
    """Without what is true of every site here: its key comes from an http address."""
    _, answer = report(site, f"check {options}")
    return [finding for finding in answer["findings"] if finding["code"] != "repository.key_address_unprotected"]


def test_a_new_host_that_is_in_order_has_no_findings(site):
    assert findings(site) == []


@pytest.mark.parametrize("code, spoil, where", CONFIGURED, ids=[row[0] for row in CONFIGURED])
def test_what_will_stop_upgrades_is_found_before_the_first_cycle(site, code, spoil, where):
    site.host.run("mkdir /root/kept && cp -a /etc/dnf /root/kept")
    site.host.run(spoil)
    try:
        # No command of DNF's works with a file that it cannot read.
        found = [finding for finding in findings(site) if finding["code"] != "tools.missing"]
        assert codes(found) == [code]
        assert found[0]["where"].startswith(where), found
        site.host.run(found[0]["remedy"])
        assert findings(site) == []
    finally:
        site.host.run("rm -r /etc/dnf && mv /root/kept/dnf /etc/dnf && rmdir /root/kept")


def test_a_masked_timer_is_found_before_the_first_cycle(site):
    site.host.run(f"systemctl mask {dnf.TIMER}")
    try:
        assert codes(findings(site)) == ["units.masked"]
    finally:
        site.host.run(f"systemctl unmask {dnf.TIMER}")


def test_the_road_to_the_repository_is_proved_before_the_first_cycle(site):
    assert codes(findings(site, "--online")) == []
    with site.server.gone():
        assert codes(findings(site, "--online")) == ["server.unreachable"]


def test_a_new_host_is_shown_all_that_comes_and_then_it_comes(site):
    status, plan = report(site, "plan")

    assert status == PENDING
    assert paths(plan) == sorted([dnf.REPO_FILE, dnf.CALENDAR_DROP_IN, dnf.DELAY_DROP_IN])
    assert f"rpm --import {site.url(f'{dnf.REPOSITORY}/{dnf.KEY}')}" in changing_commands(plan)
    assert "dnf -yq install dnf-automatic" in changing_commands(plan)
    assert [line for line in changing_commands(plan) if "exclude=" in line] == [], "nothing is held"

    site.minder.once()
    assert site.out_of_order() == []


def test_a_host_in_step_is_told_so(site):
    status, plan = report(site, "plan")

    assert (status, paths(plan), changing_commands(plan), plan["failure"]) == (DONE, [], [], None)


def test_a_host_in_order_is_shown_on_one_page(site):
    page = site.minder.run("status")

    assert page.error == ""
    for line in (
        "Host                package manager DNF, init systemd",
        "Package             zant-velmora 1.0-1 installed, up to date",
        "Repository          registered, in step",
        "Hold                not held",
        "Automatic upgrades  on, in step",
    ):
        assert line in page.output.splitlines(), page.output
    assert "dnf-automatic-install.timer, next run" in page.output


def test_a_good_host_has_no_findings_but_that_its_key_comes_unprotected(site):
    # A cycle starts the timer; that it starts with the host is the administrator's.
    site.host.run(f"systemctl enable {dnf.TIMER}")

    status, seen = report(site, "check")

    assert (status, codes(seen["findings"])) == (FINDINGS, ["repository.key_address_unprotected"])


def test_an_edited_address_is_named(site):
    saved = site.host.read(dnf.REPO_FILE)
    site.set_option("baseurl", "http://elsewhere.test/")

    assert report(site, "status")[1]["repository"]["out_of_step"] == [{"path": dnf.REPO_FILE, "code": "differs"}]
    status, plan = report(site, "plan")
    assert (status, paths(plan)) == (PENDING, [dnf.REPO_FILE])
    assert "-baseurl=http://elsewhere.test/" in plan["files"][0]["diff"].replace(" = ", "=")
    site.host.write(dnf.REPO_FILE, saved)


def test_a_hold_would_be_released_and_is_not(site):
    site.minder.run("hold")

    _, seen = report(site, "status")
    status, plan = report(site, "plan")

    assert (seen["hold"], status) == ("held", PENDING)
    assert [command for command in changing_commands(plan) if "exclude=" in command]
    assert site.is_held()
    site.minder.run("release")


@pytest.mark.parametrize(
    "spoil, mend, code",
    [
        ("systemctl mask dnf-automatic-install.timer", "systemctl unmask dnf-automatic-install.timer", "units.masked"),
        ("mv /usr/bin/which /root", "mv /root/which /usr/bin", "tools.missing"),
        (f"sed 's/quorvane/copied/' {dnf.REPO_FILE} > /etc/yum.repos.d/copied.repo", "rm /etc/yum.repos.d/copied.repo",
         "repository.listed_twice"),
        (f"cp {dnf.REPO_FILE} /etc/yum.repos.d/copied.repo", "rm /etc/yum.repos.d/copied.repo", "repository.id_used_twice"),
        ("printf '#!/bin/sh\\necho dnf5 version 5.2.0\\n' > /usr/local/bin/dnf && chmod +x /usr/local/bin/dnf",
         "rm /usr/local/bin/dnf", "host.dnf5"),
    ],
    ids=["masked timer", "no which", "listed twice", "same id twice", "dnf5"],
)
def test_what_is_wrong_with_the_host_is_found(site, spoil, mend, code):
    site.host.run(spoil)
    try:
        status, seen = report(site, "check")
    finally:
        site.host.run(mend)

    assert (status, code in codes(seen["findings"])) == (FINDINGS, True), seen


def test_the_plan_of_a_purge_is_what_the_purge_does(site):
    status, plan = report(site, "purge --plan")
    assert (status, paths(plan)) == (PENDING, sorted([dnf.REPO_FILE, dnf.CALENDAR_DROP_IN, dnf.DELAY_DROP_IN]))

    site.minder.run("purge")

    assert [path for path in paths(plan) if site.host.exists(path)] == []
    assert report(site, "purge --plan")[0] == DONE
