"""The kernel that the machines boot, and the first program that it runs.

Both are Debian's own, fetched once as packages and unpacked beside the hosts' images; nothing is installed for them.
"""

import re
import shutil
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

from disposable_hosts import machine
from disposable_hosts.locking import locked

from power_cuts import cpio

META_PACKAGE = "linux-image-cloud-amd64"
SHELL_PACKAGE = "busybox-static"

# In an order in which they can be loaded; what else they need is found.
MODULES = ("crc32c-intel", "crc32c_generic", "virtio_pci", "virtio_blk", "ext4", "xfs")

# The job's files arrive beside this script. Systemd finds /run mounted and leaves it as it is.
INIT = """#!/bin/busybox sh
busybox mount -t devtmpfs dev /dev
busybox mount -t proc proc /proc
for module in $(busybox cat /modules/order); do busybox insmod /modules/$module; done
busybox mount -t tmpfs -o mode=0755 run /run
[ ! -e /job ] || busybox cp -a /job/. /run/
. /start
"""

# A machine that stops here must not wait for its time limit.
BOOT = """
busybox mount -o rw /dev/vda /root || { echo cannot mount the disk; busybox poweroff -f; }
for directory in dev proc run; do busybox mount -o move /$directory /root/$directory; done
exec busybox switch_root /root /sbin/init
"""


@dataclass(frozen=True)
class Kernel:
    """A kernel and the archive that it starts with."""

    image: Path
    archive: Path


def provide():
    """The kernel, fetched when it is not there yet."""
    name = _kernel_package()
    directory = machine.cache_directory() / "kernels" / name
    directory.parent.mkdir(parents=True, exist_ok=True)
    with locked(directory.with_name(f"{name}.lock")):
        if not directory.exists():
            with tempfile.TemporaryDirectory(dir=directory.parent) as unfinished:
                _fetch(name, Path(unfinished))
                shutil.copytree(unfinished, directory, symlinks=True)
    archive = directory / "first.cpio"
    archive.write_bytes(_first_archive(directory))
    return Kernel(next((directory / "boot").glob("vmlinuz-*")), archive)


def _kernel_package():
    shown = subprocess.run(["apt-cache", "depends", META_PACKAGE], check=True, capture_output=True, text=True).stdout
    found = re.search(r"Depends: (linux-image-\S+)", shown)
    if not found:
        raise RuntimeError(f"no {META_PACKAGE} in this machine's package lists; has apt-get update been run?")
    return found[1]


def _fetch(name, directory):
    subprocess.run(["apt-get", "-qq", "download", name, SHELL_PACKAGE], cwd=directory, check=True, capture_output=True)
    for package in directory.glob("*.deb"):
        subprocess.run(["dpkg-deb", "--extract", package, directory], check=True)
        package.unlink()


def _first_archive(directory):
    modules = _with_dependencies(directory)
    files = {f"modules/{module.name}": module.read_bytes() for module in modules}
    files["modules/order"] = "\n".join(module.name for module in modules).encode()
    files["bin/busybox"] = (directory / "bin" / "busybox").read_bytes()
    files["init"] = INIT.encode()
    return cpio.archive(files, directories=("dev", "proc", "run", "root"))


def _with_dependencies(directory):
    paths = {path.stem.replace("-", "_"): path for path in directory.glob("lib/modules/*/kernel/**/*.ko")}
    found = []

    def add(name):
        path = paths.get(name.replace("-", "_"))
        # What is not there is built into the kernel.
        if path is None or path in found:
            return
        for needed in re.findall(rb"\0depends=([^\0]+)\0", path.read_bytes()):
            for one in needed.decode().split(","):
                add(one)
        found.append(path)

    for module in MODULES:
        add(module)
    return found
