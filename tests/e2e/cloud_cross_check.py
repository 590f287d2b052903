#!/usr/bin/python3
"""The cloud returns little for a long recording: the local engine hears it as well, and the longer text is pasted."""
from rig import engine as real, main
from rig.cloud import OPENAI, CloudScenario

SPOKEN = "can you read my text"
HEARD = SPOKEN + "."
SILENCE = 9.5  # seconds after it, so that the recording passes ten
CHECKING = "Cloud returned little - local cross-check…"
DROPPED = "local Whisper (cloud dropped text)"


class CloudCrossCheck(CloudScenario):
    def long_recording(self, cloud_text, **options):
        """Dictates for more than ten seconds, answers with `cloud_text` and stops at the cross-check.

        (tavlo, engine, the log so far)
        """
        self.secrets += [HEARD, cloud_text]
        self.answer({"kind": "text"})
        tavlo, engine = self.start(**options)
        if engine:
            engine.hold()
        self.record(tavlo, SPOKEN, silence=SILENCE)
        seconds = self.transcribing(tavlo)
        self.assertGreater(tavlo.recording_seconds(), 10.0)
        self.assertLess(len(cloud_text) / tavlo.recording_seconds(), 3.0)
        # What the other engine will say is no guess.
        self.assertEqual(real.transcribe(tavlo.last_recording), HEARD)
        self.send(text=cloud_text + "\n")
        log = self.log_of(seconds, f"Verdacht kort cloud-resultaat ({len(cloud_text)} tekens / {seconds}s)"
                                   " - lokale kruischeck")
        if engine:
            tavlo.wait_for_status(CHECKING)
            self.assertEqual(tavlo.icon(), "hourglass")
            tavlo.wait_for_log(log)
            self.assertEqual(self.editor.text(), "")
            engine.release()
        return tavlo, engine, log

    def delivered(self, tavlo, label, text, log):
        self.pasted(tavlo, label, text)
        tavlo.wait_for_log([*log, f"Klaar via {label}: {len(text)} tekens"])
        self.check_sounds("Pop", "Tink")
        self.check_menu(tavlo, f"Pasted via {label}", f"{OPENAI} + local fallback", has_last_text=True)

    def test_longer_local_text_wins(self):
        tavlo, engine, log = self.long_recording("can y")
        self.delivered(tavlo, DROPPED, HEARD, [*log, f"Lokale kruischeck won: {len(HEARD)} vs 5 tekens"])
        self.assertEqual(engine.runs(), 1)

    def test_cloud_text_wins_a_tie(self):
        text = "Can you read my text?"
        self.assertEqual(len(text), len(HEARD))
        tavlo, engine, log = self.long_recording(text)
        self.delivered(tavlo, OPENAI, text, log)
        self.assertEqual(engine.runs(), 1)

    def test_longer_cloud_text_wins(self):
        text = "Can you read my text??"
        tavlo, engine, log = self.long_recording(text)
        self.delivered(tavlo, OPENAI, text, log)
        self.assertEqual(engine.runs(), 1)

    def test_cloud_text_is_pasted_where_the_local_engine_fails(self):
        """A failure within the cross-check is not told: the cloud's text is there."""
        tavlo, _, log = self.long_recording("can y", engine_program=False)
        self.delivered(tavlo, OPENAI, "can y", log)

    def test_short_recording_is_not_checked(self):
        self.secrets += ["can y"]
        self.answer({"kind": "text", "text": "can y"})
        tavlo, engine = self.start()
        self.record(tavlo, SPOKEN)
        seconds = self.transcribing(tavlo)
        self.send()
        self.delivered(tavlo, OPENAI, "can y", self.log_of(seconds))
        self.assertEqual(engine.runs(), 0)

    def test_long_text_of_a_long_recording_is_not_checked(self):
        text = "Words enough for a recording that lasts as long as this one did."
        self.secrets += [text]
        self.answer({"kind": "text", "text": text})
        tavlo, engine = self.start()
        self.record(tavlo, SPOKEN, silence=SILENCE)
        seconds = self.transcribing(tavlo)
        self.assertGreater(len(text) / tavlo.recording_seconds(), 3.0)
        self.send()
        self.delivered(tavlo, OPENAI, text, self.log_of(seconds))
        self.assertEqual(engine.runs(), 0)


if __name__ == "__main__":
    main()
