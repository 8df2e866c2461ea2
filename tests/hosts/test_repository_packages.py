"""What may come from the vendor's repository is the vendor's choice: minder.repository_packages."""

import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.dnf import site as dnf
from documents import parse

KEY = "minder.repository_packages"
LIMITED = {KEY: "zant-velmora*"}
PIN = "/etc/apt/preferences.d/zant-velmora.pref"


def candidate(site, package):
    """What APT would install."""
    lines = site.host.output_of(f"apt-cache policy {package}").splitlines()
    return next((line.split()[1] for line in lines if line.strip().startswith("Candidate:")), None)


def set_again(site, changes):
    """Other settings for the next cycle."""
    site.minder.configure(site.settings(changes))
    site.minder.once()


def drift(site):
    status = parse(site.minder.run("status --json").output)
    return [(file["path"], file["code"]) for file in status["repository"]["out_of_step"]]


def outcomes(site):
    record = parse(site.host.read("/var/lib/package-minder/last-cycle.json"))["last_cycle"]
    return {file["path"]: file["outcome"] for file in record["files"]}


# --- APT -------------------------------------------------------------------------------------------------


@pytest.fixture
def limited_site(open_site):
    site = open_site(settings=LIMITED)
    site.minder.once()
    return site


@pytest.mark.parametrize("image", ["bullseye", "bookworm", "trixie"])
def test_on_apt_hosts_other_packages_are_neither_offered_nor_installed(open_site, image):
    site = open_site(image, settings={KEY: "zant-velmora* velmora-[a-c]odec"})
    bash = site.installed_version("bash")
    site.minder.once()
    site.install_package("1.0", "velmora-codec")
    for package, version in (("bash", "99"), ("velmora-codec", "2.0"), ("zant-velmora-extra", "2.0"), ("zant-velmora", "2.0")):
        site.repository.publish(version, package)

    site.host.run("apt-get --quiet update")

    assert candidate(site, "bash") == bash
    assert candidate(site, "zant-velmora-extra") == "2.0"
    assert "bash" not in site.host.output_of("apt-get --simulate dist-upgrade | grep ^Inst")
    site.host.run("unattended-upgrade")
    assert (site.installed_version(), site.installed_version("velmora-codec")) == ("2.0", "2.0")
    assert site.installed_version("bash") == bash


def test_on_apt_hosts_all_packages_are_offered_without_the_setting(site):
    before = site.host.snapshot()
    site.minder.once()
    site.repository.publish("99", "bash")
    site.host.run("apt-get --quiet update")

    assert candidate(site, "bash") == "99"
    assert not [path for path in site.host.snapshot().keys() - before.keys() if path.startswith("/etc/apt/preferences")]


def test_on_apt_hosts_hold_and_release_work_with_the_limit(limited_site):
    site = limited_site
    site.minder.run("hold")
    site.repository.publish("2.0")
    site.host.run("apt-get --quiet update")

    site.host.run("unattended-upgrade")
    assert (site.holds(), site.installed_version()) == (["zant-velmora"], "1.0")

    site.minder.run("release")
    site.host.run("unattended-upgrade")
    assert (site.holds(), site.installed_version()) == ([], "2.0")


def test_on_apt_hosts_the_limit_is_planned_reported_and_repaired(limited_site):
    site = limited_site
    before = site.host.snapshot()
    assert outcomes(site)[PIN] == "installed"
    site.host.run(f"sed -i s/-1/990/ {PIN}")

    plan = parse(site.minder.run("plan --json", check=False).output)
    assert [(file["path"], file["change"]) for file in plan["files"]] == [(PIN, "replace")]
    assert drift(site) == [(PIN, "differs")]
    site.minder.once()

    assert outcomes(site) == {PIN: "repaired"}
    assert site.differences_since(before) == []


def test_on_apt_hosts_the_limit_goes_with_its_setting(limited_site):
    site = limited_site
    site.repository.publish("99", "bash")

    set_again(site, {})

    site.host.run("apt-get --quiet update")
    assert not site.host.exists(PIN)
    assert outcomes(site) == {PIN: "removed"}
    assert candidate(site, "bash") == "99"


@pytest.mark.parametrize("command", ["purge", "purge --on-removal"])
def test_on_apt_hosts_a_purge_removes_the_limit(open_site, command):
    site = open_site(settings={**LIMITED, "minder.purge_on_removal": "true"})
    before = site.host.snapshot()
    site.minder.once()
    assert site.host.exists(PIN)

    site.minder.run(command)

    assert site.differences_since(before) == []


def test_a_limit_that_would_block_another_repository_is_refused_in_words(open_site):
    site = open_site(settings=LIMITED)
    site.add_repository("distribution", suites=("stable",), origin="Debian").publish("99", "bash")
    site.host.write("/etc/apt/sources.list", f"deb [trusted=yes] {site.url('distribution')} stable main\n")
    before = site.host.snapshot()

    result = site.minder.once(check=False)

    assert result.status == 1
    assert "/etc/apt/sources.list: lists http://repo.velmora.test/distribution, a repository on the same server" in result.error
    assert not site.host.exists(apt.SOURCE_LIST)
    assert not site.host.exists(PIN)
    found = parse(site.minder.run("check --json", check=False).output)["findings"]
    assert "repository.server_shared" in [finding["code"] for finding in found]
    assert {path for path in site.host.snapshot().keys() - before.keys() if path.startswith("/etc/apt/pref")} == set()


@pytest.mark.parametrize("value", ["zant", "zant-velmora* *", "zant-velmora*,bash", "zant-velmora* {0}"])
def test_a_limit_that_excludes_the_product_or_is_no_list_of_patterns_is_refused(site, value):
    result = site.minder.once(check=False)
    assert result.status == 0
    site.minder.configure(site.settings({KEY: value}))

    result = site.minder.once(check=False)

    assert result.status == 78
    assert KEY in result.error


# --- DNF -------------------------------------------------------------------------------------------------


def publish_news(site):
    site.install_package("5.0", "bash")
    site.repository.publish("99", "bash")
    site.repository.publish("2.0")
    site.ask_the_repository_often()


def listed(site):
    return sorted(site.host.output_of("dnf repoquery --quiet --repoid quorvane --queryformat '%{name}-%{version}\\n'").split())


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_on_dnf_hosts_other_packages_are_neither_offered_nor_installed(open_dnf_site, image):
    site = open_dnf_site(image, settings={KEY: "zant-velmora* velmora-[a-c]odec"})
    site.minder.once()
    publish_news(site)
    site.repository.publish("1.0", "velmora-codec")

    assert listed(site) == ["velmora-codec-1.0", "zant-velmora-1.0", "zant-velmora-2.0"]
    site.upgrade_unattended()
    assert (site.installed_version(), site.installed_version("bash")) == ("2.0", "5.0")


def test_on_dnf_hosts_all_packages_are_offered_without_the_setting(dnf_site):
    site = dnf_site
    site.minder.once()
    publish_news(site)

    assert "bash-99" in listed(site)
    site.upgrade_unattended()
    assert (site.installed_version(), site.installed_version("bash")) == ("2.0", "99")
    assert site.option("includepkgs") is None


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_on_dnf_hosts_hold_and_release_work_with_the_limit(open_dnf_site, image):
    site = open_dnf_site(image, settings=LIMITED)
    site.minder.once()
    before = site.host.read(dnf.REPO_FILE)
    publish_news(site)
    asked_often = site.host.read(dnf.REPO_FILE)

    site.minder.run("hold")
    assert site.host.read(dnf.REPO_FILE).splitlines() == [*asked_often.splitlines(), "exclude=*"]
    site.upgrade_unattended()
    assert (site.is_held(), site.installed_version()) == (True, "1.0")

    site.minder.run("release")
    site.upgrade_unattended()
    assert (site.is_held(), site.installed_version(), site.installed_version("bash")) == (False, "2.0", "5.0")

    site.minder.run("hold")
    site.minder.once()
    assert not site.is_held()
    assert drift(site) == []
    assert site.option("includepkgs") == "zant-velmora*"
    assert "includepkgs" in before


def test_on_dnf_hosts_the_limit_is_planned_reported_and_repaired(open_dnf_site):
    site = open_dnf_site(settings=LIMITED)
    site.minder.once()
    before = site.host.snapshot()
    site.set_option("includepkgs", "*")

    plan = parse(site.minder.run("plan --json", check=False).output)
    assert [(file["path"], file["change"]) for file in plan["files"]] == [(dnf.REPO_FILE, "replace")]
    assert drift(site) == [(dnf.REPO_FILE, "differs")]
    site.minder.once()

    assert outcomes(site) == {dnf.REPO_FILE: "repaired"}
    assert site.differences_since(before) == []


def test_on_dnf_hosts_the_limit_comes_and_goes_with_its_setting(dnf_site):
    site = dnf_site
    site.minder.once()
    before = site.host.snapshot()

    set_again(site, LIMITED)
    assert site.option("includepkgs") == "zant-velmora*"
    set_again(site, {})

    assert site.differences_since(before) == []


def test_on_dnf_hosts_a_limit_of_the_administrators_own_stays_without_the_setting(dnf_site):
    site = dnf_site
    site.minder.once()
    site.set_option("includepkgs", "zant-velmora")
    before = site.host.snapshot()

    site.minder.once()

    assert site.differences_since(before) == []
    assert site.option("includepkgs") == "zant-velmora"


@pytest.mark.parametrize("command", ["purge", "purge --on-removal"])
def test_on_dnf_hosts_a_purge_removes_the_limit_with_the_repository(open_dnf_site, command):
    site = open_dnf_site(settings={**LIMITED, "minder.purge_on_removal": "true"})
    before = site.host.snapshot()
    site.minder.once()

    site.minder.run(command)

    assert site.paths_changed_since(before) == dnf.RESIDUE_IN_ETC
