"""The session manager of a virtual desktop, which says when the session ends."""
import itertools
import json
import os
import pathlib
import signal
import subprocess

from .waiting import wait_for

_PROGRAM = pathlib.Path(__file__).parent.parent / "apps/session_manager.py"

RESTART_NEVER = 3  # SmRestartNever


class SessionManager:
    """Runs until the desktop ends. Programs that take part are started with its `environment`."""

    _numbers = itertools.count(1)

    def __init__(self, desktop):
        self._process = desktop.processes.start(f"session-manager-{next(self._numbers)}",
                                                ["/usr/bin/python3", _PROGRAM], stdin=subprocess.PIPE)
        self.environment = {"SESSION_MANAGER": wait_for(self.events, what="the session manager")[0]["address"]}

    def events(self, name=None):
        """What has happened so far, in order: all of it, or the events of one name."""
        lines = self._process.output_text().splitlines(keepends=True)
        found = [json.loads(line) for line in lines if line.endswith("\n")]
        return [event for event in found if name in (None, event["event"])]

    def hints(self):
        """The values that were given to "RestartStyleHint", in order."""
        return [event["values"][0] for event in self.events("property") if event["name"] == "RestartStyleHint"]

    def wait_for(self, name, count=1):
        wait_for(lambda: len(self.events(name)) >= count, what=f'"{name}" from the session\'s programs',
                 show=self.events)

    def order(self, word):
        """Says "save", "shutdown", "cancel" or "die" to all programs of the session."""
        self._process.popen.stdin.write(word.encode() + b"\n")
        self._process.popen.stdin.flush()

    def crash(self):
        """Ends the manager without a word to the session's programs."""
        os.kill(self._process.pid, signal.SIGKILL)
        self._process.end()
        # The socket that it would have removed: each address is "kind/machine:place".
        for address in self.environment["SESSION_MANAGER"].split(","):
            pathlib.Path(address.partition(":")[2]).unlink(missing_ok=True)
