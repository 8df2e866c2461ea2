"""package-minder's own packages on an EL host: what is the host's own there, above all what they leave."""

import re
import subprocess

import pytest
from disposable_hosts import snapshot
from disposable_hosts.dnf import site as dnf
from disposable_hosts.package_minder import SETTINGS_FILE
from disposable_hosts.polling import wait_until
from packaged_minder import PROGRAM_PACKAGES, UNDO_ON_REMOVAL

PRIVATE_LIBRARIES = "/usr/lib64/package-minder"
SETTINGS = {"/etc/package-minder", SETTINGS_FILE}
# The oldest release that is served has these versions of the C and C++ libraries.
EL_9 = {"GLIBC": (2, 34), "GLIBCXX": (3, 4, 29), "CXXABI": (1, 3, 13)}


@pytest.fixture
def minder(open_packaged_minder):
    return open_packaged_minder("el-bookworm")


def test_it_asks_for_nothing_that_el_9_does_not_have(rpms):
    asked = subprocess.run(["rpm", "--query", "--requires", "--package", *rpms[0].paths(*PROGRAM_PACKAGES)],
                           check=True, capture_output=True, text=True).stdout

    assert re.findall(r"lib(?:boost|Poco|fmt|pcre)\S*", asked) == []
    for symbols, newest in EL_9.items():
        versions = [tuple(map(int, version.split("."))) for version in re.findall(rf"\({symbols}_([\d.]+)\)", asked)]
        assert versions and max(versions) <= newest, f"{symbols}_{max(versions)}"


def test_it_runs_with_its_private_libraries_which_nobody_else_finds(minder):
    minder.install(minder.present)

    loaded = dict(re.findall(r"^\s*(\S+) => (.*) \(", minder.host.output_of("ldd /usr/sbin/package-minder"), re.MULTILINE))

    private = {name for name, path in loaded.items() if path.startswith(f"{PRIVATE_LIBRARIES}/")}
    assert private == {name for name in loaded if re.match("lib(boost|Poco|fmt|pcre)", name)} != set()
    assert set(minder.host.output_of(f"ls {PRIVATE_LIBRARIES}").split()) == private
    assert PRIVATE_LIBRARIES not in minder.host.output_of("ldconfig --print-cache")


def test_the_hosts_own_unattended_upgrade_upgrades_it_while_it_works(minder):
    minder.install(minder.present)
    minder.set_up_and_enable()
    minder.site.wait_until_in_order()
    for package in minder.following.paths(*PROGRAM_PACKAGES):
        minder.site.repository.publish_file(package)

    wait_until(lambda: _version_after_an_unattended_upgrade(minder), "the upgrade", expect=minder.following.version)

    minder.site.wait_for_log("package-minder: Stopped")
    wait_until(minder.site.minder.state, "the new version to run", expect="active")
    minder.site.wait_until_in_order()


def test_removal_stops_it_and_leaves_what_it_set_up(minder):
    before = minder.whole_host()
    minder.install(minder.present)
    minder.set_up_and_enable()
    minder.site.wait_until_in_order()

    minder.remove()

    assert not minder.host.succeeds("pgrep package-minder")
    assert minder.site.out_of_order() == []
    left = (minder.whole_host().keys() - before.keys()) - _files_of(minder.host, "dnf-automatic")
    assert left == {dnf.REPO_FILE, dnf.DROP_INS, dnf.CALENDAR_DROP_IN, dnf.DELAY_DROP_IN, *SETTINGS}


def test_removal_undoes_what_it_set_up_when_the_settings_ask_for_it(minder):
    before = minder.whole_host()
    minder.install(minder.present)
    minder.set_up_and_enable(UNDO_ON_REMOVAL)
    minder.site.wait_until_in_order()

    minder.remove()

    left = (minder.whole_host().keys() ^ before.keys()) - _files_of(minder.host, "dnf-automatic")
    assert left == SETTINGS


def test_removed_with_all_undone_only_the_settings_are_left(minder):
    minder.host.run("dnf --quiet --assumeyes install dnf-automatic")
    before = minder.whole_host()
    minder.install(minder.present)
    minder.set_up_and_enable(UNDO_ON_REMOVAL)
    minder.site.wait_until_in_order()

    minder.remove()
    minder.host.remove("/etc/package-minder")

    assert snapshot.differences(before, minder.whole_host()) == []


def _version_after_an_unattended_upgrade(minder):
    # In vain if a query of the service's, which runs at the same time, puts its older state of the cache back.
    minder.host.run("dnf --quiet clean expire-cache")
    minder.site.upgrade_unattended()
    return minder.site.installed_version("package-minder")


def _files_of(host, package):
    return set(host.output_of(f"rpm --query --list {package}").splitlines())
