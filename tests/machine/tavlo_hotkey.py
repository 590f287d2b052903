#!/usr/bin/python3
"""Tavlo on sway hears its key from the kernel's keyboard, once the user may read it."""
from machine import permission
from machine.sway import KernelSwayDesktop
from rig import Scenario, main, wait_for
from rig.sway import WaylandEditor

ENGLISH = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}


class Hotkey(Scenario):
    def test_right_super_records_and_escape_cancels(self):
        self.addCleanup(permission.take_back)
        permission.give()
        desktop = KernelSwayDesktop(keyring="absent")
        self.enterContext_(desktop)
        self.addCleanup(self._tell, desktop)
        WaylandEditor(desktop)
        tavlo = self.tavlo(desktop, config=ENGLISH)
        self.assertEqual(tavlo.services()["toetsen"], "evdev")
        tavlo.begin("Super_R")
        desktop.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")


if __name__ == "__main__":
    main()
