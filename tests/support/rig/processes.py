"""Child processes that never outlive their test.

Each is started in a session of its own, is told by the kernel to end when the test process ends however that happens,
and is ended, with all that it started, by its process id. The test process adopts orphans of its children, so that
what a child left behind is found and ended too.
"""
import atexit
import ctypes
import os
import pathlib
import signal
import subprocess
import sys
import threading
import time

_PR_SET_PDEATHSIG = 1
_PR_SET_CHILD_SUBREAPER = 36
_libc = ctypes.CDLL(None, use_errno=True)
_TERM_SECONDS = 5.0


def _die_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


def _parents():
    """Maps each process to its parent and state."""
    table = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                fields = pathlib.Path("/proc", entry, "stat").read_text().rpartition(")")[2].split()
            except OSError:
                continue
            table[int(entry)] = (int(fields[1]), fields[0])
    return table


def descendants(root):
    """The living descendants of a process."""
    table = _parents()
    found, edge = [], {root}
    while edge:
        edge = {pid for pid, (parent, state) in table.items() if parent in edge and state != "Z"}
        found += edge
    return found


def _reap_orphans(known):
    """Collects adopted children that have ended; those that a Popen object waits for are left to it."""
    for pid, (parent, state) in _parents().items():
        if parent == os.getpid() and state == "Z" and pid not in known:
            try:
                os.waitpid(pid, os.WNOHANG)
            except ChildProcessError:
                pass


def end_processes(pids, seconds=_TERM_SECONDS):
    """Asks each process to end, and after some seconds forces it to."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        for pid in pids:
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                pass
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            table = _parents()
            pids = [pid for pid in pids if pid in table and table[pid][1] != "Z"]
            if not pids:
                return
            time.sleep(0.02)


class Process:
    """One running program with its output in files."""

    def __init__(self, name, popen, output, errors):
        self.name = name
        self.popen = popen
        self.output = output  # Path of standard output, or None when it is a pipe
        self.errors = errors  # Path of standard error

    @property
    def pid(self):
        return self.popen.pid

    @property
    def is_running(self):
        return self.popen.poll() is None

    def error_text(self):
        return self.errors.read_text(errors="replace")

    def output_text(self):
        return self.output.read_text(errors="replace")

    def end(self, seconds=_TERM_SECONDS):
        """Ends the program and everything that it started."""
        family = descendants(self.pid) if self.is_running else []
        if self.is_running:
            self.popen.terminate()
            try:
                self.popen.wait(seconds)
            except subprocess.TimeoutExpired:
                self.popen.kill()
        self.popen.wait()
        if self.popen.stdin:
            self.popen.stdin.close()
        end_processes(family, seconds)


class Processes:
    """The programs of one desktop, ended in reverse order."""

    _all = []
    _prepared = False

    def __init__(self, folder, environment):
        self.folder = folder
        self.environment = environment
        self._running = []
        folder.mkdir(parents=True, exist_ok=True)
        Processes._prepare()
        Processes._all.append(self)

    @classmethod
    def _prepare(cls):
        if cls._prepared:
            return
        cls._prepared = True
        _libc.prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
        atexit.register(cls.end_everything)
        if threading.current_thread() is threading.main_thread():
            for number in (signal.SIGTERM, signal.SIGHUP):
                # Leaves through all "finally" and "with" blocks, then through atexit.
                signal.signal(number, lambda received, _frame: sys.exit(128 + received))

    def start(self, name, command, environment=None, pipe=False, stdin=None, **others):
        """Starts a program. With `pipe`, its standard output is `process.popen.stdout`, a text stream."""
        errors = self.folder / f"{name}.err"
        output = None if pipe else self.folder / f"{name}.out"
        full = dict(self.environment, **(environment or {}))
        with open(errors, "ab") as error_file:
            output_file = subprocess.PIPE if pipe else open(output, "ab")
            try:
                # Standard input is empty unless asked for: nothing may wait for a terminal.
                popen = subprocess.Popen([str(word) for word in command], env=full, stdout=output_file,
                                         stderr=error_file, stdin=stdin if stdin is not None else subprocess.DEVNULL,
                                         start_new_session=True, preexec_fn=_die_with_parent, text=pipe or None,
                                         **others)
            finally:
                if not pipe:
                    output_file.close()
        process = Process(name, popen, output, errors)
        self._running.append(process)
        return process

    def run(self, *command, timeout=30, check=True, **others):
        """Runs a short program to its end and gives its standard output."""
        done = subprocess.run([str(word) for word in command], env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=timeout, check=False,
                              preexec_fn=_die_with_parent, **others)
        if check and done.returncode != 0:
            raise RuntimeError(f"{' '.join(map(str, command))} ended with {done.returncode}: {done.stderr.strip()}")
        return done.stdout

    def end(self):
        while self._running:
            self._running.pop().end()
        if self in Processes._all:
            Processes._all.remove(self)
        if not Processes._all:
            self._end_orphans()

    @classmethod
    def end_everything(cls):
        while cls._all:
            cls._all[-1].end()
        cls._end_orphans()

    @staticmethod
    def _end_orphans():
        # Only what runs is ours to end: this process had no other children than the desktop's.
        end_processes(descendants(os.getpid()))
        _reap_orphans(set())
