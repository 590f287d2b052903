#!/usr/bin/python3
"""The about window, and the pages that it and the menu open."""
from rig import main, wait_for
from rig.local import ENGINE_DUTCH
from rig.windows import WindowScenario

ABOUT, ABOUT_DUTCH = "About Tavlo", "Over Tavlo"
READY = "Ready - press the hotkey to dictate"
WEBSITE = "https://pelloquintar.nl/tavlo"
FEEDBACK = "https://pelloquintar.nl/tavlo/support"

ENGLISH_TEXTS = [
    "Tavlo 1.0",
    "Talk instead of type - in any app on your Mac.",
    "•  Dictate with a hotkey, anywhere you can type\n"
    "•  Free & unlimited with local Whisper - or your own OpenAI/Groq key\n"
    "•  Music ducks automatically while recording\n"
    "•  Choose your own hotkey · Dutch & English\n"
    "•  Privacy first: local processing can run fully offline; your key is stored safely in the Keychain\n"
    "•  Safety net: if the cloud drops a chunk, local Whisper fills it in",
    "Transcription may contain errors. Check important text before acting on it. Use at your own risk.",
    "Free and subscription-free, made by one person. Support Tavlo with a one-time purchase and it keeps improving - "
    "never a subscription.",
    "Pelloquintar",
]
DUTCH_TEXTS = [
    "Tavlo 1.0",
    "Praat in plaats van typen - in elke app op je Mac.",
    "•  Dicteren met een sneltoets, overal waar je kunt typen\n"
    "•  Gratis & onbeperkt met lokale Whisper - of je eigen OpenAI/Groq-sleutel\n"
    "•  Muziek dempt automatisch tijdens het opnemen\n"
    "•  Zelf je sneltoets kiezen · Nederlands & Engels\n"
    "•  Privacy eerst: lokaal verwerken kan volledig offline; je sleutel staat veilig in de Sleutelhanger\n"
    "•  Vangnet: mist de cloud een stuk, dan vult lokale Whisper het aan",
    "Transcriptie kan fouten bevatten. Controleer belangrijke tekst voordat je erop handelt. Gebruik op eigen risico.",
    "Gratis en zonder abonnement, gemaakt door één persoon. Steun je Tavlo met een eenmalige aankoop, dan blijft het "
    "zich ontwikkelen - nooit een abonnement.",
    "Pelloquintar",
]


class AboutWindow(WindowScenario):
    def texts(self, window):
        return [node.name for node in window.children if node.role == "label"]

    def open_about(self, tavlo, title=ABOUT):
        tavlo.click(title + "…")
        return self.window(tavlo, title)

    def wait_for_page(self, before, page):
        wait_for(lambda: self.shared.opened() == [*before, page], what=page, show=self.shared.opened)

    def test_opened_twice_there_is_one_window(self):
        tavlo = self.start()
        self.open_about(tavlo)
        window = self.open_about(tavlo)
        self.wait_for_titles(tavlo, ABOUT)
        self.assertEqual(self.texts(window), ENGLISH_TEXTS)
        _x, _y, width, height = window.extents
        self.assertEqual((width, height), (460, 470))
        # One Escape is enough.
        self.shared.hands.press("Escape")
        self.wait_for_titles(tavlo)
        self.check_menu(tavlo, READY)

    def test_the_next_opening_speaks_the_new_language(self):
        tavlo = self.start()
        self.assertEqual(self.texts(self.open_about(tavlo)), ENGLISH_TEXTS)
        tavlo.click("🌐 Taal / Language", "🇳🇱 Nederlands")
        tavlo.wait_for_status("Klaar - druk op de sneltoets om te dicteren")
        window = self.open_about(tavlo, ABOUT_DUTCH)
        self.wait_for_titles(tavlo, ABOUT_DUTCH)
        self.assertEqual(self.texts(window), DUTCH_TEXTS)
        window.find("push button", "Website")
        window.find("push button", "Feedback geven")
        self.check_menu(tavlo, "Klaar - druk op de sneltoets om te dicteren", ENGINE_DUTCH, "nl")

    def test_website_and_feedback_open_in_the_browser(self):
        tavlo = self.start()
        window = self.open_about(tavlo)
        before = self.shared.opened()
        self.press_button(window, "Website")
        self.wait_for_page(before, WEBSITE)
        self.press_button(window, "Give feedback")
        self.wait_for_page([*before, WEBSITE], FEEDBACK)
        tavlo.click("Send feedback or an idea…")
        self.wait_for_page([*before, WEBSITE, FEEDBACK], FEEDBACK)
        self.assertEqual(self.titles(tavlo), [ABOUT])

    def test_closing_the_last_window_never_ends_tavlo(self):
        tavlo = self.start()
        self.close_box(self.open_about(tavlo))
        self.wait_for_titles(tavlo)
        self.check_menu(tavlo, READY)
        self.editor.focus()
        log = self.dictate(tavlo)
        tavlo.wait_for_log(log)
        # It ends when it is asked to.
        tavlo.click("Quit Tavlo")
        wait_for(lambda: not tavlo.process.is_running, what="Tavlo to end")


if __name__ == "__main__":
    main()
