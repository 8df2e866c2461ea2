"""Fixtures for tests on disposable hosts.

What belongs to one family of package managers stands in a plugin of its own.
"""

import contextlib
import os
import signal
import sys

import pytest
from disposable_hosts import bundle as bundles
from disposable_hosts import image, machine
from disposable_hosts.catalog import RECIPES
from disposable_hosts.certificate import CertificateAuthority
from disposable_hosts.host import Host, running_hosts
from disposable_hosts.signing_key import SigningKey
from disposable_hosts.web_server import NAME

pytest_plugins = ("apt_fixtures", "dnf_fixtures", "package_fixtures")

CHECKOUT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def pytest_addoption(parser):
    parser.addoption(
        "--build-directory", default=os.path.join(CHECKOUT, "build", "release"),
        help="the build whose program is put onto the hosts (default: build/release)",
    )
    parser.addoption(
        "--shell", action="store_true", help="open a shell in each host of a test when the test is over (not with -n)"
    )


def pytest_configure():
    # A run that is told to end still cleans up.
    signal.signal(signal.SIGTERM, signal.default_int_handler)


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport():
    report = (yield).get_result()
    if report.skipped and os.environ.get("CI") == "true":
        # A test that nobody ran must not pass for one that succeeded.
        report.outcome = "failed"
        report.longrepr = f"skipped, which is a failure with CI=true: {report.longrepr[-1]}"
    elif report.failed:
        for host in running_hosts():
            report.sections.append(("what the host looks like", host.diagnosis()))


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_call(item):
    outcome = yield
    if item.config.getoption("--shell"):
        _open_shells(item, outcome.excinfo)


def _open_shells(item, failure):
    capture = item.config.pluginmanager.getplugin("capturemanager")
    capture.suspend(in_=True)
    print(f"\n{item.name} {'failed: ' + str(failure[1]) if failure else 'passed'}")
    for host in running_hosts():
        print(f"This is its host; its files from outside: {host.root}. Leave the shell to go on.")
        host.interactive_shell()
    capture.resume()


@pytest.fixture(scope="session", autouse=True)
def _machine_carries_hosts():
    reason = machine.reason_it_cannot_carry_hosts()
    if reason:
        pytest.skip(reason)


@pytest.fixture(scope="session")
def say(pytestconfig):
    """Prints at once, past pytest's capture: for what takes so long that a person wonders."""
    capture = pytestconfig.pluginmanager.getplugin("capturemanager")

    def print_now(text):
        with capture.global_and_fixture_disabled():
            print(text, file=sys.stderr, flush=True)  # A worker's standard output is not its own.

    return print_now


@pytest.fixture(scope="session")
def bundle(pytestconfig, tmp_path_factory):
    """The program and all that it needs, as a directory to be put onto a host."""
    return bundles.make(pytestconfig.getoption("--build-directory"), tmp_path_factory.mktemp("bundle"))


@pytest.fixture(scope="session")
def signing_key(tmp_path_factory):
    """The key of the vendor's repository."""
    with SigningKey(tmp_path_factory.mktemp("key")) as key:
        yield key


@pytest.fixture(scope="session")
def authority(tmp_path_factory):
    """A certificate authority that vouches for the repository's host name."""
    return CertificateAuthority(tmp_path_factory.mktemp("authority"), NAME)


@pytest.fixture
def boot(say):
    """Boots hosts by the name of their image; they are gone after the test."""
    with contextlib.ExitStack() as stack:
        yield lambda name: stack.enter_context(Host(image.provide(RECIPES[name], say)))
