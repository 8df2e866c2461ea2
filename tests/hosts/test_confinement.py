"""The service is confined, and the package managers that it runs still do all that they have to."""

import re
from pathlib import Path

import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.dnf import site as dnf
from disposable_hosts.package_minder import UNIT

APT_IMAGES, DNF_IMAGES = ("bullseye", "bookworm", "trixie"), ("el-bookworm", "el-trixie")
GUIDE = Path(__file__).parents[2] / "docs" / "administration.md"
DROP_INS = "/etc/systemd/system/package-minder.service.d"
HOOK = f"{apt.APT_CONFIGURATION}/99-hook-of-the-test"
CAP_SYS_TIME = 1 << 25
# Seconds; a few on a machine with nothing else to do.
PATIENCE = 180

CAN_MOUNT = "mount -t tmpfs tmpfs /mnt && umount /mnt"
CAN_WRITE_TO_ROOTS_HOME = "touch /root/of-a-hook"
CAN_TUNE_THE_KERNEL = "echo 1 > /proc/sys/net/ipv4/ip_forward"

# A service whose program was replaced since it was started, as an upgrade of a library does.
STALE = "stale.service"
STALE_PROGRAM = "/usr/local/sbin/stale"
STALE_UNIT = f"[Service]\nExecStart={STALE_PROGRAM} infinity\n"
RESTART_WHAT_IS_STALE = "$nrconf{restart} = 'a';\n"


@pytest.fixture
def open_any_site(request):
    """Opens sites of either family by the name of their image; a first cycle has something to install there."""

    def open_one(image, **options):
        if image.startswith("el-"):
            return request.getfixturevalue("open_dnf_site")(image, **options)
        site = request.getfixturevalue("open_site")(image, **options)
        site.take_away_unattended_upgrades()
        return site

    return open_one


def _property(host, name):
    return host.output_of(f"systemctl show --property={name} --value {UNIT}")


def _capabilities(host, process):
    status = host.read(f"/proc/{process}/status")
    return int(re.search(r"^CapBnd:\t([0-9a-f]+)$", status, re.MULTILINE)[1], 16)


def _drop_in_of_the_guide(name):
    """The drop-in of this file name that the guide for administrators offers."""
    return re.search(rf"```ini\n# {re.escape(f'{DROP_INS}/{name}')}\n(.*?)```", GUIDE.read_text(encoding="utf-8"), re.DOTALL)[1]


@pytest.mark.parametrize("image", [*APT_IMAGES, *DNF_IMAGES])
def test_systemd_finds_its_exposure_medium_at_most(open_any_site, image):
    host = open_any_site(image).host

    report = host.output_of(f"systemd-analyze security --no-pager {UNIT}")

    assert float(re.search(r"Overall exposure level for \S+: ([\d.]+)", report)[1]) <= 5.0, report


@pytest.mark.slow
@pytest.mark.parametrize("image", APT_IMAGES)
def test_a_first_cycle_with_installations_succeeds_on_apt_hosts(open_any_site, image):
    site = open_any_site(image)

    site.minder.start()
    site.wait_until_in_order(timeout=PATIENCE)

    _assert_is_confined(site.host)
    assert site.installed_version("unattended-upgrades") != ""
    assert site.host.output_of("dpkg --audit") == ""

    site.minder.stop()
    site.minder.run("purge")
    assert [path for path in (apt.KEYRING, apt.SOURCE_LIST, apt.BACKUPS, apt.DROP_INS) if site.host.exists(path)] == []


@pytest.mark.slow
@pytest.mark.parametrize("image", DNF_IMAGES)
def test_a_first_cycle_with_installations_succeeds_on_dnf_hosts(open_any_site, image):
    site = open_any_site(image)
    assert site.installed_version("dnf-automatic") == ""

    site.minder.start()
    site.wait_until_in_order(timeout=PATIENCE)

    _assert_is_confined(site.host)
    assert site.installed_version("dnf-automatic") != ""
    assert site.host.output_of("rpm --verify dnf-automatic") == ""

    site.minder.stop()
    site.minder.run("purge")
    assert [path for path in (dnf.REPO_FILE, dnf.DROP_INS) if site.host.exists(path)] == []


def _assert_is_confined(host):
    process = _property(host, "MainPID")
    assert _capabilities(host, process) & CAP_SYS_TIME == 0
    assert host.output_of(f"readlink /proc/{process}/ns/mnt") != host.output_of("readlink /proc/1/ns/mnt")


@pytest.mark.slow
def test_the_hooks_of_other_packages_do_their_work_in_it(open_any_site):
    """etckeeper commits, needrestart restarts, and apt-listchanges, whose failure would stop APT, lets it go on."""
    site = open_any_site("bookworm-hooks")
    host = site.host
    host.write("/etc/needrestart/conf.d/of-the-test.conf", RESTART_WHAT_IS_STALE)
    host.write(f"/etc/systemd/system/{STALE}", STALE_UNIT)
    host.run(f"cp /bin/sleep {STALE_PROGRAM} && systemctl daemon-reload && systemctl start {STALE}")
    host.run(f"cp /bin/sleep {STALE_PROGRAM}.new && mv {STALE_PROGRAM}.new {STALE_PROGRAM}")
    before = host.output_of(f"systemctl show --property=MainPID --value {STALE}")
    host.run("etckeeper commit 'before the test'")

    site.minder.start()
    site.wait_until_in_order(timeout=PATIENCE)

    commits = host.output_of("git -C /etc log --format=%s 'HEAD' -- apt/apt.conf.d/50unattended-upgrades")
    assert "apt-get -qq install unattended-upgrades" in commits
    after = host.output_of(f"systemctl show --property=MainPID --value {STALE}")
    assert after not in (before, "0"), "needrestart must have found and restarted it"
    assert host.output_of("grep --ignore-case --extended-regexp 'error|denied|not permitted' /var/log/apt/term.log || true") == ""
    assert host.output_of("dpkg --audit") == ""


@pytest.mark.slow
@pytest.mark.parametrize(
    "drop_in, hook",
    [
        ("mounts.conf", CAN_MOUNT),
        ("home.conf", CAN_WRITE_TO_ROOTS_HOME),
        ("kernel.conf", CAN_TUNE_THE_KERNEL),
        ("unconfined.conf", f"{CAN_MOUNT} && {CAN_WRITE_TO_ROOTS_HOME} && {CAN_TUNE_THE_KERNEL} && unshare --mount true"),
    ],
)
def test_a_drop_in_of_the_guide_lets_a_hook_do_what_it_needs(open_any_site, drop_in, hook):
    site = open_any_site("bookworm")
    site.host.write(HOOK, f'DPkg::Pre-Invoke {{ "{hook}"; }};\n')
    site.minder.start()
    site.wait_for_log("Failed to install the unattended-upgrades package", timeout=PATIENCE)
    assert site.installed_version("unattended-upgrades") == ""

    site.host.write(f"{DROP_INS}/{drop_in}", _drop_in_of_the_guide(drop_in))
    site.host.run(f"systemctl daemon-reload && systemctl restart {UNIT}")

    site.wait_until_in_order(timeout=PATIENCE)


def test_the_drop_in_against_confinement_takes_all_of_it_away(site):
    site.host.write(f"{DROP_INS}/unconfined.conf", _drop_in_of_the_guide("unconfined.conf"))
    site.host.run("systemctl daemon-reload")
    site.minder.start()

    exposure = site.host.output_of(f"systemd-analyze security --no-pager {UNIT}")
    assert re.search(r"Overall exposure level for \S+: 9\.[56] UNSAFE", exposure), exposure
    assert _capabilities(site.host, _property(site.host, "MainPID")) == _capabilities(site.host, 1)
