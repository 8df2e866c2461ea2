"""What a host is doing when the power goes, and the disks on which that happened."""

import itertools
import random
from dataclasses import dataclass
from pathlib import Path

from disposable_hosts import catalog, image
from disposable_hosts.apt import site as apt
from disposable_hosts.apt.repository import AptRepository
from disposable_hosts.package_minder import PackageMinder
from disposable_hosts.signing_key import SigningKey
from disposable_hosts.web_server import NAME

from power_cuts.disk_host import MARK_SECTOR, START_SERVER, DiskHost, copy_disk, make_disk, offer_repository
from power_cuts.write_log import SURVIVING_PARTS, Cut, WriteLog

IMAGE = "bookworm"

# What the administrator has changed before we came, with modes and owners that are not the usual ones.
OWN_FILES = {
    f"{apt.APT_CONFIGURATION}/20auto-upgrades": ('APT::Periodic::Enable "0";\n', "0600 root:root"),
    f"{apt.APT_CONFIGURATION}/50unattended-upgrades": ('Unattended-Upgrade::Mail "root";\n// mine\n', "0640 root:adm"),
}

VANDALISE = f"""
apt-mark hold zant-velmora
echo nonsense > {apt.CALENDAR_DROP_IN}
rm {apt.SOURCE_LIST}
: > {apt.SERVICE_FILES[1]}
echo >> {apt.SERVICE_FILES[2]}
rm {apt.KEYRING}
"""

BEGIN, ENDED, REST = "the work begins", "the work has ended with", "the rest is written"

# Nothing but the program and the kernel writes between the first two marks; what the kernel has not written by then it
# writes in its own time, and before the last mark.
RECORD = """
mark() {{ printf '%-512s' "$1" | dd of=/dev/vda bs=512 seek={sector} iflag=fullblock oflag=direct conv=notrunc status=none; }}
{start_server}
sync
mark '{begin}'
package-minder {command} > /run/output 2>&1
status=$?
mark "{ended} $status."
sleep 6
sync
mark '{rest}'
echo '=== status'
echo $status
echo '=== output'
cat /run/output
"""


@dataclass(frozen=True)
class Scenario:
    """The work during which the power goes."""

    name: str
    command: str
    begins_with: str  # a kept disk
    ends_with: str


SCENARIOS = {
    scenario.name: scenario
    for scenario in (
        Scenario("set-up", "once", "fresh", "set-up"),
        Scenario("repair", "once", "drifted", "set-up"),
        Scenario("purge", "purge", "set-up", "fresh"),
    )
}


class Disks:
    """The disks of hosts with one file system before and after undisturbed work, and what those hosts are like."""

    def __init__(self, file_system, directory, bundle):
        self.file_system, self._directory, self._bundle = file_system, Path(directory), bundle
        self.described = {}

    def path(self, name):
        return self._directory / f"{self.file_system}-{name}.disk"

    def make(self):
        make_disk(self.path("fresh"), self.file_system, image.provide(catalog.RECIPES[IMAGE]))
        self._change("fresh", self._install)
        for name, origin, change in (
            ("set-up", "fresh", lambda host: self._work(host, "once")),
            ("purged", "set-up", lambda host: self._work(host, "purge")),
            ("drifted", "set-up", lambda host: host.run(VANDALISE)),
        ):
            copy_disk(self.path(origin), self.path(name))
            self._change(name, change)

    def remove(self):
        for name in self.described:
            self.path(name).unlink()

    def _change(self, name, change):
        with DiskHost(self.path(name)) as host:
            change(host)
            self.described[name] = host.describe()
            host.run("sync")

    def _work(self, host, command):
        host.start_server()
        PackageMinder(host).run(command)

    def _install(self, host):
        with SigningKey(self._directory / f"{self.file_system}-key") as key:
            web_root = self._directory / f"{self.file_system}-www"
            web_root.mkdir()
            repository = AptRepository(web_root / apt.REPOSITORY, key, suites=apt.SUITES)
            package = repository.publish("1.0")
            repository.publish("1.1")
            offer_repository(host, web_root)
            host.copy_in(package, "/root/package.deb")
            host.run("dpkg --install /root/package.deb && rm /root/package.deb")
            minder = PackageMinder(host)
            minder.install(self._bundle)
            host.write(apt.SHIPPED_KEYRING, key.public_key())
        minder.configure({apt.URL_KEY: f"http://{NAME}/{apt.REPOSITORY}/", apt.CALENDAR_KEY: "*-*-* 03:00", apt.DELAY_KEY: "15m"})
        for path, (text, access) in OWN_FILES.items():
            mode, owner = access.split()
            host.write(path, text, mode=mode)
            host.run(f"chown {owner} {path}")


@dataclass(frozen=True)
class Recording:
    """A scenario that a machine has played, with every request to its disk."""

    scenario: Scenario
    file_system: str
    disk: Path  # as it was before
    log: Path

    @property
    def name(self):
        return f"{self.file_system} {self.scenario.name}"

    @classmethod
    def make(cls, scenario, disks, machine, directory):
        directory.mkdir(parents=True)
        disk = copy_disk(disks.path(scenario.begins_with), directory / "disk")
        recording = cls(scenario, disks.file_system, disk, directory / "log")
        machine_disk = copy_disk(disk, directory / "machine-disk")
        report = machine.record(machine_disk, recording.log, RECORD.format(
            sector=MARK_SECTOR, start_server=START_SERVER, command=scenario.command, begin=BEGIN, ended=ENDED, rest=REST
        ))
        machine_disk.unlink()
        if report["status"] != "0":
            raise RuntimeError(f"{scenario.name} on {disks.file_system} fails without any cut:\n{report['output']}")
        return recording

    def summary(self):
        """The figures of its log, for a person."""
        requests = WriteLog(self.log).requests
        flushes = sum(request.is_flush for request in requests)
        return f"{len(requests)} requests, {flushes} of them flushes"

    def cuts(self, count, seed):
        """So many cuts, in their order, and whether the work had ended with success by then."""
        log = WriteLog(self.log)
        marks = [log.find_text(MARK_SECTOR * 512, mark) for mark in (BEGIN, f"{ENDED} 0.", REST)]
        chance = random.Random(f"{seed} {self.file_system} {self.scenario.name}")
        after = count // 6
        places = [*_spread(marks[0], marks[1], count - after, chance), *_spread(marks[1] + 1, marks[2], after, chance)]
        return [(Cut(place, chance.choice(SURVIVING_PARTS)), place > marks[1]) for place in places]


def _spread(begin, end, count, chance):
    """So many numbers between two, one by chance out of each part of the same length."""
    edges = [begin + (end - begin) * part // count for part in range(count + 1)] if count else []
    return [chance.randint(low, max(low, high - 1)) for low, high in itertools.pairwise(edges)]
