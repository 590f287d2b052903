"""What Tavlo weighs and how often it wakes while nothing happens, against a program with an empty tray icon."""
import time

from rig import Desktop, Tavlo, wait_for
from rig.menu import StatusItem

from .figures import Figure, compared
from .processes import proportional_memory, wakeups

_SETTLING = 10
_SECONDS = 60
_READINGS = 20


def measure(_rounds, programs):
    with Desktop() as desktop, Tavlo(desktop) as tavlo:
        empty = desktop.processes.start("empty-tray", [programs / "bench_empty_tray"])
        wait_for(StatusItem(desktop, empty.pid).is_there, timeout=20, what="the empty tray icon")
        time.sleep(_SETTLING)
        processes = (tavlo.process.pid, empty.pid)
        before = [wakeups(pid) for pid in processes]
        memory = ([], [])
        for _ in range(_READINGS):
            time.sleep(_SECONDS / _READINGS)
            for values, pid in zip(memory, processes):
                values.append(proportional_memory(pid) / 1e6)
        after = [wakeups(pid) for pid in processes]
    woken = [{key: count - earlier.get(key, 0) for key, count in later.items() if count != earlier.get(key, 0)}
             for earlier, later in zip(before, after)]
    ours, reference = (sum(each.values()) for each in woken)
    threads = ", ".join(f"{name} {count}" for (_number, name), count in woken[0].items())
    return [
        compared("memory while idle (PSS)", memory[0], "MB", "the same empty program", memory[1], 1.3),
        Figure("wake-ups in 60 s while idle", ours, "", "the same empty program", reference, "none of our own",
               ours <= reference, 1, note=f"one minute, all threads{': ' + threads if threads else ''}")]
