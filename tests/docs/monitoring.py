#!/usr/bin/python3
"""Checks the alarms of the monitoring guide with promtool: that they are rules, what they do in the story of a host, and
that they name no metric and no verdict that the program does not have.

monitoring.py CHECKOUT PROMTOOL
"""

import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECKOUT = Path(sys.argv[1])
PROMTOOL = sys.argv[2]
RULES = CHECKOUT / "examples" / "monitoring" / "package-minder.rules.yml"
STORY = CHECKOUT / "tests" / "docs" / "monitoring_rules_test.yml"
METRICS = (CHECKOUT / "src" / "zant" / "velmora_host" / "observation" / "metrics.cpp").read_text(encoding="utf-8")
GUIDE = (CHECKOUT / "docs" / "monitoring.md").read_text(encoding="utf-8")


def promtool(*arguments):
    return subprocess.run([PROMTOOL, *arguments], check=False, capture_output=True, text=True)


def story_of(rules):
    """What promtool says of the story with these rules."""
    with tempfile.TemporaryDirectory() as directory:
        Path(directory, RULES.name).write_text(rules, encoding="utf-8")
        shutil.copy(STORY, directory)
        return promtool("test", "rules", str(Path(directory, STORY.name)))


class Alarms(unittest.TestCase):
    def test_they_are_rules(self):
        result = promtool("check", "rules", str(RULES))

        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_they_tell_the_story_of_a_host(self):
        result = story_of(RULES.read_text(encoding="utf-8"))

        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_the_story_needs_each_of_them(self):
        rules = RULES.read_text(encoding="utf-8")
        alarms = re.findall(r"alert: (\w+)", rules)

        self.assertGreater(len(alarms), 5)
        for alarm in alarms:
            self.assertNotEqual(story_of(rules.replace(f"alert: {alarm}\n", "alert: Another\n")).returncode, 0, alarm)

    def test_their_metrics_are_those_of_the_program(self):
        names = set(re.findall(r"package_minder_(\w+)", RULES.read_text(encoding="utf-8")))

        self.assertEqual([name for name in sorted(names) if f'"{name}"' not in METRICS], [])

    def test_the_guide_names_each(self):
        alarms = re.findall(r"alert: (\w+)", RULES.read_text(encoding="utf-8"))

        self.assertEqual([alarm for alarm in alarms if f"`{alarm}`" not in GUIDE], [])


unittest.main(argv=sys.argv[:1])
