#!/usr/bin/python3
"""The hotkey read from the kernel's keyboards on sway: key, speech, key, and the words stand in the editor."""
import json
import os
import pathlib

from machine import permission
from machine.keyboard import Keyboard
from machine.root import check_as_root
from machine.sway import KernelSwayDesktop
from rig import Scenario, main, wait_for
from rig.sway import WaylandEditor
from servers.provider import Provider

TEXT = "open the letter and write a message"
SERVICE = "nl.pelloquintar.tavlo"
KEY = "sk-test-0123456789abcdefghijklmnop"
F10 = 109  # its code in the settings
READY = "Ready - press the hotkey to dictate"
NO_KEYS = ("⚠️ Wayland shows Tavlo no keys. Install tavlo-wayland-keys, or let your desktop itself have a key control "
           "Tavlo: the guide says how (Wayland).")


class Hotkey(Scenario):
    @classmethod
    def setUpClass(cls):
        cls.machine = KernelSwayDesktop()
        cls.machine.__enter__()
        cls.addClassCleanup(cls.machine.close)
        cls.keyboard = cls.machine.hands.keyboard
        cls.editor = WaylandEditor(cls.machine)
        cls.machine.keyring.put(SERVICE, "openai_api_key", KEY)

    def setUp(self):
        self.addCleanup(permission.take_back)
        self.addCleanup(self._tell, self.machine)
        self.provider = self.enterContext_(Provider())
        self.provider.set_scenario({"kind": "text", "text": TEXT})
        self.editor.clear()

    def begin(self):
        return self.tavlo(self.machine, model=False, engine_program=False, config={
            "app_language": "en", "language": "en", "engine": "openai", "duck_enabled": False,
            "openai_base_url": self.provider.base_url})

    def wait_until_recording(self, tavlo):
        wait_for(tavlo.is_recording, what="the recording to begin", show=tavlo.status)

    def wait_until_read(self, tavlo, keyboard):
        """Keyboards are opened one after the other: until it is this one's turn."""
        def nodes():
            found = set()
            for link in pathlib.Path(f"/proc/{tavlo.process.pid}/fd").iterdir():
                try:
                    found.add(os.readlink(link))
                except FileNotFoundError:  # closed meanwhile
                    pass
            return found
        wait_for(lambda: keyboard.node in nodes(), what=f"{keyboard.name} to be read")

    def cancel(self, tavlo):
        self.keyboard.press("ESC")
        wait_for(lambda: not tavlo.is_recording(), what="the recording to end", show=tavlo.status)
        self.assertEqual(tavlo.status(), "Recording cancelled")

    def dictate(self, tavlo, keyboard, text=TEXT):
        keyboard.press("RIGHTMETA")
        self.wait_until_recording(tavlo)
        self.machine.sound.say("open the letter")
        keyboard.press("RIGHTMETA")
        self.editor.wait_for_text(text, timeout=30)

    def test_a_permission_that_comes_and_goes_while_it_runs(self):
        tavlo = self.begin()
        tavlo.wait_for_status(NO_KEYS)
        self.assertEqual(tavlo.services()["toetsen"], "niet")
        permission.give()
        tavlo.wait_for_status(READY)
        self.wait_until_read(tavlo, self.keyboard)
        self.dictate(tavlo, self.keyboard)
        tavlo.wait_for_status("Pasted via OpenAI gpt-4o-transcribe")

        self.keyboard.press("RIGHTMETA")
        self.wait_until_recording(tavlo)
        self.cancel(tavlo)

        with Keyboard("Plugged in later") as later:
            self.wait_until_read(tavlo, later)
            self.dictate(tavlo, later, text=TEXT * 2)

        permission.take_back()
        tavlo.wait_for_status(NO_KEYS)
        self.keyboard.press("RIGHTMETA")
        self.assertFalse(tavlo.is_recording())

    def test_only_what_is_waited_for_is_heard(self):
        permission.give()
        tavlo = self.begin()
        self.wait_until_read(tavlo, self.keyboard)
        self.assertEqual(tavlo.services()["toetsen"], "evdev")

        # Each letter is two events: had they been handed out, the program would have been woken at least as often.
        typed = "what is typed is nobodys business " * 6
        before = self.context_switches(tavlo)
        self.keyboard.type(typed)
        self.editor.wait_for_text(typed)
        self.assertLess(self.context_switches(tavlo) - before, len(typed) / 2)

        # Any key can be chosen, and one that is written into the settings by hand is heard at once.
        tavlo.click("Hotkey", "Choose another key…")
        tavlo.wait_for_status("Now press the key you want… (Esc = cancel)")
        self.keyboard.press("F7")
        tavlo.wait_for_status("Hotkey is now: F7")
        self.keyboard.press("F7")
        self.wait_until_recording(tavlo)
        self.cancel(tavlo)
        config = json.loads(tavlo.config_path.read_text(encoding="utf-8"))
        tavlo.config_path.write_text(json.dumps(config | {"custom_keycode": F10}), encoding="utf-8")

        def is_heard():
            self.keyboard.press("F10")
            return tavlo.is_recording()
        wait_for(is_heard, what="the new hotkey", show=tavlo.status)
        self.cancel(tavlo)

        # Nothing is heard while the session is locked, as the desktop's own locker tells it.
        session = check_as_root("sh", "-c", "loginctl list-sessions --no-legend | awk '$3 == \"tester\" {print $1}'")
        path = check_as_root("busctl", "call", "org.freedesktop.login1", "/org/freedesktop/login1",
                             "org.freedesktop.login1.Manager", "GetSession", "s", session.split()[0]).split('"')[1]
        lock = ["busctl", "call", "org.freedesktop.login1", path, "org.freedesktop.login1.Session", "SetLockedHint", "b"]
        check_as_root(*lock, "true")
        wait_for(lambda: not self.hears_modifiers(tavlo), what="the keyboard to be left alone")
        self.keyboard.press("F10")
        self.assertEqual(tavlo.status(), "Recording cancelled")
        check_as_root(*lock, "false")
        wait_for(is_heard, what="the hotkey again", show=tavlo.status)

    def hears_modifiers(self, tavlo):
        """Whether the program is woken by modifier keys, which it reads whatever the hotkey is."""
        before = self.context_switches(tavlo)
        for _ in range(20):
            self.keyboard.press("LEFTSHIFT", 0.01)
        return self.context_switches(tavlo) - before > 20

    def context_switches(self, tavlo):
        """How often the main thread has given up the processor, as it does each time it has dealt with an event."""
        status = pathlib.Path(f"/proc/{tavlo.process.pid}/status").read_text(encoding="utf-8")
        return int(status.split("voluntary_ctxt_switches:")[1].split()[0])


if __name__ == "__main__":
    main()
