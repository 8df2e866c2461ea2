"""Nobody but root decides what root does: by no file, no directory above it, no lock and no byte."""

import pytest
from disposable_hosts.package_minder import SETTINGS_FILE, STAGING
from disposable_hosts.polling import wait_until

FAILED, BUSY, BAD_CONFIGURATION = 1, 75, 78
STATE = "/var/lib/package-minder"
MARK = "package-minder-state"
USER = 4711
AS_USER = f"setpriv --reuid={USER} --regid={USER} --clear-groups"
REPORTS = ["status", "plan", "check", "settings", "purge --plan"]

pytestmark = pytest.mark.xdist_group("writers")


@pytest.fixture(scope="module")
def site(open_shared_site):
    """One site for all tests here: each puts back what it changed."""
    site = open_shared_site()
    site.minder.once()
    return site


def codes(site, settings=""):
    result = site.minder.run(f"{settings} check", check=False)
    assert result.status in (0, FAILED), str(result)
    return [line.strip()[1:-1] for line in result.output.splitlines() if line.startswith("    [")]


# --- Who may write -----------------------------------------------------------


@pytest.mark.parametrize(
    "spoil, mend, settings, code",
    [
        (f"chown {USER} {SETTINGS_FILE}", f"chown 0 {SETTINGS_FILE}", "", "settings.writable_by_others"),
        ("chmod 0777 /etc/package-minder", "chmod 0755 /etc/package-minder", "", "settings.writable_by_others"),
        (f"cp -r {STAGING} /srv/velmora/staging", "true", "--set minder.staging_directory=/srv/velmora/staging",
         "staging.writable_by_others"),
        ("mkdir /srv/velmora/minder", "true", "--set minder.state_directory=/srv/velmora/minder", "state.writable_by_others"),
        ("true", "true", "--set minder.state_directory=/srv/velmora/missing/minder", "state.writable_by_others"),
        (f"ln -s {STATE} /srv/velmora/link", "true", "--set minder.state_directory=/srv/velmora/link", "state.writable_by_others"),
        ("touch /srv/file", "rm /srv/file", "--set minder.state_directory=/srv/file/minder", "state.not_a_directory"),
    ],
)
def test_what_others_may_change_is_found_and_refused(site, spoil, mend, settings, code):
    site.host.run(f"mkdir -p /srv/velmora && chown {USER} /srv/velmora && {spoil}")
    try:
        assert codes(site, settings) == [code]
        assert site.minder.run(f"{settings} once", check=False).status == BAD_CONFIGURATION
        assert site.minder.run(f"{settings} plan", check=False).status == BAD_CONFIGURATION
    finally:
        site.host.run(f"{mend}; rm -rf /srv/velmora")


def test_metrics_are_not_written_where_others_could_lead_them_elsewhere(site):
    site.host.run(f"mkdir -p /srv/velmora/metrics && chown {USER} /srv/velmora")
    settings = "--set minder.metrics_file=/srv/velmora/metrics/minder.prom"

    assert codes(site, settings) == ["metrics.writable_by_others"]
    assert "metrics are not written there" in site.minder.run(f"{settings} once").error
    assert not site.host.exists("/srv/velmora/metrics/minder.prom")
    site.host.remove("/srv/velmora")


def test_links_and_sticky_directories_of_roots_are_all_right(site):
    site.host.run(f"cp -r {STAGING} /tmp/staging && ln -s /tmp/staging /usr/staging-link")
    settings = "--set minder.staging_directory=/usr/staging-link --set minder.state_directory=/tmp/minder"

    assert codes(site, settings) == []
    site.minder.run(f"{settings} once")
    assert site.host.exists(f"/tmp/minder/{MARK}")
    site.host.run("rm -r /tmp/staging /usr/staging-link /tmp/minder")


# --- Whose directory it is ---------------------------------------------------


def test_a_directory_of_somebody_elses_is_neither_used_nor_deleted(site):
    site.host.write("/srv/v/staging/precious", "text")

    for command in ("once", "purge", "plan"):
        result = site.minder.run(f"--set minder.state_directory=/srv/v {command}", check=False)
        assert result.status == BAD_CONFIGURATION, str(result)
        assert MARK in result.error
    assert codes(site, "--set minder.state_directory=/srv/v") == ["state.not_ours"]
    assert site.host.read("/srv/v/staging/precious") == "text"
    site.host.remove("/srv/v")


def test_a_purge_does_not_delete_what_is_shipped(site):
    before = site.host.snapshot("/usr/share/package-minder")

    result = site.minder.run("--set minder.state_directory=/usr/share/package-minder purge", check=False)

    assert result.status == BAD_CONFIGURATION, str(result)
    assert site.host.snapshot("/usr/share/package-minder") == before


def test_the_directory_of_version_1_0_is_taken_over(site):
    site.host.run(f"rm {STATE}/{MARK} && chmod 0644 {STATE}/lock")
    assert codes(site) == []

    site.minder.once()

    assert site.host.exists(f"{STATE}/{MARK}")
    assert site.host.output_of(f"stat --format=%a {STATE}/lock") == "600"
    assert site.host.output_of(f"stat --format=%a {STATE}") == "755", "the record is for everybody to read"


# --- The lock ----------------------------------------------------------------


def test_no_user_can_take_or_block_the_lock(site):
    assert not site.host.succeeds(f"{AS_USER} cat {STATE}/lock")
    assert not site.host.succeeds(f"{AS_USER} flock --nonblock --shared {STATE}/lock true")
    assert site.host.succeeds(f"{AS_USER} cat {STATE}/last-cycle.json")


def test_a_lock_that_a_user_took_before_the_upgrade_is_in_nobodys_way(site):
    site.host.run(f"chmod 0644 {STATE}/lock && printf 4194304000 > {STATE}/lock")
    holder = (
        "import fcntl,struct,time; f=open('/var/lib/package-minder/lock');"
        "fcntl.fcntl(f, 37, struct.pack('hhqqi4x', fcntl.F_RDLCK, 0, 0, 0, 0)); open('/tmp/held','w'); time.sleep(600)"
    )
    # unattended-upgrades is written in it.
    assert site.host.succeeds("command -v python3")
    site.host.run(f'{AS_USER} python3 -c "{holder}" > /dev/null 2>&1 & echo $! > /tmp/holder')
    wait_until(lambda: site.host.exists("/tmp/held"), "the user to have the lock")

    try:
        site.minder.once()
    finally:
        site.host.run("kill $(cat /tmp/holder); rm /tmp/holder /tmp/held")


def test_who_holds_the_lock_is_named(site):
    site.minder.start()
    try:
        process = site.host.output_of("systemctl show --property=MainPID --value package-minder.service")
        result = site.minder.run("once", check=False)

        assert result.status == BUSY
        assert f"another package-minder (process {process}) is already running" in result.error
    finally:
        site.minder.stop()


# --- Bytes -------------------------------------------------------------------


def test_a_byte_that_is_not_utf8_is_refused(site):
    site.host.run(f"cp {SETTINGS_FILE} /root/saved && printf 'package.apt.repo.origins_pattern=o=Qu\\377orvane\\n' >> {SETTINGS_FILE}")
    try:
        result = site.minder.run("once", check=False)

        assert result.status == BAD_CONFIGURATION, str(result)
        assert "package.apt.repo.origins_pattern" in result.error and "\\xff" in result.error
        assert "must be UTF-8 text without control characters" in result.error
        assert site.host.succeeds("unattended-upgrade --dry-run")
    finally:
        site.host.run(f"cp /root/saved {SETTINGS_FILE}")


def test_a_file_name_cannot_reach_the_terminal(site):
    name = "a\\033[31mb\\342\\200\\256c\\302\\233d"
    site.host.run(f"touch \"{STAGING}/$(printf '{name}')\"")
    try:
        for form in ("", " --json"):
            output = site.minder.run(f"check{form}", check=False).output
            assert "31mb" in output
            assert not set(output) & {"\x1b", "\u202e", "\u009b"}
    finally:
        site.host.run(f"rm {STAGING}/a*31mb*")


# --- How it is started and ended ---------------------------------------------


@pytest.mark.parametrize("command", [*REPORTS, *(f"{report} --json" for report in REPORTS), "--help", "--version", "check --help"])
def test_what_cannot_be_printed_is_a_failure(site, command):
    for target in ("> /dev/full", ">&-"):
        result = site.minder.run(f"{command} {target}", check=False)
        assert result.status == FAILED, str(result)
        assert "cannot write to standard output" in result.error


@pytest.mark.parametrize("closed", ["2>&-", "<&- >&- 2>&-"])
def test_a_log_without_standard_error_goes_nowhere(site, closed):
    site.host.run(f"package-minder --log-level trace once {closed}")

    assert site.host.read(f"{STATE}/lock").isdigit()


@pytest.mark.parametrize("kind", ["mkfifo /root/settings", "mkdir /root/settings", "ln -s /dev/zero /root/settings"])
def test_what_is_no_file_is_refused_as_settings_without_waiting(site, kind):
    site.host.run(kind)
    try:
        result = site.minder.run("--settings /root/settings once", check=False, timeout=20)
        assert result.status == BAD_CONFIGURATION, str(result)
    finally:
        site.host.run("rm -r /root/settings")


@pytest.mark.parametrize("signal", ["TERM", "INT", "HUP"])
def test_a_report_that_is_ended_leaves_nothing(site, signal):
    # A query that does not end keeps the report where its directory is there.
    site.host.write("/usr/local/sbin/apt-mark", "#!/bin/sh\ntouch /root/asked\nexec sleep 30\n", mode="0755")
    site.host.run("package-minder plan > /dev/null 2>&1 & echo $! > /root/report")
    try:
        wait_until(lambda: site.host.exists("/root/asked"), "the report to be in the middle of its work")
        assert site.host.succeeds("ls -d /tmp/package-minder-*")

        site.host.run(f"kill -{signal} $(cat /root/report)")

        wait_until(lambda: not site.host.succeeds("kill -0 $(cat /root/report)"), "the report to end")
        assert not site.host.succeeds("ls -d /tmp/package-minder-*")
    finally:
        site.host.run("rm -f /usr/local/sbin/apt-mark /root/asked /root/report")
