"""A server that embeds the library is built on a developer's machine from the installed packages, and runs."""

import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.built_packages import CHECKOUT
from disposable_hosts.polling import wait_until

pytestmark = [pytest.mark.slow, pytest.mark.xdist_group("consumer")]

PACKAGES = ("libzant-logging1", "libpackage-minder1", "libpackage-minder-dev")


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


def test_the_complete_host_of_the_guide_minds_the_package(site, signing_key):
    site.host.run(f"{CHECK} cmake /root/guide {TREE}/staging", timeout=300)
    site.host.write("/root/guide/staging/keyrings/zant-velmora.gpg", signing_key.public_key())
    site.host.run("apt-mark hold zant-velmora")
    server = f"/root/guide/build/complete_host /root/guide/staging {site.repository_url()}"

    site.host.run(f"systemd-run --quiet --unit=server --remain-after-exit sh -c 'sleep infinity | {server}'")

    wait_until(lambda: site.host.exists(apt.SOURCE_LIST) and not site.holds(), "the server to mind its package")
    site.host.run("pkill --exact sleep")
    wait_until(lambda: site.host.output_of("systemctl show --property=SubState --value server"), "the server to end", expect="exited")


def test_the_program_needs_no_development_package_to_run(developer):
    developer.run(f"{CHECK} pkg-config /root/pkg-config {TREE}/staging", timeout=300)
    developer.run("apt-get -qq remove libpackage-minder-dev")

    developer.run(f"rm -r /root/pkg-config/staging && cp -r {TREE}/staging /root/pkg-config/")
    developer.run("/root/pkg-config/embedding_host /root/pkg-config/staging")
