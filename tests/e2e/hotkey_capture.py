#!/usr/bin/python3
"""A hotkey is chosen by pressing it."""
from rig import Xterm, main, wait_for
from rig.local import ENGLISH
from rig.windows import SETTINGS, WindowScenario

DUTCH = {**ENGLISH, "app_language": "nl"}
PROMPT = "Now press the key you want… (Esc = cancel)"
MESSAGE = "⌨️  Now press the key you want to use as the hotkey - Esc to cancel"
DUTCH_PROMPT = "Druk nu op de gewenste toets… (Esc = annuleren)"
DUTCH_MESSAGE = "⌨️  Druk nu op de toets die je als sneltoets wilt gebruiken - Esc om te annuleren"
ENGINE_DUTCH = "Engine: lokale Whisper (large-v3-turbo)"
ALERT_TEXT = ("If you set this key as the hotkey, recording will start or stop every time you type it anywhere. An "
              "F-key (or §) is usually a better choice.")


class HotkeyCapture(WindowScenario):
    def capture(self, tavlo):
        """Starts a capture from the menu and returns when the message asks for the key."""
        tavlo.click("Hotkey", "Choose another key…")
        tavlo.wait_for_status(PROMPT)
        tavlo.wait_for_icon("keyboard")
        self.wait_for_message(tavlo, MESSAGE)

    def check_custom(self, tavlo, code, label, is_modifier):
        config = tavlo.read_config()
        self.assertEqual([config[key] for key in ("hotkey", "custom_keycode", "custom_label", "custom_is_modifier")],
                         ["custom", code, label, is_modifier])
        self.assertIs(type(config["custom_keycode"]), int)

    def check_saved(self, tavlo, code, label, is_modifier=False, log_before=()):
        """The key that was just pressed has been taken."""
        tavlo.wait_for_status(f"Hotkey is now: {label}")
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, f"Hotkey is now: {label}", hotkey=label, custom=label)
        self.check_custom(tavlo, code, label, is_modifier)
        tavlo.wait_for_log([*log_before, f"Sneltoets gewijzigd naar {label} (keycode {code})"])
        # The message that tells of it goes by itself.
        self.assertEqual(self.message(tavlo), f"✓ Hotkey is now: {label}")
        self.wait_for_message(tavlo, None)

    def check_works(self, tavlo, key):
        """The key begins a recording whatever application is in front; Escape ends it."""
        self.shared.ear.forget()
        tavlo.begin(key)
        self.shared.ear.wait_for("Pop")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        tavlo.wait_for_icon("mic")
        self.shared.ear.wait_for("Pop", "Basso")

    def alert(self, tavlo, name):
        """The warning about a typing key, in front; nothing waits for a key any more."""
        alert = self.window(tavlo, "Tavlo")
        self.assertEqual(alert.role, "alert message")
        self.assertEqual(alert.find("label", f"'{name}' is a commonly used typing key").role, "label")
        alert.find("label", ALERT_TEXT)
        self.assertEqual(tavlo.icon(), "mic")
        self.assertIsNone(self.message(tavlo))
        buttons = sorted((node for node in alert.descendants() if node.role == "push button"),
                         key=lambda button: button.extents)
        self.assertEqual([button.name for button in buttons], ["Choose another key", "Use anyway", "Cancel"])
        self.assertIn("default", buttons[0].states)
        return alert

    def test_f5_works_at_once_in_each_application_and_after_a_restart(self):
        tavlo = self.start()
        self.capture(tavlo)
        self.shared.hands.press("F5")
        self.check_saved(tavlo, 96, "F5")

        log = tavlo.log() + self.dictate(tavlo, key="F5")
        self.shared.ear.wait_for("Pop", "Tink")
        terminal = Xterm(self.shared)
        self.addCleanup(self.editor.focus)
        self.addCleanup(terminal.close)
        self.check_works(tavlo, "F5")
        tavlo.wait_for_log(log)

        tavlo.end()
        tavlo.start()
        self.check_menu(tavlo, "Ready - press the hotkey to dictate", hotkey="F5", custom="F5")
        self.check_works(tavlo, "F5")
        # The key that was the hotkey before is none any more: only F5 is heard.
        self.shared.hands.press("Super_R")
        self.check_works(tavlo, "F5")

    def test_space_is_warned_about_and_each_answer_does_what_it_says(self):
        tavlo = self.start()
        self.capture(tavlo)
        self.shared.hands.press("space")
        alert = self.alert(tavlo, "Space")
        self.assertEqual(tavlo.read_config().get("hotkey", "right_cmd"), "right_cmd")
        self.press_button(alert, "Choose another key")
        self.wait_for_titles(tavlo)
        tavlo.wait_for_status(PROMPT)
        tavlo.wait_for_icon("keyboard")
        self.wait_for_message(tavlo, MESSAGE)

        self.shared.hands.press("space")
        self.press_button(self.alert(tavlo, "Space"), "Cancel")
        self.wait_for_titles(tavlo)
        tavlo.wait_for_status("Key selection cancelled")
        self.check_menu(tavlo, "Key selection cancelled")
        self.assertEqual(tavlo.log(), [])

        self.capture(tavlo)
        self.shared.hands.press("space")
        self.press_button(self.alert(tavlo, "Space"), "Use anyway")
        self.wait_for_titles(tavlo)
        self.check_saved(tavlo, 49, "Space")
        self.editor.focus()
        self.check_works(tavlo, "space")

    def test_the_alert_is_answered_with_the_keys(self):
        tavlo = self.start()
        for key in ("Return", "Tab", "BackSpace"):
            self.capture(tavlo)
            self.shared.hands.press(key)
            self.window(tavlo, "Tavlo")
            self.shared.hands.press("Escape")
            self.wait_for_titles(tavlo)
            tavlo.wait_for_status("Key selection cancelled")
        # Return is the first button, and what it starts is ended by Escape.
        self.capture(tavlo)
        self.shared.hands.press("space")
        self.window(tavlo, "Tavlo")
        self.shared.hands.press("Return")
        tavlo.wait_for_status(PROMPT)
        self.wait_for_titles(tavlo)
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Key selection cancelled")
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, "Key selection cancelled")

    def test_the_alert_holds_back_the_other_windows(self):
        tavlo = self.start()
        settings = self.open_settings(tavlo)
        check = settings.find("check box", "Duck music while recording")
        before = "checked" in check.states
        self.capture(tavlo)
        self.shared.hands.press("space")
        alert = self.alert(tavlo, "Space")
        for control in (check, settings.find("push button", "Cancel")):
            self.assertGreater(control.extents[1], sum(alert.extents[1::2]), "a control that shows below the alert")
            self.click(control)
        self.press_button(alert, "Cancel")
        self.wait_for_titles(tavlo, SETTINGS)
        self.assertEqual("checked" in check.states, before)
        self.click(check)
        wait_for(lambda: ("checked" in check.states) != before, what="the settings to be used again")
        self.press_button(settings, "Cancel")
        self.wait_for_titles(tavlo)

    def test_a_letter_is_taken_without_a_warning(self):
        tavlo = self.start()
        self.capture(tavlo)
        self.shared.hands.press("a")
        self.check_saved(tavlo, 0, "A")
        self.assertEqual(self.titles(tavlo), [])
        self.check_works(tavlo, "a")

    def test_left_option_is_taken_as_a_modifier(self):
        tavlo = self.start(DUTCH)
        tavlo.click("Sneltoets", "Andere toets kiezen…")
        tavlo.wait_for_status(DUTCH_PROMPT)
        self.wait_for_message(tavlo, DUTCH_MESSAGE)
        self.shared.hands.press("Alt_L")
        tavlo.wait_for_status("Sneltoets is nu: Linker ⌥")
        self.assertEqual(self.message(tavlo), "✓ Sneltoets is nu: Linker ⌥")
        self.check_custom(tavlo, 58, "Linker ⌥", True)
        self.check_menu(tavlo, "Sneltoets is nu: Linker ⌥", ENGINE_DUTCH, "nl", hotkey="Linker ⌥", custom="Linker ⌥")
        tavlo.wait_for_log(["Sneltoets gewijzigd naar Linker ⌥ (keycode 58)"])
        tavlo.begin("Alt_L")
        tavlo.wait_for_status("Opnemen… Linker ⌥ = stop, Esc = annuleren")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Opname geannuleerd")

    def test_caps_lock_is_refused_and_escape_ends_the_capture(self):
        tavlo = self.start()
        self.capture(tavlo)
        self.addCleanup(self.shared.hands.press, "Caps_Lock")  # off again
        self.shared.hands.press("Caps_Lock")
        tavlo.wait_for_status("Caps Lock is not suitable - choose another key")
        tavlo.wait_for_icon("keyboard")
        self.wait_for_message(tavlo, "Caps Lock is not suitable - press another key (Esc = cancel)")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Key selection cancelled")
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, "Key selection cancelled")
        self.wait_for_message(tavlo, "Key selection cancelled")
        self.wait_for_message(tavlo, None)
        self.assertEqual(tavlo.log(), [])

    def test_no_key_reaches_a_window_of_tavlos_during_a_capture(self):
        tavlo = self.start()
        settings = self.open_settings(tavlo)
        field = settings.find("text", "API key (empty = free local Whisper only)")
        self.focus(field)
        self.shared.hands.press("b")
        self.wait_for_content(field, "b")
        self.capture(tavlo)
        # Return would save, Escape would close, a letter would be typed.
        self.shared.hands.press("Return")
        self.window(tavlo, "Tavlo")
        self.shared.hands.press("Escape")
        self.wait_for_titles(tavlo, "Tavlo Settings")
        self.window(tavlo, "Tavlo Settings")
        self.capture(tavlo)
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Key selection cancelled")
        self.capture(tavlo)
        self.shared.hands.press("F6")
        tavlo.wait_for_status("Hotkey is now: F6")
        self.capture(tavlo)
        self.shared.hands.press("c")
        tavlo.wait_for_status("Hotkey is now: C")
        # What is typed after the capture arrives: it came later than what did not arrive.
        self.shared.hands.press("d")
        self.wait_for_content(field, "bd")
        self.assertEqual(self.titles(tavlo), ["Tavlo Settings"])
        self.assertEqual(tavlo.log(), ["Sneltoets gewijzigd naar F6 (keycode 97)",
                                       "Sneltoets gewijzigd naar C (keycode 8)"])

    def test_fn_is_picked_from_the_menu_with_a_hint(self):
        tavlo = self.start({**ENGLISH, "hotkey": "custom", "custom_keycode": 96, "custom_label": "F5",
                            "custom_is_modifier": False})
        tavlo.click("Hotkey", "Fn 🌐 (globe)")
        status = ("Hotkey is now: Fn 🌐 (globe) - you may want to set System Settings ▸ Keyboard ▸ 'Press 🌐' to "
                  "'Do Nothing'")
        tavlo.wait_for_status(status)
        self.check_menu(tavlo, status, hotkey="Fn 🌐 (globe)", custom="F5")
        config = tavlo.read_config()
        self.assertEqual([config[key] for key in ("hotkey", "custom_keycode", "custom_label", "custom_is_modifier")],
                         ["fn", 96, "F5", False])

        # The saved key is still there to be picked.
        tavlo.click("Hotkey", "Custom: F5")
        tavlo.wait_for_status("Hotkey is now: F5")
        self.check_menu(tavlo, "Hotkey is now: F5", hotkey="F5", custom="F5")
        self.check_works(tavlo, "F5")
        self.assertEqual(tavlo.log(), [])

    def test_no_capture_starts_during_a_recording(self):
        tavlo = self.start()
        tavlo.begin()
        self.shared.ear.wait_for("Pop")
        tavlo.click("Hotkey", "Choose another key…")
        # Escape cancels the recording: it was not the capture's.
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        tavlo.wait_for_icon("mic")
        wait_for(lambda: tavlo.windows() == [], what="the overlays to go", show=tavlo.windows)
        self.shared.ear.wait_for("Pop", "Basso")


if __name__ == "__main__":
    main()
