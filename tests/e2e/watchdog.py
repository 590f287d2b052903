#!/usr/bin/python3
"""An engine that hangs: after the real 120 seconds Tavlo is free again, and a later result is still pasted."""
import time

from rig import main
from rig.cloud import LOCAL, SHORT, CloudScenario

ABORTED = "⚠️ Transcription took too long and was aborted - the recording is saved as laatste-opname.wav"


class Watchdog(CloudScenario):
    def test_result_after_the_watchdog_is_still_pasted(self):
        self.secrets += [SHORT]
        tavlo, engine = self.start(engine="local")
        engine.hold()
        self.record(tavlo)
        began = time.monotonic()
        seconds = self.transcribing(tavlo)
        tavlo.press_hotkey()  # It is busy: nothing.
        self.check_sounds("Pop", "Tink")

        tavlo.wait_for_status(ABORTED, timeout=130)
        waited = time.monotonic() - began
        self.assertGreater(waited, 118)
        self.assertLess(waited, 125)
        tavlo.wait_for_icon("mic")
        log = self.log_of(seconds, "WAAKHOND: transcriptie hing, app vrijgegeven")
        tavlo.wait_for_log(log)
        self.check_sounds("Basso")
        self.check_menu(tavlo, ABORTED, "local Whisper (large-v3-turbo)", has_last_text=False)
        self.assertTrue(tavlo.last_recording.exists())
        self.assertEqual(self.editor.text(), "")

        # It takes the hotkey again while the engine still hangs.
        tavlo.begin()
        self.check_sounds("Pop")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        self.check_sounds("Basso", failure=0.2)

        engine.release()
        self.pasted(tavlo, LOCAL, SHORT + ".")
        tavlo.wait_for_log([*log, f"Klaar via {LOCAL}: {len(SHORT) + 1} tekens"])
        self.check_menu(tavlo, f"Pasted via {LOCAL}", "local Whisper (large-v3-turbo)", has_last_text=True)
        self.assertEqual(self.shared.ear.names(), [])
        self.assertEqual(engine.runs(), 1)


if __name__ == "__main__":
    main()
