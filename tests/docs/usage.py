#!/usr/bin/python3
"""Checks that bash's completion and the manual page agree with what the program says of its usage.

usage.py PROGRAM COMPLETION MANUAL_PAGE_SOURCE
"""

import re
import shlex
import subprocess
import sys
import unittest
from pathlib import Path

PROGRAM, COMPLETION, MANUAL_PAGE = sys.argv[1:4]


def help_of(*command):
    return subprocess.run([PROGRAM, *command, "--help"], check=True, capture_output=True, text=True).stdout


def options_in(text):
    """The long options that a help text lists, each at the start of a line."""
    return set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))


def commands_in(text):
    return set(re.findall(r"^  ([a-z]+) ", text, re.MULTILINE))


def words_of_readline(line):
    """The words that readline makes of a line: it splits at "=" too, and the last word is the one to complete."""
    words = re.findall(r"=|(?:'[^']*'|[^\s=])+", line)
    return [*words, ""] if not line or line[-1].isspace() else words


def completions_of(line):
    """What bash offers at the end of the line."""
    line = f"package-minder {line}"
    words = words_of_readline(line)
    script = f"""
        source {shlex.quote(COMPLETION)}
        COMP_LINE={shlex.quote(line)} COMP_WORDS=({shlex.join(words)}) COMP_CWORD={len(words) - 1}
        _package_minder
        printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    output = subprocess.run(["bash", "-c", script], check=True, capture_output=True, text=True).stdout
    return set(output.split())


class Completion(unittest.TestCase):
    def test_it_offers_every_command(self):
        commands = commands_in(help_of())

        self.assertGreater(len(commands), 7)
        self.assertEqual(completions_of(""), commands)

    def test_it_offers_commands_after_options_and_their_values(self):
        commands = commands_in(help_of())

        self.assertEqual(completions_of("--set minder.interval=5 "), commands)
        self.assertEqual(completions_of("--set minder.metrics_file= "), commands)
        self.assertEqual(completions_of("--set package.apt.repo.origins_pattern='o=A B' "), commands)
        self.assertEqual(completions_of("--set=minder.interval=5 "), commands)
        self.assertEqual(completions_of("--log-level debug "), commands)
        self.assertEqual(completions_of("--log-level=debug "), commands)
        self.assertEqual(completions_of("--settings /etc/x "), commands)

    def test_it_offers_every_option_of_the_program(self):
        self.assertEqual(completions_of("--"), options_in(help_of()))
        self.assertEqual(completions_of("--set minder.interval=5 --"), options_in(help_of()))

    def test_it_offers_every_option_of_every_command(self):
        for command in commands_in(help_of()):
            self.assertEqual(completions_of(f"{command} --"), options_in(help_of(command)), command)
            self.assertEqual(completions_of(f"--set minder.interval=5 {command} --"), options_in(help_of(command)), command)

    def test_it_offers_what_begins_like_the_word(self):
        self.assertEqual(completions_of("p"), {"purge", "plan"})
        self.assertEqual(completions_of("purge --p"), {"--plan"})

    def test_it_offers_every_level(self):
        named = re.search(r"Minimum severity to log: (.+?);", help_of(), re.DOTALL)[1]
        levels = set(re.findall(r"[a-z]+", named.replace(" or ", " ")))

        self.assertEqual(completions_of("--log-level "), levels)
        self.assertEqual(completions_of("--log-level="), levels)
        self.assertEqual(completions_of("--log-level=de"), {"debug"})
        self.assertEqual(completions_of("--set minder.log.level="), levels)
        self.assertEqual(completions_of("--set=minder.log.level=de"), {"debug"})

    def test_it_offers_settings(self):
        limits = {"minder.command_time_limit=", "minder.command_kill_delay="}

        self.assertEqual(completions_of("--set minder.command_"), limits)
        self.assertEqual(completions_of("--set=minder.command_"), limits)
        self.assertEqual(completions_of("once --set minder.command_"), limits)

    def test_it_offers_the_values_of_settings_with_a_closed_list(self):
        self.assertEqual(completions_of("--set minder.log.format="), {"auto", "terminal", "journal"})
        self.assertEqual(completions_of("--set minder.log.format=j"), {"journal"})
        self.assertEqual(completions_of("--set minder.interval="), set())


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
