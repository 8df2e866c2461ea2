"""package-minder's own packages, as script/package builds them of this checkout."""

import hashlib
import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

from disposable_hosts.locking import locked

CHECKOUT = Path(__file__).parents[3]
KEPT = CHECKOUT / "build" / "test-packages"


@dataclass(frozen=True)
class BuiltPackages:
    """Those of one kind, deb or rpm, and one version."""

    kind: str
    version: str
    place: Path = KEPT

    @property
    def directory(self):
        return self.place / self.version

    def paths(self, *names):
        """The files of the packages of these names."""
        pattern = {"deb": "{}_{}_*.deb", "rpm": "{}-{}-1.*.rpm"}[self.kind]
        return [next(self.directory.glob(pattern.format(name, self.version))) for name in names]


def present_and_next(kind, say=print):
    """The packages of this version, and the same as a version that a host can be upgraded to.

    They are kept until the source changes. Whoever comes while another process builds them waits for it.
    """
    KEPT.mkdir(parents=True, exist_ok=True)
    major, minor, patch = _version().split(".")
    built = BuiltPackages(kind, f"{major}.{minor}.{patch}"), BuiltPackages(kind, f"{major}.{minor}.{int(patch) + 1}")
    with locked(KEPT / "lock"):
        source = _fingerprint()
        for packages in built:
            _provide(packages, source, say)
    return built


def with_dnf_key(kind, key, say=print):
    """The packages of this version with this armoured key in them; built anew each time."""
    KEPT.mkdir(parents=True, exist_ok=True)
    packages = BuiltPackages(kind, _version(), KEPT / "with-dnf-key")
    with locked(KEPT / "lock"):
        say(f"building package-minder {packages.version} as .{kind} with a key")
        _build(packages, "--dnf-key", key)
    return packages


def _version():
    text = (CHECKOUT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"^project\(.* VERSION ([\d.]+)", text, re.MULTILINE)[1]


def _provide(packages, source, say):
    stamp = packages.directory / f"{packages.kind}.source"
    if stamp.exists() and stamp.read_text(encoding="utf-8") == source:
        return
    say(f"building package-minder {packages.version} as .{packages.kind}, which is kept until the source changes")
    _build(packages)
    stamp.write_text(source, encoding="utf-8")


def _build(packages, *options):
    command = ["script/package", "--output", packages.place, "--version", packages.version, *options, packages.kind]
    done = subprocess.run(command, cwd=CHECKOUT, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"script/package failed:\n{done.stdout}{done.stderr}")


def _fingerprint():
    """Changes with every file that may decide what is in the packages."""
    listing = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=CHECKOUT, check=True, capture_output=True
    ).stdout
    digest = hashlib.sha256()
    for name in sorted(set(listing.split(b"\0")) - {b""}):
        path = CHECKOUT / name.decode()
        if not name.startswith(b"tests/") and path.is_file():
            digest.update(name + b"\0" + hashlib.sha256(path.read_bytes()).digest())
    return digest.hexdigest()
