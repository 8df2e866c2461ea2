"""Drift on an EL host is repaired by the next cycle; the administrator's own settings stay."""

import pytest
from disposable_hosts.dnf import site as dnf
from disposable_hosts.site import Schedule

pytestmark = pytest.mark.xdist_group("dnf drift")


@pytest.fixture(scope="module")
def site(open_shared_dnf_site):
    """One site for all tests here: each causes drift, and the next cycle has to repair it."""
    site = open_shared_dnf_site()
    site.minder.once()
    return site


@pytest.mark.parametrize(
    "what_an_administrator_does",
    [
        f"rm {dnf.REPO_FILE}",
        f"sed -i 's|^baseurl=.*|baseurl=http://elsewhere.test/|' {dnf.REPO_FILE}",
        f"sed -i '/^gpgkey/d' {dnf.REPO_FILE}",
        f"sed -i 's/^throttle=.*/throttle=1k/' {dnf.REPO_FILE}",
        f"sed -i '/^baseurl/s/$/ /' {dnf.REPO_FILE}",
        f"echo nonsense >> {dnf.REPO_FILE}",
        f"chmod 0 {dnf.REPO_FILE}",
        f"chmod 0666 {dnf.DELAY_DROP_IN}",
        f"sed -i 's/03:00/04:00/' {dnf.CALENDAR_DROP_IN} && systemctl daemon-reload",
        f"rm {dnf.DELAY_DROP_IN}",
        f"rm -r {dnf.DROP_INS} && systemctl daemon-reload",
        f"echo 'OnCalendar=hourly' > {dnf.DROP_INS}/of-my-own.conf && rm {dnf.DELAY_DROP_IN}",
    ],
)
def test_a_changed_file_is_put_back(site, what_an_administrator_does):
    before = site.host.snapshot()
    site.host.run(what_an_administrator_does)
    assert site.differences_since(before), "the change must show, or this test shows nothing"

    site.minder.once()

    assert site.differences_since(before) == []
    assert site.timer_schedule() == Schedule("*-*-* 03:00:00", "15min")


# The library compares the options, and the program looks before it for lines that set nothing: DNF skips such a file.
OPTIONS_DIFFER = "Updating DNF to include quorvane repository"
UNREADABLE = f"Replacing {dnf.REPO_FILE}, which DNF cannot read"


@pytest.mark.parametrize(
    ("content", "words"),
    [
        ("true", OPTIONS_DIFFER),
        ("head --bytes=100000 /dev/urandom", UNREADABLE),
        ("head --bytes=100000 /dev/zero", UNREADABLE),
        (f"grep -v '^.quorvane' {dnf.REPO_FILE}", OPTIONS_DIFFER),
        (
            f"sed 's|^baseurl=.*|baseurl=${{quorvane.baseurl}}|; s|^throttle=.*|throttle=${{quorvane.throttle}}|' {dnf.REPO_FILE}",
            OPTIONS_DIFFER,
        ),
        ("printf '${a}\\n[${b}]\\n[quorvane]\\nbaseurl=${quorvane.gpgkey}\\ngpgkey=${quorvane.baseurl}\\n'", UNREADABLE),
        # The last line is cut off before its sign.
        ("yes 'one more option = with a value' | head --bytes=100000000", UNREADABLE),
    ],
    ids=["empty", "binary", "zeros", "without its section", "of references to itself", "of references", "of 100 MB"],
)
def test_a_broken_repository_file_is_replaced(site, content, words):
    before = site.host.snapshot()
    site.host.run(f"({content}) > /root/broken && cp /root/broken {dnf.REPO_FILE} && rm /root/broken")

    log = site.minder.once().error

    assert words in log
    assert site.differences_since(before) == []


def test_an_option_and_a_name_of_the_administrators_own_stay(site):
    site.host.run(f"sed -i 's/^name=.*/name=Ours/' {dnf.REPO_FILE} && echo 'priority = 10' >> {dnf.REPO_FILE}")
    before = site.host.snapshot()

    site.minder.once()

    assert site.differences_since(before) == []
    assert site.option("name") == "Ours"


def test_an_exclusion_by_an_administrator_is_lifted(site):
    site.set_option("exclude", "*")

    site.minder.once()

    assert not site.is_held()
    assert site.offered_versions() == ["1.0"]


def test_an_exclusion_of_all_repositories_stays_and_is_told_of(site):
    site.host.run("echo 'exclude=zant-velmora' >> /etc/dnf/dnf.conf")
    try:
        result = site.minder.once(check=False)

        assert "Set zant-velmora packages to be included with automatic upgrades" in result.error
        assert "DNF lists no zant-velmora in the repository quorvane" in result.error
        assert result.status == 1, "the exclusion keeps every upgrade away, which must not pass for success"
        assert site.offered_versions() == []
    finally:
        site.host.run("sed -i '/^exclude/d' /etc/dnf/dnf.conf")


def test_a_removed_key_is_imported_again(site):
    site.host.run("rpm --erase --allmatches gpg-pubkey")
    assert not site.knows_the_key()

    site.minder.once()

    assert site.knows_the_key()


def test_a_stopped_timer_is_started_again(site):
    site.host.run(f"systemctl stop {dnf.TIMER}")

    site.minder.once()

    assert site.is_active(dnf.TIMER)


def test_a_removed_dnf_automatic_is_installed_again(site):
    site.host.run("dnf --quiet --assumeyes remove dnf-automatic")

    site.minder.once()

    assert site.out_of_order() == []


def test_the_running_service_puts_things_right_by_itself(site):
    site.minder.start()

    site.host.run(f"rm -r {dnf.REPO_FILE} {dnf.DROP_INS}")

    site.wait_until_in_order()
    site.minder.stop()


def test_conflicting_timers_are_disabled(open_dnf_site):
    site = open_dnf_site()
    site.host.run("dnf --quiet --assumeyes install dnf-automatic")
    site.host.run(f"systemctl enable --now {' '.join(dnf.CONFLICTING_TIMERS)}")

    site.minder.once()

    states = site.host.run(f"systemctl is-enabled {' '.join(dnf.CONFLICTING_TIMERS)}", check=False).output.split()
    assert states == ["disabled"] * 3
    assert [timer for timer in (*dnf.CONFLICTING_TIMERS, dnf.TIMER) if site.is_active(timer)] == [dnf.TIMER]
