"""What the machine that carries the hosts must offer, and where it keeps things."""

import os
import shutil
from pathlib import Path

TOOLS = (
    "mmdebstrap", "systemd-nspawn", "nsenter", "unshare", "setpriv", "tar", "gpg", "openssl", "rpmbuild", "rpmsign", "createrepo_c",
)


def cache_directory():
    """Where images are kept; may be deleted whenever no host runs."""
    return Path(os.environ.get("XDG_CACHE_HOME") or "/var/cache") / "package-minder-hosts"


def reason_it_cannot_carry_hosts():
    """One sentence on why no host can be booted here, or an empty text."""
    if os.geteuid() != 0:
        return "disposable hosts need root"
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    if missing:
        return f"disposable hosts need {', '.join(missing)} (script/bootstrap installs them)"
    if "overlay" not in Path("/proc/filesystems").read_text() and not _loads_module("overlay"):
        return "disposable hosts need a kernel with overlay mounts"
    if not _may_mount():
        return "disposable hosts need the right to mount, which this container or machine withholds"
    return ""


def _loads_module(name):
    return os.system(f"modprobe --quiet {name} 2>/dev/null") == 0


def _may_mount():
    return os.system("unshare --mount mount -t tmpfs tmpfs /mnt 2>/dev/null") == 0
