#!/usr/bin/python3
"""Microphones that come and go, and a sound server that is missing, crashes and comes back."""
import time

from rig import GtkEditor, NotReached, Scenario, main
from rig.audio import MICROPHONE, VOICE
from rig.cloud import SHORT
from rig.waiting import PATIENCE, wait_for

CONFIG = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}
READY = "Ready - press the hotkey to dictate"
CHANGED = "Audio device changed - recording stopped"
CHANGED_LOG = "Audio-apparaat gewisseld tijdens opname - opname gestopt"
NO_MICROPHONE = "⚠️ Microphone: Geen microfoon beschikbaar (of geen toestemming)."
MESSAGE = (460, 64)  # the message's window where nothing composites


class AudioDevices:
    """The tests for one sound server; each on a desktop of its own, since the server is taken apart."""

    kind = None

    def start(self, **config):
        self.shared = self.desktop(window_manager=False, keyring="absent", sound=self.kind)
        self.sound, self.ear = self.shared.sound, self.shared.ear
        return self.tavlo(self.shared, config={**CONFIG, **config})

    def panels(self, tavlo):
        return [self.shared.hands.size(window) for window in tavlo.windows()]

    def check_stopped(self, tavlo, log):
        """The recording was given up, and the user told of it for five seconds."""
        wait_for(lambda: MESSAGE in self.panels(tavlo), what="the message", show=lambda: self.panels(tavlo))
        shown = time.monotonic()
        tavlo.wait_for_status(CHANGED)
        self.assertEqual(tavlo.icon(), "mic")
        tavlo.wait_for_log(log)
        self.assertFalse(tavlo.last_recording.exists())
        self.ear.wait_for("Pop", "Basso")
        self.ear.forget()
        wait_for(lambda: not tavlo.windows(), timeout=5 + 3, what="the message to go")
        self.assertLess(time.monotonic() - shown, 5 + 1.5 * PATIENCE)

    def dictate(self, tavlo, editor, before=""):
        tavlo.dictate(SHORT)
        editor.wait_for_text(before + SHORT + ".", timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        self.ear.wait_for("Pop", "Tink")
        self.ear.forget()

    def test_other_default_and_unplugged_while_recording_and_while_idle(self):
        tavlo = self.start()
        editor = GtkEditor(self.shared)
        self.sound.add_microphone("headset", VOICE)
        self.sound.set_default_source(MICROPHONE)

        # While idle: nothing is said, and the next recording hears the new one.
        self.sound.set_default_source("headset")
        self.sound.set_default_source(MICROPHONE)
        self.assertEqual(tavlo.status(), READY)
        tavlo.begin()
        self.assertEqual(tavlo.log(), [])
        self.ear.wait_for("Pop")
        self.sound.set_default_source("headset")
        self.check_stopped(tavlo, [CHANGED_LOG])

        # The one in use is unplugged.
        tavlo.begin()
        self.ear.wait_for("Pop")
        self.sound.remove("headset")
        self.check_stopped(tavlo, [CHANGED_LOG] * 2)
        self.dictate(tavlo, editor)
        seconds = int(tavlo.recording_seconds())
        tavlo.wait_for_log([CHANGED_LOG] * 2 + [f"Opname gestopt: {seconds}s audio, start transcriptie",
                                                f"Klaar via local Whisper: {len(SHORT) + 1} tekens"])

    def test_last_microphone_unplugged_while_idle(self):
        tavlo = self.start()
        self.sound.remove(MICROPHONE)
        self.assertEqual(tavlo.status(), READY)
        self.assertEqual(tavlo.windows(), [])
        tavlo.press_hotkey()
        tavlo.wait_for_status(NO_MICROPHONE)
        self.assertEqual(tavlo.icon(), "mic")
        self.ear.wait_for("Basso")
        self.ear.forget()
        self.assertEqual(tavlo.windows(), [])

        self.sound.add_microphone("headset", VOICE)
        self.sound.set_default_source("headset")
        # For want of another one the loudspeakers' monitor was the default source: the server has moved the ear away
        # from it, to the microphone.
        self.shared.listen()
        self.ear = self.shared.ear
        self.wait_until_it_records(tavlo)
        self.assertEqual(tavlo.log(), [])

    def test_other_output_chosen_while_recording(self):
        """The microphone is still the same: the recording goes on."""
        tavlo = self.start()
        self.sound.add_sink("headphones")
        tavlo.begin()
        self.sound.set_default_sink("headphones")
        self.sound.say(SHORT)
        self.assertTrue(tavlo.is_recording())
        tavlo.finish()
        tavlo.wait_for_status("Pasted via local Whisper", timeout=30)
        self.assertEqual(len(tavlo.log()), 2)

    def test_server_ends_while_recording_and_comes_back(self):
        tavlo = self.start()
        editor = GtkEditor(self.shared)
        tavlo.begin()
        self.ear.wait_for("Pop")
        self.sound.stop()
        tavlo.wait_for_status(CHANGED)
        tavlo.wait_for_log([CHANGED_LOG])
        self.assertEqual(tavlo.icon(), "mic")

        # Without a server there is no microphone; the hotkey says so each time.
        tavlo.press_hotkey()
        tavlo.wait_for_status(NO_MICROPHONE)

        self.sound.start()
        self.shared.listen()
        self.ear = self.shared.ear
        self.wait_until_it_records(tavlo)
        self.dictate(tavlo, editor)

    def wait_until_it_records(self, tavlo):
        """Tavlo notes a server that is back without being asked. A key before that is told that there is no microphone,
        so the key is pressed until it is not, each time after the longest time that a start takes."""
        def records():
            tavlo.press_hotkey()
            try:
                wait_for(tavlo.is_recording, timeout=1)
            except NotReached:
                self.assertTrue(tavlo.status().startswith("⚠️ Microphone: "), tavlo.status())
                return False
            return True
        wait_for(records, what="a recording", show=tavlo.status)
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        wait_for(lambda: self.ear.names()[-1:] == ["Basso"], what="the sound of the cancelled recording",
                 show=self.ear.names)
        self.ear.forget()

    def test_server_missing_at_the_start(self):
        self.shared = self.desktop(window_manager=False, keyring="absent", sound=self.kind)
        self.sound = self.shared.sound
        self.sound.stop()
        tavlo = self.tavlo(self.shared, config=CONFIG)
        self.assertEqual(tavlo.status(), READY)
        tavlo.press_hotkey()
        tavlo.wait_for_status(NO_MICROPHONE)
        self.assertEqual(tavlo.icon(), "mic")
        self.assertEqual(tavlo.windows(), [])
        self.assertEqual(tavlo.log(), [])

        self.sound.start()
        self.shared.listen()
        self.ear = self.shared.ear
        self.wait_until_it_records(tavlo)
        self.assertEqual(tavlo.log(), [])

    def test_server_that_hangs_holds_nothing_up(self):
        """A stopped server neither answers nor goes: Tavlo says so and goes on, as soon as it can again."""
        tavlo = self.start()
        self.sound.suspend()
        try:
            pressed = time.monotonic()
            tavlo.press_hotkey()
            tavlo.wait_for_status("⚠️ Microphone: De geluidsserver antwoordt niet.")
            self.assertLess(time.monotonic() - pressed, 0.3 + 1.5 * PATIENCE)
            self.assertEqual(tavlo.icon(), "mic")
        finally:
            self.sound.resume()
        self.ear.forget()
        self.wait_until_it_records(tavlo)
        self.assertEqual(tavlo.log(), [])


class AudioDevicesOnPulseAudio(AudioDevices, Scenario):
    kind = "pulseaudio"


class AudioDevicesOnPipeWire(AudioDevices, Scenario):
    kind = "pipewire"


if __name__ == "__main__":
    main()
