"""Hears what the loudspeakers play and recognises Tavlo's cues in it."""
from typing import NamedTuple

import numpy

from .audio import SPEAKERS
from .waiting import wait_for

RATE = 48_000
_BLOCK = 480  # samples, 10 ms
_SILENT_BLOCKS = 6  # so much silence ends a sound


class Sound(NamedTuple):
    name: str  # "Pop", "Tink", "Basso" or "?"
    start: float  # seconds since the ear began to listen
    seconds: float
    peak: float  # as it left the sink, of full scale


class Ear:
    """Records the loudspeakers' monitor from its construction on."""

    def __init__(self, desktop):
        self._desktop = desktop
        self._mark = 0
        self._path = desktop.folder / f"loudspeakers-{id(self)}.f32"
        self._path.unlink(missing_ok=True)
        self._process = desktop.processes.start(
            "ear", ["/bin/sh", "-c", f"exec parec --latency-msec=20 --raw --format=float32le --rate={RATE} "
                                     f"--channels=1 --device={SPEAKERS}.monitor >'{self._path}'"])
        wait_for(lambda: self._path.exists() and self._path.stat().st_size > 0, what="the loudspeakers' recording")

    def _samples(self):
        data = self._path.read_bytes()
        return numpy.frombuffer(data[:len(data) // 4 * 4], "<f4")

    def sounds(self):
        """All sounds since the ear began to listen or forget() was called, in order. Only those that have ended."""
        samples = self._samples()[self._mark:]
        blocks = len(samples) // _BLOCK
        loud = numpy.abs(samples[:blocks * _BLOCK]).reshape(blocks, _BLOCK).max(axis=1) > 1e-6
        found, begin, quiet = [], None, 0
        for index, is_loud in enumerate(loud):
            if is_loud:
                begin = index if begin is None else begin
                quiet = 0
            elif begin is not None:
                quiet += 1
                if quiet == _SILENT_BLOCKS:
                    found.append(_recognise(samples, begin * _BLOCK, (index - quiet + 1) * _BLOCK))
                    begin = None
        return found

    def names(self):
        return [sound.name for sound in self.sounds()]

    def forget(self):
        """Leaves out of sounds() everything that was heard so far."""
        self._mark = len(self._samples())

    def wait_for(self, *names, timeout=5.0):
        """Waits until exactly these cues were heard since the last forget(), and gives them."""
        expected = list(names)
        wait_for(lambda: self.names() == expected, timeout, f"the sounds {expected}", self.names)
        return self.sounds()


def _recognise(samples, begin, end):
    piece = samples[begin:end].astype(float)
    spectrum = numpy.abs(numpy.fft.rfft(piece * numpy.hanning(len(piece)), max(len(piece), RATE // 4))) ** 2
    frequencies = numpy.fft.rfftfreq(max(len(piece), RATE // 4), 1 / RATE)

    def share(low, high):
        return spectrum[(frequencies >= low) & (frequencies < high)].sum() / max(spectrum.sum(), 1e-30)

    # Tink: 2,093 Hz and above. Basso: 147 Hz sinking to 110, with overtones. Pop: gliding from 330 to 720 Hz.
    if share(1900, 6000) > 0.6:
        name = "Tink"
    elif share(80, 200) > 0.25:
        name = "Basso"
    elif share(300, 1700) > 0.6:
        name = "Pop"
    else:
        name = "?"
    return Sound(name, begin / RATE, len(piece) / RATE, float(numpy.abs(piece).max()))
