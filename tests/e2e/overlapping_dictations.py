#!/usr/bin/python3
"""A dictation is started while the text of the one before is about to be pasted: both texts arrive, in order."""
from rig import main
from rig.cloud import OPENAI, CloudScenario
from rig.quick_hands import QuickHands
from rig.tavlo import HOTKEY
from rig.waiting import wait_for

FIRST, SECOND = "The first text.", "The second text."
# The text follows 0.15 seconds after the log line that tells of it. On a machine that is busy the test's own key may
# come too late for that; then nothing was seen yet, and the next pair of dictations is looked at.
PAIRS = 5


class OverlappingDictations(CloudScenario):
    def first_dictation(self, tavlo):
        """Returns at the instant at which its text is known, with the keys that the editor saw until then."""
        self.answer({"kind": "text", "text": FIRST})
        lines = tavlo.log_path.read_bytes().count(b"\n") + 2
        tavlo.last_recording.unlink(missing_ok=True)
        self.record(tavlo)
        self.transcribing(tavlo)
        self.check_sounds("Pop", "Tink")
        keys = len(self.editor.keys())
        self.send()
        wait_for(lambda: tavlo.log_path.read_bytes().count(b"\n") == lines, what="the first text", show=tavlo.log)
        return keys

    def second_dictation(self, tavlo, before):
        """What is left of it once it has been started: the paste of the first text has not ended it."""
        wait_for(tavlo.is_recording, what="the second recording", show=tavlo.status)
        tavlo.wait_for_status("Recording… Right ⌘ Command = stop, Esc = cancel")
        self.assertEqual(tavlo.icon(), "waveform")
        self.answer({"kind": "text", "text": SECOND})
        self.send()
        self.shared.sound.say("can you read my text")
        tavlo.finish()
        self.pasted(tavlo, OPENAI, FIRST + SECOND, before)

    def overlap(self, tavlo, start, after_first=lambda: None):
        """Pairs of dictations until the second one of a pair began before the first one's paste."""
        done = ""
        for pair in range(PAIRS):
            keys = self.first_dictation(tavlo)
            start()
            self.editor.wait_for_text(done + FIRST)
            seen = self.editor.keys()[keys:]
            after_first()
            self.second_dictation(tavlo, done)
            done += FIRST + SECOND
            self.check_sounds("Pop", "Tink")
            if seen.index(HOTKEY) < seen.index("v"):
                break
        else:
            self.fail(f"no key came within the 150 milliseconds before a paste, {PAIRS} times")
        log = tavlo.log()
        self.assertEqual([line for line in log if line.startswith("Klaar")],
                         [f"Klaar via {OPENAI}: {len(FIRST)} tekens", f"Klaar via {OPENAI}: {len(SECOND)} tekens"]
                         * (pair + 1))
        self.assertEqual(len(log), 4 * (pair + 1))
        # No modifier is left down.
        self.shared.hands.type("x")
        self.editor.wait_for_text(done + "x")

    def test_second_started_while_the_first_paste_is_pending(self):
        tavlo, _ = self.start()
        with QuickHands(self.shared) as hands:
            self.overlap(tavlo, lambda: hands.press(HOTKEY))

    def test_hotkey_still_held_while_the_first_text_is_pasted(self):
        """The held key becomes no part of the paste chord, is not left stuck and counts once."""
        tavlo, _ = self.start()
        with QuickHands(self.shared) as hands:
            self.overlap(tavlo, lambda: hands.down(HOTKEY), lambda: hands.up(HOTKEY))


if __name__ == "__main__":
    main()
