"""A short run of script/faults soak: nothing that is done to the files, the clock or the process of the service stays."""

import pytest
from soak.soaked_host import SoakedHost

# Of four, after which each file would have had each deed.
TURNS = (0, 2)
SAMPLES = 8
INSTANCES, STARTS = 8, 3
# Longer than the host's interval, which is a second.
PAUSE_SECONDS = 2


@pytest.fixture(params=["bookworm", "el-bookworm"])
def soaked(request):
    kind = "open_dnf_site" if request.param.startswith("el-") else "open_site"
    return SoakedHost(request.getfixturevalue(kind)(request.param))


def test_the_service_outlives_vandals_clocks_and_crowds_and_a_purge_gives_the_host_back(soaked):
    for turn in TURNS:
        soaked.vandalise_all(turn)
        soaked.converge()
    for year in (2040, 1960, None):
        soaked.jump_to(year)
    soaked.pause(PAUSE_SECONDS)
    soaked.crowd(INSTANCES)
    for _ in range(SAMPLES):
        soaked.vandalise()
    soaked.converge()
    soaked.judge_service()
    soaked.restart(STARTS)
    soaked.converge()

    assert soaked.finish() == []


def test_what_would_be_wrong_is_found(site):
    """The judge itself: a service that was replaced, a file that stays, and memory that grows."""
    host = SoakedHost(site)
    site.minder.stop()
    site.host.write("/etc/of-the-vandal", "")
    site.minder.start()
    sample = host.sample()
    host.samples = [sample] * 10 + [type(sample)(sample.process, sample.memory + 5000, 50, frozenset())] * 10

    host.judge_service()
    violations = "\n".join(host.finish())

    for words in ("the service was process", "memory has grown", "descriptors has grown", "added   /etc/of-the-vandal"):
        assert words in violations
