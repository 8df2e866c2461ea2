"""What a disk was told, in its order, and what it holds when the power goes at some moment of that.

The log has the form of the kernel's dm-log-writes: a superblock, then for each request one sector that describes it and
the data that were written.
"""

import struct
import subprocess
from dataclasses import dataclass

MAGIC = 0x6A736677736872
SUPERBLOCK, ENTRY = struct.Struct("<QQQI"), struct.Struct("<QQQQ")
FLUSH, FORCED, DISCARD = 1, 2, 4
SECTOR = 512

# Of the writes that a disk had not promised to keep, these parts survive.
SURVIVING_PARTS = (0.0, 0.25, 0.5, 0.75, 1.0)
# A write that survives may do so in part: a disk writes whole sectors, and no more.
TORN_PART = 0.1


@dataclass(frozen=True)
class Request:
    """A write, a flush or a discard."""

    offset: int
    length: int
    flags: int
    position: int  # of its data in the log

    @property
    def is_flush(self):
        return bool(self.flags & FLUSH)


class WriteLog:
    """The requests of one machine's life."""

    def __init__(self, path):
        self._file = open(path, "rb")
        self.requests = list(self._read())

    def data_of(self, request):
        if request.flags & DISCARD:
            return b"\0" * request.length
        self._file.seek(request.position)
        return self._file.read(request.length)

    def find_text(self, offset, text):
        """The number of the request that wrote a text to the sector at an offset."""
        for number, request in enumerate(self.requests):
            if request.offset == offset and self.data_of(request).startswith(text.encode()):
                return number
        raise ValueError(f"nothing in the log of the disk says {text!r}")

    def close(self):
        self._file.close()

    def _read(self):
        magic, _, count, size = SUPERBLOCK.unpack(self._file.read(SUPERBLOCK.size))
        if magic != MAGIC:
            raise ValueError("this is no log of writes")
        position = size
        for _ in range(count):
            self._file.seek(position)
            sector, sectors, flags, _ = ENTRY.unpack(self._file.read(ENTRY.size))
            position += size
            yield Request(sector * size, sectors * size, flags, position)
            position += 0 if flags & DISCARD else sectors * size


@dataclass(frozen=True)
class Cut:
    """The power goes before the request of this number; `surviving` is the part of what was not flushed that is there."""

    before: int
    surviving: float

    def __str__(self):
        return f"before request {self.before}, with {self.surviving:.0%} of what was not flushed"


class CutDisk:
    """A disk that goes forward through a log, and the copies of it that cuts leave."""

    def __init__(self, path, log):
        self._path, self._log = path, log
        self._promised = 0  # the requests before this one are on the disk for good

    def cut(self, cut, chance, target):
        """Makes `target` what the disk is after the cut. Cuts must come in their order."""
        requests = self._log.requests
        flushed = max((number for number in range(cut.before) if requests[number].is_flush), default=0)
        with open(self._path, "r+b") as disk:
            for request in requests[self._promised : flushed]:
                _write(disk, request.offset, self._log.data_of(request))
        self._promised = max(self._promised, flushed)
        subprocess.run(["cp", "--sparse=always", self._path, target], check=True)
        with open(target, "r+b") as disk:
            for request in requests[flushed : cut.before]:
                for offset, data in _survivors(request, self._log, cut.surviving, chance):
                    _write(disk, offset, data)


def _write(disk, offset, data):
    disk.seek(offset)
    disk.write(data)


def _survivors(request, log, surviving, chance):
    """The pieces of a request that reach the disk, an offset and bytes each."""
    data = log.data_of(request)
    if request.flags & FORCED:
        return [(request.offset, data)]
    if chance.random() >= surviving:
        return []
    if surviving == 1.0 or chance.random() >= TORN_PART:
        return [(request.offset, data)]
    sectors = [at for at in range(0, len(data), SECTOR) if chance.random() < surviving]
    return [(request.offset + at, data[at : at + SECTOR]) for at in sectors]
