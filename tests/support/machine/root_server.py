#!/usr/bin/python3
"""Does for the tests what only root may, within the virtual machine: runs commands, and has keyboards and mice that the
kernel takes for plugged in. The tests themselves run as an ordinary user.

Each connection sends requests, one JSON value to a line, and gets an answer to each. What it started or plugged in ends
with it.
"""
import json
import os
import pathlib
import socketserver
import subprocess

import evdev
from evdev import ecodes

SOCKET = "/run/tavlo-root"
# All that a keyboard of 105 keys and some more have; udev tells keyboards by their having the first of them.
_KEYS = [code for code in range(1, 249) if code in ecodes.KEY]


_KINDS = {"keyboard": {ecodes.EV_KEY: _KEYS},
          "mouse": {ecodes.EV_KEY: [ecodes.BTN_LEFT, ecodes.BTN_RIGHT], ecodes.EV_REL: [ecodes.REL_X, ecodes.REL_Y]}}


class _Device:
    def __init__(self, name, kind):
        self._device = evdev.UInput(_KINDS[kind], name=name, vendor=0x1209, product=0x5441)

    def node(self):
        """The path of its device, or "" before there is one."""
        for event in pathlib.Path("/sys/devices/virtual/input").glob("input*/event*"):
            if (event.parent / "name").read_text(encoding="utf-8").strip() == self._device.name:
                return f"/dev/input/{event.name}"
        return ""

    def write(self, events):
        """[[code, value], ...]: each key's change is a report of its own."""
        for code, value in events:
            self._device.write(ecodes.EV_KEY, code, value)
            self._device.syn()

    def unplug(self):
        self._device.close()


class _Requests(socketserver.StreamRequestHandler):
    def setup(self):
        super().setup()
        self._devices = {}
        self._seatd = None

    def handle(self):
        for line in self.rfile:
            try:
                answer = self._answer(**json.loads(line))
            except Exception as problem:  # pylint: disable=broad-except
                answer = {"problem": repr(problem)}
            self.wfile.write(json.dumps(answer).encode() + b"\n")

    def finish(self):
        for device in self._devices.values():
            device.unplug()
        if self._seatd:
            self._seatd.terminate()
            self._seatd.wait()
        super().finish()

    def _answer(self, do, name=None, kind="keyboard", events=None, command=None):
        if do == "run":
            done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                  text=True, errors="replace", check=False)
            return {"status": done.returncode, "output": done.stdout}
        if do == "plug":
            self._devices[name] = _Device(name, kind)
            # The rules have been applied to it when this returns.
            subprocess.run(["udevadm", "settle", "--timeout=30"], check=True)
            return {"node": self._devices[name].node()}
        if do == "write":
            self._devices[name].write(events)
            return {}
        if do == "unplug":
            self._devices.pop(name).unplug()
            subprocess.run(["udevadm", "settle", "--timeout=30"], check=True)
            return {}
        if do == "seatd":
            # The consoles are left to the login session.
            program = pathlib.Path(pathlib.Path("/run/machine/kernel").read_text(encoding="utf-8").strip(), "seatd")
            with open("/run/seatd.log", "ab") as log:
                self._seatd = subprocess.Popen([program, "-u", "tester"], stdin=subprocess.DEVNULL, stdout=log,
                                               stderr=log, env={**os.environ, "SEATD_VTBOUND": "0"})
            return {}
        raise ValueError(do)


class _Server(socketserver.ThreadingUnixStreamServer):
    daemon_threads = True


def serve():
    """The server, which listens; its serve_forever() does not return."""
    if os.path.exists(SOCKET):
        os.unlink(SOCKET)
    server = _Server(SOCKET, _Requests)
    os.chmod(SOCKET, 0o666)
    return server
