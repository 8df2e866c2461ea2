"""Tells a person what happens, and how long each step takes."""

import contextlib
import textwrap
import time

WIDTH = 88


class Narrator:
    def __init__(self):
        self._start = time.monotonic()

    @contextlib.contextmanager
    def step(self, title, explanation):
        """One step: its title, what it is about, whatever is shown meanwhile, its time."""
        print(f"\n== {title}", flush=True)
        self.tell(explanation)
        start = time.monotonic()
        yield
        print(f"   -- {time.monotonic() - start:.1f} s", flush=True)

    def tell(self, text):
        print(textwrap.fill(" ".join(text.split()), WIDTH, initial_indent="   ", subsequent_indent="   "), flush=True)

    def show(self, text):
        """Evidence from the host, as it is."""
        print(textwrap.indent(text.rstrip("\n"), "      | "), flush=True)

    def show_command(self, host, command):
        """Runs a command in the host and shows it with what it prints, as at the host's own terminal."""
        self.show(f"# {command}\n{host.output_of(command)}")

    def say(self, text):
        print(f"   {text}", flush=True)

    def elapsed(self):
        return time.monotonic() - self._start
