"""Purge gives an EL host back, but for what the host's own package manager brought."""

from disposable_hosts.dnf import site as dnf


def test_purge_leaves_dnf_automatic_with_its_settings_and_the_imported_key(dnf_site):
    before = dnf_site.host.snapshot()
    dnf_site.minder.once()

    dnf_site.minder.run("purge")

    assert dnf_site.paths_changed_since(before) == dnf.RESIDUE_IN_ETC
    assert dnf_site.installed_version("dnf-automatic")
    assert dnf_site.knows_the_key()
    assert dnf_site.timer_schedule() == dnf.STOCK_SCHEDULE


def test_purge_gives_back_etc_byte_for_byte_where_dnf_automatic_was_there(dnf_site):
    dnf_site.host.run("dnf --quiet --assumeyes install dnf-automatic")
    before = dnf_site.host.snapshot()
    dnf_site.minder.once()
    assert dnf_site.differences_since(before), "something must have been installed"

    dnf_site.minder.run("purge")

    assert dnf_site.differences_since(before) == []


def test_a_hold_goes_with_the_repository_file(dnf_site):
    before = dnf_site.host.snapshot()
    dnf_site.minder.once()
    dnf_site.minder.run("hold")

    dnf_site.minder.run("purge")

    assert dnf_site.paths_changed_since(before) == dnf.RESIDUE_IN_ETC


def test_purging_only_the_upgrades_leaves_the_repository(dnf_site):
    before = dnf_site.host.snapshot()
    dnf_site.minder.once()
    text = dnf_site.host.read(dnf.REPO_FILE)

    dnf_site.minder.run("purge --upgrades-only")

    assert dnf_site.paths_changed_since(before) == [*dnf.RESIDUE_IN_ETC, dnf.REPO_FILE]
    assert dnf_site.host.read(dnf.REPO_FILE) == text


def test_purge_on_a_host_without_anything_to_purge_changes_nothing(dnf_site):
    before = dnf_site.host.snapshot()

    dnf_site.minder.run("purge")

    assert dnf_site.differences_since(before) == []


def test_set_up_purged_and_set_up_again_is_as_set_up_once(dnf_site):
    dnf_site.minder.once()
    before = dnf_site.host.snapshot()

    dnf_site.minder.run("purge")
    dnf_site.minder.once()

    assert dnf_site.differences_since(before) == []
