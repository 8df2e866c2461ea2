#!/usr/bin/python3
"""Checks that bash's completion and the manual page agree with what the program says of its usage.

usage.py PROGRAM COMPLETION EXAMPLE_SETTINGS MANUAL_PAGE_SOURCE
"""

import os
import re
import shlex
import subprocess
import sys
import unittest
from pathlib import Path

PROGRAM, COMPLETION, EXAMPLE_SETTINGS, MANUAL_PAGE = sys.argv[1:5]


def help_of(*command):
    return subprocess.run([PROGRAM, *command, "--help"], check=True, capture_output=True, text=True).stdout


def options_in(text):
    """The long options that a help text lists, each at the start of a line."""
    return set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))


def commands_in(text):
    return set(re.findall(r"^  ([a-z]+) ", text, re.MULTILINE))


def completions_of(*words):
    """What bash offers for the last of the words."""
    line = ["package-minder", *words]
    script = f"""
        source {shlex.quote(COMPLETION)}
        COMP_WORDS=({shlex.join(line)}) COMP_CWORD={len(words)}
        _package_minder
        printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    environment = {**os.environ, "PACKAGE_MINDER_EXAMPLE_SETTINGS": EXAMPLE_SETTINGS}
    output = subprocess.run(["bash", "-c", script], check=True, capture_output=True, text=True, env=environment).stdout
    return set(output.split())


class Completion(unittest.TestCase):
    def test_it_offers_every_command(self):
        commands = commands_in(help_of())

        self.assertGreater(len(commands), 7)
        self.assertEqual(completions_of(""), commands)
        self.assertEqual(completions_of("--set", "minder.interval=5", ""), commands)

    def test_it_offers_every_option_of_the_program(self):
        self.assertEqual(completions_of("--"), options_in(help_of()))

    def test_it_offers_every_option_of_every_command(self):
        for command in commands_in(help_of()):
            self.assertEqual(completions_of(command, "--"), options_in(help_of(command)), command)

    def test_it_offers_what_begins_like_the_word(self):
        self.assertEqual(completions_of("p"), {"purge", "plan"})
        self.assertEqual(completions_of("purge", "--p"), {"--plan"})

    def test_it_offers_every_level(self):
        levels = re.search(r"LEVEL:\{([a-z,]+)\}", help_of())[1].split(",")

        self.assertEqual(completions_of("--log-level", ""), set(levels))

    def test_it_offers_settings(self):
        self.assertEqual(completions_of("--set", "minder.command_"), {"minder.command_time_limit=", "minder.command_kill_delay="})


class ManualPage(unittest.TestCase):
    page = Path(MANUAL_PAGE).read_text(encoding="utf-8").replace("\\", "")

    def test_it_describes_every_command(self):
        for command in commands_in(help_of()):
            self.assertRegex(self.page, rf"(?m)^\*\*{command}\*\*")

    def test_it_describes_every_option(self):
        for option in options_in(help_of()).union(*(options_in(help_of(command)) for command in commands_in(help_of()))):
            self.assertIn(f"**{option}**", self.page)

    def test_it_describes_every_exit_status(self):
        for status in re.findall(r"\d+(?= )", help_of()[help_of().index("Exit status:"):]):
            self.assertRegex(self.page, rf"(?m)^{status}$")


unittest.main(argv=sys.argv[:1])
