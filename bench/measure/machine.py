"""What the figures were measured on."""
import os
import pathlib
import platform
import subprocess


def _first_line(*command):
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, timeout=20, check=False)
    except (OSError, subprocess.TimeoutExpired):
        return "not there"
    lines = [line.strip() for line in done.stdout.splitlines() if line.strip()]
    return lines[0] if lines else "unknown"


class Stolen:
    """The share of the processors' time that the host of a virtual machine has given to others since it was made."""

    def __init__(self):
        self._before = self._read()

    @staticmethod
    def _read():
        # user, nice, system, idle, iowait, irq, softirq, steal (man 5 proc)
        values = [int(word) for word in pathlib.Path("/proc/stat").read_text().split("\n", 1)[0].split()[1:9]]
        return values[7], sum(values)

    def percentage(self):
        stolen, whole = (now - then for now, then in zip(self._read(), self._before))
        return 100 * stolen / whole if whole else 0.0


def describe(build_folder):
    """Names and values, in the order in which they are shown."""
    processor = next((line.partition(":")[2].strip() for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines()
                      if line.startswith("model name")), platform.machine())
    memory = int(pathlib.Path("/proc/meminfo").read_text().split()[1]) // 1024
    cache = pathlib.Path(build_folder, "CMakeCache.txt").read_text(encoding="utf-8")
    build_type = next(line.partition("=")[2] for line in cache.splitlines() if line.startswith("CMAKE_BUILD_TYPE:"))
    release = platform.freedesktop_os_release().get("PRETTY_NAME", "unknown")
    return {
        "processor": f"{processor}, {os.cpu_count()} cores",
        "memory": f"{memory} MB",
        "system": f"{release}, kernel {platform.release()}",
        "load at the start": " ".join(f"{load:.2f}" for load in os.getloadavg()),
        "build": build_type,
        "Qt": _first_line("dpkg-query", "-W", "-f", "${Version}", "qt6-base-dev"),
        "PulseAudio": _first_line("pulseaudio", "--version"),
        "PipeWire": _first_line("dpkg-query", "-W", "-f", "${Version}", "pipewire"),
        "X server": _first_line("dpkg-query", "-W", "-f", "${Version}", "xvfb"),
        "curl": _first_line("curl", "--version"),
    }
