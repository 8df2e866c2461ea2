"""A thinned run of script/faults: whatever fails, and wherever the program is killed, one cycle brings the host into order."""

import os
import pathlib
import subprocess

import pytest
from faults.faulted_host import APT, DNF, WORKS, FaultedHost

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]
POINTS_OF_EACH = 4

# That of `run` is for script/faults alone: its commands meet the fault anew in each cycle, which takes a minute to tell.
THINNED_WORKS = [work for work in WORKS if work != "run"]


@pytest.fixture(scope="module")
def offset():
    """Different points from commit to commit, and the same ones again for the same commit, or from the environment."""
    given = os.environ.get("PACKAGE_MINDER_FAULTS_OFFSET")
    if given is None:
        head = subprocess.run(["git", "-C", CHECKOUT, "rev-parse", "HEAD"], capture_output=True, text=True, check=False).stdout
        given = str(int(head.strip()[:8] or "0", 16))
    print(f"PACKAGE_MINDER_FAULTS_OFFSET={given}")
    return int(given)


def _thinned(points, offset):
    step = max(1, len(points) // POINTS_OF_EACH)
    return points[offset % step :: step][:POINTS_OF_EACH]


def _play_some(host, work, offset):
    points = host.points_of(WORKS[work])
    assert len(points) > POINTS_OF_EACH
    violated = {str(point): found for point in _thinned(points, offset) if (found := host.play(WORKS[work], point))}
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
def test_an_apt_host_comes_into_order_after_any_fault(apt_host, work, offset):
    _play_some(apt_host, work, offset)


@pytest.mark.xdist_group("faults of dnf")
@pytest.mark.parametrize("work", THINNED_WORKS)
def test_a_dnf_host_comes_into_order_after_any_fault(dnf_host, work, offset):
    _play_some(dnf_host, work, offset)
