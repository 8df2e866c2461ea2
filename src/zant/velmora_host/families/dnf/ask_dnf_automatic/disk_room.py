"""Whether there is room for a package, and for the run that installs it."""

import os

# Less than the first is no room for anything; less than the second may do for a run, or not.
LEAST_ROOM = 4 * 1024
USUAL_ROOM = 1024 * 1024
# DNF's history of transactions, when it has to be made.
ROOM_FOR_HISTORY = 512 * 1024


def look_at_room(look, base, package, installed):
    growth = package.installsize - installed.installsize
    directories = sorted({os.path.dirname(name) for name in installed.files}) or ["/usr"]
    by_device = {}
    for directory in map(existing, directories):
        is_read_only = os.statvfs(directory).f_flag & os.ST_RDONLY
        by_device.setdefault((os.stat(directory).st_dev, is_read_only), directory)
    for directory in by_device.values():
        look_at_disk(look, directory, 0, 0)
    # How much goes where is not known before the package is there.
    roomiest = max(by_device.values(), key=lambda directory: os.statvfs(directory).f_bavail)
    look_at_disk(look, roomiest, growth, 0)
    look_at_disk(look, look.automatic.real.cachedir, package.downloadsize, USUAL_ROOM)
    history = os.path.join(look.automatic.real.persistdir, "history.sqlite")
    look_at_disk(look, look.automatic.real.persistdir, 0 if os.path.exists(history) else ROOM_FOR_HISTORY, USUAL_ROOM)
    look_at_disk(look, "/var/lib/rpm", 0, USUAL_ROOM)


def look_at_disk(look, directory, needed, usual):
    directory = existing(directory)
    state = os.statvfs(directory)
    free = state.f_bavail * state.f_frsize
    # A file system without a number of files, like one of a network, names none.
    lacks_files = state.f_files > 0 and state.f_ffree == 0
    if any(each.get("directory") == directory for each in look.obstacles):
        return
    if state.f_flag & os.ST_RDONLY:
        look.found("read_only", directory=directory)
    elif free < max(needed, LEAST_ROOM) or lacks_files:
        look.found("disk_full", directory=directory, free=free, needed=max(needed, LEAST_ROOM))
    elif free < needed + usual:
        look.found("disk_low", directory=directory, free=free, needed=needed + usual)


def existing(directory):
    while not os.path.isdir(directory):
        directory = os.path.dirname(directory)
    return directory
