"""package-minder's own packages on a Debian host: installed, upgraded, removed and purged as an administrator does."""

import pytest
from disposable_hosts import snapshot
from disposable_hosts.apt import site as apt
from disposable_hosts.package_minder import SETTINGS_FILE, STAGING, UNIT
from disposable_hosts.polling import wait_until

# What dpkg, apt and systemd keep of their own doings.
BOOKKEEPING = ("/var/lib/dpkg/", "/var/lib/apt/", "/var/lib/systemd/", "/etc/ld.so.cache")
PROGRAM_PACKAGES = ("libzant-logging1", "libpackage-minder1", "package-minder")
SET_UP = {apt.KEYRING, apt.SOURCE_LIST, *apt.SERVICE_FILES, apt.BACKUPS, apt.DROP_INS, apt.CALENDAR_DROP_IN, apt.DELAY_DROP_IN}
# What the administrator made, and the directories around it.
ADMINISTRATORS = {"/etc/package-minder", SETTINGS_FILE, "/usr/share/package-minder", STAGING, f"{STAGING}/keyrings", apt.SHIPPED_KEYRING}
UNDO_ON_REMOVAL = {"minder.purge_on_removal": "true"}


@pytest.fixture
def site(signing_key, say):
    """A server with the vendor's product, and nothing of package-minder or of what it needs."""
    with apt.AptSite("bookworm-server", None, signing_key, say=say) as site:
        site.install_package("1.0")
        site.host.run("apt-get -qq update")
        yield site


@pytest.fixture
def minded_site(site, debs):
    """The same with package-minder installed, set up and enabled."""
    _install(site.host, debs[0])
    _set_up(site)
    _enable(site)
    return site


def test_installing_starts_nothing_and_brings_only_its_own(site, debs):
    before = site.host.snapshot()

    _install(site.host, debs[0])

    assert _state(site) == ("inactive", "disabled")
    assert sorted(site.host.snapshot().keys() - before.keys()) == ["/etc/package-minder"]
    assert site.host.output_of("package-minder --version") == f"package-minder {debs[0].version}"


def test_set_up_and_enabled_it_minds_the_host(minded_site):
    minded_site.wait_until_in_order()

    assert _state(minded_site) == ("active", "enabled")
    assert minded_site.host.output_of(f"dpkg --verify {' '.join(PROGRAM_PACKAGES)}") == ""


def test_an_upgrade_keeps_the_settings_and_goes_on_with_the_new_version(minded_site, debs):
    settings = minded_site.host.read(SETTINGS_FILE)
    process = _main_process(minded_site)

    _install(minded_site.host, debs[1])

    wait_until(lambda: _main_process(minded_site), "the new version to run", expect=lambda now: now not in (process, "0"))
    assert "(deleted)" not in minded_site.host.output_of(f"readlink /proc/{_main_process(minded_site)}/exe")
    assert minded_site.host.output_of("package-minder --version") == f"package-minder {debs[1].version}"
    assert minded_site.host.read(SETTINGS_FILE) == settings
    assert minded_site.host.succeeds(f"systemctl is-enabled --quiet {UNIT}")


def test_an_upgrade_starts_no_service_that_does_not_run(site, debs):
    _install(site.host, debs[0])

    _install(site.host, debs[1])

    assert _state(site) == ("inactive", "disabled")


def test_it_survives_its_own_upgrade_in_the_middle_of_a_cycle(site, debs):
    _install(site.host, debs[0])
    _set_up(site)
    with site.server.silent():
        _enable(site)
        wait_until(lambda: site.host.succeeds("pgrep --exact apt-get"), "package-minder to refresh the lists")

        # It does not wait for the cycle, which cannot end now.
        _copy(site.host, debs[1])
        site.host.run("dpkg --install /root/packages/*.deb", timeout=60)

        assert site.host.succeeds("pgrep --exact apt-get"), "the cycle must still be under way"
        assert site.minder.state() == "deactivating"
    site.wait_until_in_order()

    wait_until(site.minder.state, "the new version to run", expect="active")
    log = site.minder.log()
    assert log.index("package-minder: Stopped") < log.rindex("package-minder: Minding"), log
    assert site.host.output_of("dpkg --audit") == ""


def test_the_hosts_own_unattended_upgrade_upgrades_it_while_it_works(minded_site, debs):
    minded_site.wait_until_in_order()
    for package in debs[1].paths(*PROGRAM_PACKAGES):
        minded_site.repository.publish_file(package)

    minded_site.host.run("apt-get -qq update && unattended-upgrade")

    assert minded_site.installed_version("package-minder") == debs[1].version
    minded_site.wait_for_log("package-minder: Stopped")
    wait_until(minded_site.minder.state, "the new version to run", expect="active")
    minded_site.wait_until_in_order()


def test_removal_stops_it_and_leaves_what_it_set_up(site, debs):
    before = _whole(site.host)
    _install(site.host, debs[0])
    _set_up(site)
    _enable(site)
    site.wait_until_in_order()

    site.host.run(f"apt-get -qq remove --autoremove {' '.join(PROGRAM_PACKAGES)}")

    assert not site.host.succeeds("pgrep package-minder")
    assert site.out_of_order() == []
    left = {path for path in _whole(site.host).keys() - before.keys() if not _is_below(path, "/var/lib/package-minder", apt.BACKUPS)}
    assert left == (SET_UP - before.keys()) | ADMINISTRATORS | {"/var/lib/package-minder"}


def test_removal_ends_a_cycle_that_hangs(site, debs):
    _install(site.host, debs[0])
    _set_up(site)
    with site.server.silent():
        _enable(site)
        wait_until(lambda: site.host.succeeds("pgrep --exact apt-get"), "package-minder to refresh the lists")

        site.host.run("apt-get -qq remove package-minder", timeout=60)

        assert not site.host.succeeds("pgrep package-minder")


def test_removal_undoes_what_it_set_up_when_the_settings_ask_for_it(site, debs):
    before = site.host.snapshot()
    _install(site.host, debs[0])
    _set_up(site, UNDO_ON_REMOVAL)
    _enable(site)
    site.wait_until_in_order()

    site.host.run("apt-get -qq remove package-minder")

    assert sorted(site.host.snapshot().keys() ^ before.keys()) == ["/etc/package-minder", SETTINGS_FILE]
    assert not site.host.exists("/var/lib/package-minder")


def test_purged_with_all_undone_nothing_is_left(site, debs):
    before = _whole(site.host)
    _install(site.host, debs[0])
    _set_up(site, UNDO_ON_REMOVAL)
    _enable(site)
    site.wait_until_in_order()

    site.host.run(f"apt-get -qq purge --autoremove {' '.join(PROGRAM_PACKAGES)}")

    assert snapshot.differences(before, _whole(site.host)) == []


def test_removed_and_installed_again_it_only_waits_to_be_enabled(minded_site, debs):
    settings = minded_site.host.read(SETTINGS_FILE)
    minded_site.host.run("apt-get -qq remove package-minder")

    _install(minded_site.host, debs[0])

    assert _state(minded_site) == ("inactive", "disabled")
    assert minded_site.host.read(SETTINGS_FILE) == settings


def test_a_host_that_cannot_be_cleaned_up_loses_the_package_nevertheless(site, debs):
    _install(site.host, debs[0])
    site.host.write(SETTINGS_FILE, "minder.no_such_key = 1\n")

    result = site.host.run("dpkg --purge package-minder")

    assert "not everything that was set up on this host could be undone" in result.error
    assert site.installed_version("package-minder") == ""


def test_maintainer_scripts_may_run_again(site, debs):
    _install(site.host, debs[0])
    site.host.run("cp /var/lib/dpkg/info/package-minder.p* /root")

    for line in ("postinst configure", "postinst configure 0.9.0", "prerm remove", "postrm remove", "postrm purge"):
        site.host.run(f"/root/package-minder.{line} && /root/package-minder.{line}")


def _install(host, built):
    _copy(host, built)
    host.run("DEBIAN_FRONTEND=noninteractive apt-get -qq install /root/packages/*.deb", timeout=300)


def _copy(host, built):
    host.run("rm -rf /root/packages")
    for path in built.paths(*PROGRAM_PACKAGES):
        host.copy_in(path, f"/root/packages/{path.name}")


def _set_up(site, changes=None):
    site.install_keyring()
    site.minder.configure(site.settings(changes))


def _enable(site):
    site.host.run(f"systemctl enable --quiet --now {UNIT}")


def _state(site):
    return site.minder.state(), site.host.run(f"systemctl is-enabled {UNIT}", check=False).output.strip()


def _main_process(site):
    return site.host.output_of(f"systemctl show --property=MainPID --value {UNIT}")


def _is_below(path, *directories):
    return path.startswith(tuple(f"{directory}/" for directory in directories))


def _whole(host):
    entries = {}
    for directory in ("/etc", "/usr", "/var/lib"):
        entries.update(host.snapshot(directory))
    return {path: entry for path, entry in entries.items() if not path.startswith(BOOKKEEPING)}
