#!/usr/bin/python3
"""The API key in the desktop's keyring: locked, absent, coming later, unusable; and a key that the file still holds."""
from rig import Tavlo, main, wait_for
from rig.cloud import SERVICE
from rig.keyring import PASSWORD
from rig.local import ENGINE_ENGLISH, ENGLISH, TEXT, LocalScenario

READY = "Ready - press the hotkey to dictate"
ACCOUNT = "openai_api_key"
CLOUD = "Engine: OpenAI gpt-4o-transcribe + local fallback"
GROQ = "Engine: Groq whisper-large-v3-turbo + local fallback"
AUTO = {**ENGLISH, "engine": "auto"}
MOVED = "API-sleutel verplaatst naar de Sleutelhanger"
PROMPTER = "org.gnome.keyring.SystemPrompter"


class KeyringStates(LocalScenario):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.shared.bus.allow_service(PROMPTER)

    def wait_for_engine(self, tavlo, line):
        wait_for(lambda: tavlo.engine_line() == line, what=f"the line {line!r}", show=tavlo.engine_line)

    def prompts(self):
        """The windows of the desktop's prompt for the keyring's password."""
        prompter = self.shared.bus.process_of(PROMPTER)
        return self.shared.hands.windows(prompter) if prompter else []

    def test_legacy_key_is_moved_once(self):
        for content in ("  sk-abc \n", "sk-abc"):
            with self.subTest(content=content):
                with Tavlo(self.shared, config={**AUTO, "openai_api_key": content, "other": 1}) as tavlo:
                    self.check_menu(tavlo, READY, engine=CLOUD)
                    self.assertEqual(self.shared.keyring.get(SERVICE, ACCOUNT), b"sk-abc")
                    self.assertEqual(tavlo.read_config(), {**AUTO, "openai_api_key": "", "other": 1})
                    tavlo.wait_for_log([MOVED])
                    tavlo.end()
                    # The next start finds nothing to move.
                    tavlo.start()
                    self.check_menu(tavlo, READY, engine=CLOUD)
                    self.assertEqual(tavlo.log(), [MOVED])
                    self.assertEqual(self.shared.keyring.get(SERVICE, ACCOUNT), b"sk-abc")
                    tavlo.end()
                    # Now the keyring holds the very key of the file.
                    tavlo.log_path.unlink()

    def test_legacy_key_never_replaces_the_one_in_the_keyring(self):
        self.shared.keyring.put(SERVICE, ACCOUNT, "sk-old")
        config = {**AUTO, "openai_api_key": "sk-new"}
        tavlo = self.start(config)
        self.check_menu(tavlo, READY, engine=CLOUD)
        self.assertEqual(self.shared.keyring.get(SERVICE, ACCOUNT), b"sk-old")
        self.assertEqual(tavlo.read_config(), config)
        self.assertEqual(tavlo.log(), [])

    def test_legacy_key_is_no_groq_key(self):
        tavlo = self.start({**AUTO, "provider": "groq", "openai_api_key": "sk-abc"})
        self.check_menu(tavlo, READY)
        tavlo.wait_for_log([MOVED])
        self.shared.keyring.put(SERVICE, "groq_api_key", "gsk-abc")
        tavlo.end()
        tavlo.start()
        self.check_menu(tavlo, READY, engine=GROQ)

    def test_item_that_is_empty_or_no_utf_8_is_no_key(self):
        for secret in (b"", b"\xff\xfe", b"sk-\xc3"):
            with self.subTest(secret=secret):
                self.shared.keyring.put(SERVICE, ACCOUNT, secret)
                with Tavlo(self.shared, config=AUTO) as tavlo:
                    self.check_menu(tavlo, READY)
                    self.assertEqual(tavlo.log(), [])
        # In the place of such an item the file's key is stored.
        tavlo = self.start({**AUTO, "openai_api_key": "sk-abc"})
        self.check_menu(tavlo, READY, engine=CLOUD)
        self.assertEqual(self.shared.keyring.get(SERVICE, ACCOUNT), b"sk-abc")
        tavlo.wait_for_log([MOVED])

    def lock(self):
        self.shared.keyring.lock()
        # Opened without a word to anybody, for the next test.
        self.addCleanup(self.shared.keyring.unlock)

    def answer_prompt(self, *keys):
        """Answers the desktop's prompt, of which there must be one, and gives the keyboard back to the editor."""
        window = wait_for(self.prompts, what="the desktop's prompt")[0]
        self.assertEqual(len(self.prompts()), 1)
        self.shared.hands.focus(window)
        for key in keys:
            self.shared.hands.press(key)
        wait_for(lambda: not self.prompts(), what="the prompt to go", show=self.prompts)
        self.editor.focus()

    def test_locked_keyring_is_asked_to_open_once(self):
        self.shared.keyring.put(SERVICE, ACCOUNT, "sk-abc")
        self.lock()
        tavlo = self.start(AUTO)
        wait_for(self.prompts, what="the desktop's prompt")
        self.check_menu(tavlo, READY)
        self.answer_prompt("Escape")
        # Meanwhile Tavlo works without a key, and nothing asks a second time.
        log = self.dictate(tavlo)
        tavlo.wait_for_log(log)
        self.check_sounds("Pop", "Tink")
        self.check_menu(tavlo, "Pasted via local Whisper", has_last_text=True)
        self.assertEqual(self.prompts(), [])

        # The user opens it for another program, locks it and opens it again: the menu follows.
        for number in range(2):
            other = self.shared.processes.start(f"other-{number}", ["secret-tool", "lookup", "service", SERVICE])
            self.answer_prompt(*PASSWORD, "Return")
            wait_for(lambda: not other.is_running, what="the other program")
            self.assertTrue(other.output_text().endswith("sk-abc"))
            self.wait_for_engine(tavlo, CLOUD)
            self.shared.keyring.lock()
            self.wait_for_engine(tavlo, ENGINE_ENGLISH)
        self.assertEqual(self.prompts(), [])
        tavlo.wait_for_log(log)

    def test_password_given_to_the_prompt_opens_the_keyring(self):
        self.shared.keyring.put(SERVICE, ACCOUNT, "sk-abc")
        self.lock()
        tavlo = self.start(AUTO)
        wait_for(self.prompts, what="the desktop's prompt")
        self.check_menu(tavlo, READY)
        self.answer_prompt(*PASSWORD, "Return")
        self.wait_for_engine(tavlo, CLOUD)
        self.assertEqual(tavlo.log(), [])

    def test_legacy_key_stays_in_the_file_while_the_keyring_is_locked(self):
        self.lock()
        config = {**AUTO, "openai_api_key": "sk-abc"}
        tavlo = self.start(config)
        wait_for(self.prompts, what="the desktop's prompt")
        self.check_menu(tavlo, READY, engine=CLOUD)
        self.answer_prompt(*PASSWORD, "Return")
        self.assertEqual(tavlo.read_config(), config)
        self.assertEqual(tavlo.log(), [])
        tavlo.end()
        tavlo.start()  # tries again
        tavlo.wait_for_log([MOVED])
        self.assertEqual(tavlo.read_config(), {**AUTO, "openai_api_key": ""})
        self.assertEqual(self.shared.keyring.get(SERVICE, ACCOUNT), b"sk-abc")

    def test_absent_keyring_that_comes_goes_and_comes_back(self):
        keyring = self.shared.keyring
        keyring.put(SERVICE, ACCOUNT, "sk-abc")
        keyring.stop()
        self.addCleanup(lambda: self.shared.bus.has_owner("org.freedesktop.secrets") or keyring.start())
        tavlo = self.start(AUTO)
        self.check_menu(tavlo, READY)
        log = self.dictate(tavlo)
        keyring.start()
        self.wait_for_engine(tavlo, CLOUD)
        keyring.stop()
        self.wait_for_engine(tavlo, ENGINE_ENGLISH)
        # Without a key it is the local engine's turn.
        log += self.dictate(tavlo, before=TEXT)
        tavlo.wait_for_log(log)
        keyring.start()
        self.wait_for_engine(tavlo, CLOUD)
        tavlo.wait_for_log(log)
        self.check_sounds("Pop", "Tink", "Pop", "Tink")

    def test_legacy_key_stays_in_the_file_without_a_keyring(self):
        keyring = self.shared.keyring
        keyring.stop()
        self.addCleanup(keyring.start)
        config = {**AUTO, "openai_api_key": "sk-abc"}
        tavlo = self.start(config)
        self.check_menu(tavlo, READY, engine=CLOUD)
        self.assertEqual(tavlo.read_config(), config)
        self.assertEqual(tavlo.log(), [])


if __name__ == "__main__":
    main()
