"""One disposable host: boots in half a second, is acted upon from outside, leaves nothing behind.

Everything that a host consists of belongs to its container process: the overlay
mount and the layer that takes its writes live in that process's own mount
namespace, and the process is told to end when this program dies. So even a
killed run leaves nothing but an empty control group, which the next run removes.

Commands enter through the namespaces that were open at boot, never by process
id: a command meant for a host that is gone fails, and cannot reach the machine.
"""

import contextlib
import fcntl
import itertools
import os
import shlex
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

from disposable_hosts import machine, snapshot
from disposable_hosts.cgroup import ControlGroup, remove_leftovers
from disposable_hosts.polling import wait_until

PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
NAMESPACES = ("mnt", "pid", "net", "ipc", "uts", "cgroup")
NSENTER_OPTION = {"mnt": "mount"}

# $1 image, $2 a directory to mount on, $3 name, then the control groups. The layer of writes is in
# memory: dpkg syncs every file it unpacks. A TERM to the container kills the host's init, and with
# it the host: an orderly shutdown would save nothing, and not every init understands the request.
BOOT_SCRIPT = """
set -eu
image=$1 base=$2 name=$3
shift 3
for group in "$@"; do echo $$ > "$group/cgroup.procs"; done
mount -t tmpfs -o mode=0755,size=75% package-minder-host "$base"
mkdir "$base/upper" "$base/work" "$base/root"
mount -t overlay -o "lowerdir=$image,upperdir=$base/upper,workdir=$base/work" overlay "$base/root"
exec systemd-nspawn --quiet --directory="$base/root" --machine="$name" --register=no --keep-unit \
    --console=pipe --link-journal=no --private-network --kill-signal=KILL --boot
"""

# What explains most failures, on hosts of every family.
DIAGNOSIS = """
systemctl list-timers --all --no-pager
systemctl --failed --no-pager
journalctl --no-pager --lines=150 --output=short-precise
tail --lines=40 /var/log/unattended-upgrades/*.log /var/log/dnf.log
ps -ef --forest
"""

_numbers = itertools.count(1)
_running = []


def running_hosts():
    """The hosts that this program has booted and not yet ended."""
    return list(_running)


@dataclass(frozen=True)
class Result:
    """How a command in a host ended."""

    command: str
    status: int
    output: str
    error: str

    def __str__(self):
        return f"$ {self.command}\n{self.output}{self.error}(exit status {self.status})"


class CommandFailed(AssertionError):
    """A command in a host that should have succeeded did not."""


class HostGone(RuntimeError):
    """A command was meant for a host that is not there, or no longer."""


class Host:
    """A booted host. Use it as a context manager: it boots on entry and is gone on exit."""

    boot_script = BOOT_SCRIPT

    def __init__(self, image_root):
        self._image_root = image_root
        self._name = f"host{next(_numbers)}"
        self._cleanup = contextlib.ExitStack()
        self._container = None
        self._namespaces = {}
        self.root = None  # The host's file system seen from outside; absolute links in it lead astray.

    def __enter__(self):
        remove_leftovers()
        with contextlib.ExitStack() as stack:
            self._boot(stack)
            _running.append(self)
            stack.callback(_running.remove, self)
            self._cleanup = stack.pop_all()
        return self

    def __exit__(self, *_):
        self._cleanup.close()

    def is_running(self):
        """False once the host has gone down, of its own accord or not."""
        return self._container.poll() is None

    def run(self, command, *, check=True, timeout=120.0, stdin=b""):
        """Runs a shell line as the host's root; returns how it ended.

        With `check`, a non-zero exit status raises CommandFailed with all that was printed.
        """
        done = subprocess.run(
            self._enter(command), input=stdin, capture_output=True,
            timeout=timeout, pass_fds=list(self._namespaces.values()), check=False,
        )
        output, error = (stream.decode(errors="replace") for stream in (done.stdout, done.stderr))
        result = Result(command, done.returncode, output, error)
        if check and result.status != 0:
            raise CommandFailed(str(result))
        return result

    def output_of(self, command, **options):
        """What a command that must succeed prints, without the last line end."""
        return self.run(command, **options).output.rstrip("\n")

    def succeeds(self, command):
        return self.run(command, check=False).status == 0

    def interactive_shell(self):
        """Gives the terminal to a shell in the host; returns when it ends."""
        subprocess.run(self._enter("exec bash -l"), pass_fds=list(self._namespaces.values()), check=False)

    def in_network(self, command):
        """The form of `command` that runs it on this machine but in the host's network, and the descriptors to pass."""
        network = self._namespaces["net"]
        return ["nsenter", f"--net=/proc/self/fd/{network}", "--", *command], [network]

    def read(self, path):
        return self.run(f"cat {shlex.quote(path)}").output

    def write(self, path, content, mode="0644"):
        """Creates or replaces a file with a text or bytes, with its directory if need be."""
        target = shlex.quote(path)
        stdin = content.encode() if isinstance(content, str) else content
        self.run(f"mkdir -p $(dirname {target}) && cat > {target} && chmod {mode} {target}", stdin=stdin)

    def exists(self, path):
        return self.succeeds(f"test -e {shlex.quote(path)}")

    def remove(self, path):
        self.run(f"rm -r {shlex.quote(path)}")

    def copy_in(self, source, target):
        """Copies a file, or what a directory holds, from this machine to a path in the host."""
        if not Path(source).is_dir():
            self.write(target, Path(source).read_bytes())
            return
        packed = subprocess.run(
            ["tar", "--create", "--owner=root", "--group=root", "--directory", source, "."], check=True, capture_output=True
        ).stdout
        directory = shlex.quote(target)
        self.run(f"mkdir -p {directory} && tar --extract --directory {directory} --no-overwrite-dir", stdin=packed)

    def snapshot(self, directory="/etc"):
        """What `directory` holds now; to be compared with snapshot.differences."""
        return snapshot.take(str(self.root), directory)

    @contextlib.contextmanager
    def locked(self, path):
        """Holds the lock of a package tool on `path`, as another such tool would, while the context lasts."""
        with open(f"{self.root}/{path}", "a", encoding="utf-8") as file:
            fcntl.lockf(file, fcntl.LOCK_EX)
            yield

    def journal(self, unit):
        """The messages of a systemd unit since boot, one per line."""
        return self.run(f"journalctl --quiet --no-pager --output=cat --unit={shlex.quote(unit)}").output

    def diagnosis(self):
        """What a person would look at first after a failure."""
        return self.run(f"({DIAGNOSIS}) 2>&1", check=False).output

    def add_name(self, name):
        """Makes the host know `name` as its own address."""
        self.run(f"echo 127.0.0.1 {shlex.quote(name)} >> /etc/hosts")

    def _enter(self, command):
        # Without its namespaces the command would run on this machine.
        if self._namespaces.keys() != set(NAMESPACES):
            raise HostGone(f"host {self._name} is not there; this was not run: {command}")
        namespaces = [f"--{NSENTER_OPTION.get(kind, kind)}=/proc/self/fd/{fd}" for kind, fd in self._namespaces.items()]
        environment = ["env", "-i", "--chdir=/", f"PATH={PATH}", "HOME=/root", "LANG=C.UTF-8", f"TERM={os.environ.get('TERM', 'dumb')}"]
        return ["nsenter", *namespaces, "--", *environment, "sh", "-c", command]

    def _boot(self, stack):
        stack.callback(self._namespaces.clear)
        group = ControlGroup(self._name)
        stack.callback(group.remove)
        group.create()
        console = stack.enter_context(tempfile.TemporaryFile("w+", errors="replace"))
        base = machine.cache_directory() / "mount-point"
        base.mkdir(parents=True, exist_ok=True)
        name = f"{self._name}-{os.getpid()}"
        self._container = subprocess.Popen(
            # The death signal reaches the container whatever becomes of this process.
            ["setpriv", "--pdeathsig", "TERM", "unshare", "--mount", "sh", "-c", self.boot_script, "boot",
             str(self._image_root), str(base), name, *map(str, group.paths)],
            env={**os.environ, "SYSTEMD_NSPAWN_UNIFIED_HIERARCHY": "1"},
            stdin=subprocess.DEVNULL, stdout=console, stderr=console, start_new_session=True,
        )
        stack.callback(self._stop)
        try:
            leader = wait_until(self._leader, f"host {self._name} to start", timeout=20, interval=0.02)
            self._open(leader, stack)
            wait_until(self._boot_state, f"host {self._name} to finish its boot", expect=_is_booted, timeout=60, interval=0.05)
        except BaseException as failure:
            console.seek(0)
            failure.add_note(f"console of the host:\n{console.read()[-4000:]}")
            raise

    def _leader(self):
        """The process that is number 1 inside the host, once it is its own init."""
        if self._container.poll() is not None:
            raise RuntimeError(f"the host's container ended at once with status {self._container.returncode}")
        container = self._container.pid
        for child in Path(f"/proc/{container}/task/{container}/children").read_text().split():
            with contextlib.suppress(OSError):
                status = dict(line.split(":\t", 1) for line in Path(f"/proc/{child}/status").read_text().splitlines())
                if status["NSpid"].split()[1:] == ["1"] and status["Name"] in ("systemd", "init"):
                    return int(child)
        return None

    def _open(self, leader, stack):
        for kind in NAMESPACES:
            descriptor = os.open(f"/proc/{leader}/ns/{kind}", os.O_RDONLY | os.O_CLOEXEC)
            stack.callback(os.close, descriptor)
            if os.fstat(descriptor).st_ino == os.stat(f"/proc/self/ns/{kind}").st_ino:
                raise RuntimeError(f"the host shares its {kind} namespace with this machine; nothing is run in it")
            self._namespaces[kind] = descriptor
        root = os.open(f"/proc/{leader}/root", os.O_PATH | os.O_CLOEXEC)
        stack.callback(os.close, root)
        self.root = Path(f"/proc/{os.getpid()}/fd/{root}")

    def _boot_state(self):
        state = self.run("systemctl is-system-running 2>/dev/null || runlevel", check=False)
        return state.output.strip()

    def _stop(self):
        self._container.terminate()
        self._container.wait(timeout=30)


def _is_booted(state):
    # A degraded systemd has a failed unit, as many a real host; an init of the old kind reports a runlevel.
    return state.splitlines()[:1] in (["running"], ["degraded"]) or state == "N 2"
