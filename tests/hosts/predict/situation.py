"""One situation: a host is disturbed, asked for its verdict, and left to its own services.

A verdict is a prediction. It is wrong when it says "up to date" or "waiting" and
the host's own services leave an older version than the repository has, and when
it says "blocked" and they install the newest.
"""

import contextlib
import json
import random
import shlex
from dataclasses import dataclass, field

from disposable_hosts.host import CommandFailed

NEWEST = "2.0"
PROMISES = ("up_to_date", "waiting")
BLOCKED = "blocked"


@dataclass(frozen=True)
class Disturbance:
    """Something that is done to a host or to its repository.

    `apply(site, rng, stack)` does it and returns what it did, in the words of who
    types it. What lasts for the situation only is entered on `stack`.
    """

    name: str
    apply: object
    # What nobody can know before a run has met it: the services run once before the verdict is asked for.
    shows_in_a_run: bool = False
    # It comes with the newest version: nobody can know it before that is published.
    comes_with_newest: bool = False


@dataclass
class Outcome:
    """What came of a situation."""

    family: str
    seed: int
    image: str
    ahead: bool  # the newest version was published after the verdict
    steps: list = field(default_factory=list)
    verdict: str = ""
    causes: list = field(default_factory=list)
    installed: str = ""
    newest: tuple = (NEWEST,)  # any of these is no older than what the repository has

    @property
    def is_wrong(self):
        got_newest = self.installed in self.newest
        return self.verdict == BLOCKED if got_newest else self.verdict in PROMISES

    def __str__(self):
        steps = "; ".join(self.steps) or "nothing was done"
        timing = "published after the question" if self.ahead else "published before"
        return (
            f"{'WRONG ' if self.is_wrong else 'right '}{self.family} {self.seed} {self.image}: {steps} ({self.newest[0]} {timing})"
            f" -> {self.verdict} {' '.join(self.causes)} -> {self.installed}"
        )


class Family:
    """What differs between the families of package managers; the subclasses stand in a module of their own."""

    name = ""
    images = ()
    disturbances = ()

    def open(self, image, stack):
        """A fresh site, on which a cycle has succeeded."""
        raise NotImplementedError

    def run_services(self, site):
        """Runs what the host's timers would start next, if they start anything."""
        raise NotImplementedError

    def installed_version(self, site):
        """The version that is wholly installed."""
        return site.installed_version()


def _choose(family, rng):
    count = rng.choice((1, 1, 2))
    return rng.sample(family.disturbances, count)


def _apply(disturbance, site, rng, publish):
    try:
        return disturbance.apply(site, rng, publish)
    except CommandFailed as failure:
        # What was disturbed before it may have made the host one that this cannot be done to.
        return f"could not be done: {failure.args[0].splitlines()[0]}"


def play(family, seed):
    """The outcome of the situation with this number."""
    rng = random.Random(f"{family.name} {seed}")
    outcome = Outcome(family.name, seed, rng.choice(family.images), ahead=rng.random() < 0.3)
    chosen = _choose(family, rng)
    with contextlib.ExitStack() as stack:
        site = family.open(outcome.image, stack)
        publish = stack.enter_context(contextlib.ExitStack())
        # Disturbances of the repository change what publish() does, so they come first.
        for disturbance in chosen:
            outcome.steps.append(f"{disturbance.name}: {_apply(disturbance, site, rng, publish)}")
        shows_in_a_run = any(disturbance.shows_in_a_run for disturbance in chosen)
        outcome.ahead &= not any(disturbance.shows_in_a_run or disturbance.comes_with_newest for disturbance in chosen)
        if not outcome.ahead:
            site.repository.publish(NEWEST)
        if shows_in_a_run:
            family.run_services(site)
        answer = site.minder.run("why --online --json", check=False, timeout=60)
        document = json.loads(answer.output)
        outcome.verdict = document.get("verdict", "no report")
        outcome.causes = [cause["code"] for cause in document.get("causes", [])]
        if outcome.ahead:
            site.repository.publish(NEWEST)
        family.run_services(site)
        outcome.installed = family.installed_version(site)
        outcome.newest = getattr(site, "newest", outcome.newest)
    return outcome


def write(path, text):
    """The words for a file that is written, which are also the command."""
    return f"printf %s {shlex.quote(text)} > {path}"


def put(site, path, text):
    """Writes a file on the host; returns the words for it."""
    site.host.write(path, text)
    return write(path, text)


def do(site, command):
    """Runs a command on the host, whatever comes of it; returns the command."""
    site.host.run(command, check=False)
    return command


def show(site, unit, *properties):
    """Properties of a systemd unit as a dictionary."""
    text = site.host.run(f"systemctl show --property={','.join(properties)} {unit}", check=False).output
    return dict(line.split("=", 1) for line in text.splitlines() if "=" in line)


def timer_fires(site, timer):
    """Whether the timer starts its service within the next eight days."""
    command = (
        f'test "$(systemctl show --property=ActiveState --value {timer})" = active || exit 1;'
        # It reckons times since the boot as times of the calendar, in microseconds; systemd before 249 has no JSON for it.
        f" next=$(systemctl list-timers --all --output=json {timer} | sed -n 's/.*\"next\":\\([0-9]*\\).*/\\1/p');"
        ' if test -n "$next"; then test "$next" -gt 0 && test $((next / 1000000)) -lt $(($(date +%s) + 8 * 86400)); exit; fi;'
        f" next=$(systemctl show --property=NextElapseUSecRealtime --value {timer});"
        f" since_boot=$(systemctl show --property=NextElapseUSecMonotonic --value {timer});"
        ' test -n "$next" && test $(date --date="$next" +%s) -lt $(($(date +%s) + 8 * 86400)) && exit 0;'
        ' case "$since_boot" in ""|infinity|*month*|*y*) exit 1;; esac'
    )
    return site.host.succeeds(command)
