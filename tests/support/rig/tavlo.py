"""The built program on the virtual desktop."""
import json
import os
import pathlib
import re
import signal
import wave

from gi.repository import GLib

from . import engine
from .icon import icon_state
from .menu import StatusItem
from .waiting import wait_for

READY = "Klaar - druk op de sneltoets om te dicteren"
READY_ENGLISH = "Ready - press the hotkey to dictate"
HOTKEY = "Super_R"
_SERVICES = "Bureaublad: "
_LOG_LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d ")


class Tavlo:
    """Starts the program and waits until its menu stands in the panel. Ends it at the end of the "with" statement; then
    its standard error must have stayed empty.

    config         the settings file: a dictionary, the file's own text or bytes, or None for no file at all
    model          whether the offline model is ready (the small one in its place)
    engine_program whether there is a whisper-cli
    environment    more variables for the program alone
    wait           whether to wait for the menu (False where there is no panel)
    """

    def __init__(self, desktop, config=None, model=True, engine_program=True, environment=None, wait=True,
                 prefix=(), expected_errors=None):
        self.desktop = desktop
        self.program = pathlib.Path(os.environ["TAVLO_PROGRAM"])
        self.support = desktop.data_home / "Tavlo"
        self.config_path = self.support / "config.json"
        self.log_path = self.support / "app.log"
        self.last_recording = self.support / "laatste-opname.wav"
        self.item = None
        self._prefix = list(prefix)
        self._environment, self._waits = environment, wait
        self._expected_errors = expected_errors
        self.process = None
        if model or engine_program or config is not None:
            self.support.mkdir(mode=0o700, exist_ok=True)
        if config is not None:
            self.write_config(config)
        if engine_program:
            engine.install_wrapper(self.support)
        if model:
            engine.install_ready_model(self.support)

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, failure, _value, _trace):
        if self.process:
            self.end(check=failure is None)

    def start(self):
        if not self.program.is_file():
            raise RuntimeError(f"the program is not built: {self.program}")
        self.process = self.desktop.processes.start("tavlo", [*self._prefix, self.program], self._environment)
        self.item = StatusItem(self.desktop, self.process.pid)
        if self._waits:
            wait_for(self._is_ready, timeout=20, what="Tavlo's menu", show=self.process.error_text)

    def _is_ready(self):
        if not self.process.is_running:
            raise RuntimeError(f"Tavlo ended with {self.process.popen.returncode}: {self.process.error_text()}")
        try:
            return self.item.is_there() and self.item.menu() and self.status()
        except GLib.Error:
            return False

    def end(self, check=True):
        """Ends the program by SIGTERM; it must end well and must have kept silent."""
        process, self.process = self.process, None
        if process.is_running:
            os.kill(process.pid, signal.SIGTERM)
            if check:
                wait_for(lambda: not process.is_running, what="Tavlo to end")
        process.end()
        if check:
            self.check_end(process)

    def check_end(self, process):
        errors = process.error_text()
        if self._expected_errors is not None:
            if not re.fullmatch(self._expected_errors, errors, re.DOTALL):
                raise AssertionError(f"Tavlo's standard error is not what was expected: {errors!r}")
        elif errors:
            raise AssertionError(f"Tavlo wrote to its standard error: {errors!r}")
        if process.popen.returncode != 0:
            raise AssertionError(f"Tavlo ended with {process.popen.returncode}")

    # Settings

    def write_config(self, config):
        self.support.mkdir(mode=0o700, parents=True, exist_ok=True)
        if isinstance(config, dict):
            config = json.dumps(config, indent=2, sort_keys=True)
        self.config_path.write_bytes(config if isinstance(config, bytes) else config.encode())

    def read_config(self):
        return json.loads(self.config_path.read_text(encoding="utf-8"))

    def set(self, **keys):
        """Changes some keys of the settings file, as a user with an editor would."""
        self.write_config({**self.read_config(), **keys})

    # Log

    def log(self):
        """The messages of the log, without their time stamps, and without the one that each start writes of the
        desktop (see services())."""
        return [message for message in self._messages() if not message.startswith(_SERVICES)]

    def services(self):
        """What the latest start wrote of the desktop: who serves each capability, "niet" for nobody."""
        def lines():
            return [message for message in self._messages() if message.startswith(_SERVICES)]
        # It is written after the menu has come.
        line = wait_for(lines, what="the line of the log about the desktop", show=self.log)[-1]
        return dict(part.split(" ", 1) for part in line[len(_SERVICES):].split(", "))

    def _messages(self):
        if not self.log_path.exists():
            return []
        lines = self.log_path.read_text(encoding="utf-8").splitlines()
        for line in lines:
            if not _LOG_LINE.match(line):
                raise AssertionError(f"a log line without a time: {line!r}")
        return [line[20:] for line in lines]

    def wait_for_log(self, expected, timeout=10.0):
        """Waits until the log holds exactly these messages. A pattern may stand for a message."""
        def matches():
            found = self.log()
            return len(found) == len(expected) and all(
                pattern.fullmatch(message) if isinstance(pattern, re.Pattern) else pattern == message
                for pattern, message in zip(expected, found))
        wait_for(matches, timeout, f"the log {expected}", self.log)

    # Menu and icon

    def menu(self):
        return self.item.menu()

    def status(self):
        """The status line: the menu's first row."""
        return self.item.menu()[0].title

    def engine_line(self):
        return self.item.menu()[1].title

    def wait_for_status(self, expected, timeout=10.0):
        """Waits for a status line: a text, a pattern, or a collection of texts; gives the line."""
        def matches():
            line = self.status()
            if isinstance(expected, re.Pattern):
                return line if expected.fullmatch(line) else None
            return line if line == expected or (not isinstance(expected, str) and line in expected) else None
        return wait_for(matches, timeout, f"the status {expected!r}", self.status)

    def find(self, *titles):
        """The row with that title, or within submenus the row at the end of those titles."""
        rows = self.menu()
        item = None
        for title in titles:
            found = [row for row in rows if row.title == title]
            if not found:
                raise LookupError(f"no row {title!r} in {[row.title for row in rows]}")
            item, rows = found[0], found[0].children
        return item

    def click(self, *titles):
        self.item.click(self.find(*titles))

    def icon(self):
        """The icon's state: "mic", "waveform", "hourglass", "keyboard", or "?"."""
        states = {icon_state(picture, self.desktop.environment) for picture in self.item.pixmaps()}
        return states.pop() if len(states) == 1 else "?"

    def wait_for_icon(self, state, timeout=10.0):
        wait_for(lambda: self.icon() == state, timeout, f"the icon {state}", self.icon)

    def windows(self):
        """The visible windows, overlays among them."""
        return self.desktop.hands.windows(self.process.pid)

    # Dictation

    def press_hotkey(self, key=HOTKEY):
        self.desktop.hands.press(key)

    def is_recording(self):
        # The application's own word for it, in both languages, is in the menu: a row that stops the recording.
        return self.menu()[4].title in ("Stop opname", "Stop recording")

    def begin(self, key=HOTKEY):
        """Presses the hotkey and returns when the recording runs."""
        self.press_hotkey(key)
        wait_for(self.is_recording, what="the recording to begin", show=self.status)

    def finish(self, key=HOTKEY):
        """Presses the hotkey and returns when the recording has ended."""
        self.press_hotkey(key)
        wait_for(lambda: not self.is_recording(), what="the recording to end", show=self.status)

    def dictate(self, text, voice="en-us", speed=150):
        """Key, speech, key."""
        spoken = self.desktop.sound.speech(text, voice, speed)
        self.begin()
        self.desktop.sound.play(spoken)
        self.finish()

    def recording_seconds(self):
        """The length of the last recording, whose format is checked."""
        with wave.open(str(self.last_recording)) as recording:
            shape = recording.getnchannels(), recording.getsampwidth(), recording.getframerate()
            if shape != (1, 2, 16000):
                raise AssertionError(f"the last recording has channels, bytes, rate {shape}")
            frames = recording.getnframes()
        if self.last_recording.stat().st_size != 44 + 2 * frames:
            raise AssertionError("the last recording's size is not that of its header and samples")
        return frames / 16000
