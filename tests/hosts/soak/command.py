"""script/faults soak: disturbs the service for an hour, and judges what it needs and what it leaves."""

import argparse
import contextlib
import itertools
import multiprocessing
import sys
import tempfile
import threading
import time
from pathlib import Path

from disposable_hosts import bundle, machine
from disposable_hosts.apt.site import AptSite
from disposable_hosts.dnf.repository import KEY_ALGORITHM
from disposable_hosts.dnf.site import DnfSite
from disposable_hosts.signing_key import SigningKey

from soak.soaked_host import SoakedHost

ROOT = Path(__file__).resolve().parents[3]
SITES = {"apt": (AptSite, "bookworm", "ed25519"), "dnf": (DnfSite, "el-bookworm", KEY_ALGORITHM)}

MINUTES, STARTS, INSTANCES = 60, 1000, 100
SECONDS_BETWEEN_DEEDS = 0.3
SECONDS_BETWEEN_EVENTS = 15
# Short, and yet the machine has time for something else.
INTERVAL = 5
# Longer than an interval.
PAUSE_SECONDS, LOCK_SECONDS = 12, 30
YEARS = (2040, 1960, 2110)


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(
        prog="script/faults soak",
        description="Runs the service with a cycle every five seconds on an APT and a DNF host while a vandal changes, empties, removes "
        "or closes a managed file every 0.3 s, the clock jumps, the process is stopped and goes on, others hold the package "
        "manager's locks, and 100 instances start at once; then starts and stops it. Memory and descriptors must stay flat, no "
        "child may stay unreaped, the next cycle must bring the host into order, and a purge give it back. Needs build/release and "
        "root. Exits with 1 when anything was violated.",
    )
    parser.add_argument("--minutes", type=float, default=MINUTES, metavar="N", help="with the vandal (default %(default)s)")
    parser.add_argument("--starts", type=int, default=STARTS, metavar="N", help="starts and stops afterwards (default %(default)s)")
    parser.add_argument("--family", action="append", choices=SITES, help="both by default")
    return parser.parse_args(arguments)


@contextlib.contextmanager
def vandal(host):
    """Somebody who is at it while the context lasts."""
    over = threading.Event()

    def work():
        while not over.wait(SECONDS_BETWEEN_DEEDS):
            host.vandalise()

    thread = threading.Thread(target=work)
    thread.start()
    try:
        yield
    finally:
        over.set()
        thread.join()


def hold_locks(host):
    with host.locked():
        time.sleep(LOCK_SECONDS)


def events_of(host):
    """What happens beside the vandal, in turns."""
    jumps = [lambda year=year: host.jump_to(year) for year in YEARS]
    right = lambda: host.jump_to(None)  # noqa: E731
    pause, crowd, locks = lambda: host.pause(PAUSE_SECONDS), lambda: host.crowd(INSTANCES), lambda: hold_locks(host)
    return itertools.cycle([jumps[0], pause, jumps[1], right, locks, jumps[2], crowd, jumps[1], right])


def soak(host, minutes, starts):
    end = time.monotonic() + minutes * 60
    events = events_of(host)
    with vandal(host):
        while time.monotonic() < end:
            next(events)()
            time.sleep(SECONDS_BETWEEN_EVENTS)
        host.jump_to(None)
    host.converge()
    host.judge_service()
    host.restart(starts)
    host.converge()
    return host.finish()


def figures_of(host):
    memory, descriptors = host.quarters("memory"), host.quarters("descriptors")
    values = [sample.memory for sample in host.samples]
    numbers = [sample.descriptors for sample in host.samples]
    yield f"{len(host.samples)} samples: resident memory {min(values)} to {max(values)} kB, first quarter {memory[0]:.0f}, last {memory[1]:.0f}"
    yield f"descriptors {min(numbers)} to {max(numbers)}, first quarter {descriptors[0]:g}, last {descriptors[1]:g}"
    yield ", ".join(f"{count} {what}" for what, count in host.figures.items())
    yield f"in order after {', '.join(f'{seconds:.1f}' for seconds in host.convergences)} s, the end of the next cycle"


def play(part):
    """The figures and the violations of one family."""
    family, bundle_directory, chosen = part
    site_class, image, algorithm = SITES[family]
    with tempfile.TemporaryDirectory() as directory:
        with SigningKey(Path(directory), algorithm=algorithm) as key, site_class(image, bundle_directory, key) as site:
            site.install_package("1.0")
            site.install_minder({"minder.interval": INTERVAL})
            host = SoakedHost(site)
            violations = soak(host, chosen.minutes, chosen.starts)
            return family, list(figures_of(host)), violations


def main(arguments):
    chosen = parse_arguments(arguments)
    reason = machine.reason_it_cannot_carry_hosts()
    if reason:
        sys.exit(f"script/faults soak: {reason}")
    families, bad = chosen.family or list(SITES), 0
    with tempfile.TemporaryDirectory() as name, multiprocessing.Pool(len(families)) as pool:
        bundle_directory = bundle.make(ROOT / "build" / "release", Path(name) / "bundle")
        parts = [(family, bundle_directory, chosen) for family in families]
        for family, figures, violations in pool.imap_unordered(play, parts):
            print("\n".join(f"soak: {family}: {line}" for line in [*figures, *violations]), flush=True)
            print(f"soak: {family}: {len(violations)} violations", flush=True)
            bad += len(violations)
    return 1 if bad else 0
