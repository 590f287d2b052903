#!/usr/bin/python3
"""Pasting on every keyboard layout, while it changes, and with keys that the user still holds."""
from rig import GtkEditor, VteTerminal, Xterm, main, wait_for
from rig.local import CANCELLED, ENGLISH, TEXT, LocalScenario
from rig.quick_hands import QuickHands


class KeyboardLayouts(LocalScenario):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.shared.set_layout, "us")

    def cancel(self, tavlo):
        self.check_sounds("Pop")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        self.check_sounds("Basso", basso=CANCELLED)

    def paste_again(self, tavlo, editor, text):
        tavlo.click("Paste last text again")
        editor.wait_for_text(text)

    def test_layout_changes_while_running(self):
        tavlo = self.start()
        log = self.dictate(tavlo)
        text = TEXT
        # Russian and Greek have no key that gives a v; French and Turkish F have it elsewhere than American.
        for layout, variant in (("ru", None), ("gr", None), ("fr", None), ("us", "dvorak"), ("tr", "f"),
                                ("us,ru", None), ("ru,us", None), ("us", None)):
            with self.subTest(layout=layout, variant=variant):
                self.shared.set_layout(layout, variant)
                text += TEXT
                self.paste_again(tavlo, self.editor, text)
        # The hotkey is known by its place; the words come on any layout.
        for layout in ("ru", "fr"):
            self.shared.set_layout(layout)
            log += self.dictate(tavlo, before=text)
            text += TEXT
        tavlo.wait_for_log(log)
        self.check_sounds("Pop", "Tink", "Pop", "Tink", "Pop", "Tink")

    def test_group_of_the_layout_changes_while_running(self):
        tavlo = self.start()
        self.dictate(tavlo)
        text = TEXT
        self.shared.processes.run("setxkbmap", "-layout", "us,ru", "-option", "grp:rctrl_toggle")
        self.addCleanup(self.shared.processes.run, "setxkbmap", "-option", "")
        with QuickHands(self.shared) as quick:
            quick.press_code(30)  # The key of the u.
            self.editor.wait_for_text(text + "u")
            quick.press_code(105)  # Right Control: the next group.
            quick.press_code(30)
            text += "uг"
            self.editor.wait_for_text(text)
            self.paste_again(tavlo, self.editor, text + TEXT)
            quick.press_code(105)
            quick.press_code(30)
            self.editor.wait_for_text(text + TEXT + "u")
            self.paste_again(tavlo, self.editor, text + TEXT + "u" + TEXT)

    def test_a_custom_key_stays_in_its_place(self):
        # The key left of the s: a on an American board, q on a French one.
        tavlo = self.start({**ENGLISH, "hotkey": "custom", "custom_keycode": 0, "custom_label": "A"})
        with QuickHands(self.shared) as quick:
            for layout in ("us", "fr", "ru"):
                with self.subTest(layout=layout):
                    self.shared.set_layout(layout)
                    quick.press_code(38)
                    wait_for(tavlo.is_recording, what="the recording to begin", show=tavlo.status)
                    self.cancel(tavlo)
            quick.press_code(24)  # Where a French board has its a.
            quick.press_code(38)
            wait_for(tavlo.is_recording, what="the recording to begin", show=tavlo.status)
            self.cancel(tavlo)
        self.editor.wait_for_text("aqфйф")

    def test_terminals_without_a_v(self):
        tavlo = self.start()
        self.dictate(tavlo)
        for terminal_class in (VteTerminal, Xterm):
            with self.subTest(terminal=terminal_class.__name__):
                self.shared.set_layout("us")
                terminal = terminal_class(self.shared)
                self.paste_again(tavlo, terminal, TEXT)
                for count, layout in enumerate(("ru", "gr"), start=2):
                    self.shared.set_layout(layout)
                    self.paste_again(tavlo, terminal, TEXT * count)
                terminal.close()
        self.shared.set_layout("us")
        self.editor.focus()
        self.assertEqual(self.editor.text(), TEXT)

    def test_held_modifiers_are_no_part_of_the_chord_and_are_not_left_stuck(self):
        tavlo = self.start({**ENGLISH, "hotkey": "custom", "custom_keycode": 96, "custom_label": "F5"})
        self.dictate(tavlo, key="F5")
        text = TEXT
        hands = self.shared.hands
        with QuickHands(self.shared) as quick:
            for key in ("Shift_L", "Shift_R", "Control_L", "Control_R", "Alt_L", "Super_L", "Super_R", "v"):
                with self.subTest(key=key):
                    self.addCleanup(hands.up, key)
                    if key == "v":
                        self.shared.processes.run("xset", "-r")
                        self.addCleanup(self.shared.processes.run, "xset", "r", "on")
                        text += "v"
                    quick.down(key)
                    if key == "v":
                        self.editor.wait_for_text(text)
                    text += TEXT
                    self.paste_again(tavlo, self.editor, text)
                    if key != "v":
                        self.assertTrue(quick.is_down(key), "the user still holds it")
                    quick.up(key)
                    self.assertEqual(quick.codes_down(), [])
                    hands.type("x")
                    text += "x"
                    self.editor.wait_for_text(text)
        self.check_sounds("Pop", "Tink")


if __name__ == "__main__":
    main()
