"""Waiting for a thing to happen on a host, without guessing how long it takes."""

import time


class TimedOut(AssertionError):
    """What was waited for did not happen; the message tells what was seen instead."""


def wait_until(observe, what, *, expect=bool, timeout=30.0, interval=0.1):
    """Calls `observe` until its result satisfies `expect`; returns that result.

    `expect` is a predicate, or the very value that is waited for. `what` names
    the awaited thing in the message of a TimedOut.
    """
    satisfies = expect if callable(expect) else lambda seen: seen == expect
    start = time.monotonic()
    changes = []
    while True:
        seen = observe()
        elapsed = time.monotonic() - start
        if satisfies(seen):
            return seen
        if not changes or changes[-1][1] != seen:
            changes.append((elapsed, seen))
        if elapsed > timeout:
            raise TimedOut(_report(what, timeout, changes))
        time.sleep(interval)


def _report(what, timeout, changes):
    history = "\n".join(f"  after {elapsed:.1f} s: {seen!r}" for elapsed, seen in changes[-10:])
    return f"waited {timeout:g} s for {what}, in vain; seen:\n{history}"
