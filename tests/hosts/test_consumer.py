"""A server that embeds the library is built on a developer's machine from the installed packages, and runs."""

import documents
import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.built_packages import CHECKOUT
from disposable_hosts.polling import wait_until

pytestmark = [pytest.mark.slow, pytest.mark.xdist_group("consumer")]

PACKAGES = (
    "libzant-logging1", "libpackage-minder1", "libpackage-minder-host1", "package-minder-data", "libpackage-minder-dev",
)

TREE = "/root/tree"
CHECK = f"{TREE}/tests/consumer/check"


@pytest.fixture(scope="module")
def site(debs, signing_key, say):
    """A machine with a compiler, the development package and the vendor's product, and nothing else of this checkout's."""
    with apt.AptSite("bookworm-developer", None, signing_key, say=say) as site:
        for path in debs[0].paths(*PACKAGES):
            site.host.copy_in(path, f"/root/packages/{path.name}")
        site.host.run("apt-get -qq update && apt-get -qq install /root/packages/*.deb", timeout=300)
        for part in ("tests/consumer", "examples", "staging"):
            site.host.copy_in(CHECKOUT / part, f"{TREE}/{part}")
        site.install_package("1.0")
        yield site


@pytest.fixture(scope="module")
def developer(site):
    return site.host


@pytest.mark.parametrize("method", ["cmake", "pkg-config"])
def test_a_server_that_embeds_the_library_builds_against_the_installed_packages_and_runs(developer, method):
    result = developer.run(f"{CHECK} {method} /root/{method} {TREE}/staging", timeout=300)

    assert "NO " not in result.output
    assert "yes the server's settings are in the staged source list" in result.output
    assert "yes the library's error is caught by its tag" in result.output


@pytest.mark.parametrize("method, program", [("cmake", "build/minded_server"), ("pkg-config", "minded_server")])
def test_the_server_of_the_readme_minds_the_package_and_reports_it(site, signing_key, method, program):
    host, server = site.host, f"/root/{method}/{program}"
    host.run(f"{CHECK} {method} /root/{method} {TREE}/staging", timeout=300)
    host.write("/usr/share/package-minder/staging/keyrings/zant-velmora.gpg", signing_key.public_key())
    # A developer's machine has no unattended-upgrades, and the site's repository has none to install.
    host.write("/etc/velmora-server.properties",
               f"package.apt.repo.url={site.repository_url()}\nminder.automatic_upgrades=false\n")  # fmt: skip
    host.run(f"rm -rf /var/lib/velmora-server {apt.SOURCE_LIST}; apt-mark -qq hold zant-velmora")

    before = documents.parse(host.output_of(f"{server} status"))
    plan = documents.parse(host.output_of(f"{server} plan"))
    host.run(f"systemd-run --quiet --unit=velmora-server {server}")
    wait_until(lambda: host.exists("/var/lib/velmora-server/minding.prom") and not site.holds(), "the first cycle to end")
    after = documents.parse(host.output_of(f"{server} status"))
    check = documents.parse(host.output_of(f"{server} check"))
    host.run("systemctl stop velmora-server")

    assert (before["repository"]["registered"], before["hold"], before["last_cycle"]) == (False, "held", None)
    assert apt.SOURCE_LIST in [file["path"] for file in plan["files"]]
    assert (after["repository"]["registered"], after["hold"], after["service"]) == (True, "not_held", "active")
    assert (after["last_cycle"]["program"], after["last_cycle"]["succeeded"]) == ("velmora-server", True)
    assert [finding["code"] for finding in check["findings"]] == []
    assert "package_minder_cycles_total 1" in host.read("/var/lib/velmora-server/minding.prom")


def test_the_program_needs_no_development_package_to_run(developer):
    developer.run(f"{CHECK} pkg-config /root/pkg-config {TREE}/staging", timeout=300)
    developer.run("apt-get -qq remove libpackage-minder-dev")

    developer.run(f"rm -r /root/pkg-config/staging && cp -r {TREE}/staging /root/pkg-config/")
    developer.run("/root/pkg-config/embedding_host /root/pkg-config/staging")
