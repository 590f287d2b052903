"""A signal in which every moment is unlike any other, and a listener that tells when which part of it was there."""
import subprocess
import threading
import wave

import numpy

from .watches import now

RATE = 48_000  # of the virtual microphone
SPEECH_RATE = 16_000  # of recordings
_STEP = RATE // SPEECH_RATE


def write_noise(path, seconds, rate=RATE):
    """Writes noise between 300 and 5,000 Hz, which survives any resampling on the way."""
    generator = numpy.random.default_rng(7)
    with wave.open(str(path), "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(rate)
        for _ in range(int(seconds / 10) + 1):
            spectrum = numpy.fft.rfft(generator.standard_normal(10 * rate))
            frequencies = numpy.fft.rfftfreq(10 * rate, 1 / rate)
            spectrum[(frequencies < 300) | (frequencies > 5000)] = 0
            samples = numpy.fft.irfft(spectrum)
            samples *= 0.1 / samples.std()
            out.writeframes((samples.clip(-0.99, 0.99) * 32767).astype("<i2").tobytes())


def _thinned(samples):
    """The same sound at the rate of recordings, not shifted."""
    samples = samples[:len(samples) // _STEP * _STEP]
    spectrum = numpy.fft.rfft(samples)[:len(samples) // _STEP // 2 + 1]
    return numpy.fft.irfft(spectrum, len(samples) // _STEP) / _STEP


def speech_rate(samples, rate):
    return samples if rate == SPEECH_RATE else _thinned(samples)


class Listener:
    """Hears the microphone's sink all the time at a low latency: the clock by which recordings are dated."""

    def __init__(self, desktop, milliseconds, device="voice.monitor"):
        """`milliseconds`: the latency asked for; the server hands over pieces of at most this length, to all."""
        self._lock = threading.Lock()
        self._pieces = []
        self._frames = 0
        self._arrivals = []  # (time, frames by then)
        self._process = subprocess.Popen(
            ["parec", "--raw", "--format=float32le", f"--rate={RATE}", "--channels=1", f"--latency-msec={milliseconds}",
             f"--device={device}"], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, env=desktop.environment, bufsize=0)
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_details):
        self._process.terminate()
        self._process.wait()
        self._thread.join()
        self._process.stdout.close()

    def _read(self):
        rest = b""
        while data := self._process.stdout.read(65536):
            time_read = now()
            data = rest + data
            whole = len(data) // 4 * 4
            data, rest = data[:whole], data[whole:]
            with self._lock:
                self._pieces.append(numpy.frombuffer(data, "<f4"))
                self._frames += len(data) // 4
                self._arrivals.append((time_read, self._frames))

    def is_hearing(self):
        with self._lock:
            return bool(self._pieces) and float(numpy.abs(self._pieces[-1]).max(initial=0)) > 0.01

    def frames_at(self, time):
        """How many frames had arrived at a time."""
        with self._lock:
            times = numpy.array([arrival[0] for arrival in self._arrivals])
            index = int(numpy.searchsorted(times, time, "right"))
            return self._arrivals[index - 1][1] if index else 0

    def _origin(self, time):
        """The time of frame 0, by the promptest arrival within two seconds of `time`."""
        with self._lock:
            times = [arrived - frames * 1e9 / RATE for arrived, frames in self._arrivals if abs(arrived - time) < 2e9]
        return min(times)

    def forget(self):
        """Keeps only the last thirty seconds, frame numbers going on as they were."""
        with self._lock:
            kept, frames = [], 0
            for piece in reversed(self._pieces):
                kept.append(piece)
                frames += len(piece)
                if frames > 30 * RATE:
                    break
            self._pieces = list(reversed(kept))
            self._arrivals = self._arrivals[-len(kept):]

    def _piece(self, first, last):
        with self._lock:
            held = numpy.concatenate(self._pieces)
            begin = self._frames - len(held)
        if first < begin:
            raise RuntimeError("the listener has forgotten that part of the signal")
        return held[first - begin:last - begin].astype(float)

    def locate(self, recorded, near):
        """Where a recording (at the rate of speech) begins: the frame's number in what this listener heard, and the
        time at which that frame was there. `near` is a time within two seconds of it."""
        origin = self._origin(near)
        skipped, length = SPEECH_RATE // 20, SPEECH_RATE // 4  # past the beginning, where filters swing in
        expected = int((near - origin) * RATE / 1e9)
        first = max(0, expected - RATE) // _STEP * _STEP
        heard = _thinned(self._piece(first, expected + 2 * RATE))
        wanted = recorded[skipped:skipped + length].astype(float)
        size = len(heard) + len(wanted)
        product = numpy.fft.irfft(numpy.fft.rfft(heard, size) * numpy.conj(numpy.fft.rfft(wanted, size)), size)
        lag = int(product[:len(heard) - len(wanted)].argmax())
        # The recording's own grid lies between that of the thinned signal: to the frame.
        middle = first + lag * _STEP
        likeness, start = max((self._likeness(wanted, start), start) for start in range(middle - 2, middle + 3))
        if likeness < 0.95:
            raise RuntimeError(f"the recording is not of the known signal (likeness {likeness:.2f})")
        frame = start - skipped * _STEP
        return frame, origin + frame * 1e9 / RATE

    def _likeness(self, wanted, start):
        margin = 100 * _STEP
        heard = _thinned(self._piece(start - margin, start + len(wanted) * _STEP + margin))
        return numpy.corrcoef(heard[100:100 + len(wanted)], wanted)[0, 1]

    def breaks(self, recorded, frame):
        """How many pieces of 50 ms of a recording that begins at `frame` are not what was heard at that place, or are
        so only when they are moved by a frame or more."""
        piece, slack = SPEECH_RATE // 20, 40
        end = frame + (len(recorded) + 2 * slack) * _STEP
        begin = frame - slack * _STEP
        heard = _thinned(self._piece(begin, end + RATE // 10))
        found = 0
        for start in range(0, len(recorded) - piece + 1, piece):
            wanted = recorded[start:start + piece].astype(float)
            around = heard[start:start + piece + 2 * slack]
            products = numpy.correlate(around, wanted, "valid")
            likeness = numpy.corrcoef(around[slack:slack + piece], wanted)[0, 1]
            found += bool(int(products.argmax()) != slack or likeness < 0.9)
        return found


def read_recording(path):
    """The samples of the last recording."""
    with wave.open(str(path)) as recording:
        if (recording.getnchannels(), recording.getsampwidth(), recording.getframerate()) != (1, 2, SPEECH_RATE):
            raise RuntimeError("the last recording has another format than it should")
        return numpy.frombuffer(recording.readframes(recording.getnframes()), "<i2")
