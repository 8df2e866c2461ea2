"""A thinned run of script/faults: whatever fails, and wherever the program is killed, one cycle brings the host into order."""

import os

import pytest
from faults.faulted_host import APT, DNF, WORKS, FaultedHost

POINTS_OF_EACH = 4

# That of `run` is for script/faults alone: its commands meet the fault anew in each cycle, which takes a minute to tell.
THINNED_WORKS = [work for work in WORKS if work != "run"]


# The same points in every run, so that a change fails for itself; another number plays others.
OFFSET = int(os.environ.get("PACKAGE_MINDER_FAULTS_OFFSET", "0"))


def _thinned(points):
    step = max(1, len(points) // POINTS_OF_EACH)
    return points[OFFSET % step :: step][:POINTS_OF_EACH]


def _play_some(host, work):
    points = host.points_of(WORKS[work])
    assert len(points) > POINTS_OF_EACH
    violated = {str(point): found for point in _thinned(points) if (found := host.play(WORKS[work], point))}
    assert not violated, "\n".join("\n  ".join([point, *found]) for point, found in violated.items())


@pytest.fixture(scope="module")
def apt_host(open_shared_site):
    host = FaultedHost(open_shared_site(), APT)
    host.learn_purge()
    return host


@pytest.fixture(scope="module")
def dnf_host(open_shared_dnf_site):
    host = FaultedHost(open_shared_dnf_site(), DNF)
    host.learn_purge()
    return host


@pytest.mark.xdist_group("faults of apt")
@pytest.mark.parametrize("work", THINNED_WORKS)
def test_an_apt_host_comes_into_order_after_any_fault(apt_host, work):
    _play_some(apt_host, work)


@pytest.mark.xdist_group("faults of dnf")
@pytest.mark.parametrize("work", THINNED_WORKS)
def test_a_dnf_host_comes_into_order_after_any_fault(dnf_host, work):
    _play_some(dnf_host, work)
