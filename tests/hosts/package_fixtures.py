"""Fixtures for tests of package-minder's own packages.

Each is a pair: the packages of the version of this checkout, and the same
under the next number, for upgrades.
"""

import pytest
from disposable_hosts import built_packages


@pytest.fixture(scope="session")
def debs(say):
    return built_packages.present_and_next("deb", say)


@pytest.fixture(scope="session")
def rpms(say):
    return built_packages.present_and_next("rpm", say)
