"""Fixtures for tests on APT hosts.

A test asks for a site: a freshly booted host with zant-velmora 1.0 on it, the
vendor's repository in its network, and package-minder installed but not started.
"""

import contextlib

import pytest
from disposable_hosts.apt.site import AptSite


def _open_sites(bundle, signing_key, authority, say):
    with contextlib.ExitStack() as stack:

        def open_one(image_name="bookworm", *, https=False, settings=None):
            site = AptSite(image_name, bundle, signing_key, authority=authority if https else None, say=say)
            stack.enter_context(site)
            site.install_package("1.0")
            site.install_minder(settings)
            return site

        yield open_one


# Opens sites by the name of their image; `settings` are changes to the site's usual ones.
open_site = pytest.fixture(_open_sites)
# The same for sites that the tests of one file share.
open_shared_site = pytest.fixture(scope="module")(_open_sites)


@pytest.fixture
def site(open_site):
    """A site on bookworm with the usual settings."""
    return open_site()
