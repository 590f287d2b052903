"""What one key event costs, and that it reaches no bus."""
import json
import re

from rig import Desktop, Tavlo, wait_for
from rig.quick_hands import QuickHands

from .figures import Figure, compared
from .watches import KeyWatch, now

_KEYS = "abcdefghijklmnopqrst"


def measure(rounds, programs):
    with Desktop(sound=None) as desktop, Tavlo(desktop) as tavlo:
        output = desktop.processes.run(programs / "bench_key_event", tavlo.config_path, max(rounds, 20), timeout=300)
        costs = json.loads(output)
        if costs["keyring_calls"]:
            raise RuntimeError("the detection of key events asked the keyring")
        events = {name: [value / 1000 for value in costs[name]] for name in ("letter", "hotkey", "read")}
        return [
            compared("detection of one key event, any key", events["letter"], "µs",
                     "reading and parsing the settings file once", events["read"], 1.5),
            compared("detection of one key event, the hotkey", events["hotkey"], "µs",
                     "reading and parsing the settings file once", events["read"], 1.5),
            _bus_messages(desktop, tavlo, programs)]


def _bus_messages(desktop, tavlo, programs):
    """Counts what Tavlo sends over the session bus, on which its keyring is too, while keys are pressed."""
    process = tavlo.process.pid
    with QuickHands(desktop) as hands:
        watch = KeyWatch(desktop, programs / "bench_key_watch")
        monitor = desktop.processes.start("dbus-monitor", ["dbus-monitor", "--profile", "--address", desktop.bus.address])
        wait_for(lambda: "NameAcquired" in monitor.output_text(), what="the monitor of the bus")
        names = {name for name in desktop.bus.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                   "org.freedesktop.DBus", "ListNames")[0]
                 if name.startswith(":") and desktop.bus.process_of(name) == process}
        if not names:
            raise RuntimeError("Tavlo is not on the bus")

        def sent():
            # type, time, serial, sender, ...
            return sum(1 for line in monitor.output_text().splitlines()
                       if re.match(r"(mc|mr|sig|err)\t", line) and line.split("\t")[3] in names)

        before = sent()
        for key in _KEYS:
            pressed = now()
            hands.press(key)
            watch.wait_for(lambda _time, line: line.split()[1:2] == ["up"] and int(line.split()[0]) > pressed,
                           f"the key {key}")
        # The answer to a question of ours tells that Tavlo has handled what came before, and that is one message.
        status = tavlo.status()
        wait_for(lambda: sent() > before, what="the monitor to see Tavlo's answer")
        questions = _count_answers(monitor, names, before)
        during = sent() - before - questions
        # The count can be other than zero: a click makes Tavlo send.
        before = sent()
        tavlo.click("Duck music while recording" if "Ready" in status else "Muziek dempen tijdens opname")
        wait_for(lambda: sent() > before + 1, what="the monitor to see Tavlo's own messages")
    return Figure(f"messages on the bus for {len(_KEYS)} key events", during, "", "dbus-monitor", None, "none",
                  during == 0, len(_KEYS))


def _count_answers(monitor, names, before):
    """How many of Tavlo's messages after the first `before` are answers."""
    lines = [line for line in monitor.output_text().splitlines()
             if re.match(r"(mc|mr|sig|err)\t", line) and line.split("\t")[3] in names]
    return sum(line.startswith("mr\t") for line in lines[before:])
