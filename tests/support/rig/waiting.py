"""Waiting for a condition, with a deadline, instead of sleeping for a guessed time."""
import os
import socket
import time

# A machine under load gets more time: the deadlines of all waits are multiplied by this.
PATIENCE = float(os.environ.get("TAVLO_TEST_PATIENCE", "1"))
INTERVAL = 0.02


class NotReached(AssertionError):
    """What was waited for did not come."""


def wait_for(condition, timeout=10.0, what="the condition", show=None):
    """Returns the first true value of `condition()`; raises NotReached after `timeout` seconds.

    `what` completes the sentence "waited in vain for ..."; `show()` gives what was there instead.
    """
    deadline = time.monotonic() + timeout * PATIENCE
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            there = f"; there is {show()!r}" if show else ""
            raise NotReached(f"waited in vain for {what}, {timeout * PATIENCE:g} seconds{there}")
        time.sleep(INTERVAL)


def is_listened_to(path):
    """Whether a server listens at this socket, whose file is there a moment earlier."""
    with socket.socket(socket.AF_UNIX) as end:
        return end.connect_ex(str(path)) == 0
