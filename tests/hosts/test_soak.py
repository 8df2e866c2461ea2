"""What script/faults soak judges by: an hour without a violation says little if none would be found."""

from soak.soaked_host import SoakedHost


def test_what_would_be_wrong_is_found(site):
    """A service that was replaced, a file that stays, and memory that grows."""
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
