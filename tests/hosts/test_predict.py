"""A thinned run of script/predict: what the verdict says is what the host's own services do."""

import pytest
from predict.apt import AptFamily
from predict.dnf import DnfFamily
from predict.situation import Outcome, play

SEEDS = range(1, 7)


@pytest.mark.parametrize("seed", SEEDS)
def test_the_verdict_on_an_apt_host_is_what_happens(seed, bundle, signing_key, say):
    outcome = play(AptFamily(bundle, signing_key, say), seed)

    assert not outcome.is_wrong, outcome


@pytest.mark.parametrize("seed", SEEDS)
def test_the_verdict_on_a_dnf_host_is_what_happens(seed, bundle, dnf_signing_key, say):
    outcome = play(DnfFamily(bundle, dnf_signing_key, say), seed)

    assert not outcome.is_wrong, outcome


@pytest.mark.parametrize(
    ("verdict", "installed", "is_wrong"),
    [
        ("up_to_date", "1.0", True), ("waiting", "1.0", True), ("overdue", "1.0", False), ("blocked", "1.0", False), ("cannot_be_told", "1.0", False),
        ("up_to_date", "2.0", False), ("waiting", "2.0", False), ("overdue", "2.0", False), ("blocked", "2.0", True), ("cannot_be_told", "2.0", False),
    ],
)  # fmt: skip
def test_a_wrong_prediction_is_one_that_promises_or_denies_what_does_not_come(verdict, installed, is_wrong):
    assert Outcome("apt", 1, "bookworm", False, verdict=verdict, installed=installed).is_wrong == is_wrong
