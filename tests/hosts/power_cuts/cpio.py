"""Archives in the form that a kernel unpacks before anything else."""

import itertools
import os
import stat


def archive(files, directories=()):
    """An archive of files, a name and bytes each, every one of which may be executed, and of directories."""
    numbers = itertools.count(1)
    parents = {os.path.join(*parts) for name in files for parts in itertools.accumulate(_parents_of(name), lambda a, b: a + b)}
    made = [_entry(next(numbers), name, stat.S_IFDIR | 0o755, b"") for name in sorted({*parents, *directories})]
    made += [_entry(next(numbers), name, stat.S_IFREG | 0o755, content) for name, content in files.items()]
    packed = b"".join([*made, _entry(0, "TRAILER!!!", 0, b"")])
    # The next archive begins where this one ends.
    return _padded(packed, 512)


def _parents_of(name):
    return [(part,) for part in name.split("/")[:-1]]


def _entry(number, name, mode, content):
    fields = (number, mode, 0, 0, 1, 0, len(content), 0, 0, 0, 0, len(name) + 1, 0)
    header = b"070701" + "".join(f"{field:08X}" for field in fields).encode()
    return _padded(header + name.encode() + b"\0", 4) + _padded(content, 4)


def _padded(data, size):
    return data + b"\0" * (-len(data) % size)
