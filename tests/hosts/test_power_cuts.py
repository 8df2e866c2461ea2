"""What a disk holds after its power was cut, by the log of what it was told; script/faults power cuts that of whole hosts."""

import random
import struct

import pytest
from power_cuts.write_log import DISCARD, FLUSH, FORCED, MAGIC, SECTOR, Cut, CutDisk, WriteLog

SIZE = 16 * SECTOR


class LoggedDisk:
    """A disk of zeros and a log that the test writes."""

    def __init__(self, directory):
        self.directory, self._entries = directory, []
        (directory / "disk").write_bytes(b"\0" * SIZE)

    def write(self, sector, text, sectors=1, flags=0):
        data = b"" if flags & (DISCARD | FLUSH) else text.encode() * (sectors * SECTOR)
        self._entries.append(struct.pack("<QQQQ", sector, sectors, flags, 0).ljust(SECTOR, b"\0") + data)

    def flush(self):
        self.write(0, "", sectors=0, flags=FLUSH)

    def after(self, *cuts, seed=1):
        """What sectors hold after each of the cuts, a character for each."""
        head = struct.pack("<QQQI", MAGIC, 1, len(self._entries), SECTOR).ljust(SECTOR, b"\0")
        (self.directory / "log").write_bytes(head + b"".join(self._entries))
        disk = CutDisk(self.directory / "disk", WriteLog(self.directory / "log"))
        target = self.directory / "cut"
        for cut in cuts:
            disk.cut(cut, random.Random(seed), target)
            content = target.read_bytes()
            assert len(content) == SIZE
            yield "".join(chr(content[at] or ord(".")) for at in range(0, SIZE, SECTOR))


@pytest.fixture
def disk(tmp_path):
    return LoggedDisk(tmp_path)


def test_what_was_flushed_is_there_and_what_was_not_may_be_missing(disk):
    disk.write(0, "a")
    disk.flush()
    disk.write(1, "b")

    assert list(disk.after(Cut(3, 0.0), Cut(3, 1.0))) == ["a...............", "ab.............."]


def test_nothing_is_there_that_was_written_after_the_cut(disk):
    disk.write(0, "a")
    disk.write(1, "b")
    disk.flush()

    assert list(disk.after(Cut(1, 1.0), Cut(2, 1.0), Cut(3, 0.0))) == ["a" + 15 * ".", "ab" + 14 * ".", "ab" + 14 * "."]


def test_a_later_cut_shows_nothing_of_what_an_earlier_one_let_survive(disk):
    disk.write(0, "a")
    disk.write(0, "b")

    assert list(disk.after(Cut(2, 1.0), Cut(2, 0.0))) == ["b" + 15 * ".", 16 * "."]


def test_a_write_that_was_to_be_there_at_once_is_there(disk):
    disk.write(0, "a", flags=FORCED)
    disk.write(1, "b")

    assert list(disk.after(Cut(2, 0.0))) == ["a" + 15 * "."]


def test_what_was_discarded_is_gone(disk):
    disk.write(0, "a", sectors=2)
    disk.write(0, "", flags=DISCARD)
    disk.flush()

    assert list(disk.after(Cut(3, 0.0))) == [".a" + 14 * "."]


def test_of_what_was_not_flushed_any_part_may_survive_later_writes_without_earlier_ones(disk):
    disk.write(0, "a")
    disk.write(1, "b")

    seen = {next(disk.after(Cut(2, 0.5), seed=seed))[:2] for seed in range(50)}

    assert seen == {"..", "a.", ".b", "ab"}


def test_a_write_that_was_not_flushed_may_be_torn_between_sectors(disk):
    disk.write(0, "a", sectors=4)

    seen = {next(disk.after(Cut(1, 0.75), seed=seed))[:4] for seed in range(200)}

    assert {"....", "aaaa"} < seen
    assert any(set(sectors) == {".", "a"} for sectors in seen)


def test_the_same_seed_cuts_alike(disk):
    for sector in range(16):
        disk.write(sector, "a")

    assert list(disk.after(Cut(16, 0.5), seed=7)) == list(disk.after(Cut(16, 0.5), seed=7))
