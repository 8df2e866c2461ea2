"""package-minder status shows the state of the host, and changes nothing."""

import documents
import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.package_minder import SETTINGS_FILE

pytestmark = pytest.mark.xdist_group("status")


@pytest.fixture(scope="module")
def site(open_shared_site):
    """One site for all tests here, brought in order once."""
    site = open_shared_site()
    site.minder.once()
    return site


def status(site, *, check=True):
    return documents.parse(site.minder.run("status --json", check=check).output)


def reasons(site):
    return [reason["code"] for reason in status(site)["reasons"]]


def test_a_host_in_order_is_shown_on_one_page(site):
    page = site.minder.run("status")

    assert page.error == ""
    assert len(page.output.splitlines()) < 25
    for line in (
        "Host                package manager APT, init systemd",
        "Package             zant-velmora 1.0 installed, up to date",
        "Repository          registered, in step",
        "Hold                not held",
        "Automatic upgrades  on, in step",
    ):
        assert line in page.output.splitlines(), page.output
    assert "apt-daily-upgrade.timer, next run" in page.output


def test_a_program_reads_the_same(site):
    seen = status(site)

    assert (seen["format"], seen["version"]) == ("package-minder/status", 1)
    assert seen["package"] == {"name": "zant-velmora", "installed": "1.0", "offered": "1.0"}
    assert seen["last_cycle"]["program"] == "once"
    assert seen["last_cycle"]["succeeded"]
    assert any("source list" in action or "repository" in action for action in seen["last_cycle"]["actions"])
    # The service is not started in these tests; everything else is in order.
    assert [reason["code"] for reason in seen["reasons"]] == ["service.not_running"]


def test_it_changes_nothing_and_needs_no_network(site):
    etc, state = site.host.snapshot(), site.host.snapshot("/var/lib/package-minder")

    with site.server.gone():
        site.minder.run("status")

    assert site.differences_since(etc) == []
    assert site.host.snapshot("/var/lib/package-minder") == state
    assert not site.host.output_of("ls -A /tmp | grep package-minder- || true")


def test_a_newer_version_is_shown_as_offered(site):
    site.repository.publish("1.1")
    site.host.run("apt-get --quiet update")

    assert status(site)["package"]["offered"] == "1.1"


def test_a_hold_is_shown(site):
    site.host.run("apt-mark hold zant-velmora")

    assert status(site)["hold"] == "held"
    assert "hold.held" in reasons(site)
    site.host.run("apt-mark unhold zant-velmora")


@pytest.mark.parametrize(
    "drifted, code, part",
    [(apt.SOURCE_LIST, "differs", "repository"), (apt.SERVICE_FILES[2], "missing", "automatic_upgrades"),
     (apt.CALENDAR_DROP_IN, "missing", "automatic_upgrades")],
)
def test_the_file_that_is_out_of_step_is_named(site, drifted, code, part):
    saved = site.host.read(drifted)
    site.host.run(f"rm {drifted}" if code == "missing" else f"echo '# edited' >> {drifted}")

    assert {"path": drifted, "code": code} in status(site)[part]["out_of_step"]
    site.host.write(drifted, saved)


def test_a_stopped_timer_is_shown(site):
    site.host.run(f"systemctl stop {apt.TIMER}")

    assert "timer.not_running" in reasons(site)
    site.host.run(f"systemctl start {apt.TIMER}")


def test_a_failure_of_the_last_cycle_is_shown(site):
    site.minder.run("--set package.apt.repo.url=http://repo.velmora.test/nothing/ once", check=False)

    seen = status(site)["last_cycle"]

    assert not seen["succeeded"]
    assert [failure["kind"] for failure in seen["failures"]] == ["repository"]
    assert seen["last_success"]
    site.minder.once()


def test_somebody_who_keeps_changing_a_file_and_holding_the_package_is_shown(site):
    for _ in range(3):
        site.host.run(f"echo '# edited' >> {apt.SOURCE_LIST} && apt-mark hold zant-velmora")
        site.minder.once()

    assert status(site)["conflicts"] == [apt.SOURCE_LIST, "hold"]
    assert {"conflict.file", "conflict.hold"} <= set(reasons(site))


@pytest.mark.parametrize(
    "command, exit_status, code",
    [
        ("package-minder status --json --loudly", 64, "wrong_usage"),
        ("setpriv --reuid=nobody --clear-groups package-minder status --json", 77, "no_rights"),
        ("package-minder --settings /etc/nowhere status --json", 78, "bad_settings"),
        ("package-minder --settings /etc/nowhere plan --json", 78, "bad_settings"),
        ("package-minder --settings /etc/nowhere check --json", 78, "bad_settings"),
        ("package-minder --set minder.interval=0 status --json", 78, "bad_settings"),
        ("package-minder --set minder.staging_directory=/srv/nothing plan --json", 78, "bad_settings"),
        ("mv /etc/os-release /etc/saved; package-minder status --json; s=$?; mv /etc/saved /etc/os-release; exit $s", 69, "unsupported_host"),
    ],
)
def test_a_failure_is_json_too(site, command, exit_status, code):
    result = site.host.run(command, check=False)

    assert result.status == exit_status, str(result)
    assert documents.parse(result.output)["error"]["code"] == code
    assert result.error


def test_a_host_that_nothing_was_done_to_says_so(open_site):
    site = open_site()

    assert {"repository.not_registered", "cycle.never_ran"} <= set(reasons(site))
    assert not site.host.exists("/var/lib/package-minder")
    assert site.host.exists(SETTINGS_FILE)
