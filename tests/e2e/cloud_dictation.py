#!/usr/bin/python3
"""A dictation with OpenAI or Groq: the key comes from the keyring, each byte of the request is checked."""
import hashlib

from rig import main
from rig.cloud import GROQ, KEY, OPENAI, CloudScenario

SENTENCE = "open the letter and write a message"
DUTCH_SENTENCE = "open de brief en lees de tekst"
GROQ_KEY = "gsk_0123456789abcdefghijklmnop"


class CloudDictation(CloudScenario):
    def the_request(self, tavlo):
        """The only request that the provider got; it carries the last recording, unchanged."""
        records = self.provider.wait_for_records(1)
        self.assertEqual(len(records), 1)
        self.assertEqual(self.provider.connections(), 1)
        record = records[0]
        self.assertIsNone(record["complaint"])
        self.assertTrue(record["valid"])
        recording = tavlo.last_recording.read_bytes()
        self.assertEqual(record["wav_bytes"], len(recording))
        self.assertEqual(record["wav_sha256"], hashlib.sha256(recording).hexdigest())
        return record

    def test_openai_with_the_key_of_the_keyring(self):
        self.secrets += [SENTENCE]
        self.answer(dict(self.real_engine(), expect={
            "provider": "openai", "key": KEY, "model": "gpt-4o-transcribe", "language": "en", "prompt": None}))
        tavlo, engine = self.start()
        ready = "Ready - press the hotkey to dictate"
        self.check_menu(tavlo, ready, f"{OPENAI} + local fallback", has_last_text=False)

        self.record(tavlo, SENTENCE)
        seconds = self.transcribing(tavlo)
        self.the_request(tavlo)
        self.send()
        self.pasted(tavlo, OPENAI, SENTENCE + ".")

        self.check_menu(tavlo, f"Pasted via {OPENAI}", f"{OPENAI} + local fallback", has_last_text=True)
        tavlo.wait_for_log(self.log_of(seconds, f"Klaar via {OPENAI}: {len(SENTENCE) + 1} tekens"))
        self.check_sounds("Pop", "Tink")
        self.assertEqual(engine.runs(), 0, "the local engine ran as well")

    def test_groq_with_its_own_key_language_and_vocabulary(self):
        self.secrets += [GROQ_KEY, DUTCH_SENTENCE]
        vocabulary = "Kubernetes, \"Señor Müller\",\r\nnaïve – 语音"
        self.answer(dict(self.real_engine("nl"), expect={
            "provider": "groq", "key": GROQ_KEY, "model": "whisper-large-v3-turbo", "language": "nl",
            "prompt": vocabulary, "prefix": "/own/server"}))
        # OpenAI's key lies there too and is not the one that is sent.
        self.shared.keyring.put("nl.pelloquintar.tavlo", "openai_api_key", KEY)
        tavlo, engine = self.start(provider="groq", key=GROQ_KEY, app_language="nl", language="nl",
                                   vocabulary=vocabulary, groq_base_url=self.provider.base_url + "/own/server/")
        self.assertEqual(tavlo.engine_line(), f"Engine: {GROQ} + lokale fallback")

        self.record(tavlo, DUTCH_SENTENCE, "nl")
        self.the_request(tavlo)
        seconds = int(tavlo.recording_seconds())
        tavlo.wait_for_status(f"Transcriberen… ({seconds} sec audio)")
        self.assertEqual(tavlo.icon(), "hourglass")
        self.send()

        self.editor.wait_for_text(DUTCH_SENTENCE + ".", timeout=30)
        tavlo.wait_for_status(f"Geplakt via {GROQ}")
        tavlo.wait_for_icon("mic")
        tavlo.wait_for_log(self.log_of(seconds, f"Klaar via {GROQ}: {len(DUTCH_SENTENCE) + 1} tekens"))
        self.check_sounds("Pop", "Tink")
        self.assertEqual(engine.runs(), 0, "the local engine ran as well")

    def test_keys_pressed_meanwhile_do_nothing(self):
        self.secrets += ["Hello there."]
        self.answer({"kind": "text", "text": "  Hello there. \n"})
        tavlo, _ = self.start(engine="openai", openai_model="whisper-1")
        self.assertEqual(tavlo.engine_line(), "Engine: OpenAI whisper-1 + local fallback")
        self.record(tavlo)
        seconds = self.transcribing(tavlo)
        self.assertEqual(dict(self.the_request(tavlo)["fields"])["model"], "whisper-1")
        tavlo.press_hotkey()
        self.shared.hands.press("Escape")
        tavlo.press_hotkey()
        tavlo.click("Start recording  (Right ⌘ Command)")
        self.send()
        self.pasted(tavlo, "OpenAI whisper-1", "Hello there.")
        tavlo.wait_for_log(self.log_of(seconds, "Klaar via OpenAI whisper-1: 12 tekens"))
        self.check_sounds("Pop", "Tink")
        self.assertEqual(self.provider.connections(), 1)

    def test_a_blank_answer_is_no_speech(self):
        self.answer({"kind": "text", "text": " \r\n\t "})
        tavlo, engine = self.start()
        self.record(tavlo)
        seconds = self.transcribing(tavlo)
        self.send()
        tavlo.wait_for_status("No speech detected")
        tavlo.wait_for_icon("mic")
        tavlo.wait_for_log(self.log_of(seconds, f"Klaar via {OPENAI}: 0 tekens"))
        self.check_sounds("Pop", "Tink")
        self.check_menu(tavlo, "No speech detected", f"{OPENAI} + local fallback", has_last_text=False)
        self.assertEqual(self.editor.text(), "")
        self.assertEqual(engine.runs(), 0, "the local engine ran as well")


if __name__ == "__main__":
    main()
