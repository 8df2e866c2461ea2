"""Runs one demonstration; script/demo prepares what it needs."""

import argparse
import signal
import sys

from demo import apt, dnf
from demo.narrator import Narrator
from disposable_hosts import machine

FAMILIES = {"apt": apt.run, "dnf": dnf.run}


def main():
    parser = argparse.ArgumentParser(prog="python3 -m demo", description=__doc__)
    parser.add_argument("--family", choices=FAMILIES, default="apt", help="package manager of the host (default: apt)")
    parser.add_argument("--build-directory", required=True, help="the build whose program is shown")
    arguments = parser.parse_args()

    reason = machine.reason_it_cannot_carry_hosts()
    if reason:
        sys.exit(f"demo: {reason}")
    signal.signal(signal.SIGTERM, signal.default_int_handler)  # Cleans up like on an interrupt.
    narrator = Narrator()
    try:
        FAMILIES[arguments.family](narrator, arguments.build_directory)
    except (AssertionError, RuntimeError) as failure:
        sys.exit(f"\ndemo: this step did not happen:\n{failure}")
    print(f"\nEvery step happened; {narrator.elapsed():.0f} s on the host.")


if __name__ == "__main__":
    main()
