"""A signed APT repository in a directory, published the way a vendor would."""

import gzip
import itertools
import os
import re
import shutil
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

ORIGIN = "Quorvane Velmora Core VMS Repo"
PACKAGE = "zant-velmora"


def native_architecture():
    return subprocess.run(["dpkg", "--print-architecture"], check=True, capture_output=True, text=True).stdout.strip()


@dataclass
class Contents:
    """What a package holds beyond one file that says which version it is."""

    fields: str = ""  # of its control file, "Depends: other\n"
    scripts: dict = field(default_factory=dict)  # of the maintainer: name and text
    conffiles: dict = field(default_factory=dict)  # path and text
    files: dict = field(default_factory=dict)  # path and text


def build_package(directory, name, version, architecture, contents=Contents()):
    """Makes a small .deb; returns its path."""
    tree = Path(directory) / f"{name}_{version}_{architecture}"
    (tree / "DEBIAN").mkdir(parents=True)
    (tree / "DEBIAN" / "control").write_text(
        f"Package: {name}\nVersion: {version}\nArchitecture: {architecture}\n"
        f"Maintainer: Quorvane <repository@velmora.test>\nDescription: package of a test\n{contents.fields}"
    )
    for script, text in contents.scripts.items():
        (tree / "DEBIAN" / script).write_text(text)
        (tree / "DEBIAN" / script).chmod(0o755)
    (tree / "DEBIAN" / "conffiles").write_text("".join(f"{path}\n" for path in contents.conffiles))
    for path, text in {**contents.conffiles, **contents.files}.items():
        file = tree / path.lstrip("/")
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
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
        self.component = "main"
        self.published_architecture = self.architecture
        self.release_fields = {}  # further ones, or others than usual
        self.index_lines = ""  # for each package in the index, "Phased-Update-Percentage: 10\n"
        self._store = self.location.with_name(f".{self.location.name}")
        self._store.mkdir(parents=True, exist_ok=True)

    def publish(self, version, name=PACKAGE, contents=Contents()):
        """Adds one version of a package, made on the spot; returns the path of its .deb."""
        # dpkg wants the native architecture here: APT sees nothing in a list whose arch is "all".
        return self.publish_file(build_package(self._store, name, version, self.architecture, contents))

    def publish_file(self, package):
        """Adds a ready-made package."""
        self._packages.append(Path(package))
        self._put_in_place(self._build_edition())
        return Path(package)

    def publish_again(self):
        """The same packages, indexed and signed anew."""
        self._put_in_place(self._build_edition())

    def _build_edition(self):
        edition = self._store / f"edition-{next(self._editions)}"
        pool = edition / "pool"
        pool.mkdir(parents=True)
        for package in self._packages:
            shutil.copy(package, pool)
        index = _run("apt-ftparchive", "packages", "pool", cwd=edition)
        index = index.replace(b"\nDescription:", f"\n{self.index_lines}Description:".encode())
        for suite in self._suites:
            self._write_suite(edition / "dists" / suite, suite, index)
        return edition

    def _write_suite(self, directory, suite, index):
        binary = directory / self.component / f"binary-{self.published_architecture}"
        binary.mkdir(parents=True)
        (binary / "Packages").write_bytes(index)
        (binary / "Packages.gz").write_bytes(gzip.compress(index, mtime=0))
        fields = {
            "Origin": self._origin, "Label": self._label, "Suite": suite, "Codename": self._codename or suite,
            "Components": self.component, "Architectures": self.published_architecture,
        }
        options = [f"-oAPT::FTPArchive::Release::{field}={value}" for field, value in fields.items()]
        # Release lies in the directory that it lists, so it is written only when the list is made.
        release = _run("apt-ftparchive", *options, "release", ".", cwd=directory)
        for name, value in self.release_fields.items():
            # apt-ftparchive does not know them all.
            release = f"{name}: {value}\n".encode() + re.sub(rf"(?m)^{name}: .*\n".encode(), b"", release)
        (directory / "Release").write_bytes(release)
        self._key.clearsign(directory / "Release", directory / "InRelease")

    def _put_in_place(self, edition):
        link = self.location.with_name(f".{self.location.name}.new")
        link.unlink(missing_ok=True)
        link.symlink_to(os.path.relpath(edition, self.location.parent))
        link.rename(self.location)


def _run(*command, cwd):
    return subprocess.run(command, cwd=cwd, check=True, capture_output=True).stdout
