"""Adds up the JUnit files of a test run: a row per suite, and a closing line for all."""

import pathlib
import sys
import xml.etree.ElementTree as ElementTree


def count(path):
    """(passed, failed, skipped) of one JUnit file, counted case by case: the totals that the runners write differ."""
    passed = failed = skipped = 0
    for case in ElementTree.parse(path).getroot().iter("testcase"):
        if case.find("failure") is not None or case.find("error") is not None:
            failed += 1
        elif case.find("skipped") is not None:
            skipped += 1
        else:
            passed += 1
    return passed, failed, skipped


def main(directory):
    totals = (0, 0, 0)
    for path in sorted(pathlib.Path(directory).glob("*.xml")):
        counts = count(path)
        print(f"{path.stem:10} {counts[0]:5} passed {counts[1]:3} failed {counts[2]:3} skipped")
        totals = tuple(total + one for total, one in zip(totals, counts))
    print(f"{totals[0]} passed, {totals[1]} failed, {totals[2]} skipped")
    return 0 if totals[0] > 0 and totals[1] == 0 else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
