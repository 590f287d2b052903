"""A sound server of the desktop's own: loudspeakers, and a microphone that hears what the test says."""
import os
import pathlib
import re
import signal
import subprocess
import wave

import numpy

from .waiting import is_listened_to, wait_for

SPEAKERS = "speakers"
VOICE = "voice"
MICROPHONE = "microphone"

_WIREPLUMBER = pathlib.Path(__file__).resolve().parents[1] / "wireplumber"


class AudioServer:
    """PulseAudio ("pulseaudio") or PipeWire ("pipewire") with

    - the sink "speakers", the default output;
    - the sink "voice", into which the test speaks;
    - the source "microphone", the default input, which hears the voice sink.

    With `history`, PulseAudio tells of each change of a volume in its log, for volumes().
    """

    def __init__(self, desktop, kind="pulseaudio", history=False):
        if kind not in ("pulseaudio", "pipewire"):
            raise ValueError(f"no such sound server: {kind}")
        if history and kind != "pulseaudio":
            raise ValueError("only PulseAudio tells of each change of a volume")
        self.kind = kind
        self._history = history
        self._desktop = desktop
        self._servers = []
        self._listener = None
        self.modules = {}  # name of a device -> index of its module
        self._prepare()
        self.start()

    def _prepare(self):
        folder = self._desktop.config_home / "pulse"
        folder.mkdir(parents=True, exist_ok=True)
        # A server that is away stays away until the test starts it.
        (folder / "client.conf").write_text("autospawn = no\nenable-shm = no\n", encoding="utf-8")
        (folder / "daemon.conf").write_text(
            "exit-idle-time = -1\nenable-shm = no\nrealtime-scheduling = no\nhigh-priority = no\n"
            "flat-volumes = no\ndefault-sample-rate = 48000\n" +
            ("log-level = debug\nlog-time = yes\n" if self._history else ""), encoding="utf-8")
        (folder / "rig.pa").write_text("load-module module-native-protocol-unix\n", encoding="utf-8")
        (self._desktop.config_home / "wireplumber").symlink_to(_WIREPLUMBER)

    def start(self):
        # The server and every client that looks for it make this folder where it is missing, and pipewire-pulse ends
        # when a client makes it between its own look and its own mkdir. So it is there before either of them starts.
        (self._desktop.runtime_folder / "pulse").mkdir(mode=0o700, exist_ok=True)
        start = self._desktop.processes.start
        if self.kind == "pulseaudio":
            script = self._desktop.config_home / "pulse/rig.pa"
            self._servers = [start("pulseaudio", ["pulseaudio", "-n", "--daemonize=no", "--log-target=stderr",
                                                  "--use-pid-file=no", "-F", script])]
        else:
            self._servers = [start("pipewire", ["pipewire"])]
            wait_for(lambda: is_listened_to(self._desktop.runtime_folder / "pipewire-0"), what="PipeWire's socket")
            self._servers += [start("wireplumber", ["wireplumber"]), start("pipewire-pulse", ["pipewire-pulse"])]
        wait_for(self.is_answering, timeout=20, what=f"{self.kind} to answer")
        self.add_sink(SPEAKERS)
        self.add_sink(VOICE)
        self.add_microphone(MICROPHONE, VOICE)
        self.set_default_sink(SPEAKERS)
        self.set_default_source(MICROPHONE)
        self._listen()

    def stop(self):
        """Ends the server, as a crash or a restart of the desktop's sound does."""
        if self._listener:
            self._listener.end()
            self._listener = None
        while self._servers:
            self._servers.pop().end()
        self.modules = {}

    def suspend(self):
        """Lets the server hang: it is there, and answers nobody, until resume()."""
        for server in self._servers:
            os.kill(server.pid, signal.SIGSTOP)

    def resume(self):
        for server in self._servers:
            os.kill(server.pid, signal.SIGCONT)

    def is_answering(self):
        try:
            self.pactl("info", timeout=3)
            return True
        except (RuntimeError, subprocess.TimeoutExpired):
            return False

    def pactl(self, *words, timeout=20):
        return self._desktop.processes.run("pactl", *words, timeout=timeout)

    def _load(self, name, module, *arguments):
        self.modules[name] = int(self.pactl("load-module", module, *arguments))

    def _has(self, kind, name):
        return any(line.split("\t")[1] == name for line in self.pactl("list", "short", kind).splitlines())

    def add_sink(self, name):
        # Single precision: a cue that plays at a low volume is still told from silence.
        self._load(name, "module-null-sink", f"sink_name={name}", "rate=48000", "channels=2",
                   f"sink_properties=device.description={name}",
                   *(["format=float32le"] if self.kind == "pulseaudio" else []))
        wait_for(lambda: self._has("sinks", name), what=f"the sink {name}")

    def add_microphone(self, name, sink):
        """A source that hears a sink, and is no monitor in the eyes of programs."""
        self._load(name, "module-remap-source", f"source_name={name}", f"master={sink}.monitor",
                   f"source_properties=device.description={name}")
        wait_for(lambda: self._has("sources", name), what=f"the source {name}")

    def add_fed_microphone(self, name):
        """A microphone of 16,000 samples of 16 bits a second that hears what is written into the path that this gives,
        and nothing otherwise: not even silence. So a recording has a length that the machine's pace does not change."""
        path = self._desktop.folder / f"{name}.pipe"
        self._load(name, "module-pipe-source", f"source_name={name}", f"file={path}", "format=s16le", "rate=16000",
                   "channels=1")
        wait_for(lambda: self._has("sources", name), what=f"the source {name}")
        return path

    def remove(self, name):
        """Unplugs a device that was added."""
        self.pactl("unload-module", self.modules.pop(name))

    def set_default_sink(self, name):
        self._set_default("sink", name)

    def set_default_source(self, name):
        self._set_default("source", name)

    def _set_default(self, kind, name):
        def accepted():
            try:
                self.pactl(f"set-default-{kind}", name)
                return True
            except RuntimeError:
                return False  # PipeWire has no defaults before its session manager has made the place for them.
        wait_for(accepted, what=f"the server to take {name} as the default {kind}")
        wait_for(lambda: self.pactl(f"get-default-{kind}").strip() == name, what=f"{name} to be the default {kind}")

    def _listen(self):
        # A null sink that nobody hears at a low latency sleeps for up to two seconds at a time, and a recording of it
        # begins that late. Somebody always listens.
        self._listener = self._desktop.processes.start(
            "listener", ["/bin/sh", "-c", f"exec parec --latency-msec=10 --device={VOICE}.monitor >/dev/null"])
        wait_for(lambda: "parec" in self.pactl("list", "source-outputs"), what="the voice sink's listener")

    def volume(self, sink=SPEAKERS):
        """The sink's volume on the desktop's slider, 0 to 1 and above; the louder channel."""
        parts = re.findall(r"(\d+) /", self.pactl("get-sink-volume", sink))
        return max(int(part) for part in parts) / 65536

    def volumes(self, sink=SPEAKERS):
        """Each volume that the sink was given, with its time in seconds: [(time, volume), ...]. No value is missed,
        however little time the test gets. The desktop must have been asked for the volumes' history."""
        lines = re.findall(r"\(\s*([\d.]+)\|.*The reference volume of sink (\S+) changed from .* to "
                           r"front-left: (\d+) ", self._servers[0].error_text())
        return [(float(time), int(volume) / 65536) for time, name, volume in lines if name == sink]

    def set_volume(self, volume, sink=SPEAKERS):
        self.pactl("set-sink-volume", sink, round(volume * 65536))

    def recordings_running(self):
        """The names of the programs that have the microphone open at this moment, the rig's listener left out."""
        blocks = self.pactl("list", "source-outputs").split("Source Output #")[1:]
        names = [re.search(r'application.name = "(.*)"', block) for block in blocks]
        return [name.group(1) for name in names if name and name.group(1) not in ("parec", "parecord")
                and "remap" not in name.group(1).lower()]

    def speech(self, text, voice="en-us", speed=150):
        """The path of a WAV file in which espeak-ng says the text."""
        safe = re.sub(r"[^a-z]+", "-", text.lower())[:60]
        path = pathlib.Path(self._desktop.folder, f"speech-{voice}-{speed}-{safe}.wav")
        if not path.exists():
            self._desktop.processes.run("espeak-ng", "-v", voice, "-s", speed, "-w", path, text)
        return path

    def say(self, text, voice="en-us", speed=150):
        """Says the text into the microphone and returns when it has been heard."""
        self.play(self.speech(text, voice, speed))

    def play(self, wav):
        """Plays a WAV file into the microphone and returns when it has been heard."""
        self._desktop.processes.run(*self._player(wav), timeout=180)

    def start_playing(self, wav):
        """Plays a WAV file into the microphone without waiting; gives the process."""
        return self._desktop.processes.start("player", self._player(wav))

    @staticmethod
    def _player(wav):
        # The server is to hold two seconds of what comes: then a player that must wait for the processor on a busy
        # machine leaves no gap in a word.
        return ["paplay", f"--device={VOICE}", "--latency-msec=2000", wav]

    def is_heard(self):
        """Listens to the microphone's sink for a tenth of a second: whether there is something to hear."""
        wanted = 4800 * 4
        with subprocess.Popen(["parec", "--raw", "--format=float32le", "--rate=48000", "--channels=1",
                               "--latency-msec=20", f"--device={VOICE}.monitor"], stdout=subprocess.PIPE,
                              stdin=subprocess.DEVNULL, env=self._desktop.environment) as recorder:
            heard = recorder.stdout.read(wanted)
            recorder.terminate()
        return len(heard) == wanted and float(numpy.abs(numpy.frombuffer(heard, "<f4")).max()) > 0.05

    def play_silence(self, seconds):
        """Lets the microphone hear silence for some seconds: a way to let recorded time pass."""
        self.play(self.noise_file(seconds, 0.0))

    def play_noise(self, seconds, level):
        """Plays an even noise of the given level (root mean square, of full scale)."""
        self.play(self.noise_file(seconds, level))

    def noise_file(self, seconds, level):
        path = pathlib.Path(self._desktop.folder, f"noise-{seconds:g}-{level:g}.wav")
        if not path.exists():
            # An even distribution has a root mean square of its largest value divided by the root of three.
            peak = min(level * 3 ** 0.5, 1.0) * 32767
            samples = numpy.random.default_rng(1).uniform(-peak, peak, int(seconds * 16000)).astype("<i2")
            with wave.open(str(path), "wb") as out:
                out.setnchannels(1)
                out.setsampwidth(2)
                out.setframerate(16000)
                out.writeframes(samples.tobytes())
        return path
