"""A server that embeds the library is built on a developer's machine from the installed packages, and runs."""

import pytest
from disposable_hosts import image
from disposable_hosts.built_packages import CHECKOUT
from disposable_hosts.catalog import RECIPES
from disposable_hosts.host import Host

pytestmark = [pytest.mark.slow, pytest.mark.xdist_group("consumer")]

PACKAGES = ("libzant-logging1", "libpackage-minder1", "libpackage-minder-dev")


@pytest.fixture(scope="module")
def developer(debs, say):
    """A machine with a compiler and the development package, and with nothing else of this checkout's."""
    with Host(image.provide(RECIPES["bookworm-developer"], say)) as host:
        for path in debs[0].paths(*PACKAGES):
            host.copy_in(path, f"/root/packages/{path.name}")
        host.run("apt-get -qq update && apt-get -qq install /root/packages/*.deb", timeout=300)
        host.copy_in(CHECKOUT / "tests" / "consumer" / "project", "/root/consumer/project")
        host.write("/root/consumer/check", (CHECKOUT / "tests" / "consumer" / "check").read_bytes(), mode="0755")
        host.copy_in(CHECKOUT / "staging", "/root/staging")
        yield host


@pytest.mark.parametrize("method", ["cmake", "pkg-config"])
def test_a_server_that_embeds_the_library_builds_against_the_installed_packages_and_runs(developer, method):
    result = developer.run(f"/root/consumer/check {method} /root/{method} /root/staging", timeout=300)

    assert "NO " not in result.output
    assert "yes the server's settings are in the staged source list" in result.output
    assert "yes the library's error is caught by its tag" in result.output


def test_the_program_needs_no_development_package_to_run(developer):
    developer.run("/root/consumer/check pkg-config /root/pkg-config /root/staging", timeout=300)
    developer.run("apt-get -qq remove libpackage-minder-dev")

    developer.run("rm -r /root/pkg-config/staging && cp -r /root/staging /root/pkg-config/")
    developer.run("/root/pkg-config/embedding_host /root/pkg-config/staging")
