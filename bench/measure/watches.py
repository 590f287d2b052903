"""Programs that tell when something happened, and the clock they share: CLOCK_MONOTONIC, in nanoseconds."""
import os
import threading
import time

from rig import wait_for

now = time.monotonic_ns


class LineWatch:
    """Notes each line that a program prints with the time at which it came."""

    def __init__(self, desktop, name, command):
        self._changed = threading.Condition()
        self._lines = []
        self._process = desktop.processes.start(name, command, pipe=True)
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self._process.popen.stdout:
            time_read = now()
            with self._changed:
                self._lines.append((time_read, line.rstrip("\n")))
                self._changed.notify_all()

    def lines(self):
        with self._changed:
            return list(self._lines)

    def wait_for(self, matches, what, timeout=15):
        """The first (time, line) for which matches(time, line) is true."""
        def find():
            return next((entry for entry in self._lines if matches(*entry)), None)
        with self._changed:
            if not self._changed.wait_for(lambda: find() is not None, timeout):
                raise RuntimeError(f"waited in vain for {what}")
            return find()


class KeyWatch(LineWatch):
    """The display's key events, with the times at which they came to a program like any other."""

    def __init__(self, desktop, program):
        super().__init__(desktop, "key-watch", [program])
        super().wait_for(lambda _time, line: line == "ready", "the watch on key events")

    def wait_for_press(self, key_codes, since):
        """The time of the first press of one of these keys after `since`."""
        def matches(_time, line):
            words = line.split()
            return len(words) == 3 and words[1] == "down" and int(words[2]) in key_codes and int(words[0]) > since
        return int(super().wait_for(matches, "the paste chord")[1].split()[0])


class SoundWatch(LineWatch):
    """New sounds at the sound server, as the server announces them."""

    def __init__(self, desktop):
        super().__init__(desktop, "sound-watch", ["pactl", "subscribe"])
        wait_for(lambda: "pactl" in desktop.sound.pactl("list", "clients"), what="the watch on sounds")

    def wait_for_sound(self, since):
        return super().wait_for(lambda time_read, line: time_read > since and line.startswith("Event 'new' on sink-input"),
                                "a sound asked for")[0]


def run_timed(command, environment, output=os.devnull):
    """Runs a program to its end; gives the times just before it was started and when it had ended."""
    actions = [(os.POSIX_SPAWN_OPEN, 0, os.devnull, os.O_RDONLY, 0),
               (os.POSIX_SPAWN_OPEN, 1, str(output), os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600),
               (os.POSIX_SPAWN_OPEN, 2, os.devnull, os.O_WRONLY, 0)]
    started = now()
    child = os.posix_spawnp(str(command[0]), [str(word) for word in command], environment, file_actions=actions)
    _, status = os.waitpid(child, 0)
    ended = now()
    if status != 0:
        raise RuntimeError(f"{command[0]} ended with status {os.waitstatus_to_exitcode(status)}")
    return started, ended


def processor_time(pid):
    """The processor time of a process and all its threads, ended ones too, in nanoseconds."""
    return time.clock_gettime_ns((~pid << 3) | 2)
