#!/usr/bin/python3
"""Each window comes to the front with the keyboard under a real window manager that prevents focus stealing, although
another program's window is full-screen, the user types in it, and no event of the display has asked for ours.

Usage: windows_front_test.py PROBE, the program window_probe. Starts a display, a window manager and a home of its own.
"""

import contextlib
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

DEADLINE = 20
TITLES = {
    "settings": "Tavlo-instellingen",
    "about": "Over Tavlo",
    "offer": "Offline model",
    "alert": "Tavlo",
}


# The window manager's settings: a new window gets the focus only if the user has asked for it last.
SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfwm4" version="1.0">
  <property name="general" type="empty">
    <property name="prevent_focus_stealing" type="bool" value="true"/>
  </property>
</channel>
"""


def wait_for(what, condition):
    end = time.monotonic() + DEADLINE
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.05)
    sys.exit(f"FAILED: within {DEADLINE} s there was no {what}")


class Desktop:
    def __init__(self, folder):
        self.children = []
        runtime = os.path.join(folder, "runtime")
        os.mkdir(runtime, 0o700)
        self.environment = {
            "HOME": folder,
            "XDG_RUNTIME_DIR": runtime,
            "PATH": os.environ["PATH"],
            "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "xcb",
        }
        # How programs with sanitizers in them report, and what of the libraries they leave out.
        self.environment |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        settings = os.path.join(folder, ".config/xfce4/xfconf/xfce-perchannel-xml")
        os.makedirs(settings)
        with open(os.path.join(settings, "xfwm4.xml"), "w", encoding="utf-8") as file:
            file.write(SETTINGS)
        read_end, write_end = os.pipe()
        self.start(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x900x24", "-nolisten", "tcp"],
                   pass_fds=[write_end])
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            self.environment["DISPLAY"] = ":" + pipe.readline().strip()
        self.start(["dbus-run-session", "--", "xfwm4"])
        wait_for("window manager", lambda: "window id" in self.output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))

    def start(self, command, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        # A group of its own, so that what a child has started ends with it, such as the bus of dbus-run-session.
        options.setdefault("start_new_session", True)
        options.setdefault("stderr", subprocess.DEVNULL)
        child = subprocess.Popen(command, env=self.environment, stdout=subprocess.DEVNULL, **options)
        self.children.append(child)
        return child

    def start_probe(self, probe, window):
        """Shows a window. What the program says against itself goes to the test's own standard error."""
        return self.start([probe, window, "nl", "light"], stdin=subprocess.PIPE, stderr=None)

    def output(self, *command):
        return subprocess.run(command, env=self.environment, capture_output=True, text=True, check=False).stdout

    def active_title(self):
        return self.output("xdotool", "getactivewindow", "getwindowname").strip()

    def top_title(self):
        stacking = self.output("xprop", "-root", "_NET_CLIENT_LIST_STACKING").split()
        return self.output("xdotool", "getwindowname", stacking[-1]).strip() if stacking else ""

    def end(self):
        for child in reversed(self.children):
            with contextlib.suppress(ProcessLookupError):
                os.killpg(child.pid, signal.SIGTERM)
        for child in self.children:
            child.wait(DEADLINE)


def main():
    probe = sys.argv[1]
    folder = tempfile.mkdtemp(prefix="tavlo-windows-")
    desktop = None
    try:
        desktop = Desktop(folder)
        for window, title in TITLES.items():
            # The window has been used once: from then on the toolkit knows a time of the user, which grows old.
            ours = desktop.start_probe(probe, window)
            wait_for(f"first {window} window", lambda: desktop.active_title() == title)
            desktop.output("xdotool", "key", "Tab", "Escape")
            wait_for(f"hidden {window} window", lambda: desktop.active_title() != title)
            other = desktop.start_probe(probe, "fullscreen")
            wait_for("full-screen window", lambda: desktop.active_title() == "Full screen")
            desktop.output("xdotool", "mousemove", "300", "300", "click", "1", "type", "hello")
            ours.stdin.write(b"\n")
            ours.stdin.flush()
            wait_for(f"{window} window with the keyboard", lambda: desktop.active_title() == title)
            wait_for(f"{window} window above the full-screen one", lambda: desktop.top_title() == title)
            # They end by themselves, so that sanitizers can say at the end what they saw.
            for child in (ours, other):
                child.stdin.close()
                if child.wait(DEADLINE) != 0:
                    sys.exit(f"FAILED: the program of the {window} window ended with {child.returncode}")
            print(f"ok: {window}")
    finally:
        if desktop:
            desktop.end()
        shutil.rmtree(folder)


main()
