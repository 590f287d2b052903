"""From the key press to the first recorded frame, to the start sound, to the last frame; from answer to paste."""
import os
import time

import numpy

from rig import Desktop, GtkEditor, Tavlo, wait_for
from rig.quick_hands import QuickHands

from .cloud import KEY, SERVICE, TimedProvider, settings
from .figures import bounded, compared, none_in_any
from .known_signal import RATE, Listener, read_recording, speech_rate, write_noise
from .watches import KeyWatch, SoundWatch, now

_SECONDS = 0.8  # of each recording
_V = 55  # the X key code of the key that the paste chord ends with
_NAMES = {"pulseaudio": "PulseAudio", "pipewire": "PipeWire"}
# The virtual microphone's own pieces, as its most demanding listener wants them. A first piece that began before the key
# press would hide the difference between two programs.
_PIECES = {"pulseaudio": 3, "pipewire": 10}


class Trials:
    """The same few steps again and again on one desktop."""

    def __init__(self, desktop, tavlo, provider, listener, hands, watches):
        self._desktop, self._tavlo, self._provider = desktop, tavlo, provider
        self._listener, self._hands = listener, hands
        self._keys, self._sounds = watches
        self.first_frames, self.references, self.sounds, self.sounds_after_frame = [], [], [], []
        self.lost, self.breaks, self.reference_breaks, self.pastes = [], [], [], []

    def dictate(self):
        """One dictation with the known signal; all times in milliseconds."""
        pressed = now()
        self._hands.press("Super_R")
        sound = self._sounds.wait_for_sound(pressed)
        time.sleep(_SECONDS)
        answers = len(self._provider.answers)
        stopped = now()
        self._hands.press("Super_R")
        wait_for(lambda: len(self._provider.answers) > answers, what="the upload")
        chord = self._keys.wait_for_press({_V}, stopped)
        self.pastes.append((chord - self._provider.answers[-1]) / 1e6)

        recorded = read_recording(self._tavlo.last_recording)
        frame, captured = self._listener.locate(recorded, pressed)
        self.first_frames.append((captured - pressed) / 1e6)
        self.sounds.append((sound - pressed) / 1e6)
        self.sounds_after_frame.append((sound - captured) / 1e6)
        end = frame + len(recorded) * RATE // 16000
        self.lost.append(max(0, self._listener.frames_at(stopped) - end))
        self.breaks.append(self._listener.breaks(recorded, frame))

    def record_with_parec(self):
        path = self._desktop.folder / "reference.f32"
        command = ["parec", "--latency-msec=85", "--raw", "--format=float32le", f"--rate={RATE}", "--channels=1"]
        actions = [(os.POSIX_SPAWN_OPEN, 0, os.devnull, os.O_RDONLY, 0),
                   (os.POSIX_SPAWN_OPEN, 1, str(path), os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)]
        child = os.posix_spawnp(command[0], command, self._desktop.environment, file_actions=actions)
        started = now()  # the call returns when the program has been executed
        try:
            wait_for(lambda: path.stat().st_size > 4 * RATE * _SECONDS, what="the reference recording")
        finally:
            os.kill(child, 15)
            os.waitpid(child, 0)
        data = path.read_bytes()
        recorded = numpy.frombuffer(data[:len(data) // 12 * 12], "<f4")
        recorded = speech_rate(recorded, RATE)
        frame, captured = self._listener.locate(recorded, started)
        self.reference_breaks.append(self._listener.breaks(recorded[:len(recorded) - 400], frame))
        self.references.append((captured - started) / 1e6)


def measure(rounds, programs, kinds=("pulseaudio", "pipewire")):
    return [figure for kind in kinds for figure in _measure(rounds, programs, kind)]


def _measure(rounds, programs, kind):
    with TimedProvider({"kind": "text", "text": "Hello there."}) as provider, Desktop(sound=kind) as desktop:
        GtkEditor(desktop)
        desktop.keyring.put(SERVICE, "openai_api_key", KEY)
        signal = desktop.folder / "noise.wav"
        write_noise(signal, 60 + 8 * rounds)
        desktop.processes.start("signal", ["paplay", "--device=voice", "--latency-msec=2000", signal])
        with Tavlo(desktop, config=settings(provider)) as tavlo, Listener(desktop, _PIECES[kind]) as listener, \
                QuickHands(desktop) as hands:
            wait_for(listener.is_hearing, what="the signal")
            trials = Trials(desktop, tavlo, provider, listener, hands,
                            (KeyWatch(desktop, programs / "bench_key_watch"), SoundWatch(desktop)))
            time.sleep(2.5)  # the listener's clock needs two seconds
            for _ in range(rounds):
                trials.dictate()
                tavlo.wait_for_status("Pasted via OpenAI gpt-4o-transcribe")
                trials.record_with_parec()
                time.sleep(0.3)
                listener.forget()
    return _figures(trials, kind)


def _figures(trials, kind):
    name = _NAMES[kind]
    figures = [compared(f"key event to first recorded frame, {name}", trials.first_frames, "ms",
                        "parec --latency-msec=85, from exec", trials.references, 0.8)]
    if kind == "pulseaudio":
        figures.append(bounded(f"key event to start sound asked for, {name}", trials.sounds, "ms",
                               "absolute", None, "≤ 60 ms", lambda value: value <= 60,
                               f"{_median(trials.sounds_after_frame):.1f} ms after the first frame was captured"))
    else:
        figures.append(bounded(f"first frame captured to start sound asked for, {name}", trials.sounds_after_frame, "ms",
                               "absolute", None, "≤ 40 ms", lambda value: value <= 40,
                               f"{_median(trials.sounds):.1f} ms after the key event"))
    figures.append(none_in_any(f"frames lost before the stop, {name}", trials.lost,
                               "what another listener had by then", _worst(trials.lost)))
    figures.append(none_in_any(f"gaps and repeats inside, {name}", trials.breaks, "the known signal",
                               _worst(trials.breaks) and f"{_worst(trials.breaks)}; of parec's recordings "
                               f"{_worst(trials.reference_breaks) or 'in none'}"))
    figures.append(bounded(f"answer received to paste chord, {name}", trials.pastes, "ms", "150 ms asked for", None,
                           "≤ 160 ms", lambda value: value <= 160, f"worst {max(trials.pastes):.1f} ms"))
    return figures


def _median(values):
    return float(numpy.median(values))


def _worst(counts):
    return f"in {sum(count > 0 for count in counts)} of {len(counts)}, {max(counts)} at most" if max(counts) else ""
