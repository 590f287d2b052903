#!/usr/bin/python3
"""The settings window, with the mouse and the keys."""
import pathlib

from rig import main, wait_for
from rig.cloud import SERVICE
from rig.local import ENGINE_DUTCH, ENGLISH
from rig.windows import SETTINGS, WindowScenario

FIELD = "API key (empty = free local Whisper only)"
VOCABULARY = "Vocabulary - jargon and names for better recognition"
SLIDER = "Remaining music volume"
COST = "Cost with your own key: ~ {} per hour of speech · local Whisper is always free"
OPENAI_KEY, GROQ_KEY = "sk-one-0123456789", "gsk_two-0123456789"
MODELS = ["gpt-4o-transcribe (best)", "gpt-4o-mini-transcribe (cheaper)", "whisper-1"]
GROQ_MODEL = "whisper-large-v3-turbo (fast & dirt cheap)"
SAVED = ["Instellingen bewaard via venster"]
SETTINGS_DUTCH = "Tavlo-instellingen"
FULL_SCREEN = pathlib.Path(__file__).resolve().parents[1] / "support/apps/full_screen.py"


class SettingsWindow(WindowScenario):
    def save(self, tavlo, window, name="Save"):
        self.press_button(window, name)
        self.wait_for_titles(tavlo)

    def names(self, window):
        return [pop_up.name for pop_up in self.pop_ups(window)]

    def test_language_changes_in_the_menu(self):
        tavlo = self.start()
        tavlo.click("🌐 Taal / Language", "🇳🇱 Nederlands")
        tavlo.wait_for_status("Klaar - druk op de sneltoets om te dicteren")
        self.check_menu(tavlo, "Klaar - druk op de sneltoets om te dicteren", ENGINE_DUTCH, "nl")
        self.assertEqual(tavlo.read_config()["app_language"], "nl")
        window = self.open_settings(tavlo, "Instellingen…", SETTINGS_DUTCH)
        self.assertEqual(self.names(window), ["Nederlands", "OpenAI", "gpt-4o-transcribe (beste)",
                                              "Alleen lokaal (gratis)"])
        window.find("check box", "Muziek dempen tijdens opname")
        tavlo.click("🌐 Taal / Language", "🇬🇧 English")
        tavlo.wait_for_status("Ready - press the hotkey to dictate")
        self.check_menu(tavlo, "Ready - press the hotkey to dictate")
        tavlo.wait_for_log(["Taal gewijzigd naar nl", "Taal gewijzigd naar en"])
        # The window that is open keeps its language; the next one has the new one, and there is one only.
        self.open_settings(tavlo)
        self.assertEqual(self.titles(tavlo), [SETTINGS])

    def test_language_changes_in_the_settings(self):
        tavlo = self.start({**ENGLISH, "app_language": "nl"})
        window = self.open_settings(tavlo, "Instellingen…", SETTINGS_DUTCH)
        self.choose(tavlo, self.pop_ups(window)[0], "English")
        self.save(tavlo, window, "Bewaar")
        tavlo.wait_for_status("Settings saved")
        self.check_menu(tavlo, "Settings saved")
        self.assertEqual(tavlo.read_config()["app_language"], "en")
        tavlo.wait_for_log(SAVED)

    def test_everything_is_saved(self):
        tavlo = self.start()
        window = self.open_settings(tavlo)
        _language, _provider, model, engine = self.pop_ups(window)
        self.assertEqual(self.entries(model), MODELS)
        window.find("label", COST.format("$0,36 (≈ €0,33)"))
        self.choose(tavlo, model, MODELS[1])
        window.find("label", COST.format("$0,18 (≈ €0,17)"))
        self.assertEqual(self.entries(engine), ["Automatic (cloud, local as backup)", "Cloud only",
                                                "Local only (free)"])
        self.choose(tavlo, engine, "Cloud only")
        field = window.find("text", FIELD)
        self.focus(field)
        self.paste(OPENAI_KEY + "\n")
        wait_for(lambda: field.text.strip() == OPENAI_KEY, what="the key in its field", show=lambda: field.text)
        vocabulary = window.find("text", VOCABULARY)
        self.focus(vocabulary)
        self.paste(" Pelloquintar,\nZuid-Sloten  \n")
        self.wait_for_content(vocabulary, " Pelloquintar,\nZuid-Sloten  \n")
        self.click(window.find("check box", "Duck music while recording"))
        wait_for(lambda: "checked" in window.find("check box").states, what="the check mark")
        before = set(tavlo.read_config())
        self.save(tavlo, window)
        tavlo.wait_for_status("Settings saved")
        config = tavlo.read_config()
        self.assertEqual({key: config[key] for key in ("app_language", "provider", "openai_model", "engine",
                                                       "vocabulary", "duck_enabled", "duck_volume")},
                         {"app_language": "en", "provider": "openai", "openai_model": "gpt-4o-mini-transcribe",
                          "engine": "openai", "vocabulary": " Pelloquintar,\nZuid-Sloten  \n", "duck_enabled": True,
                          "duck_volume": 0.08})
        self.assertEqual(set(config), before | {"provider", "openai_model", "vocabulary", "duck_volume"})
        self.assertEqual(self.shared.keyring.get(SERVICE, "openai_api_key"), OPENAI_KEY.encode())
        self.assertNotIn(OPENAI_KEY.encode(), tavlo.config_path.read_bytes())
        self.assertEqual(tavlo.engine_line(), "Engine: OpenAI gpt-4o-mini-transcribe + local fallback")
        self.assertTrue(tavlo.find("Duck music while recording").checked)
        tavlo.wait_for_log(SAVED)

        # An empty key removes the one that was stored.
        window = self.open_settings(tavlo)
        field = window.find("text", FIELD)
        self.wait_for_content(field, OPENAI_KEY)
        self.focus(field)
        self.shared.hands.press("ctrl+a")
        self.shared.hands.press("Delete")
        self.wait_for_content(field, "")
        self.save(tavlo, window)
        wait_for(lambda: self.shared.keyring.get(SERVICE, "openai_api_key") is None, what="the key to be gone")
        tavlo.wait_for_log(SAVED * 2)
        self.assertEqual(tavlo.engine_line(), "Engine: local Whisper (large-v3-turbo)")

    def test_switching_providers_back_and_forth_shows_each_ones_own_key(self):
        self.shared.keyring.put(SERVICE, "openai_api_key", OPENAI_KEY)
        self.shared.keyring.put(SERVICE, "groq_api_key", GROQ_KEY)
        tavlo = self.start({**ENGLISH, "engine": "auto", "openai_model": "whisper-1"})
        window = self.open_settings(tavlo)
        _language, provider, model, _engine = self.pop_ups(window)
        field = window.find("text", FIELD)
        self.wait_for_content(field, OPENAI_KEY)
        self.assertEqual(field.description, "sk-...")
        self.assertEqual(model.name, "whisper-1")
        # An unsaved edit is lost.
        self.focus(field)
        self.shared.hands.press("End")
        self.shared.hands.type("x")
        self.wait_for_content(field, OPENAI_KEY + "x")
        self.choose(tavlo, provider, "Groq (cheapest)")
        self.wait_for_content(field, GROQ_KEY)
        self.assertEqual(field.description, "gsk_...")
        self.assertEqual(self.entries(model), [GROQ_MODEL])
        window.find("label", COST.format("$0,04 (≈ €0,04)"))
        self.choose(tavlo, provider, "OpenAI")
        self.wait_for_content(field, OPENAI_KEY)
        self.assertEqual(self.entries(model), MODELS)
        self.assertEqual(model.name, "whisper-1")
        window.find("label", COST.format("$0,36 (≈ €0,33)"))
        self.choose(tavlo, provider, "Groq (cheapest)")
        self.save(tavlo, window)
        tavlo.wait_for_status("Settings saved")
        config = tavlo.read_config()
        self.assertEqual((config["provider"], config["groq_model"], config["openai_model"]),
                         ("groq", "whisper-large-v3-turbo", "whisper-1"))
        self.assertEqual(tavlo.engine_line(), "Engine: Groq whisper-large-v3-turbo + local fallback")
        self.assertEqual(self.shared.keyring.get(SERVICE, "openai_api_key"), OPENAI_KEY.encode())
        self.assertEqual(self.shared.keyring.get(SERVICE, "groq_api_key"), GROQ_KEY.encode())

    def test_a_volume_of_an_eighth_is_shown_and_saved_rounded_up(self):
        tavlo = self.start({**ENGLISH, "duck_volume": 0.125})
        window = self.open_settings(tavlo)
        window.find("label", "13%")
        self.assertEqual(window.find("slider", SLIDER).description, "13%")
        self.save(tavlo, window)
        tavlo.wait_for_status("Settings saved")
        self.assertEqual(tavlo.read_config()["duck_volume"], 0.13)

    def test_the_slider_goes_from_nothing_to_thirty_percent(self):
        tavlo = self.start()
        window = self.open_settings(tavlo)
        slider = window.find("slider", SLIDER)
        window.find("label", "8%")
        self.focus_by_tab(window, slider)
        for key, shown in (("End", "30%"), ("Left", "29%"), ("Home", "0%"), ("Right", "1%"), ("Right", "2%")):
            self.shared.hands.press(key)
            wait_for(lambda expected=shown: slider.description == expected, what=shown,
                     show=lambda: slider.description)
            window.find("label", shown)
        self.save(tavlo, window)
        tavlo.wait_for_status("Settings saved")
        self.assertEqual(tavlo.read_config()["duck_volume"], 0.02)

    def focus_by_tab(self, window, control):
        for _ in window.children:
            if "focused" in control.states:
                return
            before = self.focused(window)
            self.shared.hands.press("Tab")
            wait_for(lambda known=before: self.focused(window) not in (known, None), what="the next control")
        self.fail(f"Tab never reaches {control}")

    def test_a_model_name_that_is_unknown_opens_and_saves_as_the_first(self):
        tavlo = self.start({**ENGLISH, "openai_model": "gpt-9-transcribe", "provider": "nobody", "engine": "magic"})
        window = self.open_settings(tavlo)
        self.assertEqual(self.names(window),
                         ["English", "OpenAI", MODELS[0], "Automatic (cloud, local as backup)"])
        self.save(tavlo, window)
        tavlo.wait_for_status("Settings saved")
        config = tavlo.read_config()
        self.assertEqual((config["openai_model"], config["provider"], config["engine"]),
                         ("gpt-4o-transcribe", "openai", "auto"))

    def test_nothing_is_saved_by_cancel_escape_and_the_close_box(self):
        tavlo = self.start()
        before = tavlo.config_path.read_bytes()

        def edit():
            window = self.open_settings(tavlo)
            field = window.find("text", FIELD)
            self.wait_for_content(field, "")
            self.focus(field)
            self.shared.hands.type("sk-x")
            self.wait_for_content(field, "sk-x")
            self.click(window.find("check box"))
            return window

        self.press_button(edit(), "Cancel")
        self.wait_for_titles(tavlo)
        edit()
        self.shared.hands.press("Escape")
        self.wait_for_titles(tavlo)
        self.close_box(edit())
        self.wait_for_titles(tavlo)
        # The last window has gone, and Tavlo is still there.
        self.check_menu(tavlo, "Ready - press the hotkey to dictate")
        self.assertEqual(tavlo.config_path.read_bytes(), before)
        self.assertIsNone(self.shared.keyring.get(SERVICE, "openai_api_key"))
        self.assertEqual(tavlo.log(), [])

    def test_return_saves(self):
        tavlo = self.start()
        window = self.open_settings(tavlo)
        self.focus(window.find("text", FIELD))
        self.shared.hands.type("sk-typed")
        self.shared.hands.press("Return")
        self.wait_for_titles(tavlo)
        tavlo.wait_for_status("Settings saved")
        self.assertEqual(self.shared.keyring.get(SERVICE, "openai_api_key"), b"sk-typed")

    def test_tab_goes_from_top_to_bottom(self):
        tavlo = self.start()
        window = self.open_settings(tavlo)
        first = wait_for(lambda: self.focused(window), what="a control with the keyboard")
        order = [first]
        while True:
            self.shared.hands.press("Tab")
            wait_for(lambda: self.focused(window) not in (None, order[-1]), what="the next control")
            if self.focused(window) == first:
                break
            order.append(self.focused(window))
            self.assertLess(len(order), 20)
        language, provider, model, engine = self.pop_ups(window)
        self.assertEqual(order, [language, provider, window.find("push button", "Create key ↗"),
                                 window.find("text", FIELD), model, engine, window.find("text", VOCABULARY),
                                 window.find("check box"), window.find("slider", SLIDER),
                                 window.find("push button", "Cancel"), window.find("push button", "Save")])

    def test_the_key_pages_open_in_the_browser(self):
        tavlo = self.start()
        window = self.open_settings(tavlo)
        opened = len(self.shared.opened())
        for count, (name, page) in enumerate((("OpenAI", "https://platform.openai.com/api-keys"),
                                              ("Groq (cheapest)", "https://console.groq.com/keys")), 1):
            pop_up = self.pop_ups(window)[1]
            if pop_up.name != name:
                self.choose(tavlo, pop_up, name)
            self.press_button(window, "Create key ↗")
            wait_for(lambda number=count: len(self.shared.opened()) == opened + number, what="the browser",
                     show=self.shared.opened)
            self.assertEqual(self.shared.opened()[-1], page)

    def test_the_window_comes_to_the_front_of_a_full_screen_window(self):
        tavlo = self.start()
        movie = self.shared.processes.start("full-screen", ["/usr/bin/python3", FULL_SCREEN])
        self.addCleanup(self.editor.focus)
        self.addCleanup(movie.end)
        wait_for(lambda: "shown" in movie.output_text(), timeout=20, what="the full-screen window")
        window = self.open_settings(tavlo)
        # It is on top, too: what is clicked is its button and not the movie.
        self.press_button(window, "Cancel")
        self.wait_for_titles(tavlo)
        self.assertNotIn("click", movie.output_text())

    def test_overlays_stand_above_a_full_screen_window_and_let_clicks_through(self):
        tavlo = self.start()
        movie = self.shared.processes.start("full-screen-2", ["/usr/bin/python3", FULL_SCREEN])
        self.addCleanup(self.editor.focus)
        self.addCleanup(movie.end)
        wait_for(lambda: "shown" in movie.output_text(), timeout=20, what="the full-screen window")
        active = self.shared.hands.active_window()
        tavlo.begin()
        wait_for(tavlo.windows, what="the overlay")
        picture = self.shared.screenshot(self.shared.folder / "overlay.png")
        # The red dot of the overlay, 56 points above the lower edge, is on the screen.
        wait_for(lambda: self.is_red(self.shared.screenshot(picture), 565, 725), what="the overlay on the screen")
        self.shared.hands.click(640, 725)
        wait_for(lambda: "click 640 725" in movie.output_text(), what="the click", show=movie.output_text)
        self.assertEqual(self.shared.hands.active_window(), active)
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")

    def is_red(self, picture, x, y):
        words = self.shared.processes.run("convert", picture, "-format", f"%[fx:p{{{x},{y}}}.r] %[fx:p{{{x},{y}}}.g]",
                                          "info:").split()
        return float(words[0]) > 0.8 > 0.4 > float(words[1])


if __name__ == "__main__":
    main()
