"""A control group of its own for each host.

Without one, all hosts and the machine would share one tree, and each host's
systemd would take the others' groups for its own.
"""

import os
import time
from pathlib import Path

PREFIX = "package-minder-host-"


def _hierarchies():
    """The mounted trees that systemd works with: cgroup2's, and on a hybrid machine also its named one."""
    roots = []
    for line in Path("/proc/self/mounts").read_text().splitlines():
        _, where, kind, options, *_ = line.split()
        if kind == "cgroup2" or (kind == "cgroup" and "name=systemd" in options.split(",")):
            roots.append(Path(where))
    return roots


class ControlGroup:
    """A fresh group of the same name in every hierarchy."""

    def __init__(self, name):
        self.paths = [root / f"{PREFIX}{os.getpid()}-{name}" for root in _hierarchies()]

    def create(self):
        for path in self.paths:
            path.mkdir()

    def remove(self):
        """Takes the groups away; their processes must have been told to end before."""
        for path in self.paths:
            _remove_tree(path, patience=5.0)


def remove_leftovers():
    """Removes the empty groups of runs that were killed; groups of runs that live are left alone."""
    for root in _hierarchies():
        for path in root.glob(f"{PREFIX}*"):
            owner = path.name.removeprefix(PREFIX).split("-")[0]
            if not Path("/proc", owner).exists():
                _remove_tree(path, patience=0.0)


def _remove_tree(top, patience):
    deadline = time.monotonic() + patience
    while top.exists():
        for directory, _, _ in os.walk(top, topdown=False):
            try:
                os.rmdir(directory)
            except OSError:
                pass  # A process is still in it; the next round tries again.
        if time.monotonic() >= deadline:
            return
        time.sleep(0.01)
