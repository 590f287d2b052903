"""The base of tests with the local engine: one desktop and one editor for all tests of a class, and for each test a
Tavlo that knows nothing of the one before."""
import shutil

from .cloud import SERVICE, HeldEngine
from .desktop import Desktop
from .editors import GtkEditor
from .scenario import Scenario
from .tavlo import Tavlo
from .waiting import wait_for

# 2.3 seconds. The small model still understands it when the recording begins one and a half seconds earlier.
SENTENCE = "open the letter and write a message"
TEXT = SENTENCE + "."
ENGLISH = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}

ENGINE_ENGLISH = "Engine: local Whisper (large-v3-turbo)"
ENGINE_DUTCH = "Engine: lokale Whisper (large-v3-turbo)"
_HOTKEYS = {
    "en": ("Right ⌘ Command", "Right ⌥ Option", "Right ⌃ Control", "Right ⇧ Shift", "Fn 🌐 (globe)"),
    "nl": ("Rechter ⌘ Command", "Rechter ⌥ Option", "Rechter ⌃ Control", "Rechter ⇧ Shift", "Fn 🌐 (wereldbol)"),
}

# How loud the cues leave the loudspeakers: their own peak times the volume at which they are played.
_CUE_PEAK = 0.9
_VOLUMES = {"Pop": 0.15, "Tink": 0.12}
CANCELLED, FAILED = 0.2, 0.5  # of Basso


def menu_at_rest(status, engine=ENGINE_ENGLISH, language="en", hotkey=None, custom=None, ducks=False,
                 has_last_text=False):
    """The whole menu as (title, enabled, checked) and, for a row with a submenu, its rows.

    hotkey is the label of the hotkey in force, custom the label of a saved key of the user's own.
    """
    catalogue = _HOTKEYS[language]
    hotkey = hotkey or catalogue[0]

    def t(dutch, english):
        return english if language == "en" else dutch

    hotkeys = [(label, True, label == hotkey) for label in catalogue]
    if custom is not None:
        hotkeys.append((t("Aangepast: ", "Custom: ") + custom, True, hotkey not in catalogue))
    hotkeys.append((t("Andere toets kiezen…", "Choose another key…"), True, False))
    return [
        (status, False, False),
        (engine, False, False),
        ("🌐 Taal / Language", True, False, ("🇳🇱 Nederlands", True, language == "nl"),
         ("🇬🇧 English", True, language == "en")),
        (t("Start opname  (", "Start recording  (") + hotkey + ")", True, False),
        (t("Plak laatste tekst opnieuw", "Paste last text again"), has_last_text, False),
        (t("Sneltoets", "Hotkey"), True, False, *hotkeys),
        (t("Muziek dempen tijdens opname", "Duck music while recording"), True, ducks),
        (t("Instellingen…", "Settings…"), True, False),
        (t("Start bij inloggen", "Start at login"), True, False),
        (t("Feedback of idee insturen…", "Send feedback or an idea…"), True, False),
        (t("Over Tavlo…", "About Tavlo…"), True, False),
        (t("Stop Tavlo", "Quit Tavlo"), True, False),
    ]


def _rows(items):
    return [(item.title, item.enabled, item.checked, *_rows(item.children)) for item in items if not item.is_separator]


class LocalScenario(Scenario):
    desktop_options = {}

    @classmethod
    def setUpClass(cls):
        cls.shared = Desktop(**cls.desktop_options)
        cls.shared.__enter__()
        cls.addClassCleanup(cls.shared.close)
        cls.editor = GtkEditor(cls.shared)

    def setUp(self):
        self.addCleanup(self._tell, self.shared)
        shutil.rmtree(self.shared.data_home / "Tavlo", ignore_errors=True)
        for account in ("openai_api_key", "groq_api_key"):
            if self.shared.keyring.get(SERVICE, account) is not None:
                self.shared.keyring.clear(SERVICE, account)
        self.editor.clear()
        self.shared.ear.forget()

    def start(self, config=ENGLISH, **options):
        return self.tavlo(self.shared, config=config, **options)

    def start_held(self, config=ENGLISH, **options):
        """(tavlo, engine): a Tavlo whose local engine is in the hands of the test."""
        manager = Tavlo(self.shared, config=config, **options)
        engine = HeldEngine(manager.support)
        self.addCleanup(engine.release)
        return self.enterContext_(manager), engine

    def record(self, tavlo, key=None, text=SENTENCE, voice="en-us"):
        """Key, speech, key; gives the log line of the recording when it is with the engine."""
        keys = {} if key is None else {"key": key}
        speech = self.shared.sound.speech(text, voice)
        tavlo.last_recording.unlink(missing_ok=True)
        tavlo.begin(**keys)
        self.shared.sound.play(speech)
        tavlo.finish(**keys)
        wait_for(tavlo.last_recording.exists, what="the last recording")
        return f"Opname gestopt: {int(tavlo.recording_seconds())}s audio, start transcriptie"

    def dictate(self, tavlo, before="", **options):
        """A dictation in English whose words arrive in the editor after the text that stands there. Gives its log."""
        line = self.record(tavlo, **options)
        self.editor.wait_for_text(before + TEXT, timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        tavlo.wait_for_icon("mic")
        self.assertEqual(tavlo.windows(), [], "the overlay is still there")
        return [line, f"Klaar via local Whisper: {len(TEXT)} tekens"]

    def check_menu(self, tavlo, *arguments, **options):
        self.assertEqual(_rows(tavlo.menu()), menu_at_rest(*arguments, **options))

    def check_sounds(self, *names, basso=FAILED):
        """Exactly these sounds were heard since the last check, about as loud as they are meant to be. basso is the
        volume of that sound; None where the loudspeakers were lowered, so that the sounds are softer than played."""
        for sound in self.shared.ear.wait_for(*names):
            if basso is None:
                break
            loudness = _CUE_PEAK * _VOLUMES.get(sound.name, basso)
            # The monitor that the ear listens to may miss the first milliseconds of a sound, where it is loudest.
            self.assertLess(sound.peak, loudness * 1.02, sound.name)
            self.assertGreater(sound.peak, loudness * 0.45, sound.name)
        self.shared.ear.forget()
