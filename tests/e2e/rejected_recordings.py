#!/usr/bin/python3
"""Recordings that never become a text: too short, silent, without any signal, cancelled; and keys pressed too late."""
import re
import time

from rig import main
from rig.audio import MICROPHONE
from rig.cloud import OPENAI, SHORT, CloudScenario
from rig.quick_hands import QuickHands
from rig.tavlo import HOTKEY
from rig.waiting import PATIENCE, wait_for

RECORDING = "Recording… Right ⌘ Command = stop, Esc = cancel"
LOCAL_ENGINE = "local Whisper (large-v3-turbo)"
CLOUD_ENGINE = f"{OPENAI} + local fallback"
# The panels' windows, with their shadows of 16 pixels at each side.
PILL, MESSAGE = (190 + 32, 38 + 32), (460 + 32, 64 + 32)


class RejectedRecordings(CloudScenario):
    def panels(self, tavlo):
        return sorted(self.shared.hands.size(window) for window in tavlo.windows())

    def check_rejected(self, tavlo, status, log, *sounds, failure=0.2):
        tavlo.wait_for_status(status)
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, status, LOCAL_ENGINE, has_last_text=False)
        self.check_sounds(*sounds, failure=failure)
        tavlo.wait_for_log(log)
        self.assertEqual(self.editor.text(), "")
        self.assertFalse(tavlo.last_recording.exists())
        self.assertEqual(self.shared.sound.recordings_running(), [])

    def start_locally(self, **config):
        return self.start(key=None, engine="local", **config)[0]

    def peak_in_log(self, tavlo):
        """The peak that the only line of the log tells of, as it stands there."""
        wait_for(tavlo.log, what="the log line")
        return re.fullmatch(r"Stilte gedetecteerd \(piek (\S+)\), overgeslagen", tavlo.log()[0]).group(1)

    def fed_microphone(self):
        """The microphone from now until the test's end; gives the pipe into which what it hears is written."""
        sound = self.shared.sound
        pipe = sound.add_fed_microphone("fed")
        self.addCleanup(sound.remove, "fed")
        sound.set_default_source("fed")
        self.addCleanup(sound.set_default_source, MICROPHONE)
        return pipe

    def test_recording_too_short(self):
        # Chosen before the start: a change of microphone that is told during a recording ends it.
        pipe = self.fed_microphone()
        tavlo = self.start_locally()
        with open(pipe, "wb", buffering=0) as microphone:
            # It waits for the first frames; then it says that it listens.
            tavlo.press_hotkey()
            microphone.write(b"\x00\x20\x00\xe0" * 1500)  # 0.19 seconds
            wait_for(tavlo.is_recording, what="the recording to begin", show=tavlo.status)
            self.shared.ear.wait_for("Pop")
            tavlo.finish()
        self.check_rejected(tavlo, "Recording too short", [], "Pop", "Tink")
        self.assertEqual(self.panels(tavlo), [])

    def test_recording_too_short_in_dutch(self):
        tavlo = self.start_locally(app_language="nl")
        with QuickHands(self.shared) as hands:
            hands.press(HOTKEY)
            hands.press(HOTKEY)
        tavlo.wait_for_status("Opname te kort")
        tavlo.wait_for_icon("mic")
        self.assertEqual(tavlo.log(), [])
        self.assertFalse(tavlo.last_recording.exists())

    def test_recording_in_which_nobody_speaks(self):
        tavlo = self.start_locally()
        tavlo.begin()
        self.shared.sound.play_noise(1.0, 0.0056)  # -45 dB of full scale: a level of 0.1
        tavlo.finish()
        peak = self.peak_in_log(tavlo)
        self.assertAlmostEqual(float(peak), 0.1, delta=0.03)
        self.check_rejected(tavlo, "No speech detected - nothing sent",
                            [f"Stilte gedetecteerd (piek {peak}), overgeslagen"], "Pop", "Tink")
        self.assertEqual(self.panels(tavlo), [])

    def test_microphone_without_any_signal(self):
        tavlo = self.start_locally()
        tavlo.begin()
        self.assertEqual(self.panels(tavlo), [PILL])
        self.shared.sound.play_silence(0.8)
        pressed = time.monotonic()
        tavlo.press_hotkey()
        wait_for(lambda: self.panels(tavlo) == [MESSAGE], what="the message", show=lambda: self.panels(tavlo))
        wait_for(lambda: not tavlo.windows(), timeout=6 + 2, what="the message to go")
        shown = time.monotonic() - pressed
        self.assertGreater(shown, 6.0)
        self.assertLess(shown, 6.0 + 1.5 * PATIENCE)
        self.check_rejected(tavlo, "No microphone signal - is another app using the mic?",
                            ["Stilte gedetecteerd (piek 0.0), overgeslagen"], "Pop", "Tink")

    def test_escape_while_recording(self):
        tavlo = self.start_locally()
        tavlo.begin()
        tavlo.wait_for_status(RECORDING)
        self.assertEqual(tavlo.icon(), "waveform")
        self.assertEqual(self.panels(tavlo), [PILL])
        self.shared.sound.say(SHORT)
        self.shared.hands.press("Escape")
        self.check_rejected(tavlo, "Recording cancelled", [], "Pop", "Basso")
        self.assertEqual(self.panels(tavlo), [])

        # While nothing is recorded, Escape does nothing.
        self.shared.hands.press("Escape")
        tavlo.begin()
        self.shared.ear.wait_for("Pop")
        self.shared.hands.press("Escape")
        self.check_rejected(tavlo, "Recording cancelled", [], "Pop", "Basso")

    def test_keys_while_transcribing_do_nothing(self):
        tavlo, _ = self.start()
        self.answer({"kind": "text", "text": "Done."})
        self.record(tavlo)
        seconds = self.transcribing(tavlo)
        for key in (HOTKEY, "Escape", HOTKEY):
            tavlo.press_hotkey(key)
        tavlo.click("Start recording  (Right ⌘ Command)")
        # The menu's answer comes after what the keys and the click have done.
        self.assertEqual(tavlo.status(), f"Transcribing… ({seconds}s of audio)")
        self.assertEqual(tavlo.icon(), "hourglass")
        self.assertEqual(tavlo.windows(), [])
        self.assertEqual(self.shared.sound.recordings_running(), [])
        self.send()
        self.pasted(tavlo, OPENAI, "Done.")
        tavlo.wait_for_log(self.log_of(seconds, f"Klaar via {OPENAI}: 5 tekens"))
        self.check_menu(tavlo, f"Pasted via {OPENAI}", CLOUD_ENGINE, has_last_text=True)
        self.check_sounds("Pop", "Tink")
        self.assertEqual(len(self.provider.records), 1)


if __name__ == "__main__":
    main()
