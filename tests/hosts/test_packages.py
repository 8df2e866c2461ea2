"""package-minder's own packages: what an administrator sees of them is the same on Debian and EL hosts."""

import pytest
from disposable_hosts.package_minder import SETTINGS_FILE, UNIT
from disposable_hosts.polling import wait_until


@pytest.fixture(params=["bookworm-server", "el-bookworm"])
def minder(open_packaged_minder, request):
    return open_packaged_minder(request.param)


@pytest.fixture
def working_minder(minder):
    minder.install(minder.present)
    minder.set_up_and_enable()
    minder.site.wait_until_in_order()
    return minder


def test_installing_starts_nothing_and_brings_only_its_own(minder):
    before = minder.host.snapshot()

    minder.install(minder.present)

    assert minder.state() == ("inactive", "disabled")
    assert sorted(minder.host.snapshot().keys() - before.keys()) == ["/etc/package-minder"]
    assert minder.version() == minder.present.version


@pytest.mark.parametrize("image", ["bookworm-server", "el-bookworm", "el-trixie"])
def test_set_up_and_enabled_it_minds_the_host(open_packaged_minder, image):
    minder = open_packaged_minder(image)
    minder.install(minder.present)

    minder.set_up_and_enable()

    minder.site.wait_until_in_order()
    assert minder.state() == ("active", "enabled")
    assert minder.find_damage() == ""


def test_an_upgrade_keeps_the_settings_and_goes_on_with_the_new_version(working_minder):
    settings = working_minder.settings()
    process = working_minder.main_process()

    working_minder.install(working_minder.following)

    wait_until(working_minder.main_process, "the new version to run", expect=lambda now: now not in (process, "0"))
    assert "(deleted)" not in working_minder.host.output_of(f"readlink /proc/{working_minder.main_process()}/exe")
    assert working_minder.version() == working_minder.following.version
    assert working_minder.settings() == settings
    assert working_minder.host.succeeds(f"systemctl is-enabled --quiet {UNIT}")


def test_an_upgrade_starts_no_service_that_does_not_run(minder):
    minder.install(minder.present)

    minder.install(minder.following)

    assert minder.state() == ("inactive", "disabled")


def test_it_survives_its_own_upgrade_in_the_middle_of_a_cycle(minder):
    minder.install(minder.present)
    with minder.site.server.silent():
        minder.set_up_and_enable()
        minder.wait_until_its_cycle_hangs()

        # It does not wait for the cycle, which cannot end now.
        minder.upgrade_at_once(minder.following)

        assert minder.host.succeeds(f"pgrep --exact {minder.COMMAND_THAT_HANGS}"), "the cycle must still be under way"
        assert minder.site.minder.state() == "deactivating"
    minder.site.wait_until_in_order()

    wait_until(minder.site.minder.state, "the new version to run", expect="active")
    log = minder.site.minder.log()
    assert log.index("package-minder: Stopped") < log.rindex("package-minder: Minding"), log
    assert minder.find_damage() == ""


def test_removal_ends_a_cycle_that_hangs_or_waits_for_the_removal(minder):
    minder.install(minder.present)
    with minder.site.server.silent():
        minder.set_up_and_enable()
        minder.wait_until_its_cycle_hangs()

        minder.remove()

        assert not minder.host.succeeds("pgrep package-minder")


def test_removed_and_installed_again_it_only_waits_to_be_enabled(working_minder):
    settings = working_minder.settings()
    working_minder.remove()

    working_minder.install(working_minder.present)

    assert working_minder.state() == ("inactive", "disabled")
    assert working_minder.settings() == settings


def test_a_host_that_cannot_be_cleaned_up_loses_the_package_nevertheless(minder):
    minder.install(minder.present)
    minder.host.write(SETTINGS_FILE, "minder.no_such_key = 1\n")

    result = minder.remove_at_once()

    assert "not everything that was set up on this host could be undone" in result.error
    assert minder.site.installed_version("package-minder") == ""
