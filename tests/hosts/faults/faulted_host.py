"""A host that a program works on while one of its system calls fails, and what must be true afterwards."""

import contextlib
import shlex
from dataclasses import dataclass

from disposable_hosts.apt import site as apt
from disposable_hosts.dnf import site as dnf
from disposable_hosts.polling import wait_until

from faults import system_calls

KEPT = "/root/kept"
STATE = "/var/lib/package-minder"
RUN_PROCESS, RUN_STATUS, RUN_LOG = "/root/run.pid", "/root/run.status", "/root/run.log"

# What systemd does not start again: see RestartPreventExitStatus= of the unit.
FOR_GOOD = (64, 69, 77, 78)

# One line for each entry: what it is, and for a file its content. The records of cycles differ from run to run, and
# the settings in force are for a report, which says that they are missing.
DESCRIBE = r"""
cd /
find etc var/lib/package-minder /tmp/package-minder* -not -path '*/staging*' -not -name settings-in-force.json -printf '%p %y %m %U:%G %l\n' 2> /dev/null | sort
find etc -type f -not -path '{rewritten}' -print0 | sort -z | xargs -0 sha256sum
systemctl show --property=TimersCalendar,RandomizedDelayUSec {timer} | sed 's/ ; next_elapse=[^}}]*//'
{held}
true
"""


@dataclass(frozen=True)
class Family:
    """What is different between the families."""

    name: str
    timer: str
    directories: tuple  # in which package-minder, or what it starts, changes something
    drift: str
    held: str  # prints the same for hosts that are held alike
    rewritten: str  # a file that the package manager writes anew when it is held, without the first "/"; see `held`
    accepts: str  # succeeds when the package manager accepts its configuration
    hold: str


APT = Family(
    "apt", apt.TIMER, ("/etc/apt", "/etc/systemd/system", STATE, "/var/lib/apt/lists", "/var/lib/dpkg"),
    drift=f"apt-mark hold zant-velmora; echo nonsense > {apt.CALENDAR_DROP_IN}; rm {apt.SOURCE_LIST}; echo >> {apt.SERVICE_FILES[1]}",
    held="apt-mark showhold",
    rewritten="",
    accepts="apt-config dump && apt-get check",
    hold="apt-mark hold zant-velmora",
)
DNF = Family(
    "dnf", dnf.TIMER, ("/etc/yum.repos.d", "/etc/systemd/system", STATE),
    drift=f"echo nonsense > {dnf.CALENDAR_DROP_IN}; rm {dnf.REPO_FILE}",
    held=f"grep --invert-match '^exclude *= *$' {dnf.REPO_FILE}",
    rewritten=dnf.REPO_FILE.lstrip("/"),
    accepts="dnf --quiet repolist",
    hold="package-minder hold",
)


@dataclass(frozen=True)
class Work:
    """What the program does when it meets the fault, and on which host."""

    arguments: str
    before: str  # the kept state that it begins with


WORKS = {
    "set-up": Work("once", "fresh"),
    "repair": Work("once", "drifted"),
    "purge": Work("purge", "set-up"),
    "hold": Work("hold", "set-up"),
    "release": Work("release", "held"),
    "run": Work("run", "fresh"),
}


class FaultedHost:
    """Plays one point after the other on a site."""

    def __init__(self, site, family, follow=False):
        """With `follow` the commands that the program starts meet the fault as well."""
        self.site, self.family, self.follow = site, family, follow
        self._described = {}
        system_calls.install(site.host)
        self._keep("fresh")
        site.minder.once()
        self._keep("set-up")
        site.host.run(family.drift)
        self._keep("drifted")
        self._restore("set-up")
        site.host.run(family.hold)
        self._keep("held")

    def points_of(self, work):
        """Every point of a work that nothing disturbs."""
        self._restore(work.before)
        if work.arguments == "run":
            self._start_run()
            self._wait_until_in_order()
            self._stop_run()
        else:
            self.site.host.run(system_calls.traced(f"package-minder {work.arguments}", follow=self.follow))
        self._described[work] = self.describe()
        return system_calls.points_in(self.site.host.read(system_calls.TRACE))

    def play(self, work, point):
        """The invariants that a point violates, a sentence each."""
        self._restore(work.before)
        inject = f"--inject={point.injection}"
        if work.arguments == "run":
            return [*self._after_run(work, inject), *self._after_a_purge()]
        done = self.site.host.run(system_calls.traced(f"package-minder {work.arguments}", inject, follow=self.follow), check=False)
        return [*self._after_the_fault(work, done), *self._after_cycles(), *self._after_a_purge()]

    def describe(self):
        """All that the host has of us, as a text."""
        return self.site.host.run(DESCRIBE.format(timer=self.family.timer, held=self.family.held, rewritten=self.family.rewritten)).output

    def _after_the_fault(self, work, done):
        if not self.site.host.succeeds(self.family.accepts):
            yield "the package manager does not accept its configuration"
        if done.status == 0:
            yield from self._differences(self._described[work], "it ended with 0")

    def _after_cycles(self):
        cycle = self.site.minder.run("once", check=False)
        if self.follow and (cycle.status != 0 or [*self._differences(self._described["set-up"], "")]):
            # A package manager that was hit itself may need the first cycle to find that out.
            cycle = self.site.minder.run("once", check=False)
        if cycle.status != 0:
            yield f"the next cycle fails: {cycle}"
        yield from self._differences(self._described["set-up"], "after a cycle")

    def _after_run(self, work, inject):
        """`run` brings the host into order by itself; once it has ended, systemd starts it again unless it is for good."""
        self._start_run(inject)
        self._wait_until_in_order()
        status = self._status_of_run()
        if status in FOR_GOOD:
            yield f"run ended for good with {status}: {self.site.host.read(RUN_LOG)}"
        if status:
            self._start_run()
            self._wait_until_in_order()
        yield from self._differences(self._described["set-up"], "while run works")
        if not self._status_of_run():
            self._stop_run()
        yield from self._differences(self._described[work], "after run")

    def _start_run(self, *options):
        # The shell becomes the program, whose number it leaves behind: a signal to strace would end strace.
        command = system_calls.traced(f"sh -c 'echo $$ > {RUN_PROCESS}; exec package-minder run'", *options, follow=True)
        self.site.host.run(f"rm --force {RUN_PROCESS} {RUN_STATUS}; ({command}; echo $? > {RUN_STATUS}) > {RUN_LOG} 2>&1 < /dev/null &")

    def _status_of_run(self):
        """How it ended; None while it works."""
        status = self.site.host.run(f"cat {RUN_STATUS}", check=False).output
        return int(status) if status else None

    def _wait_until_in_order(self):
        """Returns also when `run` has ended, or does not get there: what is missing is told by who asks."""
        with contextlib.suppress(TimeoutError, AssertionError):
            wait_until(
                lambda: self._status_of_run() is not None or self.describe() == self._described["set-up"],
                "run to bring the host into order", expect=True, timeout=60,
            )

    def _stop_run(self):
        self.site.host.run(f"kill $(cat {RUN_PROCESS})")
        wait_until(self._status_of_run, "run to end", expect=lambda status: status is not None, timeout=60)

    def _after_a_purge(self):
        purge = self.site.minder.run("purge", check=False)
        if purge.status != 0:
            yield f"the purge fails: {purge}"
        yield from self._differences(self._purged(), "after a purge")

    def _purged(self):
        if "purged" not in self._described:
            raise AssertionError("no purge has been played without a fault")
        return self._described["purged"]

    def learn_purge(self):
        """What a purge leaves that nothing disturbs; of APT hosts, what was there before all."""
        self._restore("set-up")
        self.site.minder.run("purge")
        self._described["purged"] = self.describe()

    def _differences(self, expected, when):
        expected, actual = set(expected.splitlines()), set(self.describe().splitlines())
        yield from (f"{when}, missing: {line}" for line in sorted(expected - actual))
        yield from (f"{when}, there: {line}" for line in sorted(actual - expected))

    def _keep(self, name):
        directories = " ".join(path.lstrip("/") for path in self.family.directories)
        self.site.host.run(f"mkdir -p {KEPT} && cd / && tar --create --file={KEPT}/{name} --ignore-failed-read {directories} 2> /dev/null; test -s {KEPT}/{name}")
        self._described[name] = self.describe()

    def _restore(self, name):
        directories = shlex.join(self.family.directories)
        self.site.host.run(
            f"rm --recursive --force {directories} /tmp/package-minder* && tar --extract --directory / --file={KEPT}/{name} && "
            f"systemctl daemon-reload && systemctl restart {self.family.timer} 2> /dev/null; true"
        )
