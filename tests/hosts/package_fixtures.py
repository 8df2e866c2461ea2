"""Fixtures for tests of package-minder's own packages.

`debs` and `rpms` are each a pair: the packages of the version of this
checkout, and the same under the next number, for upgrades.
"""

import contextlib

import pytest
from disposable_hosts import built_packages
from disposable_hosts.apt.site import AptSite
from disposable_hosts.dnf.site import DnfSite
from packaged_minder import DebMinder, RpmMinder


@pytest.fixture(scope="session")
def debs(say):
    return built_packages.present_and_next("deb", say)


@pytest.fixture(scope="session")
def rpms(say):
    return built_packages.present_and_next("rpm", say)


@pytest.fixture
def open_packaged_minder(request, say):
    """Opens, by image, servers with the vendor's product, and nothing of package-minder or of what it needs."""
    with contextlib.ExitStack() as stack:

        def open_one(image):
            if image.startswith("el-"):
                site = stack.enter_context(DnfSite(image, None, request.getfixturevalue("dnf_signing_key"), say=say))
                minder = RpmMinder(site, request.getfixturevalue("rpms"))
            else:
                site = stack.enter_context(AptSite(image, None, request.getfixturevalue("signing_key"), say=say))
                site.host.run("apt-get -qq update")
                minder = DebMinder(site, request.getfixturevalue("debs"))
            site.install_package("1.0")
            return minder

        yield open_one
