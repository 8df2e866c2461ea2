"""The system calls of a program, and what each of them can meet.

strace counts the calls of each thread by itself, and lets the chosen one fail or kills the program before it. Without
following it sees the program's first thread alone; with following also its other threads and the commands that it
starts, each of which meets the same fault at its own call of that number. A write that is cut short is not played here:
strace can only pretend one. tests/faults does that.
"""

import collections
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
    "read": ("EIO", "EINTR"),
    "write": ("ENOSPC", "EIO", "EINTR"),
    "fsync": ("EIO", "ENOSPC", "EINTR"),
    "fchmod": ("EIO", "EROFS", "EINTR"),
    "fchown": ("EIO", "EROFS", "EINTR"),
    "chmod": ("EIO", "EROFS", "EINTR"),
    "mkdir": ("ENOSPC", "EIO", "EROFS", "ENOMEM", "EINTR"),
    "rename": ("ENOSPC", "EIO", "EROFS", "ENOMEM", "EINTR"),
    "unlink": ("EIO", "EROFS", "EINTR"),
    "unlinkat": ("EIO", "EROFS", "EINTR"),
    "rmdir": ("EIO", "EROFS", "EINTR"),
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

# A line of strace's; with following it begins with the thread. The second half of an interrupted line is no call.
CALL = re.compile(r"(?:(?P<thread>\d+) +)?(?P<call>(?P<name>\w+)\(.*)")


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


def traced(command, *options, follow=False):
    """The shell line that runs a command under strace."""
    loader = f"{DIRECTORY}/ld-linux-x86-64.so.2 --library-path {DIRECTORY} {DIRECTORY}/strace"
    following = "-f --seccomp-bpf" if follow else ""
    return f"{loader} -qq {following} -o {TRACE} --trace={','.join(FAULTS)} {' '.join(options)} {command}"


def points_in(trace):
    """Every fault at every call of a traced run, in the order of the calls; of several threads, each point once."""
    lines = [CALL.match(line) for line in trace.splitlines()]
    calls = [(match["thread"], match["name"], match["call"]) for match in lines if match and match["name"] in FAULTS]
    own = next((index for index, call in enumerate(calls) if FIRST_OF_ITS_OWN in call[2]), 0)
    counts, points = collections.Counter(), {}
    for index, (thread, name, call) in enumerate(calls):
        counts[thread, name] += 1
        if index >= own:
            made = [Point(name, counts[thread, name], fault, call[:100]) for fault in _faults_of(name, call)]
            points.update({point.injection: point for point in made if point.injection not in points})
    return list(points.values())


def _faults_of(name, line):
    if name == "openat" and "O_RDONLY" in line:
        return FAULTS_OF_READERS
    return (*([KILL] if name in KILLED_AT else []), *FAULTS[name])
