"""What a directory tree looked like at one moment, and how two such moments differ."""

import difflib
import hashlib
import os
import stat
from dataclasses import dataclass

# Longer files and binary ones are compared by their hash and reported without a diff.
LONGEST_TEXT = 64 * 1024


@dataclass(frozen=True)
class Entry:
    kind: str
    mode: str
    owner: str
    content: str = ""  # hash of a file, target of a link
    text: str | None = None

    def __str__(self):
        target = f" -> {self.content}" if self.kind == "link" else ""
        return f"{self.kind} {self.mode} {self.owner}{target}"


def take(root, directory):
    """Reads the tree `directory` of the file system below `root`; links are not followed."""
    top = os.path.join(root, directory.lstrip("/"))
    entries = {}
    for parent, directories, files in os.walk(top):
        for name in directories + files:
            path = os.path.join(parent, name)
            entries[os.path.join(directory, os.path.relpath(path, top))] = _read(path)
    return entries


def differences(before, after):
    """Every difference as lines for a person; an empty list when there is none."""
    lines = []
    for path in sorted(before.keys() | after.keys()):
        old, new = before.get(path), after.get(path)
        if old == new:
            continue
        if old is None:
            lines.append(f"added   {path} ({new})")
        elif new is None:
            lines.append(f"removed {path} ({old})")
        else:
            lines.append(f"changed {path} ({old})" + (f" is now ({new})" if str(old) != str(new) else ""))
        lines += _text_difference(old, new)
    return lines


def _read(path):
    status = os.lstat(path)
    mode, owner = f"{stat.S_IMODE(status.st_mode):04o}", f"{status.st_uid}:{status.st_gid}"
    if stat.S_ISLNK(status.st_mode):
        return Entry("link", mode, owner, os.readlink(path))
    if stat.S_ISDIR(status.st_mode):
        return Entry("directory", mode, owner)
    if stat.S_ISREG(status.st_mode):
        with open(path, "rb") as file:
            content = file.read()
        return Entry("file", mode, owner, hashlib.sha256(content).hexdigest(), _as_text(content))
    return Entry("special file", mode, owner, f"{status.st_rdev}")


def _as_text(content):
    if len(content) > LONGEST_TEXT:
        return None
    try:
        return content.decode()
    except UnicodeDecodeError:
        return None


def _text_difference(old, new):
    old_text, new_text = (entry.text if entry else "" for entry in (old, new))
    if old_text is None or new_text is None:
        return []
    difference = difflib.unified_diff((old_text or "").splitlines(), (new_text or "").splitlines(), lineterm="", n=1)
    return [f"    {line}" for line in list(difference)[2:]]
