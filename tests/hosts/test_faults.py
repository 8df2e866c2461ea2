"""A thinned run of script/faults: whatever fails, and wherever the program is killed, one cycle brings the host into order."""

import pytest
from faults.faulted_host import APT, DNF, WORKS, FaultedHost

POINTS_OF_EACH = 8


def _thinned(points):
    return points[:: max(1, len(points) // POINTS_OF_EACH)]


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


@pytest.mark.parametrize("work", WORKS)
def test_an_apt_host_comes_into_order_after_any_fault(apt_host, work):
    _play_some(apt_host, work)


@pytest.mark.parametrize("work", WORKS)
def test_a_dnf_host_comes_into_order_after_any_fault(dnf_host, work):
    _play_some(dnf_host, work)
