#!/usr/bin/python3
"""Tavlo driven over the session bus, as a script or a compositor's key binding does it; and started a second time."""
import os
import re
import subprocess

from gi.repository import Gio, GLib
from rig import main
from rig.cloud import OPENAI, SHORT, CloudScenario
from rig.waiting import wait_for

NAME, PATH, INTERFACE = "nl.pelloquintar.tavlo", "/nl/pelloquintar/Tavlo1", "nl.pelloquintar.Tavlo1"
PROPERTIES = "org.freedesktop.DBus.Properties"
READY = "Ready - press the hotkey to dictate"
SETTINGS_TITLE = "Tavlo Settings"
RECORDING = "Recording… Right ⌘ Command = stop, Esc = cancel"


class RemoteControl(CloudScenario):
    def setUp(self):
        super().setUp()
        self.changes = []
        connection = self.shared.bus.connection
        number = connection.signal_subscribe(
            None, PROPERTIES, "PropertiesChanged", PATH, None, Gio.DBusSignalFlags.NONE,
            lambda _connection, _sender, _path, _interface, _signal, arguments: self.changes.append(arguments.unpack()))
        self.addCleanup(connection.signal_unsubscribe, number)

    def call(self, method):
        return self.shared.bus.call(NAME, PATH, INTERFACE, method)

    def properties(self):
        return self.shared.bus.call(NAME, PATH, PROPERTIES, "GetAll", GLib.Variant("(s)", (INTERFACE,)))[0]

    def wait_for_state(self, state, status):
        wait_for(lambda: (self.properties()["State"], self.properties()["StatusLine"]) == (state, status),
                 timeout=30, what=f"{state}, {status}", show=self.properties)

    def wait_for_changes(self, *states):
        """Waits until the change notices went through these pairs of state and status line since the last call. One
        of the two may change before the other; a state that was only passed on the way to a pair counts for nothing."""
        def seen():
            while GLib.MainContext.default().iteration(False):
                pass
            now, pairs = dict(self.known), []
            for interface, changed, invalidated in self.changes:
                self.assertEqual((interface, invalidated), (INTERFACE, []))
                self.assertLessEqual(set(changed), {"State", "StatusLine"})
                for name, value in changed.items():
                    self.assertNotEqual(now[name], value, "a notice of no change")
                now.update(changed)
                pairs.append((now["State"], now["StatusLine"]))
            return now, pairs
        wait_for(lambda: [pair for pair in seen()[1] if pair in states] == list(states), what=f"the notices {states}",
                 show=seen)
        self.known, _pairs = seen()
        self.changes.clear()

    def begin_watching(self):
        self.known = self.properties()
        while GLib.MainContext.default().iteration(False):
            pass
        self.changes.clear()

    def test_dictation_by_calls(self):
        tavlo, _ = self.start()
        properties = self.properties()
        self.assertRegex(properties.pop("Version"), r"^\d+\.\d+$")
        self.assertEqual(properties, {"State": "ready", "StatusLine": READY})
        self.begin_watching()
        self.answer({"kind": "text", "text": "Done."})

        self.call("PasteAgain")  # There is nothing yet.
        self.call("Cancel")  # Nothing runs.
        self.call("Toggle")
        self.wait_for_state("recording", RECORDING)
        self.assertEqual(tavlo.icon(), "waveform")
        self.shared.sound.say(SHORT)
        self.call("Toggle")
        seconds = self.transcribing(tavlo)
        transcribing = f"Transcribing… ({seconds}s of audio)"
        self.wait_for_state("transcribing", transcribing)
        self.call("Toggle")  # It is busy: nothing.
        self.call("Cancel")
        self.assertEqual(self.properties()["State"], "transcribing")
        self.send()
        self.pasted(tavlo, OPENAI, "Done.")
        self.wait_for_state("ready", f"Pasted via {OPENAI}")
        self.wait_for_changes(("recording", RECORDING), ("transcribing", transcribing),
                              ("ready", f"Pasted via {OPENAI}"))
        self.check_sounds("Pop", "Tink")

        self.call("PasteAgain")
        self.editor.wait_for_text("Done.Done.")
        tavlo.wait_for_log(self.log_of(seconds, f"Klaar via {OPENAI}: 5 tekens"))

        self.call("Toggle")
        self.wait_for_state("recording", RECORDING)
        self.shared.ear.wait_for("Pop")
        self.call("Cancel")
        self.wait_for_state("ready", "Recording cancelled")
        self.wait_for_changes(("recording", RECORDING), ("ready", "Recording cancelled"))
        self.check_sounds("Pop", "Basso", failure=0.2)

    def test_nothing_is_recorded_while_a_hotkey_is_chosen(self):
        tavlo, _ = self.start()
        tavlo.click("Hotkey", "Choose another key…")
        wait_for(lambda: self.properties()["State"] == "capturing", what="the capture", show=self.properties)
        self.call("Toggle")
        self.assertEqual(self.properties()["State"], "capturing")
        self.shared.hands.press("Escape")
        wait_for(lambda: self.properties()["State"] == "ready", what="the end of the capture", show=self.properties)
        self.assertEqual(self.shared.ear.names(), [])

    def test_language_changes_the_status_line_on_the_bus(self):
        tavlo, _ = self.start()
        self.begin_watching()
        tavlo.click("🌐 Taal / Language", "🇳🇱 Nederlands")
        self.wait_for_state("ready", "Klaar - druk op de sneltoets om te dicteren")
        self.wait_for_changes(("ready", "Klaar - druk op de sneltoets om te dicteren"))
        tavlo.wait_for_log(["Taal gewijzigd naar nl"])

    def test_calls_that_are_not_there_are_refused(self):
        self.start()
        for method, path in (("Explode", PATH), ("Toggle", PATH + "/other")):
            with self.assertRaises(GLib.Error):
                self.shared.bus.call(NAME, path, INTERFACE, method)
        with self.assertRaises(GLib.Error):
            self.shared.bus.call(NAME, PATH, PROPERTIES, "Set", GLib.Variant(
                "(ssv)", (INTERFACE, "State", GLib.Variant("s", "recording"))))
        self.assertEqual(self.properties()["State"], "ready")
        text = self.shared.bus.call(NAME, PATH, "org.freedesktop.DBus.Introspectable", "Introspect")[0]
        self.assertEqual(sorted(re.findall(r'name="(Toggle|Cancel|PasteAgain|OpenSettings|State|StatusLine|Version)"',
                                           text)),
                         ["Cancel", "OpenSettings", "PasteAgain", "State", "StatusLine", "Toggle", "Version"])

    def titles(self, tavlo):
        return [self.shared.processes.run("xdotool", "getwindowname", window).strip() for window in tavlo.windows()]

    def test_settings_by_call_and_by_a_second_start(self):
        tavlo, _ = self.start()
        self.assertEqual(tavlo.windows(), [])
        self.call("OpenSettings")
        wait_for(lambda: self.titles(tavlo) == [SETTINGS_TITLE], what="the settings window",
                 show=lambda: self.titles(tavlo))
        self.shared.hands.focus(tavlo.windows()[0])
        self.shared.hands.press("alt+F4")
        wait_for(lambda: not tavlo.windows(), what="the window to be closed", show=lambda: self.titles(tavlo))

        second = subprocess.run([os.environ["TAVLO_PROGRAM"]], env=self.shared.environment, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, timeout=30, check=False)
        self.assertEqual((second.returncode, second.stdout, second.stderr), (0, b"", b""))
        wait_for(lambda: self.titles(tavlo) == [SETTINGS_TITLE], what="the first one's settings window",
                 show=lambda: self.titles(tavlo))
        self.assertEqual(self.properties()["State"], "ready")
        self.assertEqual(tavlo.log(), [])


if __name__ == "__main__":
    main()
