"""From the second key press to the first byte of the upload, after a minute of speech, against curl."""
import contextlib
import threading
import time
import wave

import numpy

from rig import Desktop, Tavlo, wait_for
from rig.quick_hands import QuickHands

from .cloud import KEY, SERVICE, TimedProvider, settings
from .figures import compared
from .watches import now, run_timed

_SECONDS = 60
# So many desktops record at the same time, and stop one after the other: else twenty minutes would go by.
_DESKTOPS = 4
_SENTENCES = ["open the letter and write a message", "can you read my text", "the old man has a small red car"]


def _write_speech(desktop, path):
    """More than a minute of speech without long pauses."""
    pieces = []
    for sentence in _SENTENCES:
        with wave.open(str(desktop.sound.speech(sentence))) as speech:
            rate = speech.getframerate()
            pieces.append(numpy.frombuffer(speech.readframes(speech.getnframes()), "<i2"))
    once = numpy.concatenate(pieces)
    with wave.open(str(path), "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(rate)
        out.writeframes(numpy.tile(once, int((_SECONDS + 10) * rate / len(once)) + 1).tobytes())


class _Place:
    """One desktop with Tavlo and a provider of its own."""

    def __init__(self, stack):
        self.provider = stack.enter_context(TimedProvider({"kind": "text", "text": "Hello there. " * 20}))
        self.desktop = stack.enter_context(Desktop(window_manager=False, size=(800, 600)))
        self.desktop.keyring.put(SERVICE, "openai_api_key", KEY)
        self.tavlo = stack.enter_context(Tavlo(self.desktop, config=settings(self.provider)))
        self.hands = stack.enter_context(QuickHands(self.desktop))
        self.speech = self.desktop.folder / "minute.wav"
        _write_speech(self.desktop, self.speech)

    def begin(self):
        self.voice = self.desktop.processes.start("voice", ["paplay", "--device=voice", self.speech])
        self.tavlo.begin()
        self.began = time.monotonic()

    def finish(self):
        """Milliseconds to the first byte of the upload, and to that of curl's upload of the same file."""
        time.sleep(max(0.0, self.began + _SECONDS - time.monotonic()))
        uploads = len(self.provider.records)
        stopped = now()
        self.hands.press("Super_R")
        record = self.provider.wait_for_records(uploads + 1)[uploads]
        if not record["valid"] or record["wav_seconds"] < _SECONDS:
            raise RuntimeError(f"not the upload of a minute: {record}")
        ours = (record["first_byte"] - stopped) / 1e6
        self.tavlo.wait_for_status("Pasted via OpenAI gpt-4o-transcribe")
        self.voice.end()

        started, _ = run_timed(
            ["curl", "-s", "-H", f"Authorization: Bearer {KEY}", "-F", "model=gpt-4o-transcribe", "-F", "language=en",
             "-F", "response_format=text", "-F", f"file=@{self.tavlo.last_recording};type=audio/wav",
             self.provider.base_url + "/v1/audio/transcriptions"], self.desktop.environment)
        record = self.provider.wait_for_records(uploads + 2)[uploads + 1]
        return ours, (record["first_byte"] - started) / 1e6


def measure(rounds, _programs):
    ours, curls = [], []
    with contextlib.ExitStack() as stack:
        places = [_Place(stack) for _ in range(min(_DESKTOPS, rounds))]
        while len(ours) < rounds:
            for place in places:
                place.begin()
                threading.Event().wait(2)  # so that they stop one after the other
            for place in places:
                our, curl = place.finish()
                ours.append(our)
                curls.append(curl)
    return [compared("second press to first byte of the upload, 60 s", ours, "ms",
                     "curl -F of the same WAV, exec to first byte", curls, 1.0)]
