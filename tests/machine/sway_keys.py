#!/usr/bin/python3
"""Keys of the kernel's keyboards reach the window that has the keyboard on sway."""
from machine.keyboard import Keyboard
from machine.sway import KernelSwayDesktop
from rig import Scenario, main, wait_for
from rig.sway import WaylandEditor


class SwayKeys(Scenario):
    def test_keys_reach_the_editor(self):
        desktop = KernelSwayDesktop(xwayland=False, keyring="absent", sound=None)
        self.enterContext_(desktop)
        self.addCleanup(self._tell, desktop)
        editor = WaylandEditor(desktop)
        desktop.hands.type("open the letter")
        editor.wait_for_text("open the letter")
        with Keyboard("Plugged in later") as keyboard:
            wait_for(lambda: keyboard.name in desktop.swaymsg("-t", "get_inputs"), what="the second keyboard")
            keyboard.type(" x")
            editor.wait_for_text("open the letter x")
        before = len(editor.keys())
        for key in ("Super_R", "Control_R", "Escape"):
            desktop.hands.press(key)
        wait_for(lambda: editor.keys()[before:] == ["Super_R", "Control_R", "Escape"], what="lone modifiers and Escape",
                 show=lambda: editor.keys()[before:])


if __name__ == "__main__":
    main()
