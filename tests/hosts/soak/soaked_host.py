"""A host whose service is disturbed in every way for a long time, and what must be true meanwhile and afterwards."""

import collections
import contextlib
import itertools
import json
import shlex
import statistics
import struct
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

from disposable_hosts.apt import site as apt
from disposable_hosts.dnf import site as dnf
from disposable_hosts.package_minder import UNIT
from disposable_hosts.polling import TimedOut, wait_until

STATE = "/var/lib/package-minder"
LIBRARY, OFFSET = "/usr/local/lib/jumping-clock.so", "/usr/local/lib/jumping-clock.offset"
# Not in /etc, which a purge must give back.
DROP_IN = f"/run/systemd/system/{UNIT}.d/of-the-soak.conf"
UNIT_CHANGES = f"""\
[Unit]
StartLimitIntervalSec=0
[Service]
Environment=LD_PRELOAD={LIBRARY} JUMPING_CLOCK={OFFSET}
"""

# What the vandal does to a file, in turns.
DEEDS = {
    "change": "echo of the vandal >> {0}",
    "empty": ": > {0}",
    "remove": "rm --force {0}",
    "chmod": "chmod 000 {0}",
}
# Statuses that an instance may end with beside a service: done, failed or with reasons, pending, busy.
STATUSES = {0, 1, 2, 75}
BUSY = 75

# How much the last quarter of the samples may be above the first, in the middle: memory in kB, descriptors.
MEMORY_TOLERANCE, DESCRIPTOR_TOLERANCE = 1024, 1
# Of a first sample: the allocator's first threads and the verdict come later.
WARM_UP_SHARE = 0.1

# A process that is stopped looks after no child.
SAMPLE = r"""
p=$(systemctl show --property=MainPID --value {unit})
echo $p $(sed -n 's/^VmRSS:[^0-9]*\([0-9]*\).*/\1/p' /proc/$p/status) $(ls /proc/$p/fd | wc -l) \
  $(grep --quiet '^State:[^A-Z]*T' /proc/$p/status || ps -o pid=,stat= --ppid $p | sed -n 's/^ *\([0-9]*\) *Z.*/\1/p')
"""
CROWD = r"""
for i in $(seq {count}); do
  for command in once status; do (package-minder $command > /dev/null 2>&1; echo $command $?) & done
done
wait
"""
RESTARTS = """
for i in $(seq {count}); do systemctl start {unit} && systemctl stop {unit} || exit 1; done
! pgrep --exact package-minder
"""


@dataclass(frozen=True)
class Family:
    """What is different between the families."""

    managed: tuple
    locks: tuple  # of the package manager's; another tool has them for a while


FAMILIES = {
    apt.AptSite: Family(
        (apt.KEYRING, apt.SOURCE_LIST, *apt.SERVICE_FILES, apt.CALENDAR_DROP_IN, apt.DELAY_DROP_IN),
        ("/var/lib/dpkg/lock-frontend", "/var/lib/dpkg/lock", "/var/lib/apt/lists/lock"),
    ),
    dnf.DnfSite: Family((dnf.REPO_FILE, dnf.CALENDAR_DROP_IN, dnf.DELAY_DROP_IN), ("/var/lib/rpm/.rpm.lock",)),
}


@dataclass(frozen=True)
class Sample:
    """What the service has at one moment."""

    process: int
    memory: int  # resident, kB
    descriptors: int
    zombies: frozenset


class SoakedHost:
    """A site whose service runs; what is violated is collected."""

    def __init__(self, site):
        self.site, self.host, self.family = site, site.host, FAMILIES[type(site)]
        self.samples, self.violations, self.figures = [], [], collections.Counter()
        self.convergences = []
        self._deeds = itertools.cycle(itertools.product(DEEDS, self.family.managed))
        # What the host's own package manager brings is not for a purge to take away.
        if isinstance(site, dnf.DnfSite):
            self.host.run("dnf --quiet --assumeyes install dnf-automatic")
        self._before = self.host.snapshot()
        self._make_clock_jump()
        site.minder.start()
        site.wait_until_in_order()
        self._wait_for_a_new_cycle(timeout=60)
        self._in_order = self._describe()
        self._findings = self._codes_of_check()
        self._process = self.sample().process

    def vandalise(self):
        """One deed on one file, and a sample."""
        deed, path = next(self._deeds)
        self.host.run(DEEDS[deed].format(shlex.quote(path)) + " 2> /dev/null || true")
        self.figures["deeds"] += 1
        self.sample()

    def vandalise_all(self, turn):
        """A deed on every file, a different one for each of four; as many turns until each file has had each deed."""
        deeds = [*DEEDS.values()]
        chosen = [deeds[(turn + number) % len(deeds)] for number in range(len(self.family.managed))]
        self.host.run("; ".join(deed.format(shlex.quote(path)) for deed, path in zip(chosen, self.family.managed, strict=True)))
        self.figures["deeds"] += len(self.family.managed)

    def sample(self):
        words = self.host.output_of(SAMPLE.format(unit=UNIT)).split()
        if len(words) < 3:
            self._violated(f"the service is not there: {words}")
            return None
        sample = Sample(*map(int, words[:3]), frozenset(words[3:]))
        # A child that has just ended is one until its parent has looked.
        if self.samples and sample.zombies & self.samples[-1].zombies:
            self._violated(f"a zombie: {sample}")
        self.samples.append(sample)
        return sample

    def jump_to(self, year):
        """Sets the service's clock, from one moment to the next; None sets it right. Returns when it has worked by it."""
        there = 0 if year is None else (year - time.gmtime().tm_year) * 31_556_952
        with open(f"{self.host.root}/{OFFSET}", "r+b") as file:
            file.write(struct.pack("=q", there))
        self.figures["clock jumps"] += 1
        expected = time.gmtime().tm_year if year is None else year
        seen = lambda: abs(int((self._record() or {"started": "0"})["started"].split("-")[0] or 0) - expected) <= 1  # noqa: E731
        self._expect(seen, f"a cycle in {expected}")

    def pause(self, seconds):
        """Stops the service's process and lets it go on."""
        self.host.run(f"systemctl kill --signal=STOP --kill-who=main {UNIT}")
        time.sleep(seconds)
        self.host.run(f"systemctl kill --signal=CONT --kill-who=main {UNIT}")
        self.figures["pauses"] += 1

    @contextlib.contextmanager
    def locked(self):
        """Another tool has the package manager's locks while the context lasts."""
        with contextlib.ExitStack() as stack:
            for lock in self.family.locks:
                stack.enter_context(self.host.locked(lock))
            yield
        self.figures["locks held"] += 1

    def crowd(self, count):
        """So many instances at once beside the service, half of them "once", half "status"."""
        output = self.host.output_of(CROWD.format(count=count // 2), timeout=600)
        ended = collections.Counter(tuple(line.split()) for line in output.splitlines())
        for (command, status), times in ended.items():
            if int(status) not in STATUSES or (command == "once" and int(status) != BUSY):
                self._violated(f"{times} instances of {command} beside the service ended with {status}")
        if ended.total() != count // 2 * 2:
            self._violated(f"{ended.total()} of {count} instances have ended")
        self.figures["instances"] += ended.total()

    def restart(self, count):
        """Starts and stops the service, which runs before and afterwards."""
        self.site.minder.stop()
        done = self.host.run(RESTARTS.format(count=count, unit=UNIT), check=False, timeout=3600)
        if done.status != 0:
            self._violated(f"a start or a stop fails: {done}")
        self.figures["starts and stops"] += count
        self.site.minder.start()
        self._process = self.sample().process

    def converge(self):
        """Nobody disturbs any more: the first cycle that begins from now on must end with the host in order."""
        started = time.monotonic()
        self._wait_for_a_new_cycle(timeout=120)
        self.convergences.append(time.monotonic() - started)
        differences = set(self._in_order.splitlines()) ^ set(self._describe().splitlines())
        for finding in [*self.site.out_of_order(), *sorted(differences)]:
            self._violated(f"after a cycle that nobody disturbed: {finding}")

    def judge_service(self):
        """The process that was disturbed is still the same, and needs no more than at first."""
        self._expect_same_process()
        for what, tolerance in (("memory", MEMORY_TOLERANCE), ("descriptors", DESCRIPTOR_TOLERANCE)):
            first, last = self.quarters(what)
            if last > first + tolerance:
                self._violated(f"{what} has grown from {first} to {last}")

    def finish(self):
        """Judges what check finds and what a purge leaves. The service is stopped."""
        self._expect_same_process()
        if self._codes_of_check() != self._findings:
            self._violated(f"check finds {self._codes_of_check()}, at first {self._findings}")
        restarts = self.host.output_of(f"systemctl show --property=NRestarts --value {UNIT}")
        if restarts != "0":
            self._violated(f"systemd has restarted the service {restarts} times")
        self.site.minder.stop()
        self.site.minder.run("purge")
        for line in self.site.differences_since(self._before):
            self._violated(f"after the purge: {line}")
        for path in self.host.output_of("ls -d /tmp/package-minder* /var/tmp/rpm-tmp* 2> /dev/null || true").splitlines():
            self._violated(f"{path} stays behind")
        return self.violations

    def quarters(self, what):
        """The middle of a figure in the first quarter of the samples after the warm-up, and in the last."""
        values = [getattr(sample, what) for sample in self.samples[int(len(self.samples) * WARM_UP_SHARE):]]
        size = max(1, len(values) // 4)
        return statistics.median(values[:size]), statistics.median(values[-size:])

    def _make_clock_jump(self):
        library = self.site.web_root.parent / f"{self.site.web_root.name}-clock.so"
        source = Path(__file__).with_name("jumping_clock.c")
        try:
            subprocess.run(["gcc", "-O2", "-shared", "-fPIC", "-o", library, source], check=True)
            self.host.copy_in(library, LIBRARY)
        finally:
            library.unlink(missing_ok=True)
        self.host.write(OFFSET, bytes(8))
        self.host.write(DROP_IN, UNIT_CHANGES)
        self.host.run("systemctl daemon-reload")

    def _record(self):
        text = self.host.run(f"cat {STATE}/last-cycle.json", check=False).output
        return json.loads(text)["last_cycle"] if text else None

    def _wait_for_a_new_cycle(self, timeout):
        # Counted, for a clock may jump: the one that runs now has begun before.
        done = self._cycles()
        wait_until(self._cycles, "two more cycles", expect=lambda now: now >= done + 2, timeout=timeout, interval=0.05)

    def _cycles(self):
        text = self.host.run(f"cat {STATE}/last-cycle.json", check=False).output
        return json.loads(text)["history"]["cycles"] if text else 0

    def _describe(self):
        files = shlex.join(self.family.managed)
        # dnf's own tool writes the repository file anew when a hold is released.
        return self.host.run(f"stat --format='%n %F %a %U:%G' {files} 2>&1; sed '/^exclude *=/d; s/ *= */=/' {files} | sha256sum", check=False).output

    def _codes_of_check(self):
        report = json.loads(self.site.minder.run("check --json", check=False).output)
        return [finding["code"] for finding in report["findings"]]

    def _expect_same_process(self):
        latest = self.sample()
        if latest and latest.process != self._process:
            self._violated(f"the service was process {self._process} and is {latest.process}")

    def _expect(self, observe, what):
        try:
            wait_until(observe, what, timeout=60, interval=0.05)
        except TimedOut as failure:
            self._violated(str(failure))

    def _violated(self, what):
        self.violations.append(what)
