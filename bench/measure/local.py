"""A local transcription, from the second key press to the text in hand, against the engine's program alone."""
from rig import Desktop, GtkEditor, Tavlo
from rig.quick_hands import QuickHands

from .figures import compared
from .watches import KeyWatch, now, run_timed

_SENTENCE = "open the letter and write a message"
_ASKED_FOR = 150.0  # milliseconds between the text in hand and the paste chord
_V = 55


def measure(rounds, programs):
    ours, bare = [], []
    with Desktop() as desktop:
        GtkEditor(desktop)
        config = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}
        with Tavlo(desktop, config=config) as tavlo, QuickHands(desktop) as hands:
            keys = KeyWatch(desktop, programs / "bench_key_watch")
            command = [tavlo.support / "bin/whisper-cli", "-m", tavlo.support / "models/ggml-large-v3-turbo.bin", "-l",
                       "en", "--no-timestamps", "-np", "-f", tavlo.last_recording]
            speech = desktop.sound.speech(_SENTENCE)
            for _ in range(rounds):
                tavlo.begin()
                desktop.sound.play(speech)
                stopped = now()
                hands.press("Super_R")
                chord = keys.wait_for_press({_V}, stopped)
                ours.append((chord - stopped) / 1e6 - _ASKED_FOR)
                tavlo.wait_for_status("Pasted via local Whisper")
                started, ended = run_timed(command, desktop.environment)
                bare.append((ended - started) / 1e6)
    return [compared("local transcription, second press to text in hand", ours, "ms", "bare whisper-cli, same file", bare,
                     1.02, "with the small model of the tests; the pause of 150 ms before the paste is left out")]
