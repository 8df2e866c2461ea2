"""Hosts that live on a disk's image with a file system of its own, and what such a host is like."""

import shlex
import subprocess
from dataclasses import dataclass
from pathlib import Path

from disposable_hosts import web_server
from disposable_hosts.apt import site as apt
from disposable_hosts.host import Host
from disposable_hosts.polling import wait_until

from power_cuts.sections import sections_of

# The file system is smaller than the disk: what is written to the last sector tells moments apart.
FILE_SYSTEM_SIZE = 640 << 20
DISK_SIZE = FILE_SYSTEM_SIZE + (1 << 20)
MARK_SECTOR = DISK_SIZE // 512 - 1

# Work that ext4 puts off to its first mount would be all that the log shows.
MAKE = {
    "ext4": ("mkfs.ext4", "-q", "-F", "-E", "lazy_itable_init=0,lazy_journal_init=0", "{path}", f"{FILE_SYSTEM_SIZE >> 10}k"),
    "xfs": ("mkfs.xfs", "-q", "-f", "-d", f"size={FILE_SYSTEM_SIZE}", "{path}"),
}
# Copies of one disk have one identity, which xfs wants to see once.
MOUNT = 'case $(blkid -p -o value -s TYPE "$image") in xfs) options=loop,nouuid ;; *) options=loop ;; esac; mount -o "$options" "$image" "$base"'

# As that of other hosts, but what it writes lasts, and the place has its lock to itself. The mount recovers the file system as that of a boot would.
BOOT_SCRIPT = f"""
set -eu
image=$1 base=$2 name=$3
shift 3
for group in "$@"; do echo $$ > "$group/cgroup.procs"; done
mount -t tmpfs -o mode=0755 package-minder-host "$base"
base=$base/root
mkdir "$base"
{MOUNT}
exec systemd-nspawn --quiet --directory="$base" --machine="$name" --register=no --keep-unit \\
    --console=pipe --link-journal=no --private-network --kill-signal=KILL --boot
"""

VENDOR = "/srv/vendor"
START_SERVER = f"""
python3 {VENDOR}/web_server.py {VENDOR}/www > /run/server 2>&1 < /dev/null &
until grep -q ready /run/server; do sleep 0.02; done
"""

# Everything in /etc, and all of ours elsewhere; what the package managers keep of the vendor's is theirs.
DESCRIBE = r"""
find /etc -printf '%p\t%y %m %U:%G %l\n'
echo '=== contents'
find /etc -type f -print0 | xargs -0 sha256sum
echo '=== ours'
find /var /run /tmp /var/tmp /root -xdev \( -path '*minder*' -o -path '*velmora*' -o -path '*zant*' \) \
    -not -path '/var/lib/dpkg/*' -not -path '/var/lib/apt/lists/*' | sort -u
echo '=== configuration'
apt-config dump > /dev/null && apt-get check -qq 2>&1 && echo accepted
echo '=== configuration without lists'
mkdir -p /run/no-lists/partial
apt-config dump > /dev/null && apt-get check -qq -o Dir::State::lists=/run/no-lists 2>&1 && echo accepted
rm -r /run/no-lists
echo '=== schedule'
systemctl show --property=TimersCalendar,RandomizedDelayUSec {timer} | sed 's/ ; next_elapse=[^}]*//'
echo '=== held'
dpkg --get-selections | grep 'hold$'
echo '=== offered'
apt-cache policy zant-velmora
""".replace("{timer}", apt.TIMER)


@dataclass(frozen=True)
class Description:
    """What a host was like at one moment: entries of /etc by path, paths of ours elsewhere, and some answers of its tools."""

    etc: dict
    ours: frozenset
    answers: dict

    @property
    def is_configuration_accepted(self):
        # Lists are no configuration, and APT writes them as it likes.
        return self.answers["configuration without lists"] == "accepted"


class DiskHost(Host):
    """A host that is booted from a disk's image, and changes it."""

    boot_script = BOOT_SCRIPT

    def __exit__(self, *arguments):
        super().__exit__(*arguments)
        wait_until(lambda: _users_of(self._image_root), "the disk to be free", expect="", timeout=20, interval=0.02)

    def start_server(self):
        self.run(START_SERVER)

    def describe(self):
        sections = sections_of("=== etc\n" + self.run(f"({DESCRIBE}) 2>&1", check=False).output)
        contents = dict(reversed(line.split("  ", 1)) for line in sections.pop("contents").splitlines())
        etc = dict(line.split("\t", 1) for line in sections.pop("etc").splitlines())
        ours = frozenset(sections.pop("ours").splitlines())
        return Description({path: f"{entry}{contents.get(path, '')}" for path, entry in etc.items()}, ours, sections)


def make_disk(path, file_system, tree):
    """A new disk with the files of a tree."""
    with open(path, "wb") as file:
        file.truncate(DISK_SIZE)
    subprocess.run([part.format(path=path) for part in MAKE[file_system]], check=True)
    copy = f'set -e; image={shlex.quote(str(path))} base=/mnt; {MOUNT}; cp -a {shlex.quote(str(tree))}/. /mnt/; umount /mnt'
    subprocess.run(["unshare", "--mount", "sh", "-c", copy], check=True)


def copy_disk(source, target):
    subprocess.run(["cp", "--sparse=always", source, target], check=True)
    return Path(target)


def offer_repository(host, web_root):
    """Puts the vendor's repository onto the host, with a server for it that START_SERVER starts."""
    host.copy_in(web_root, f"{VENDOR}/www")
    host.copy_in(web_server.__file__, f"{VENDOR}/web_server.py")
    host.add_name(web_server.NAME)


def _users_of(image):
    return subprocess.run(["losetup", "--associated", image], check=True, capture_output=True, text=True).stdout
