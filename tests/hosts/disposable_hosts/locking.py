"""Locks between the processes that work on kept files at the same time."""

import contextlib
import fcntl


@contextlib.contextmanager
def locked(path):
    """Waits until nobody else holds the lock on `path`, and holds it while the context lasts."""
    with open(path, "w", encoding="utf-8") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        yield
