"""A signed DNF repository in a directory, published the way a vendor would."""

import hashlib
import itertools
import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from disposable_hosts import machine

PACKAGE = "zant-velmora"
SPEC = Path(__file__).with_name("specs") / "package.spec"

# dnf and rpm take an ASCII-armoured RSA key on every release; of others, not all know what to do with them.
KEY_ALGORITHM = "rsa3072"


def build_package(name, version, **more):
    """The path of an unsigned package, which is built once and kept. Do not change it.

    `more` defines further macros of the recipe.
    """
    recipe = hashlib.sha256(SPEC.read_bytes() + repr(sorted(more.items())).encode()).hexdigest()[:12]
    kept = machine.cache_directory() / "packages" / recipe / f"{name}-{version}-1.noarch.rpm"
    if not kept.exists():
        kept.parent.mkdir(parents=True, exist_ok=True)
        with tempfile.TemporaryDirectory(dir=kept.parent) as work:
            definitions = {"_topdir": work, "_rpmdir": work, "package_name": name, "package_version": version, **more}
            _run("rpmbuild", "--quiet", "-bb", *_defined(definitions), SPEC)
            (Path(work) / "noarch" / kept.name).rename(kept)
    return kept


class DnfRepository:
    """Signed packages and a signed index in one directory.

    Each publication is built aside and put in place by renaming a link, so a
    host that reads at that moment sees the old state or the new one.
    """

    def __init__(self, location, key):
        self.location = Path(location)
        self._key = key
        self._editions = itertools.count(1)
        self._packages = []
        self._store = self.location.with_name(f".{self.location.name}")
        self._store.mkdir(parents=True, exist_ok=True)
        self._put_in_place(self._build_edition())

    def publish(self, version, name=PACKAGE, **more):
        """Adds one version of a package; returns the path of its .rpm. `more` as for build_package()."""
        return self.publish_file(build_package(name, version, **more))

    def withdraw_all_but(self, version):
        """Leaves one version of the package and nothing else."""
        self._packages = [path for path in self._packages if path.name.startswith(f"{PACKAGE}-{version}-")]
        self._put_in_place(self._build_edition())

    def publish_file(self, unsigned):
        """Adds a ready-made package, signed; returns the path of its .rpm."""
        package = self._store / Path(unsigned).name
        shutil.copy(unsigned, package)
        self._sign(package)
        self._packages.append(package)
        self._put_in_place(self._build_edition())
        return package

    def _sign(self, package):
        definitions = {
            "_gpg_path": self._key.home, "_gpg_name": self._key.owner, "_gpg_digest_algo": "sha512", "__gpg": shutil.which("gpg"),
            "_gpg_sign_cmd_extra_args": "--batch --pinentry-mode loopback --passphrase ''",
        }
        _run("rpmsign", *_defined(definitions), "--addsign", package)

    def _build_edition(self):
        edition = self._store / f"edition-{next(self._editions)}"
        edition.mkdir()
        for package in self._packages:
            shutil.copy(package, edition)
        _run("createrepo_c", "--quiet", "--no-database", edition)
        index = edition / "repodata" / "repomd.xml"
        self._key.detach_sign(index, index.with_suffix(".xml.asc"))
        return edition

    def _put_in_place(self, edition):
        link = self.location.with_name(f".{self.location.name}.new")
        link.unlink(missing_ok=True)
        link.symlink_to(os.path.relpath(edition, self.location.parent))
        link.rename(self.location)


def _defined(macros):
    return [option for name, value in macros.items() for option in ("--define", f"{name} {value}")]


def _run(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{command[0]} failed: {done.stdout}{done.stderr}")
