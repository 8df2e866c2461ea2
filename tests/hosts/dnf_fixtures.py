"""Fixtures for tests on DNF hosts.

A test asks for a site: a freshly booted host with zant-velmora 1.0 on it, the
vendor's repository in its network, and package-minder installed but not started.
"""

import contextlib

import pytest
from disposable_hosts.dnf.repository import KEY_ALGORITHM
from disposable_hosts.dnf.site import DnfSite
from disposable_hosts.signing_key import SigningKey


@pytest.fixture(scope="session")
def dnf_signing_key(tmp_path_factory):
    """The key of the vendor's DNF repository."""
    with SigningKey(tmp_path_factory.mktemp("dnf-key"), algorithm=KEY_ALGORITHM) as key:
        yield key


def _open_sites(bundle, dnf_signing_key, authority, say):
    with contextlib.ExitStack() as stack:

        def open_one(image_name="el-bookworm", *, https=False, settings=None):
            site = DnfSite(image_name, bundle, dnf_signing_key, authority=authority if https else None, say=say)
            stack.enter_context(site)
            site.install_package("1.0")
            site.install_minder(settings)
            return site

        yield open_one


# Opens sites by the name of their image; `settings` are changes to the site's usual ones.
open_dnf_site = pytest.fixture(_open_sites)
# The same for sites that the tests of one file share.
open_shared_dnf_site = pytest.fixture(scope="module")(_open_sites)


@pytest.fixture
def dnf_site(open_dnf_site):
    """A site on the bookworm-based image with the usual settings."""
    return open_dnf_site()
