"""What the kernel tells of a process."""
import pathlib
import re


def proportional_memory(pid):
    """Bytes; what is shared with other processes counts by its share."""
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    return int(re.search(r"^Pss:\s+(\d+) kB", text, re.MULTILINE).group(1)) * 1024


def own_memory(pid):
    """Bytes that the process has made itself, whoever else comes and goes that shares its programs' files."""
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    return int(re.search(r"^Anonymous:\s+(\d+) kB", text, re.MULTILINE).group(1)) * 1024


def wakeups(pid):
    """How often each thread has gone to sleep by itself, by (number, name): once for each time that it was woken."""
    found = {}
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        status = (task / "status").read_text()
        found[int(task.name), (task / "comm").read_text().strip()] = int(
            re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status, re.MULTILINE).group(1))
    return found
