"""Plays one dictation on a virtual desktop and shows each step with its time: python3 -m rig.demonstration FOLDER

Pictures are left in the folder. The last line is "pasted: " and the text that stands in the editor."""
import pathlib
import sys
import time

from . import Desktop, GtkEditor, NotReached, Tavlo, wait_for

SENTENCE = "open the letter and write a message"
CONFIG = {"app_language": "en", "language": "en", "engine": "local"}


class Steps:
    def __init__(self):
        self._start = time.monotonic()

    def say(self, text):
        print(f"{time.monotonic() - self._start:7.2f} s  {text}", flush=True)


def play(pictures):
    steps = Steps()
    steps.say("a display, a window manager, a panel, a keyring and a sound server start")
    with Desktop() as desktop:
        # The sentence stands there as soon as it is needed.
        speech = desktop.sound.speech(SENTENCE)
        editor = GtkEditor(desktop)
        steps.say("a text editor is open and has the keyboard")
        with Tavlo(desktop, config=CONFIG) as tavlo:
            steps.say(f"Tavlo is in the tray: {tavlo.status()}")
            tavlo.begin()
            steps.say(f"the hotkey was pressed: {tavlo.status()}")
            wait_for(tavlo.windows, what="the overlay")
            voice = desktop.sound.start_playing(speech)
            steps.say(f"espeak-ng says into the microphone: {SENTENCE}")
            # A picture at each moment until the end: the last but one shows a level meter full of speech.
            wait_for(desktop.sound.is_heard, what="the voice in the microphone")
            while voice.is_running:
                desktop.screenshot(pictures / "overlay-next.png")
                if voice.is_running:
                    (pictures / "overlay-next.png").replace(pictures / "overlay.png")
            (pictures / "overlay-next.png").unlink(missing_ok=True)
            wait_for(lambda: not voice.is_running, timeout=30, what="the end of the sentence")
            tavlo.finish()
            steps.say(f"the hotkey was pressed again: {tavlo.status()}")
            try:
                wait_for(editor.text, timeout=60, what="the text in the editor", show=tavlo.status)
            except NotReached as failure:
                sys.exit(f"The dictated text did not arrive in the editor: {failure}")
            steps.say(f"the text stands in the editor: {tavlo.status()}")
            text = editor.text()
            desktop.screenshot(pictures / "editor.png")
            desktop.click_tray()
            wait_for(tavlo.windows, what="the open menu")
            desktop.screenshot(pictures / "menu.png")
            desktop.hands.press("Escape")
            steps.say(f"recorded: {tavlo.recording_seconds():.2f} s; the log: {tavlo.log()}")
    steps.say(f"pictures are in {pictures}")
    if text.strip(" .").lower() != SENTENCE:
        sys.exit(f"Another text than the spoken one arrived: {text!r}")
    print(f"pasted: {text}", flush=True)


if __name__ == "__main__":
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    play(folder)
