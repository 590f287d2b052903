#!/usr/bin/python3
"""The icon in the panel after something has crashed: Tavlo itself, the panel, or the session bus with all that was on
it."""
import os
import signal

from rig import Scenario, main
from rig.menu import StatusItem
from rig.waiting import wait_for

CONFIG = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}
READY = "Ready - press the hotkey to dictate"
WATCHER = "org.kde.StatusNotifierWatcher"


class Tray(Scenario):
    def start(self):
        desktop = self.desktop(keyring="absent")
        return desktop, self.tavlo(desktop, config=CONFIG, model=False, engine_program=False)

    def items(self, desktop):
        """The icons that the panel shows, by process."""
        items = desktop.bus.get(WATCHER, "/StatusNotifierWatcher", WATCHER, "RegisteredStatusNotifierItems") or []
        return [desktop.bus.process_of(item.partition("/")[0]) for item in items]

    def check_works(self, desktop, tavlo):
        """One icon, which follows a recording, and a menu that can be clicked."""
        self.assertEqual(self.items(desktop), [tavlo.process.pid])
        self.assertEqual(tavlo.icon(), "mic")
        tavlo.click("Start recording  (Right ⌘ Command)")
        tavlo.wait_for_icon("waveform")
        desktop.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        tavlo.wait_for_icon("mic")

    def kill(self, process):
        os.kill(process.pid, signal.SIGKILL)
        wait_for(lambda: not process.is_running, what=f"{process.name} to be gone")
        process.end()

    def test_tavlo_crashes(self):
        desktop, tavlo = self.start()
        for state in ("idle", "recording"):
            with self.subTest(state):
                if state == "recording":
                    tavlo.begin()
                self.kill(tavlo.process)
                wait_for(lambda: not self.items(desktop), what="the icon to go", show=lambda: self.items(desktop))
                tavlo.start()
                self.assertEqual(tavlo.status(), READY)
                self.check_works(desktop, tavlo)

    def test_panel_crashes(self):
        desktop, tavlo = self.start()
        notifications = desktop.processes.start("notifications", [
            "/usr/bin/python3", os.path.join(os.path.dirname(__file__), "../support/apps/notifications.py")])
        wait_for(lambda: desktop.bus.has_owner("org.freedesktop.Notifications"), what="the notifications' service")
        self.kill(desktop.panel)
        wait_for(lambda: not desktop.bus.has_owner(WATCHER), what="the panel's tray to go")
        desktop.start_panel()
        tavlo.item = StatusItem(desktop, tavlo.process.pid)
        wait_for(tavlo.item.is_there, what="the icon in the new panel")
        self.check_works(desktop, tavlo)
        self.assertEqual(notifications.output_text(), "", "a panel that came back at once was called missing")

    def test_session_bus_crashes(self):
        """Everything that was on it comes back on a new bus, as a desktop's own services do; the icon too."""
        desktop, tavlo = self.start()
        for time in ("first", "second"):
            with self.subTest(time):
                desktop.bus.crash()
                desktop.panel.end()
                desktop.bus.start()
                desktop.start_panel()
                tavlo.item = StatusItem(desktop, tavlo.process.pid)
                wait_for(tavlo.item.is_there, what="the icon in the new panel")
                self.check_works(desktop, tavlo)


if __name__ == "__main__":
    main()
