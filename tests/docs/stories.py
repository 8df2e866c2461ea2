#!/usr/bin/python3
"""Checks that each cause is told on a disposable host of each of its families: broken, named, and mended.

stories.py CHECKOUT
"""

import re
import sys
import unittest
from pathlib import Path

CHECKOUT = Path(sys.argv[1])

# Hosts of Chocolatey's are no disposable ones.
STORIES = {"APT": "test_verdict_apt.py", "DNF": "test_verdict_dnf.py"}
# Why a cause of a family has no story yet.
EXCEPTIONS = {
    ("DNF", "disk.low"): "the room must be short for a real upgrade, and not too short for it",
    ("DNF", "package.passed_over"): "it takes a plugin that dnf-automatic has and DNF's own command has not",
    ("DNF", "run.failed"): "a run that failed without a trace elsewhere",
    ("DNF", "server.silent"): "DNF waits for a silent server for minutes",
    ("DNF", "timer.no_systemd"): "there is no image of a DNF host without systemd",
    ("DNF", "tools.failed"): "what breaks the tool must break the night too",
    ("DNF", "tools.time_limit"): "what the tool waits for must stop the night too",
}


def causes():
    """Each family and code of the table."""
    table = (CHECKOUT / "docs" / "verdict.md").read_text(encoding="utf-8").split("\n## Causes\n")[1]
    for code, families in re.findall(r"(?m)^\| `([a-z_]+\.[a-z0-9_]+)` \| (.*?) \|", table):
        for family in STORIES:
            if families == "all" or family in families.split(", "):
                yield family, code


def has_story(family, code):
    return f'"{code}"' in (CHECKOUT / "tests" / "hosts" / STORIES[family]).read_text(encoding="utf-8")


class Stories(unittest.TestCase):
    maxDiff = None

    def test_each_cause_has_one(self):
        self.assertGreater(len(list(causes())), 100)
        missing = [cause for cause in causes() if cause not in EXCEPTIONS and not has_story(*cause)]

        self.assertEqual(missing, [])

    def test_no_exception_is_left_over(self):
        left = [cause for cause in EXCEPTIONS if cause not in causes() or has_story(*cause)]

        self.assertEqual(left, [])


unittest.main(argv=sys.argv[:1])
