"""A machine that lives for one job: boots from a disk, does it, says what came of it, and is gone."""

import datetime
import os
import shlex
import shutil
import subprocess
import tempfile
from pathlib import Path

from power_cuts import cpio, kernel
from power_cuts.sections import sections_of

QEMU = "qemu-system-x86_64"
TOOLS = (QEMU, "mkfs.ext4", "mkfs.xfs", "losetup")
MEMORY = 1024  # MiB

# A machine that is itself a virtual one may not set what this feature needs.
WITH_KVM = ("-accel", "kvm", "-cpu", "host,-arch-capabilities")
WITHOUT_KVM = ("-accel", "tcg", "-cpu", "max")
# The longest that a machine needs with and without the processor's help, in seconds.
LIMIT_WITH_KVM, LIMIT_WITHOUT_KVM = 60, 600

REPORT_SIZE = 1 << 20
END = "the job has ended"

UNIT = """[Unit]
After=multi-user.target
[Service]
Type=oneshot
StandardOutput=file:/run/job/report
StandardError=inherit
ExecStart=/bin/bash /run/job/run
ExecStopPost=/bin/bash /run/job/leave
TimeoutStartSec=infinity
"""

# The power goes without a shutdown.
LEAVE = f"""
exec >> /run/job/report 2>&1
echo '=== {END}'
dd if=/run/job/report of=/dev/vdb bs=64k conv=fsync,notrunc status=none
echo o > /proc/sysrq-trigger
sleep 60
"""


class MachineFailed(RuntimeError):
    """A machine did not come to the end of its job."""


def reason_there_is_none():
    """One sentence on why no machine can be run here, or an empty text."""
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    return f"power cuts need {', '.join(missing)}" if missing else ""


class VirtualMachine:
    """Runs jobs, one machine each."""

    def __init__(self, directory):
        self._directory = Path(directory)
        self._kernel = kernel.provide()
        self._accelerator, self._limit = WITHOUT_KVM, LIMIT_WITHOUT_KVM
        self.has_kvm = self._runs_with_kvm()
        if self.has_kvm:
            self._accelerator, self._limit = WITH_KVM, LIMIT_WITH_KVM

    def record(self, disk, log, script):
        """Boots the host on a disk, runs a script there and lets the power go; every request to the disk is logged.

        Returns the sections of what the script printed: a line "=== NAME" begins one.
        """
        with open(log, "wb"):
            pass
        job = {"systemd/system/job.service": UNIT, "job/run": script, "job/leave": LEAVE}
        files = {f"job/{name}": text.encode() for name, text in job.items()}
        nodes = (
            f"driver=file,filename={disk},cache.no-flush=on,node-name=kept",
            f"driver=file,filename={log},cache.no-flush=on,node-name=log",
            "driver=blklogwrites,file=kept,log=log,node-name=disk",
        )
        blocks = [argument for node in nodes for argument in ("-blockdev", node)]
        return self._run({**files, "start": kernel.BOOT.encode()}, [*blocks, "-device", "virtio-blk-pci,drive=disk,addr=0x2"])

    def _runs_with_kvm(self):
        """Whether the processor runs machines itself; some kinds of KVM do not run an ordinary kernel."""
        if not os.access("/dev/kvm", os.R_OK | os.W_OK):
            return False
        self._accelerator, self._limit = WITH_KVM, 15
        try:
            self._run({"start": f"echo '=== {END}' | busybox dd of=/dev/vda bs=512 conv=sync,fsync\nbusybox poweroff -f\n".encode()}, [])
        except MachineFailed:
            self._accelerator, self._limit = WITHOUT_KVM, LIMIT_WITHOUT_KVM
            return False
        return True

    def _run(self, files, disk):
        with tempfile.TemporaryDirectory(dir=self._directory) as name:
            directory = Path(name)
            report, first, console = directory / "report", directory / "first.cpio", directory / "console"
            with open(report, "wb") as file:
                file.truncate(REPORT_SIZE)
            first.write_bytes(self._kernel.archive.read_bytes() + cpio.archive(files))
            self._wait(self._command(disk, first, report, console), console)
            text = report.read_bytes().rstrip(b"\0").decode(errors="replace")
        if END not in text:
            raise MachineFailed(f"the machine did not end its job; its report:\n{text[-2000:]}")
        return sections_of(text)

    def _wait(self, command, console):
        # The death signal ends the machine with whoever started it.
        process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", *command],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
        )
        try:
            output = process.communicate(timeout=self._limit)[0]
        except subprocess.TimeoutExpired:
            raise MachineFailed(f"the machine did not end within {self._limit} s; its console:\n{_tail(console)}") from None
        finally:
            process.kill()
            process.wait()
        if process.returncode != 0:
            raise MachineFailed(f"{shlex.join(command)} ended with {process.returncode}: {output}\n{_tail(console)}")

    def _command(self, disk, first, report, console):
        # Without udev nobody would say that the console's terminal is there, and the boot would wait for it.
        getty = "systemd.mask=serial-getty@ttyS0.service"
        arguments = f"console=ttyS0 quiet panic=-1 systemd.wants=job.service systemd.show_status=no {getty}"
        return [
            QEMU, "-nodefaults", "-no-user-config", "-no-reboot", "-display", "none", "-machine", "q35", *self._accelerator,
            "-m", str(MEMORY), "-smp", "1", "-serial", f"file:{console}", "-rtc", f"base={_tomorrow_at_noon()}",
            "-kernel", str(self._kernel.image), "-initrd", str(first), "-append", arguments, *disk,
            "-drive", f"file={report},format=raw,cache=unsafe,if=none,id=report",
            "-device", "virtio-blk-pci,drive=report,addr=0x3",
        ]


def _tomorrow_at_noon():
    # No timer of the host's fires then, and what was signed today is valid.
    tomorrow = datetime.datetime.now(datetime.UTC).date() + datetime.timedelta(days=1)
    return f"{tomorrow}T12:00:00"


def _tail(console):
    return console.read_text(errors="replace")[-3000:] if console.exists() else ""
