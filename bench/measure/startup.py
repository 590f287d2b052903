"""From exec until the panel can show the menu, against a program with an empty tray icon."""
import os

from gi.repository import Gio, GLib
from rig import Desktop, wait_for
from rig.engine import install_ready_model
from rig.menu import StatusItem

from .figures import compared
from .watches import now

_WATCHER = "org.kde.StatusNotifierWatcher"


class _Start:
    """Starts a program and ends it again; milliseconds until its menu was read."""

    def __init__(self, desktop):
        self._desktop = desktop
        self._registered = 0
        desktop.bus.connection.signal_subscribe(None, _WATCHER, "StatusNotifierItemRegistered", None, None,
                                                Gio.DBusSignalFlags.NONE, self._note)

    def _note(self, *_details):
        self._registered += 1

    def run(self, program):
        context = GLib.MainContext.default()
        while context.iteration(False):
            pass
        seen = self._registered
        actions = [(os.POSIX_SPAWN_OPEN, 0, os.devnull, os.O_RDONLY, 0)]
        started = now()
        child = os.posix_spawn(program, [str(program)], self._desktop.environment, file_actions=actions)
        try:
            alarm = GLib.timeout_add_seconds(30, lambda: True)  # wakes the loop, should nothing come
            while self._registered == seen:
                context.iteration(True)
                if now() - started > 30e9:
                    raise RuntimeError(f"{program} never came to the tray")
            GLib.source_remove(alarm)
            item = StatusItem(self._desktop, child)
            if not item.is_there() or not item.menu():
                raise RuntimeError(f"{program} has no menu")
            return (now() - started) / 1e6
        finally:
            os.kill(child, 15)
            os.waitpid(child, 0)
            wait_for(lambda: not self._desktop.bus.get(_WATCHER, "/StatusNotifierWatcher", _WATCHER,
                                                       "RegisteredStatusNotifierItems"), what="the tray to be empty")


def measure(rounds, programs):
    ours, empty = [], []
    with Desktop() as desktop:
        support = desktop.data_home / "Tavlo"
        support.mkdir(mode=0o700)
        install_ready_model(support)
        start = _Start(desktop)
        tavlo = os.environ["TAVLO_PROGRAM"]
        for program in (tavlo, programs / "bench_empty_tray"):  # into the cache of the disk
            start.run(program)
        for _ in range(rounds):
            ours.append(start.run(tavlo))
            empty.append(start.run(programs / "bench_empty_tray"))
    return [compared("exec to menu ready", ours, "ms", "a program with an empty Qt tray icon", empty, 1.5)]
