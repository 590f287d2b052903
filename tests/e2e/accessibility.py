#!/usr/bin/python3
"""What a screen reader is told of each window of the running program: every control has a name and a role."""
from rig import main
from rig.local import ENGLISH
from rig.windows import WindowScenario

# What has no name of its own: it only holds or moves what has one.
CONTAINERS = {"filler", "panel", "list", "scroll bar", "separator"}

SETTINGS = [
    ("label", "Language / Taal:"), ("combo box", "Language / Taal"),
    ("label", "Provider:"), ("combo box", "Provider"),
    ("label", "API key (empty = free local Whisper only):"), ("push button", "Create key ↗"),
    ("text", "API key (empty = free local Whisper only)"),
    ("label", "Model:"), ("combo box", "Model"),
    ("label", "Cost with your own key: ~ $0,36 (≈ €0,33) per hour of speech · local Whisper is always free"),
    ("label", "Engine:"), ("combo box", "Engine"),
    ("label", "Vocabulary - jargon and names for better recognition:"),
    ("text", "Vocabulary - jargon and names for better recognition"),
    ("check box", "Duck music while recording"),
    ("label", "Remaining music volume:"), ("slider", "Remaining music volume"), ("label", "8%"),
    ("push button", "Cancel"), ("push button", "Save"),
]
BODY = ("Without an API key, Tavlo uses a language model that runs entirely on your own Mac — free and private. This "
        "model (~1.6 GB) is downloaded once; after that, dictation works offline.")
OFFER = [
    ("graphic", "Tavlo"), ("label", "Free offline dictation"), ("label", BODY),
    ("push button", "Not now"), ("push button", "Download"),
]


class AccessibilityOfWindows(WindowScenario):
    def check_names(self, window):
        """Each control that shows has a name and a role."""
        self.assertTrue(window.name)
        for control in window.descendants():
            if "showing" not in control.states:
                continue
            self.assertNotIn(control.role, ("", "unknown", "invalid"), control)
            # A label's name is its text: one that shows none as yet has none to tell.
            if control.role not in CONTAINERS | {"label"}:
                self.assertTrue(self.spoken_name(control), f"a {control.role} at {control.extents} has no name")

    @staticmethod
    def spoken_name(control):
        """What a screen reader says first: the label that belongs to the control, else its own name."""
        labels = [label.name.removesuffix(":") for label in control.labelled_by() if label.name]
        return labels[0] if labels else control.name

    def spoken(self, window):
        return [(control.role, self.spoken_name(control)) for control in window.children
                if "showing" in control.states and control.role not in CONTAINERS]

    def test_settings_window(self):
        tavlo = self.start({**ENGLISH, "engine": "auto"})
        window = self.open_settings(tavlo)
        self.check_names(window)
        self.assertEqual(window.role, "dialog")
        self.assertEqual(self.spoken(window), SETTINGS)
        # A pop-up tells what is chosen, the slider how much it is.
        self.assertEqual([pop_up.name for pop_up in self.pop_ups(window)],
                         ["English", "OpenAI", "gpt-4o-transcribe (best)", "Automatic (cloud, local as backup)"])
        self.assertEqual(window.find("slider").description, "8%")
        self.assertIn("default", window.find("push button", "Save").states)

    def test_about_window(self):
        tavlo = self.start()
        tavlo.click("About Tavlo…")
        window = self.window(tavlo, "About Tavlo")
        self.check_names(window)
        self.assertEqual(window.role, "dialog")
        self.assertEqual([role for role, _name in self.spoken(window)],
                         ["graphic", "label", "label", "label", "label", "label", "push button", "push button",
                          "label"])

    def test_offer_window(self):
        tavlo = self.start({**ENGLISH, "engine": "auto"}, model=False)
        self.record(tavlo)
        window = self.window(tavlo, "Offline model")
        self.check_names(window)
        self.assertEqual(window.role, "dialog")
        self.assertEqual([spoken for spoken in self.spoken(window) if spoken[1]], OFFER)
        self.assertIn("default", window.find("push button", "Download").states)
        # Escape is "Not now".
        self.shared.hands.press("Escape")
        self.wait_for_titles(tavlo)

    def test_typing_key_alert(self):
        for language, row, names in (
                ("en", ("Hotkey", "Choose another key…"), ["Choose another key", "Use anyway", "Cancel"]),
                ("nl", ("Sneltoets", "Andere toets kiezen…"), ["Andere toets kiezen", "Toch gebruiken", "Annuleer"])):
            with self.subTest(language):
                tavlo = self.start({**ENGLISH, "app_language": language})
                tavlo.click(*row)
                tavlo.wait_for_icon("keyboard")
                self.shared.hands.press("space")
                alert = self.window(tavlo, "Tavlo")
                self.check_names(alert)
                self.assertEqual(alert.role, "alert message")
                self.assertEqual([node.name for node in alert.descendants() if node.role == "push button"], names)
                self.shared.hands.press("Escape")
                self.wait_for_titles(tavlo)
                tavlo.end()

    def test_overlays_tell_their_text(self):
        tavlo = self.start()
        tavlo.begin()
        self.accessibility.window(tavlo.process.pid, "Tavlo").find("filler", "Recording")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")


if __name__ == "__main__":
    main()
