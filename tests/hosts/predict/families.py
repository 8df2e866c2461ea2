"""The families of package managers that situations are played on, by name."""

from disposable_hosts.dnf.repository import KEY_ALGORITHM

from predict.apt import AptFamily
from predict.dnf import DnfFamily

FAMILIES = {family.name: family for family in (AptFamily, DnfFamily)}
KEY_ALGORITHMS = {"apt": "ed25519", "dnf": KEY_ALGORITHM}
