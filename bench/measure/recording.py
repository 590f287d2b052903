"""What a running recording costs: processor time with the overlay shown, and memory."""
import time

from rig import Desktop, Tavlo, wait_for

from .figures import Figure, bounded
from .known_signal import write_noise
from .processes import own_memory
from .watches import now, processor_time

_WINDOW = 3  # seconds of one sample of processor time
_SPAN = 60  # seconds over which the memory's growth is taken
_BYTES = 32_000  # of audio in a second


def measure(rounds, _programs):
    config = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}
    with Desktop() as desktop:
        signal = desktop.folder / "noise.wav"
        write_noise(signal, _SPAN + rounds * _WINDOW + 30)
        desktop.processes.start("signal", ["paplay", "--device=voice", "--latency-msec=2000", signal])
        with Tavlo(desktop, config=config) as tavlo:
            tavlo.begin()
            wait_for(tavlo.windows, what="the overlay")
            parec = desktop.processes.start("reference", ["parec", "--latency-msec=85", desktop.folder / "reference.raw"])
            time.sleep(5)
            processes = (tavlo.process.pid, parec.pid)
            readings = []  # (time, processor times, memory)
            for _ in range(_SPAN // _WINDOW + rounds):
                readings.append((now(), [processor_time(pid) for pid in processes], own_memory(processes[0])))
                time.sleep(_WINDOW)
            if not tavlo.is_recording() or not tavlo.windows():
                raise RuntimeError("the recording ended too soon")
            desktop.hands.press("Escape")
    return _figures(readings, rounds)


def _figures(readings, rounds):
    shares = [[100 * (later[1][which] - earlier[1][which]) / (later[0] - earlier[0])
               for earlier, later in zip(readings, readings[1:])] for which in (0, 1)]
    more = [ours - reference for ours, reference in zip(*shares)]
    reference = sorted(shares[1])[len(more) // 2]
    ours = sorted(shares[0])[len(more) // 2]
    processor = Figure("processor time while recording, overlay shown", ours, "% of a core", "parec writing a file",
                       reference, "≤ 3 % of a core more", sorted(more)[len(more) // 2] <= 3, len(more), None,
                       f"{sorted(more)[len(more) // 2]:.2f} % of a core more", shares[0], shares[1])
    steps = _SPAN // _WINDOW
    growth = [(later[2] - earlier[2]) / ((later[0] - earlier[0]) / 1e9)
              for earlier, later in zip(readings[:rounds], readings[steps:])]
    memory = bounded("memory growth while recording", growth, "bytes/s", f"{_BYTES} bytes/s of audio", None, "within 5 %",
                     lambda value: abs(value / _BYTES - 1) <= 0.05, f"each over {_SPAN} s")
    memory.reference, memory.ratio = _BYTES, memory.value / _BYTES
    memory.reference_name = "the audio itself"
    return [processor, memory]
