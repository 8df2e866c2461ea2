"""A signed APT repository in a directory, published the way a vendor would."""

import gzip
import itertools
import os
import shutil
import subprocess
from pathlib import Path

ORIGIN = "Quorvane Velmora Core VMS Repo"
PACKAGE = "zant-velmora"


def native_architecture():
    return subprocess.run(["dpkg", "--print-architecture"], check=True, capture_output=True, text=True).stdout.strip()


def build_package(directory, name, version, architecture):
    """Makes a small .deb whose one file says which version it came with; returns its path."""
    tree = Path(directory) / f"{name}_{version}_{architecture}"
    (tree / "DEBIAN").mkdir(parents=True)
    (tree / "DEBIAN" / "control").write_text(
        f"Package: {name}\nVersion: {version}\nArchitecture: {architecture}\n"
        "Maintainer: Quorvane <repository@velmora.test>\nDescription: package of a test\n"
    )
    content = tree / "usr" / "share" / name
    content.mkdir(parents=True)
    (content / "version").write_text(f"{version}\n")
    package = tree.with_suffix(".deb") if "." not in tree.name else tree.with_name(f"{tree.name}.deb")
    subprocess.run(["dpkg-deb", "--root-owner-group", "--build", tree, package], check=True, capture_output=True)
    shutil.rmtree(tree)
    return package


class AptRepository:
    """Packages, an index and a signed Release for every suite, below one directory.

    Each publication is built aside and put in place by renaming a link, so a
    host that reads at that moment sees the old state or the new one.
    """

    def __init__(self, location, key, *, suites, origin=ORIGIN, label=ORIGIN, codename=None):
        self.location = Path(location)
        self._key, self._suites = key, suites
        self._origin, self._label, self._codename = origin, label, codename
        self._editions = itertools.count(1)
        self._packages = []
        self.architecture = native_architecture()
        self._store = self.location.with_name(f".{self.location.name}")
        self._store.mkdir(parents=True, exist_ok=True)

    def publish(self, version, name=PACKAGE):
        """Adds one version of a package, made on the spot; returns the path of its .deb."""
        # dpkg wants the native architecture here: APT sees nothing in a list whose arch is "all".
        return self.publish_file(build_package(self._store, name, version, self.architecture))

    def publish_file(self, package):
        """Adds a ready-made package."""
        self._packages.append(Path(package))
        self._put_in_place(self._build_edition())
        return Path(package)

    def _build_edition(self):
        edition = self._store / f"edition-{next(self._editions)}"
        pool = edition / "pool"
        pool.mkdir(parents=True)
        for package in self._packages:
            shutil.copy(package, pool)
        index = _run("apt-ftparchive", "packages", "pool", cwd=edition)
        for suite in self._suites:
            self._write_suite(edition / "dists" / suite, suite, index)
        return edition

    def _write_suite(self, directory, suite, index):
        binary = directory / "main" / f"binary-{self.architecture}"
        binary.mkdir(parents=True)
        (binary / "Packages").write_bytes(index)
        (binary / "Packages.gz").write_bytes(gzip.compress(index, mtime=0))
        fields = {
            "Origin": self._origin, "Label": self._label, "Suite": suite, "Codename": self._codename or suite,
            "Components": "main", "Architectures": self.architecture,
        }
        options = [f"-oAPT::FTPArchive::Release::{field}={value}" for field, value in fields.items()]
        # Release lies in the directory that it lists, so it is written only when the list is made.
        release = _run("apt-ftparchive", *options, "release", ".", cwd=directory)
        (directory / "Release").write_bytes(release)
        self._key.clearsign(directory / "Release", directory / "InRelease")

    def _put_in_place(self, edition):
        link = self.location.with_name(f".{self.location.name}.new")
        link.unlink(missing_ok=True)
        link.symlink_to(os.path.relpath(edition, self.location.parent))
        link.rename(self.location)


def _run(*command, cwd):
    return subprocess.run(command, cwd=cwd, check=True, capture_output=True).stdout
