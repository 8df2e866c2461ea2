"""script/faults power: cuts the power during set-up, repair and purge, and judges the hosts that boot afterwards."""

import argparse
import collections
import contextlib
import multiprocessing
import os
import pickle
import random
import shutil
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, replace
from pathlib import Path

from disposable_hosts import bundle, machine
from disposable_hosts.package_minder import PackageMinder

from power_cuts import judgement, virtual_machine
from power_cuts.disk_host import MAKE, DiskHost
from power_cuts.scenarios import SCENARIOS, Disks, Recording
from power_cuts.write_log import CutDisk, WriteLog

ROOT = Path(__file__).resolve().parents[3]
PACKAGES = ("qemu-system-x86", "xfsprogs")
# On each file system, in each work.
CUTS = 34
KEPT = "recording"
# Disks in memory: every host syncs what it unpacks.
MEMORY_DIRECTORY = Path("/dev/shm")

# What is done with the host after the boot, in turns.
AFTERWARDS = ("a cycle, then a purge", "a purge")


@dataclass(frozen=True)
class Round:
    """All cuts of one scenario on one file system, and one of their shares."""

    recording: Recording
    described: dict
    count: int
    seed: int
    share: int = 0
    shares: int = 1
    only: int | None = None  # the number of the one cut that is played
    kept: Path | None = None  # where that cut's disk is kept, as it is before the boot


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(
        prog="script/faults power",
        description="Lets the power of a virtual machine go at moments of package-minder's work that are chosen from the log of "
        "its disk's writes and flushes; what had not been flushed is there in part. Each disk is then mounted and booted: the "
        "package manager must accept its configuration, no file may be torn or lost, one cycle must bring the host into order "
        "and a purge must give it back. Needs build/release and root; installs QEMU. Exits with 1 when anything was violated.",
    )
    parser.add_argument("--cuts", type=int, default=CUTS, metavar="N", help="in each work on each file system (default %(default)s)")
    parser.add_argument("--seed", type=int, help="chooses the cuts; a new one by default")
    parser.add_argument("--file-system", action="append", choices=MAKE, help="both by default")
    parser.add_argument("--work", action="append", choices=SCENARIOS, help="one of %(choices)s; all by default")
    parser.add_argument("--jobs", type=int, default=2, metavar="N", help="hosts at a time (default %(default)s)")
    parser.add_argument("--recordings", type=Path, metavar="DIRECTORY", help="plays the recordings that an earlier run has kept there")
    parser.add_argument("--only", type=int, metavar="CUT", help="plays this cut alone, of the one work on the one file system")
    parser.add_argument("--keep-disk", type=Path, metavar="FILE", help="keeps the disk of that cut as it is before the boot")
    chosen = parser.parse_args(arguments)
    if chosen.only is not None and (len(chosen.work or []) != 1 or len(chosen.file_system or []) != 1):
        parser.error("--only needs one --work and one --file-system")
    return chosen


def install_what_is_missing():
    if not virtual_machine.reason_there_is_none():
        return
    environment = {**os.environ, "DEBIAN_FRONTEND": "noninteractive"}
    install = ["apt-get", "-qq", "--yes", "--no-install-recommends", "-o", "DPkg::Lock::Timeout=300", "install", *PACKAGES]
    subprocess.run(install, check=True, env=environment, stdout=subprocess.DEVNULL)


def record(file_systems, works, directory):
    """Plays every scenario on every file system in a machine; keeps the recordings and what hosts are like."""
    machines = virtual_machine.VirtualMachine(directory)
    say("the processor runs the machines" if machines.has_kvm else "no usable KVM here: QEMU runs the machines alone, which takes its time")
    bundle_directory = bundle.make(ROOT / "build" / "release", directory / "bundle")
    for file_system in file_systems:
        disks = Disks(file_system, directory, bundle_directory)
        disks.make()
        for scenario in (SCENARIOS[work] for work in works):
            started = time.monotonic()
            recording = Recording.make(scenario, disks, machines, directory / f"{file_system}-{scenario.name}")
            say(f"recorded {scenario.name} on {file_system} in {time.monotonic() - started:.0f} s: {recording.summary()}")
            yield recording, disks.described
        disks.remove()


def load(directory):
    """What an earlier run has recorded."""
    for file in sorted(directory.glob(f"*/{KEPT}")):
        yield pickle.loads(file.read_bytes())


def keep(recording, described):
    """Keeps a recording for a later run."""
    (recording.log.parent / KEPT).write_bytes(pickle.dumps((recording, described)))


def play(whole, chosen):
    """All cuts of a round, or the one that is chosen; prints what is violated."""
    if chosen.only is not None:
        parts = [replace(whole, only=chosen.only, kept=chosen.keep_disk)]
    else:
        parts = [replace(whole, share=share, shares=chosen.jobs) for share in range(chosen.jobs)]
    figures, violations = collections.Counter(), []
    with multiprocessing.Pool(len(parts)) as pool:
        for some_figures, some_violations in pool.imap_unordered(play_share, parts):
            figures += some_figures
            violations += some_violations
            print("\n".join(some_violations), end="\n" if some_violations else "", flush=True)
    return figures, violations


def play_share(part):
    """Every so many cuts of a round; the figures and what was violated."""
    figures, violations = collections.Counter(), []
    cuts = part.recording.cuts(part.count, part.seed)
    log = WriteLog(part.recording.log)
    with tempfile.TemporaryDirectory(dir=MEMORY_DIRECTORY) as name:
        forward = Path(name) / "forward"
        subprocess.run(["cp", "--sparse=always", part.recording.disk, forward], check=True)
        disk = CutDisk(forward, log)
        numbers = range(part.share, len(cuts), part.shares) if part.only is None else [part.only]
        for number in numbers:
            cut, has_ended = cuts[number]
            target = Path(name) / "cut"
            disk.cut(cut, random.Random(f"{part.seed} {part.recording.name} {number}"), target)
            if part.kept:
                shutil.copy(target, part.kept)
            found = judge(target, part, has_ended, AFTERWARDS[number % len(AFTERWARDS)])
            figures[(part.recording.file_system, part.recording.scenario.name, bool(found))] += 1
            if found:
                how = f"--file-system {part.recording.file_system} --work {part.recording.scenario.name} --only {number}"
                violations.append(f"{part.recording.name}, cut {number}, {cut}\n    replay: {how}\n    " + "\n    ".join(found))
    return figures, violations


def judge(disk, part, has_ended, afterwards):
    """What is violated on a host whose disk was cut off."""
    try:
        with DiskHost(disk) as host:
            return list(_judge_host(host, part, has_ended, afterwards))
    except Exception as failure:
        return [f"the host cannot be judged: {failure!r}", *getattr(failure, "__notes__", [])]


def _judge_host(host, part, has_ended, afterwards):
    minder = PackageMinder(host)
    found = host.describe()
    yield from judgement.after_the_boot(found, part.described, part.recording.scenario, has_ended)
    host.start_server()
    if afterwards == AFTERWARDS[0]:
        cycle = minder.run("once", check=False)
        found = host.describe()
        yield from judgement.after_a_cycle(cycle, found, part.described)
    purge = minder.run("purge", check=False)
    yield from judgement.after_a_purge(purge, host.describe(), part.described, found)


def print_table(figures):
    print("| File system | Work | Cuts | With a violation |\n|---|---|---|---|")
    for file_system, work in sorted({key[:2] for key in figures}):
        bad, good = (figures[(file_system, work, is_bad)] for is_bad in (True, False))
        print(f"| {file_system} | {work} | {good + bad} | {bad} |")


def say(text):
    print(f"power: {text}", flush=True)


@contextlib.contextmanager
def place_of_recordings(chosen):
    """Where the recordings are; what this run records stays only when some of it was violated."""
    if chosen.recordings:
        yield chosen.recordings
        return
    directory = Path(tempfile.mkdtemp(prefix="power-cuts-", dir="/var/tmp"))
    try:
        yield directory
    finally:
        if not list(directory.glob(f"*/{KEPT}")):
            shutil.rmtree(directory)


def play_all(directory, chosen, seed):
    """Plays what is recorded, or has been, and prints the figures; returns how many cuts violated something."""
    figures, violated = collections.Counter(), 0
    file_systems, works = chosen.file_system or list(MAKE), chosen.work or list(SCENARIOS)
    for recording, described in load(directory) if chosen.recordings else record(file_systems, works, directory):
        if recording.file_system not in file_systems or recording.scenario.name not in works:
            continue
        started = time.monotonic()
        round_figures, violations = play(Round(recording, described, chosen.cuts, seed), chosen)
        seconds = time.monotonic() - started
        say(f"{recording.name}: {round_figures.total()} cuts, {len(violations)} with a violation, {seconds:.0f} s")
        figures += round_figures
        violated += len(violations)
        if violations and not chosen.recordings:
            keep(recording, described)
        elif not chosen.recordings:
            shutil.rmtree(recording.log.parent)
    print_table(figures)
    say(f"{figures.total()} cuts, {violated} with a violation, seed {seed}")
    return violated


def main(arguments):
    chosen = parse_arguments(arguments)
    reason = machine.reason_it_cannot_carry_hosts()
    if reason:
        sys.exit(f"script/faults power: {reason}")
    install_what_is_missing()
    seed = chosen.seed if chosen.seed is not None else random.SystemRandom().randrange(1 << 32)
    say(f"seed {seed}")
    with place_of_recordings(chosen) as directory:
        violated = play_all(directory, chosen, seed)
    if violated:
        say(f"to replay one: script/faults power --recordings {directory} --cuts {chosen.cuts} --seed {seed} and what stands there")
    return 1 if violated else 0
