#!/usr/bin/python3
"""A dictation with the local engine: key, speech, key, and the words stand where the keyboard is."""
import time
import wave

from rig import GtkEditor, Scenario, VteTerminal, Xterm, engine, main

SENTENCE = "open the letter and write a message"
ENGLISH = {"app_language": "en", "language": "en", "engine": "local"}


class LocalDictation(Scenario):
    def dictate_into(self, editor_class, **desktop_options):
        desktop = self.desktop(**desktop_options)
        editor = editor_class(desktop)
        tavlo = self.tavlo(desktop, config=ENGLISH)
        self.assertEqual(tavlo.status(), "Ready - press the hotkey to dictate")
        self.assertEqual(tavlo.engine_line(), "Engine: local Whisper (large-v3-turbo)")
        self.assertEqual(tavlo.icon(), "mic")
        self.assertEqual(tavlo.services(), {"toetsen": "XInput 2", "klembord": "X11", "plakken": "XTEST",
                                            "schermen": "X11", "overlays": "X11"})
        self.assertFalse(tavlo.find("Paste last text again").enabled)

        speech = desktop.sound.speech(SENTENCE)
        pressed = time.monotonic()
        tavlo.begin()
        self.assertEqual(tavlo.status(), "Recording… Right ⌘ Command = stop, Esc = cancel")
        self.assertEqual(tavlo.icon(), "waveform")
        desktop.sound.play(speech)
        tavlo.finish()
        self.seconds_between_presses = time.monotonic() - pressed

        editor.wait_for_text(SENTENCE + ".", timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        tavlo.wait_for_icon("mic")
        self.assertTrue(tavlo.find("Paste last text again").enabled)
        self.assertTrue(tavlo.find("Hotkey", "Right ⌘ Command").checked)
        desktop.ear.wait_for("Pop", "Tink")
        tavlo.wait_for_log([f"Opname gestopt: {int(tavlo.recording_seconds())}s audio, start transcriptie",
                            f"Klaar via local Whisper: {len(SENTENCE) + 1} tekens"])
        self.assertEqual(tavlo.windows(), [], "the overlay is still there")
        return desktop, tavlo, editor

    def test_words_stand_in_a_text_editor(self):
        desktop, tavlo, editor = self.dictate_into(GtkEditor)

        # The recording holds the whole sentence: from the key to the key, not much more and nothing less.
        with wave.open(str(desktop.sound.speech(SENTENCE))) as spoken:
            seconds = spoken.getnframes() / spoken.getframerate()
        self.assertGreater(tavlo.recording_seconds(), seconds)
        self.assertLess(tavlo.recording_seconds(), self.seconds_between_presses)
        self.assertEqual(engine.transcribe(tavlo.last_recording), SENTENCE + ".")
        self.assertEqual(tavlo.last_recording.stat().st_mode & 0o777, 0o600)

        # It can be pasted once more, and the microphone is closed meanwhile.
        self.assertEqual(desktop.sound.recordings_running(), [])
        tavlo.click("Paste last text again")
        editor.wait_for_text((SENTENCE + ".") * 2)

    def test_words_stand_in_xterm(self):
        self.dictate_into(Xterm)

    def test_words_stand_in_a_vte_terminal(self):
        self.dictate_into(VteTerminal)

    def test_words_are_heard_through_pipewire(self):
        self.dictate_into(GtkEditor, sound="pipewire")

    def test_words_stand_in_the_editor_without_a_window_manager(self):
        self.dictate_into(GtkEditor, window_manager=False)


if __name__ == "__main__":
    main()
