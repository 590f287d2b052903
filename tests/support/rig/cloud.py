"""The base of the tests in which a provider answers: one desktop and one editor for all tests of a class, and for each
test a provider of its own and a Tavlo that knows nothing of the one before."""
import errno
import os
import shutil
import threading

from servers.provider import Provider

from . import engine
from .desktop import Desktop
from .editors import GtkEditor
from .scenario import Scenario
from .tavlo import Tavlo
from .waiting import wait_for

SERVICE = "nl.pelloquintar.tavlo"
KEY = "sk-test-0123456789abcdefghijklmnop"
SHORT = "can you read my text"  # what is said where the words do not matter; 1.5 seconds

OPENAI = "OpenAI gpt-4o-transcribe"
GROQ = "Groq whisper-large-v3-turbo"
LOCAL = "local Whisper"
FALLING_BACK = "OpenAI unreachable - falling back to local Whisper…"

# How loud the cues leave the loudspeakers: their own peak times the volume at which they are played.
_CUE_PEAK = 0.9
VOLUMES = {"Pop": 0.15, "Tink": 0.12}
FAILURE_VOLUME = 0.5  # of Basso

# A whisper-cli that notes its runs and waits at a pipe beside it, if there is one.
_HELD_ENGINE = """#!/bin/bash
echo run >>"$0.runs"
if [ -p "$0.held" ]; then { read -r _ <"$0.held"; } 2>/dev/null; fi
exec "$0.real" "$@"
"""


class HeldEngine:
    """The local engine in the hands of the test: counts its runs, and waits while it is held."""

    def __init__(self, support_folder):
        program = support_folder / "bin/whisper-cli"
        self._runs, self._held = (program.with_name(f"whisper-cli.{name}") for name in ("runs", "held"))
        program.rename(program.with_name("whisper-cli.real"))
        program.write_text(_HELD_ENGINE, encoding="utf-8")
        program.chmod(0o755)

    def hold(self):
        os.mkfifo(self._held)

    def release(self):
        try:
            # The end of the pipe is what an engine that waits reads.
            os.close(os.open(self._held, os.O_WRONLY | os.O_NONBLOCK))
        except OSError as error:
            if error.errno not in (errno.ENOENT, errno.ENXIO):  # not held, nobody waits
                raise
        self._held.unlink(missing_ok=True)

    def runs(self):
        return len(self._runs.read_text(encoding="utf-8").splitlines()) if self._runs.exists() else 0


class CloudScenario(Scenario):
    @classmethod
    def setUpClass(cls):
        cls.shared = Desktop()
        cls.shared.__enter__()
        cls.addClassCleanup(cls.shared.close)
        cls.editor = GtkEditor(cls.shared)

    def setUp(self):
        self.addCleanup(self._tell, self.shared)
        self.provider = self.enterContext_(Provider())
        self.secrets = [KEY]  # what must never stand in a file of Tavlo's
        self._answers = []
        # Whatever the test does, nobody waits for an answer afterwards.
        self.addCleanup(lambda: [answer["gate"].set() for answer in self._answers])
        shutil.rmtree(self.shared.data_home / "Tavlo", ignore_errors=True)
        for account in ("openai_api_key", "groq_api_key"):
            if self.shared.keyring.get(SERVICE, account) is not None:
                self.shared.keyring.clear(SERVICE, account)
        self.editor.clear()
        self.shared.ear.forget()

    def start(self, key=KEY, provider="openai", model=True, engine_program=True, **config):
        """Starts Tavlo with this test's provider as its cloud and the key in the keyring. (tavlo, engine)"""
        if key is not None:
            self.shared.keyring.put(SERVICE, f"{provider}_api_key", key)
        # Tavlo keeps its settings over its end, a test does not: the whole file is written. No ducking, so that the
        # cues are as loud as they are meant to be.
        config = {"app_language": "en", "language": "en", "engine": "auto", "provider": provider, "duck_enabled": False,
                  f"{provider}_base_url": self.provider.base_url, **config}
        manager = Tavlo(self.shared, config=config, model=model, engine_program=engine_program)
        engine = HeldEngine(manager.support) if engine_program else None
        if engine:
            self.addCleanup(engine.release)
        self.addCleanup(self.check_secrets, manager)
        return self.enterContext_(manager), engine

    def answer(self, scenario):
        """Sets what the provider answers to each request from now on, as soon as the test calls send()."""
        scenario = dict(scenario, gate=threading.Event())
        self._answers.append(scenario)
        self.provider.set_scenario(scenario)

    def send(self, **changes):
        self._answers[-1].update(changes)
        self._answers[-1]["gate"].set()

    def real_engine(self, language="en"):
        """A scenario in which the provider answers what the real engine hears."""
        return {"kind": "engine", "command": engine.command("{wav}", language)}

    def record(self, tavlo, text=SHORT, voice="en-us", silence=0):
        """Key, speech, key."""
        speech = self.shared.sound.speech(text, voice)
        tavlo.begin()
        self.shared.sound.play(speech)
        if silence:
            self.shared.sound.play_silence(silence)
        tavlo.finish()

    def transcribing(self, tavlo):
        """Checks what Tavlo shows while the engine works; gives the recording's whole seconds."""
        wait_for(tavlo.last_recording.exists, what="the last recording")
        seconds = int(tavlo.recording_seconds())
        tavlo.wait_for_status(f"Transcribing… ({seconds}s of audio)")
        self.assertEqual(tavlo.icon(), "hourglass")
        return seconds

    def pasted(self, tavlo, engine, text, before=""):
        """Waits until the text stands in the editor and checks what Tavlo shows then."""
        self.editor.wait_for_text(before + text, timeout=30)
        tavlo.wait_for_status(f"Pasted via {engine}")
        tavlo.wait_for_icon("mic")
        self.assertEqual(tavlo.windows(), [], "the overlay is still there")

    def log_of(self, seconds, *more):
        """The log of a test's only dictation."""
        return [f"Opname gestopt: {seconds}s audio, start transcriptie", *more]

    def check_sounds(self, *names, failure=FAILURE_VOLUME):
        """Exactly these sounds were heard since the last check, about as loud as they are meant to be."""
        for sound in self.shared.ear.wait_for(*names):
            loudness = _CUE_PEAK * VOLUMES.get(sound.name, failure)
            # The monitor that the ear listens to may miss the first milliseconds of a sound, where it is loudest.
            self.assertLess(sound.peak, loudness * 1.02, sound.name)
            self.assertGreater(sound.peak, loudness * 0.45, sound.name)
        self.shared.ear.forget()

    def check_menu(self, tavlo, status, engine, has_last_text):
        """The whole menu of Tavlo at rest, in English: titles, what can be chosen, and the check marks."""
        self.assertEqual(
            [(row.title, row.enabled, row.checked) for row in tavlo.menu() if not row.is_separator],
            [(status, False, False),
             (f"Engine: {engine}", False, False),
             ("🌐 Taal / Language", True, False),
             ("Start recording  (Right ⌘ Command)", True, False),
             ("Paste last text again", has_last_text, False),
             ("Hotkey", True, False),
             ("Duck music while recording", True, False),
             ("Settings…", True, False),
             ("Start at login", True, False),
             ("Send feedback or an idea…", True, False),
             ("About Tavlo…", True, False),
             ("Quit Tavlo", True, False)])
        self.assertEqual([(row.title, row.checked) for row in tavlo.find("🌐 Taal / Language").children],
                         [("🇳🇱 Nederlands", False), ("🇬🇧 English", True)])
        self.assertEqual([row.title for row in tavlo.find("Hotkey").children if row.checked], ["Right ⌘ Command"])

    def check_secrets(self, tavlo):
        """Neither a key nor a transcript is left in any file of Tavlo's."""
        for path in tavlo.support.rglob("*"):
            if not path.is_file() or path.stat().st_size > 10_000_000:
                continue
            content = path.read_bytes()
            for secret in self.secrets:
                self.assertNotIn(secret.encode(), content, f"in {path.name}")
