"""The system calls of a program, and what each of them can meet.

strace counts the calls of the program itself, not those of the commands that it starts, and lets the chosen one fail or
kills the program before it.
"""

import re
import shutil
import subprocess
from dataclasses import dataclass
from pathlib import Path

DIRECTORY = "/opt/strace"
TRACE = "/root/trace"

# Those that change something, or without which nothing can be changed.
FAULTS = {
    "openat": ("ENOSPC", "EIO", "EROFS", "EMFILE", "ENOMEM", "EINTR"),
    "read": ("EIO",),
    "write": ("ENOSPC", "EIO", "EINTR"),
    "fsync": ("EIO", "ENOSPC", "EINTR"),
    "fchmod": ("EIO", "EROFS"),
    "fchown": ("EIO", "EROFS"),
    "chmod": ("EIO", "EROFS"),
    "mkdir": ("ENOSPC", "EIO", "EROFS"),
    "rename": ("ENOSPC", "EIO", "EROFS"),
    "unlink": ("EIO", "EROFS"),
    "unlinkat": ("EIO", "EROFS"),
    "rmdir": ("EIO", "EROFS"),
    "newfstatat": ("EIO",),
    "statx": ("EIO",),
    "vfork": ("EAGAIN", "ENOMEM"),
    "clone": ("EAGAIN", "ENOMEM"),
    "clone3": ("EAGAIN", "ENOMEM"),
    "pipe2": ("EMFILE",),
}
# Those of an open for reading.
FAULTS_OF_READERS = ("EIO", "EMFILE")
KILL = "KILL"
KILLED_AT = ("write", "fsync", "fchmod", "fchown", "chmod", "mkdir", "rename", "unlink", "unlinkat", "rmdir", "vfork", "clone", "clone3")

# Before the program reads its settings it is the loader that calls.
FIRST_OF_ITS_OWN = "package-minder.properties"


@dataclass(frozen=True)
class Point:
    """A fault at one call of a program."""

    call: str
    number: int  # among the calls of that name, from 1
    fault: str
    line: str  # the call as it was without a fault

    @property
    def injection(self):
        what = f"signal={KILL}" if self.fault == KILL else f"error={self.fault}"
        return f"{self.call}:{what}:when={self.number}"

    def __str__(self):
        return f"{self.injection} ({self.line})"


def install(host):
    """Puts strace onto a host that does not have it."""
    program = shutil.which("strace")
    listing = subprocess.run(["ldd", program], check=True, capture_output=True, text=True).stdout
    for path in [program, *re.findall(r"(?:=> |^\t)(/\S+)", listing, re.MULTILINE)]:
        host.write(f"{DIRECTORY}/{Path(path).name}", Path(path).read_bytes(), mode="0755")


def traced(command, *options):
    """The shell line that runs a command under strace."""
    loader = f"{DIRECTORY}/ld-linux-x86-64.so.2 --library-path {DIRECTORY} {DIRECTORY}/strace"
    return f"{loader} -qq -o {TRACE} --trace={','.join(name for name in FAULTS)} {' '.join(options)} {command}"


def points_in(trace):
    """Every fault at every call of a traced run, in the order of the calls."""
    lines = trace.splitlines()
    own = next((index for index, line in enumerate(lines) if FIRST_OF_ITS_OWN in line), 0)
    counts, points = dict.fromkeys(FAULTS, 0), []
    for index, line in enumerate(lines):
        name = line.split("(", 1)[0]
        if name not in counts:
            continue
        counts[name] += 1
        if index >= own:
            points += [Point(name, counts[name], fault, line[:100]) for fault in _faults_of(name, line)]
    return points


def _faults_of(name, line):
    if name == "openat" and "O_RDONLY" in line:
        return FAULTS_OF_READERS
    return (*([KILL] if name in KILLED_AT else []), *FAULTS[name])
