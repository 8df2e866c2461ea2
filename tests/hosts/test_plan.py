"""package-minder plan shows what a cycle would change, and changes nothing."""

import documents
import pytest
from disposable_hosts.apt import site as apt

NOTHING, SOMETHING = 0, 2

pytestmark = pytest.mark.xdist_group("plan")


@pytest.fixture(scope="module")
def site(open_shared_site):
    """One site for all tests here; the first finds it as it came, the others in order."""
    return open_shared_site()


def plan(site, arguments="plan"):
    """The exit status and the plan, after checking that nothing was changed."""
    before = site.host.snapshot()
    holds = site.holds()
    result = site.minder.run(f"{arguments} --json", check=False)
    assert site.differences_since(before) == []
    assert site.holds() == holds
    return result.status, documents.parse(result.output)


def paths(seen):
    return [file["path"] for file in seen["files"]]


def test_a_new_host_is_shown_all_that_comes_and_then_it_comes(site):
    status, seen = plan(site)

    assert status == SOMETHING
    assert {apt.KEYRING, apt.SOURCE_LIST, *apt.SERVICE_FILES, apt.CALENDAR_DROP_IN, apt.DELAY_DROP_IN} <= set(paths(seen))
    assert "apt-get -qq update" in [command["line"] for command in seen["commands"]]
    assert not site.host.exists("/var/lib/package-minder")

    site.minder.once()
    for file in seen["files"]:
        assert site.host.exists(file["path"]) == (file["change"] != "remove"), file["path"]


def test_a_host_in_step_is_told_so(site):
    site.minder.once()

    page = site.minder.run("plan")

    assert page.output.startswith("This host is in step: the next cycle would change nothing.\n")
    assert plan(site)[0] == NOTHING


def test_an_edit_is_shown_as_a_diff(site):
    site.host.run(f"sed -i 's/500/9/' {apt.SERVICE_FILES[2]}")

    page = site.minder.run("plan", check=False)

    assert page.status == SOMETHING
    assert f"--- {apt.SERVICE_FILES[2]}\n+++ {apt.SERVICE_FILES[2]}\n@@" in page.output
    assert [line[:1] for line in page.output.splitlines() if "Dl-Limit" in line] == ["-", "-", "+", "+"]
    site.minder.once()


def test_a_hold_would_be_released_and_is_not(site):
    site.host.run("apt-mark hold zant-velmora")

    status, seen = plan(site)

    assert status == SOMETHING
    assert [command["line"] for command in seen["commands"] if command["changes_host"]] == ["apt-mark -qq unhold zant-velmora"]
    site.minder.once()


def test_another_schedule_would_replace_the_drop_in(site):
    status, seen = plan(site, f"--set '{apt.CALENDAR_KEY}=*-*-* 04:00' plan")

    assert status == SOMETHING
    assert paths(seen) == [apt.CALENDAR_DROP_IN]
    assert "systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer" in [command["line"] for command in seen["commands"]]


def test_the_plan_of_a_purge_is_what_the_purge_does(site):
    site.minder.once()
    _, seen = plan(site, "purge --plan")

    before = site.host.snapshot()
    site.minder.run("purge")
    after = site.host.snapshot()

    changed = {path for path in before.keys() | after.keys() if before.get(path) != after.get(path)}
    files = {path for path in changed if "file" in (before.get(path) or after.get(path)).kind}
    assert files == set(paths(seen))
    assert seen["removes_own_files"]
    assert plan(site, "purge --plan")[0] == NOTHING


def test_the_plan_of_a_purge_of_the_upgrades_leaves_the_repository(site):
    site.minder.once()

    _, seen = plan(site, "purge --plan --upgrades-only")

    assert apt.CALENDAR_DROP_IN in paths(seen)
    assert not {apt.SOURCE_LIST, apt.KEYRING} & set(paths(seen))
