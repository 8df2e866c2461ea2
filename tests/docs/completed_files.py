#!/usr/bin/python3
"""Checks that bash's completion quotes the names of files, which may hold what the shell would interpret.

completed_files.py COMPLETION
"""

import os
import pty
import select
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

COMPLETION = os.path.abspath(sys.argv[1])
PATIENCE = 60  # Seconds; a fraction of one on a machine with nothing else to do.


class Terminal:
    """An interactive bash, typed at. In place of the program stands a function that writes down its arguments."""

    def __init__(self, directory):
        self._directory = Path(directory)
        master, terminal = pty.openpty()
        self._master = master
        environment = {"PATH": os.environ["PATH"], "TERM": "dumb", "PS1": "", "INPUTRC": "/dev/null", "HOME": directory}
        self._shell = subprocess.Popen(
            ["bash", "--norc", "--noprofile", "-i"], cwd=directory, env=environment, start_new_session=True,
            stdin=terminal, stdout=terminal, stderr=terminal,
        )
        os.close(terminal)
        self._seen = ""
        self.type(f"source '{COMPLETION}' && package-minder() {{ printf '<%s>' \"$@\" >>called; echo DO''NE; }}; echo REA''DY\n")
        self._wait_for("READY")

    def type(self, text):
        os.write(self._master, text.encode())

    def arguments_of(self, typed):
        self.type(f"package-minder {typed}\n")
        self._wait_for("DONE")
        return (self._directory / "called").read_text(encoding="utf-8")

    def close(self):
        self._shell.kill()
        self._shell.wait()
        os.close(self._master)

    def _wait_for(self, text):
        end = time.monotonic() + PATIENCE
        while text not in self._seen:
            if not select.select([self._master], [], [], max(0, end - time.monotonic()))[0]:
                raise AssertionError(f"bash did not print {text}, but: {self._seen!r}")
            self._seen += os.read(self._master, 4096).decode(errors="replace")


class CompletedFile(unittest.TestCase):
    def arguments_after_completing(self, name, typed):
        """The arguments that the program gets where a file of this name is the only one."""
        with tempfile.TemporaryDirectory() as directory:
            (Path(directory) / name).touch()
            terminal = Terminal(directory)
            self.addCleanup(terminal.close)
            arguments = terminal.arguments_of(typed)
            self.assertFalse((Path(directory) / "pwned").exists())
        return arguments

    def test_a_blank_does_not_end_the_word(self):
        self.assertEqual(self.arguments_after_completing("my settings", "--settings my\t"), "<--settings><my settings>")
        self.assertEqual(self.arguments_after_completing("my settings", "--settings=my\t"), "<--settings=my settings>")

    def test_a_semicolon_begins_no_command(self):
        self.assertEqual(
            self.arguments_after_completing("my;touch pwned;", "--settings my\t"), "<--settings><my;touch pwned;>"
        )
        self.assertEqual(
            self.arguments_after_completing("my;touch pwned;", "--settings=my\t"), "<--settings=my;touch pwned;>"
        )

    def test_an_ordinary_name_stays_as_it_is(self):
        self.assertEqual(self.arguments_after_completing("my.properties", "--settings my\t"), "<--settings><my.properties>")


unittest.main(argv=sys.argv[:1], verbosity=2)
