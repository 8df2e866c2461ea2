"""Adds up the JUnit files of a test run: a row per suite, and a closing line for all."""

import pathlib
import sys
import xml.etree.ElementTree as ElementTree

# A test of CTest's that is a whole program; the program has written a file of its own.
WHOLE_PROGRAM = "whole."


def count(path):
    """(passed, failed, skipped) of one JUnit file, counted case by case: the totals that the runners write differ."""
    passed = failed = skipped = 0
    for case in ElementTree.parse(path).getroot().iter("testcase"):
        if case.find("failure") is not None or case.find("error") is not None:
            failed += 1
        elif case.find("skipped") is not None or case.get("status") == "notrun":
            skipped += 1
        elif not case.get("name").startswith(WHOLE_PROGRAM):
            passed += 1
    return passed, failed, skipped


def name_of(path):
    """Of a suite: the file's name, or for a program's file that of the build too."""
    return f"{path.parent.parent.name}: {path.stem}" if path.parent.name == "test-programs" else path.stem


def main(directories):
    totals = (0, 0, 0)
    for path in sorted(path for directory in directories for path in pathlib.Path(directory).glob("*.xml")):
        counts = count(path)
        print(f"{name_of(path):45} {counts[0]:5} passed {counts[1]:3} failed {counts[2]:3} skipped")
        totals = tuple(total + one for total, one in zip(totals, counts))
    print(f"{totals[0]} passed, {totals[1]} failed, {totals[2]} skipped")
    return 0 if totals[0] > 0 and totals[1] == 0 else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
