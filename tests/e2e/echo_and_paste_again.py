#!/usr/bin/python3
"""A transcript that only repeats the vocabulary is not pasted; pasting again gives the text before it."""
from rig import main
from rig.cloud import OPENAI, CloudScenario

VOCABULARY = "Kubernetes, PostgreSQL, Grafana"
ECHO = " kubernetes, postgresql, grafana."
SUPPRESSED = "No speech detected (vocabulary echo suppressed)"
LINE = f"{OPENAI} + local fallback"


class EchoAndPasteAgain(CloudScenario):
    def dictate(self, tavlo, text):
        """One dictation that the cloud answers with `text`; gives the first line of its log."""
        self.answer({"kind": "text", "text": text})
        tavlo.last_recording.unlink(missing_ok=True)
        self.record(tavlo)
        seconds = self.transcribing(tavlo)
        self.send()
        return self.log_of(seconds)

    def test_echo_is_suppressed_and_paste_again_gives_the_text_before_it(self):
        self.secrets += ["Hello"]
        tavlo, engine = self.start(vocabulary=VOCABULARY)
        text = "Hello, Grafana on Kubernetes."
        log = self.dictate(tavlo, text)
        self.pasted(tavlo, OPENAI, text)
        log += [f"Klaar via {OPENAI}: {len(text)} tekens"]
        self.assertEqual(dict(self.provider.records[0]["fields"])["prompt"], VOCABULARY)

        log += self.dictate(tavlo, ECHO)
        tavlo.wait_for_status(SUPPRESSED)
        tavlo.wait_for_icon("mic")
        # The answer's outer blanks are no part of the text.
        log += [f"Klaar via {OPENAI}: {len(ECHO.strip())} tekens", "Woordenlijst-echo onderdrukt"]
        tavlo.wait_for_log(log)
        self.check_menu(tavlo, SUPPRESSED, LINE, has_last_text=True)

        # Had the echo been pasted, it would stand between the two.
        tavlo.click("Paste last text again")
        self.editor.wait_for_text(text * 2)
        self.assertEqual(tavlo.status(), SUPPRESSED)
        tavlo.wait_for_log(log)

        # One word of the vocabulary is no echo: fewer than fifteen characters may well have been said.
        log += self.dictate(tavlo, "Grafana")
        self.pasted(tavlo, OPENAI, "Grafana", before=text * 2)
        log += [f"Klaar via {OPENAI}: 7 tekens"]
        tavlo.wait_for_log(log)
        self.check_sounds("Pop", "Tink", "Pop", "Tink", "Pop", "Tink")
        self.assertEqual(engine.runs(), 0)

        # Twice at once, faster than a paste takes.
        row = tavlo.find("Paste last text again")
        tavlo.item.click(row)
        tavlo.item.click(row)
        self.editor.wait_for_text(text * 2 + "Grafana" * 3)
        self.assertEqual(self.shared.ear.names(), [])

    def test_echo_as_the_first_text_leaves_nothing_to_paste_again(self):
        tavlo, _ = self.start(vocabulary=f"\n {VOCABULARY} ")
        log = self.dictate(tavlo, "POSTGRESQL, GRAFANA!")
        tavlo.wait_for_status(SUPPRESSED)
        tavlo.wait_for_log([*log, f"Klaar via {OPENAI}: 20 tekens", "Woordenlijst-echo onderdrukt"])
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, SUPPRESSED, LINE, has_last_text=False)
        self.check_sounds("Pop", "Tink")
        self.assertEqual(self.editor.text(), "")

    def test_echo_of_the_local_engine_is_suppressed_as_well(self):
        tavlo, engine = self.start(engine="local", app_language="nl", vocabulary="Can you read my text? No.")
        self.record(tavlo)
        tavlo.wait_for_status("Geen spraak gedetecteerd (woordenlijst-echo onderdrukt)")
        seconds = int(tavlo.recording_seconds())
        tavlo.wait_for_log(self.log_of(seconds, "Klaar via lokale Whisper: 21 tekens", "Woordenlijst-echo onderdrukt"))
        self.assertFalse(tavlo.find("Plak laatste tekst opnieuw").enabled)
        self.check_sounds("Pop", "Tink")
        self.assertEqual(engine.runs(), 1)
        self.assertEqual(self.provider.connections(), 0)
        self.assertEqual(self.editor.text(), "")


if __name__ == "__main__":
    main()
