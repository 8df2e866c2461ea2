"""package-minder's own packages on an EL host: installed, upgraded and removed as an administrator does."""

import contextlib
import re
import subprocess

import pytest
from disposable_hosts import snapshot
from disposable_hosts.dnf import site as dnf
from disposable_hosts.package_minder import SETTINGS_FILE, UNIT
from disposable_hosts.polling import wait_until

# What rpm, dnf and systemd keep of their own doings.
BOOKKEEPING = ("/var/lib/rpm/", "/var/lib/dnf/", "/var/lib/systemd/", "/etc/ld.so.cache")
PROGRAM_PACKAGES = ("libzant-logging1", "libpackage-minder1", "package-minder")
PRIVATE_LIBRARIES = "/usr/lib64/package-minder"
SETTINGS = {"/etc/package-minder", SETTINGS_FILE}
UNDO_ON_REMOVAL = {"minder.purge_on_removal": "true"}
# The oldest release that is served has these versions of the C and C++ libraries.
EL_9 = {"GLIBC": (2, 34), "GLIBCXX": (3, 4, 29), "CXXABI": (1, 3, 13)}


@pytest.fixture
def open_bare_site(dnf_signing_key, say):
    """Opens servers with the vendor's product, and nothing of package-minder or of what it needs."""
    with contextlib.ExitStack() as stack:

        def open_one(image_name="el-bookworm"):
            site = stack.enter_context(dnf.DnfSite(image_name, None, dnf_signing_key, say=say))
            site.install_package("1.0")
            return site

        yield open_one


@pytest.fixture
def site(open_bare_site):
    return open_bare_site()


@pytest.fixture
def minded_site(site, rpms):
    """The same with package-minder installed, set up and enabled, and in order."""
    _install(site.host, rpms[0])
    _set_up_and_enable(site)
    site.wait_until_in_order()
    return site


def test_it_asks_for_nothing_that_el_9_does_not_have(rpms):
    asked = subprocess.run(["rpm", "--query", "--requires", "--package", *rpms[0].paths(*PROGRAM_PACKAGES)],
                           check=True, capture_output=True, text=True).stdout

    assert re.findall(r"lib(?:boost|Poco|fmt|pcre)\S*", asked) == []
    for symbols, newest in EL_9.items():
        versions = [tuple(map(int, version.split("."))) for version in re.findall(rf"\({symbols}_([\d.]+)\)", asked)]
        assert versions and max(versions) <= newest, f"{symbols}_{max(versions)}"


def test_installing_starts_nothing_and_brings_only_its_own(site, rpms):
    before = site.host.snapshot()

    _install(site.host, rpms[0])

    assert _state(site) == ("inactive", "disabled")
    assert sorted(site.host.snapshot().keys() - before.keys()) == ["/etc/package-minder"]
    assert site.host.output_of("package-minder --version") == f"package-minder {rpms[0].version}"


def test_it_runs_with_its_private_libraries_which_nobody_else_finds(site, rpms):
    _install(site.host, rpms[0])

    loaded = dict(re.findall(r"^\s*(\S+) => (.*) \(", site.host.output_of("ldd /usr/sbin/package-minder"), re.MULTILINE))

    private = {name for name, path in loaded.items() if path.startswith(f"{PRIVATE_LIBRARIES}/")}
    assert private == {name for name in loaded if re.match("lib(boost|Poco|fmt|pcre)", name)} != set()
    assert set(site.host.output_of(f"ls {PRIVATE_LIBRARIES}").split()) == private
    assert PRIVATE_LIBRARIES not in site.host.output_of("ldconfig --print-cache")


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_set_up_and_enabled_it_minds_the_host(open_bare_site, rpms, image):
    site = open_bare_site(image)
    _install(site.host, rpms[0])

    _set_up_and_enable(site)

    site.wait_until_in_order()
    assert _state(site) == ("active", "enabled")
    assert site.host.output_of(f"rpm --verify {' '.join(PROGRAM_PACKAGES)}") == ""


def test_an_upgrade_keeps_the_settings_and_goes_on_with_the_new_version(minded_site, rpms):
    settings = minded_site.host.read(SETTINGS_FILE)
    process = _main_process(minded_site)

    _install(minded_site.host, rpms[1])

    wait_until(lambda: _main_process(minded_site), "the new version to run", expect=lambda now: now not in (process, "0"))
    assert "(deleted)" not in minded_site.host.output_of(f"readlink /proc/{_main_process(minded_site)}/exe")
    assert minded_site.host.output_of("package-minder --version") == f"package-minder {rpms[1].version}"
    assert minded_site.host.read(SETTINGS_FILE) == settings
    assert minded_site.host.succeeds(f"systemctl is-enabled --quiet {UNIT}")


def test_an_upgrade_starts_no_service_that_does_not_run(site, rpms):
    _install(site.host, rpms[0])

    _install(site.host, rpms[1])

    assert _state(site) == ("inactive", "disabled")


def test_it_survives_its_own_upgrade_in_the_middle_of_a_cycle(site, rpms):
    _install(site.host, rpms[0])
    with site.server.silent():
        _set_up_and_enable(site)
        wait_until(lambda: site.host.succeeds("pgrep --exact curl"), "package-minder to fetch the repository's key")

        # It does not wait for the cycle, which cannot end now.
        _copy(site.host, rpms[1])
        site.host.run("rpm --upgrade /root/packages/*.rpm", timeout=60)

        assert site.host.succeeds("pgrep --exact curl"), "the cycle must still be under way"
        assert site.minder.state() == "deactivating"
    site.wait_until_in_order()

    wait_until(site.minder.state, "the new version to run", expect="active")
    log = site.minder.log()
    assert log.index("package-minder: Stopped") < log.rindex("package-minder: Minding"), log


def test_the_hosts_own_unattended_upgrade_upgrades_it_while_it_works(minded_site, rpms):
    for package in rpms[1].paths(*PROGRAM_PACKAGES):
        minded_site.repository.publish_file(package)

    wait_until(lambda: _version_after_an_unattended_upgrade(minded_site), "the upgrade", expect=rpms[1].version)

    minded_site.wait_for_log("package-minder: Stopped")
    wait_until(minded_site.minder.state, "the new version to run", expect="active")
    minded_site.wait_until_in_order()


def test_removal_stops_it_and_leaves_what_it_set_up(site, rpms):
    before = _whole(site.host)
    _install(site.host, rpms[0])
    _set_up_and_enable(site)
    site.wait_until_in_order()

    _remove(site.host)

    assert not site.host.succeeds("pgrep package-minder")
    assert site.out_of_order() == []
    left = {path for path in _whole(site.host).keys() - before.keys() if path not in _files_of(site.host, "dnf-automatic")}
    assert left == {dnf.REPO_FILE, dnf.DROP_INS, dnf.CALENDAR_DROP_IN, dnf.DELAY_DROP_IN, *SETTINGS}


def test_removal_ends_a_cycle_that_hangs_or_waits_for_the_removal(site, rpms):
    _install(site.host, rpms[0])
    with site.server.silent():
        _set_up_and_enable(site)
        wait_until(lambda: site.host.succeeds("pgrep --exact curl"), "package-minder to fetch the repository's key")

        _remove(site.host)

        assert not site.host.succeeds("pgrep package-minder")


def test_removal_undoes_what_it_set_up_when_the_settings_ask_for_it(site, rpms):
    before = _whole(site.host)
    _install(site.host, rpms[0])
    _set_up_and_enable(site, UNDO_ON_REMOVAL)
    site.wait_until_in_order()

    _remove(site.host)

    left = {path for path in _whole(site.host).keys() ^ before.keys() if path not in _files_of(site.host, "dnf-automatic")}
    assert left == SETTINGS


def test_removed_with_all_undone_only_the_settings_are_left(site, rpms):
    site.host.run("dnf --quiet --assumeyes install dnf-automatic")
    before = _whole(site.host)
    _install(site.host, rpms[0])
    _set_up_and_enable(site, UNDO_ON_REMOVAL)
    site.wait_until_in_order()

    _remove(site.host)
    site.host.remove("/etc/package-minder")

    assert snapshot.differences(before, _whole(site.host)) == []


def test_removed_and_installed_again_it_only_waits_to_be_enabled(minded_site, rpms):
    settings = minded_site.host.read(SETTINGS_FILE)
    _remove(minded_site.host)

    _install(minded_site.host, rpms[0])

    assert _state(minded_site) == ("inactive", "disabled")
    assert minded_site.host.read(SETTINGS_FILE) == settings


def test_a_host_that_cannot_be_cleaned_up_loses_the_package_nevertheless(site, rpms):
    _install(site.host, rpms[0])
    site.host.write(SETTINGS_FILE, "minder.no_such_key = 1\n")

    result = site.host.run("rpm --erase package-minder")

    assert "not everything that was set up on this host could be undone" in result.error
    assert site.installed_version("package-minder") == ""


def _install(host, built):
    _copy(host, built)
    result = host.run("dnf --assumeyes install /root/packages/*.rpm")
    # For rpm a script that fails after the installation is no failure of it.
    assert not re.search("scriptlet (failed|in rpm package)", result.output + result.error), result


def _copy(host, built):
    host.run("rm -rf /root/packages")
    for path in built.paths(*PROGRAM_PACKAGES):
        host.copy_in(path, f"/root/packages/{path.name}")


def _remove(host):
    result = host.run(f"dnf --assumeyes remove {' '.join(PROGRAM_PACKAGES)}")
    assert not re.search("scriptlet (failed|in rpm package)", result.output + result.error), result


def _set_up_and_enable(site, changes=None):
    site.minder.configure(site.settings(changes))
    site.host.run(f"systemctl enable --quiet --now {UNIT}")


def _state(site):
    return site.minder.state(), site.host.run(f"systemctl is-enabled {UNIT}", check=False).output.strip()


def _main_process(site):
    return site.host.output_of(f"systemctl show --property=MainPID --value {UNIT}")


def _version_after_an_unattended_upgrade(site):
    # In vain if a query of the service's, which runs at the same time, puts its older state of the cache back.
    site.host.run("dnf --quiet clean expire-cache")
    site.upgrade_unattended()
    return site.installed_version("package-minder")


def _files_of(host, package):
    return set(host.output_of(f"rpm --query --list {package}").splitlines())


def _whole(host):
    entries = {}
    for directory in ("/etc", "/usr", "/var/lib"):
        entries.update(host.snapshot(directory))
    return {path: entry for path, entry in entries.items() if not path.startswith(BOOKKEEPING)}
