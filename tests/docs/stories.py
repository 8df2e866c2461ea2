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
        missing = [cause for cause in causes() if not has_story(*cause)]

        self.assertEqual(missing, [])


unittest.main(argv=sys.argv[:1])
