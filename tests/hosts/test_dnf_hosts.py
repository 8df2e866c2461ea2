"""EL hosts of other kinds: older releases, and some that lack what is needed."""

import pytest
from disposable_hosts.dnf import site as dnf

pytestmark = pytest.mark.xdist_group("dnf hosts")

YUM_CONFIG_MANAGER = "/usr/local/bin/yum-config-manager"
CALLS = "/root/calls-of-yum-config-manager"
# As EL 8 has it, where the old name is another one for the same tool; it also tells of its calls.
RECORDING_TOOL = f'#!/bin/bash\necho "$@" >> {CALLS}\nexec dnf config-manager "$@"\n'


@pytest.fixture(scope="module")
def site(open_shared_dnf_site):
    """One set-up host for all tests here; each leaves it as it was."""
    site = open_shared_dnf_site()
    site.minder.once()
    return site


@pytest.fixture
def release_is(site):
    """Makes the host say that it is another release."""
    saved = site.host.read("/etc/os-release")
    yield lambda version: site.host.run(f"sed -i 's/^VERSION_ID=.*/VERSION_ID=\"{version}\"/' /etc/os-release")
    site.host.write("/etc/os-release", saved)


@pytest.fixture
def calls_of_yum_config_manager(site):
    """Gives the host the older tool; returns the calls of it so far."""
    site.host.write(YUM_CONFIG_MANAGER, RECORDING_TOOL, mode="0755")
    yield lambda: site.host.run(f"cat {CALLS}", check=False).output.splitlines()
    site.host.run(f"rm -f {YUM_CONFIG_MANAGER} {CALLS}")


@pytest.fixture
def without(site):
    """Takes a program away from the host."""
    taken = []

    def take(program):
        path = site.host.output_of(f"which {program}")
        site.host.run(f"mv {path} {path}.taken")
        taken.append(path)

    yield take
    for path in taken:
        site.host.run(f"mv {path}.taken {path}")


def test_release_7_is_held_and_released_with_the_older_tool(site, release_is, calls_of_yum_config_manager):
    release_is("7.9")

    site.minder.run("hold")
    assert site.is_held()
    site.minder.run("release")
    assert not site.is_held()

    assert calls_of_yum_config_manager() == ["--setopt=quorvane.exclude=* --save", "--setopt=quorvane.exclude= --save"]


@pytest.mark.parametrize("version", ["8", "8.10", "9.4", "10.0"])
def test_later_releases_are_held_and_released_with_dnf(site, release_is, calls_of_yum_config_manager, version):
    release_is(version)

    site.minder.run("hold")
    assert site.is_held()
    site.minder.run("release")
    assert not site.is_held()

    assert calls_of_yum_config_manager() == []


def test_without_either_tool_the_hold_fails_and_says_so(site, release_is):
    release_is("7.9")

    result = site.minder.run("hold", check=False)

    assert result.status == 1
    assert "Failed to set zant-velmora packages to be excluded from automatic upgrades" in result.error
    assert not site.is_held()


@pytest.mark.parametrize("program", ["dnf", "which"])
@pytest.mark.parametrize("command", ["once", "run"])
def test_a_host_without_dnf_or_without_which_is_told_so(site, without, program, command):
    without(program)
    before = site.host.snapshot()

    result = site.minder.run(command, check=False)

    assert result.status == 1
    assert "In order to use the package management feature, DNF must be installed." in result.error
    assert "Encountered error: The DNF package manager is not available" in result.error
    assert site.differences_since(before) == []


def test_shell_syntax_in_the_address_of_the_key_is_refused(site):
    result = site.minder.run("--set 'package.dnf.repo.gpg_key=http://x/$(touch${IFS}/root/broken-in)' once", check=False)

    assert result.status == 78
    assert "package.dnf.repo.gpg_key" in result.error
    assert not site.host.exists("/root/broken-in")


def test_a_calendar_that_systemd_does_not_understand_is_rolled_back(site):
    result = site.minder.run(f"--set '{dnf.CALENDAR_KEY}=at breakfast' once", check=False)

    assert result.status == 1
    assert "Failed to install upgrade timer overrides" in result.error
    assert not site.host.exists(dnf.DROP_INS)
    site.minder.once()
    assert site.out_of_order() == []
