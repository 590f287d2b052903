#!/usr/bin/python3
"""The hotkeys: of the catalogue and of the user's own, in both languages, held, together, and within shortcuts."""
from rig import Tavlo, main, wait_for
from rig.local import CANCELLED, ENGLISH, SENTENCE, TEXT, LocalScenario
from rig.quick_hands import QuickHands

F5 = {"hotkey": "custom", "custom_keycode": 96, "custom_label": "F5", "custom_is_modifier": False}
RECORDING = "Recording… {} = stop, Esc = cancel"


class Hotkeys(LocalScenario):
    def cancel(self, tavlo):
        """Ends a recording, the only one since the last look at the sounds, by Escape."""
        self.check_sounds("Pop")  # Two sounds at once could not be told from each other.
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        tavlo.wait_for_icon("mic")
        self.check_sounds("Basso", basso=CANCELLED)

    def check_once(self, tavlo, key):
        """The key begins a recording, and nothing has done so before."""
        tavlo.begin(key)
        self.cancel(tavlo)

    def test_dictation_in_dutch_then_in_english(self):
        dutch = "goede morgen stuur het verslag vandaag"
        tavlo = self.start({**ENGLISH, "app_language": "nl", "language": "nl"})
        local = {"language": "nl", "engine": "Engine: lokale Whisper (large-v3-turbo)"}
        self.check_menu(tavlo, "Klaar - druk op de sneltoets om te dicteren", **local)

        speech = self.shared.sound.speech(dutch, "nl")
        tavlo.begin()
        self.assertEqual(tavlo.status(), "Opnemen… Rechter ⌘ Command = stop, Esc = annuleren")
        self.assertEqual(tavlo.menu()[4].title, "Stop opname")
        self.assertEqual(tavlo.icon(), "waveform")
        self.shared.sound.play(speech)
        tavlo.finish()
        self.editor.wait_for_text(dutch + ".", timeout=30)
        tavlo.wait_for_status("Geplakt via lokale Whisper")
        seconds = int(tavlo.recording_seconds())
        log = [f"Opname gestopt: {seconds}s audio, start transcriptie",
               f"Klaar via lokale Whisper: {len(dutch) + 1} tekens"]
        tavlo.wait_for_log(log)
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, "Geplakt via lokale Whisper", has_last_text=True, **local)
        self.check_sounds("Pop", "Tink")

        tavlo.click("🌐 Taal / Language", "🇬🇧 English")
        tavlo.wait_for_status("Ready - press the hotkey to dictate")
        log.append("Taal gewijzigd naar en")
        tavlo.wait_for_log(log)
        self.check_menu(tavlo, "Ready - press the hotkey to dictate", has_last_text=True)
        self.assertEqual(tavlo.read_config()["app_language"], "en")
        self.assertEqual(tavlo.read_config()["language"], "nl", "the spoken language is another setting")

        tavlo.set(language="en")
        log += self.dictate(tavlo, before=dutch + ".")
        tavlo.wait_for_log(log)
        self.check_menu(tavlo, "Pasted via local Whisper", has_last_text=True)
        self.check_sounds("Pop", "Tink")

    def test_plain_key_that_is_held_toggles_once(self):
        tavlo, engine = self.start_held({**ENGLISH, **F5})
        self.check_menu(tavlo, "Ready - press the hotkey to dictate", hotkey="F5", custom="F5")
        speech = self.shared.sound.speech(SENTENCE)

        def hold(presses):
            """Holds F5 for so many presses as a keyboard sends that repeats by itself, or until the X server has
            repeated it; the editor sees them all."""
            before = self.editor.keys().count("F5")
            for _ in range(presses):
                quick.down("F5")
            wait_for(lambda: self.editor.keys().count("F5") >= before + 6, what="the key to repeat",
                     show=self.editor.keys)
            quick.up("F5")

        quick = self.enterContext_(QuickHands(self.shared))
        self.addCleanup(quick.up, "F5")
        hold(1)
        tavlo.wait_for_status(RECORDING.format("F5"))
        self.assertEqual(tavlo.icon(), "waveform")
        self.cancel(tavlo)
        hold(6)
        tavlo.wait_for_status(RECORDING.format("F5"))
        self.shared.sound.play(speech)
        # The server does not repeat a key any more when others are pressed, such as those that paste.
        engine.hold()
        hold(6)
        engine.release()
        self.editor.wait_for_text(TEXT, timeout=30)
        tavlo.wait_for_log([f"Opname gestopt: {int(tavlo.recording_seconds())}s audio, start transcriptie",
                            f"Klaar via local Whisper: {len(TEXT)} tekens"])
        tavlo.wait_for_status("Pasted via local Whisper")
        self.check_sounds("Pop", "Tink")

        # Any modifier may be held with it, and it is a key like others for whoever has the keyboard.
        seen = self.editor.keys().count("F5")
        tavlo.begin("super+shift+F5")
        self.cancel(tavlo)
        wait_for(lambda: self.editor.keys().count("F5") == seen + 1, what="the key in the editor")

    def test_custom_key_without_a_name_and_the_catalogue(self):
        custom = {"hotkey": "custom", "custom_keycode": 50}
        tavlo = self.start({**ENGLISH, **custom})
        self.check_menu(tavlo, "Ready - press the hotkey to dictate", hotkey="Key 50", custom="")
        self.dictate(tavlo, key="grave", before="``")  # The key still types its character.
        self.check_sounds("Pop", "Tink")

        # The hotkey of that moment, changed in the menu; the user's own key is kept there.
        tavlo.click("Hotkey", "Right ⌥ Option")
        tavlo.wait_for_status("Hotkey is now: Right ⌥ Option")
        self.check_menu(tavlo, "Hotkey is now: Right ⌥ Option", hotkey="Right ⌥ Option", custom="",
                        has_last_text=True)
        self.assertEqual(tavlo.read_config(), {**ENGLISH, **custom, "hotkey": "rechter-option"})
        for key in ("grave", "Super_R", "Alt_L"):
            self.shared.hands.press(key)
        self.check_once(tavlo, "Alt_R")

        hint = " - you may want to set System Settings ▸ Keyboard ▸ 'Press 🌐' to 'Do Nothing'"
        tavlo.click("Hotkey", "Fn 🌐 (globe)")
        tavlo.wait_for_status("Hotkey is now: Fn 🌐 (globe)" + hint)
        self.check_menu(tavlo, "Hotkey is now: Fn 🌐 (globe)" + hint, hotkey="Fn 🌐 (globe)", custom="",
                        has_last_text=True)
        tavlo.click("Hotkey", "Custom: ")
        tavlo.wait_for_status("Hotkey is now: Key 50")
        self.check_once(tavlo, "grave")

        # Changed in the file by another program: in force at the next key. An unknown name means the first row.
        tavlo.set(hotkey="rechter-control")
        self.shared.hands.press("grave")
        self.check_once(tavlo, "Control_R")
        tavlo.set(hotkey="rechter-shift")
        self.check_once(tavlo, "Shift_R")
        tavlo.set(hotkey="links-command")
        self.shared.hands.press("Super_L")
        self.check_once(tavlo, "Super_R")

    def test_left_and_right_key_of_a_kind_together(self):
        tavlo = self.start()
        hands = self.enterContext_(QuickHands(self.shared))
        self.addCleanup(lambda: [hands.up(key) for key in ("Super_L", "Super_R")])
        # The left key alone is no hotkey, the release of the right one alone neither.
        hands.press("Super_L")
        self.check_once(tavlo, "Super_R")

        speech = self.shared.sound.speech(SENTENCE)
        hands.down("Super_L")
        hands.down("Super_R")
        tavlo.wait_for_status(RECORDING.format("Right ⌘ Command"))
        self.shared.sound.play(speech)
        # The left key holds the flag that both share: this release fires.
        hands.up("Super_R")
        wait_for(lambda: not tavlo.is_recording(), what="the recording to end", show=tavlo.status)
        hands.up("Super_L")
        self.editor.wait_for_text(TEXT, timeout=30)
        tavlo.wait_for_log([f"Opname gestopt: {int(tavlo.recording_seconds())}s audio, start transcriptie",
                            f"Klaar via local Whisper: {len(TEXT)} tekens"])
        self.check_sounds("Pop", "Tink")

        # The other way round the left one goes first: nothing but the press fires.
        hands.down("Super_R")
        tavlo.wait_for_status(RECORDING.format("Right ⌘ Command"))
        hands.down("Super_L")
        hands.up("Super_L")
        hands.up("Super_R")
        self.cancel(tavlo)

    def test_hotkey_within_a_shortcut_fires_at_its_press(self):
        tavlo = self.start({**ENGLISH, "hotkey": "rechter-control"})
        self.shared.hands.type("word ")
        self.editor.wait_for_text("word ")
        hands = self.shared.hands
        self.addCleanup(hands.up, "Control_R")
        hands.down("Control_R")
        tavlo.wait_for_status(RECORDING.format("Right ⌃ Control"))
        hands.press("a")
        hands.up("Control_R")
        # Everything is selected now and goes: the application got the shortcut, key by key.
        hands.press("x")
        self.editor.wait_for_text("x")
        self.assertTrue(tavlo.is_recording())
        self.cancel(tavlo)

    def test_own_paste_chord_fires_no_hotkey(self):
        hotkeys = [({"custom_keycode": 59, "custom_is_modifier": True, "custom_label": "Left ⌃"}, "Control_L"),
                   ({"custom_keycode": 9, "custom_is_modifier": False, "custom_label": "V"}, "v")]
        text = ""
        for keys, key in hotkeys:
            with self.subTest(key=key):
                self.editor.clear()
                self.shared.ear.forget()
                (self.shared.data_home / "Tavlo/app.log").unlink(missing_ok=True)
                with Tavlo(self.shared, config={**ENGLISH, "hotkey": "custom", **keys}) as tavlo:
                    typed = key if len(key) == 1 else ""
                    log = self.dictate(tavlo, key=key, before=typed * 2)
                    tavlo.wait_for_log(log)
                    self.check_sounds("Pop", "Tink")
                    text = self.editor.text()
                    for _ in range(2):
                        tavlo.click("Paste last text again")
                        text += TEXT
                        self.editor.wait_for_text(text)
                    # A chord that had fired would have begun a recording, which this press would end.
                    self.check_once(tavlo, key)
                    tavlo.wait_for_log(log)

    def test_hotkey_while_transcribing_is_ignored(self):
        tavlo, engine = self.start_held()
        engine.hold()
        log = [self.record(tavlo)]
        seconds = int(tavlo.recording_seconds())
        transcribing = f"Transcribing… ({seconds}s of audio)"
        tavlo.wait_for_status(transcribing)
        self.check_sounds("Pop", "Tink")
        for key in ("Super_R", "Super_R", "Escape", "Super_R"):
            self.shared.hands.press(key)
        tavlo.click("Start recording  (Right ⌘ Command)")
        tavlo.click("Duck music while recording")  # comes after them, and does show
        wait_for(lambda: tavlo.find("Duck music while recording").checked, what="the check mark")
        self.assertEqual(tavlo.status(), transcribing)
        self.assertEqual(tavlo.icon(), "hourglass")
        tavlo.wait_for_log(log)
        engine.release()
        self.editor.wait_for_text(TEXT, timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        tavlo.wait_for_log([*log, f"Klaar via local Whisper: {len(TEXT)} tekens"])
        self.assertEqual(self.shared.ear.names(), [])
        self.assertEqual(engine.runs(), 1)
        tavlo.set(duck_enabled=False)
        self.check_once(tavlo, "Super_R")


if __name__ == "__main__":
    main()
