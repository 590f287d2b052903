#!/usr/bin/env python3
"""What the engine is handed differs from a recording in nothing but the silence before its first sound."""
import array
import os
import tempfile
import unittest
import wave

import hear

_SPEECH = [5000, -4000, 0, 0, 3000, 1, 2]


def write(path, samples):
    with wave.open(path, "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(16000)
        out.writeframes(array.array("h", samples).tobytes())


class Steady(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "recording.wav")

    def heard(self, samples):
        write(self.path, samples)
        steady = hear.steady(self.path)
        with open(self.path, "wb") as file:
            file.write(steady)
        with wave.open(self.path) as recording:
            self.assertEqual(recording.getparams()[:3], (1, 2, 16000))
            return list(array.array("h", recording.readframes(recording.getnframes())))

    def test_the_first_sound_comes_after_a_fifth_of_a_second(self):
        expected = [0] * 3200 + _SPEECH
        self.assertEqual(self.heard([0] * 10 + _SPEECH), expected)
        self.assertEqual(self.heard([0] * 9000 + _SPEECH), expected)
        self.assertEqual(self.heard([0] * 3200 + _SPEECH), expected)

    def test_what_is_missing_at_the_beginning_stays_missing(self):
        self.assertEqual(self.heard([0] * 10 + _SPEECH[1:]), [0] * 3200 + _SPEECH[1:])

    def test_silence_stays_as_it_is(self):
        self.assertEqual(self.heard([0, 200, -200] * 100), [0, 200, -200] * 100)

    def test_what_is_no_recording_stays_as_it_is(self):
        with open(self.path, "wb") as file:
            file.write(b"RIFF nothing")
        self.assertEqual(hear.steady(self.path), b"RIFF nothing")


if __name__ == "__main__":
    unittest.main()
