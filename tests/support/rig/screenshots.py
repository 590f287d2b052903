"""Takes pictures of everything that Tavlo shows: python3 -m rig.screenshots FOLDER [VARIANT ...]

Every window, overlay, icon and the menu, in both languages, on a light and a dark desktop, at one and two times the
scale. A picture is called <what>-<language>-<theme>-<scale>.png, and contact-sheet.png shows them all: one thing a row,
one variant a column. A variant is such as "nl-dark-2x"; without one, all are taken.
"""
import itertools
import pathlib
import re
import subprocess
import sys

from . import Desktop, Tavlo, wait_for
from .accessibility import Accessibility
from .cloud import HeldEngine
from .engine import install_ready_model
from .private_network import PrivateNetwork

LANGUAGES, THEMES, SCALES = ("nl", "en"), ("light", "dark"), (1, 2)
ROWS = {  # titles of the menu's rows and of windows
    "nl": {"settings": ("Instellingen…", "Tavlo-instellingen"), "about": ("Over Tavlo…", "Over Tavlo"),
           "capture": ("Sneltoets", "Andere toets kiezen…")},
    "en": {"settings": ("Settings…", "Tavlo Settings"), "about": ("About Tavlo…", "About Tavlo"),
           "capture": ("Hotkey", "Choose another key…")},
}
SENTENCE = {"nl": "goede morgen stuur het verslag vandaag", "en": "open the letter and write a message"}
MARGIN = 34  # around a window, for its title bar and shadow
# The toolkit takes a dark palette from the desktop's settings; of those it reads without a plug-in, KDE's are the
# simplest.
DARK_COLOURS = """[General]
Name=Dark
[Colors:Window]
BackgroundNormal=42,46,50
ForegroundNormal=252,252,252
[Colors:View]
BackgroundNormal=27,30,32
BackgroundAlternate=35,38,41
ForegroundNormal=252,252,252
ForegroundInactive=161,169,177
ForegroundLink=29,153,243
ForegroundVisited=155,89,182
[Colors:Button]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
[Colors:Selection]
BackgroundNormal=61,174,233
ForegroundNormal=252,252,252
[Colors:Tooltip]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
"""


class Photographer:
    """Takes the pictures of one variant of a running desktop."""

    def __init__(self, desktop, reader, network, folder, language, theme, scale):
        self.desktop, self.reader, self.network = desktop, reader, network
        self.folder, self.language, self.scale = folder, language, scale
        self.suffix = f"{language}-{theme}-{scale}x"

    def picture(self, name, x, y, width, height, margin=0):
        """Cuts a part out of a picture of the screen."""
        margin *= self.scale
        left, top = max(0, x - margin), max(0, y - margin)
        self.desktop.processes.run("import", "-window", "root", "-crop",
                                   f"{x + width + margin - left}x{y + height + margin - top}+{left}+{top}", "+repage",
                                   self.folder / f"{name}-{self.suffix}.png")

    def geometry(self, window):
        # (xdotool counts the title bar twice.)
        told = self.desktop.processes.run("xwininfo", "-id", window)
        return tuple(int(re.search(name + r":\s+(-?[0-9]+)", told).group(1))
                     for name in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))

    def only_window(self, pid):
        windows = wait_for(lambda: self.desktop.hands.windows(pid), what="a window")
        return self.geometry(windows[-1])

    def icon(self, tavlo, state):
        tavlo.wait_for_icon(state)
        width = self.desktop.width
        # The panel draws the new icon some time after it was told of it; the last of some like pictures is taken.
        self.settled(lambda: self.picture(f"icon-{state}", width - 48 * self.scale, 0, 48 * self.scale,
                                          28 * self.scale),
                     self.folder / f"icon-{state}-{self.suffix}.png")

    def settled(self, take, path):
        """Takes a picture until it stays the same."""
        seen = []

        def same():
            take()
            seen.append(self.desktop.processes.run("identify", "-format", "%#", path))
            return len(seen) > 3 and len(set(seen[-4:])) == 1
        wait_for(same, what=f"{path.name} to stay the same")

    def window(self, tavlo, name, title, margin=MARGIN):
        window = self.reader.window(tavlo.process.pid, title)
        wait_for(lambda: "active" in window.states, what=f"{title!r} in front")
        self.shot(tavlo, name, margin)
        return window

    def shot(self, tavlo, name, margin=0):
        x, y, width, height = self.only_window(tavlo.process.pid)
        self.settled(lambda: self.picture(name, x, y, width, height, margin), self.folder / f"{name}-{self.suffix}.png")

    def close(self, tavlo):
        self.desktop.hands.press("Escape")
        wait_for(lambda: not tavlo.windows(), what="the window to go")

    def menu(self, tavlo):
        self.desktop.hands.click(self.desktop.width - 14 * self.scale, 14 * self.scale)
        self.shot(tavlo, "menu", 6)
        # The submenus, by the keys.
        for name, steps in (("menu-language", 1), ("menu-hotkey", 2)):
            for key in ["Down"] * steps + ["Right"]:
                self.desktop.hands.press(key)
            wait_for(lambda: len(tavlo.windows()) == 2, what="the submenu")
            places = [self.geometry(window) for window in tavlo.windows()]
            left, top = min(place[0] for place in places), min(place[1] for place in places)
            right = max(place[0] + place[2] for place in places)
            bottom = max(place[1] + place[3] for place in places)
            self.settled(lambda: self.picture(name, left, top, right - left, bottom - top, 6),
                         self.folder / f"{name}-{self.suffix}.png")
            self.desktop.hands.press("Left")
            wait_for(lambda: len(tavlo.windows()) == 1, what="the submenu to close")
        self.close(tavlo)

    def take_all(self):
        rows = ROWS[self.language]
        config = {"app_language": self.language, "language": self.language, "engine": "auto", "duck_enabled": True}
        manager = Tavlo(self.desktop, config=config, model=False, prefix=self.network.prefix)
        engine = HeldEngine(manager.support)
        with manager as tavlo:
            self.icon(tavlo, "mic")
            self.menu(tavlo)
            for name in ("settings", "about"):
                tavlo.click(rows[name][0])
                self.window(tavlo, name, rows[name][1])
                self.close(tavlo)
            self.capture(tavlo)
            self.offer(tavlo)
            self.messages(tavlo)
            install_ready_model(tavlo.support)
            self.transcription(tavlo, engine)
            self.saved_hotkey(tavlo)

    def capture(self, tavlo):
        tavlo.click(*ROWS[self.language]["capture"])
        self.icon(tavlo, "keyboard")
        self.shot(tavlo, "message-capture")
        for _press in range(2):  # the second one takes the lock away
            self.desktop.hands.press("Caps_Lock")
        self.shot(tavlo, "message-caps-lock")
        self.desktop.hands.press("space")
        self.window(tavlo, "alert", "Tavlo")
        self.close(tavlo)
        tavlo.click(*ROWS[self.language]["capture"])
        tavlo.wait_for_icon("keyboard")
        self.desktop.hands.press("Escape")
        tavlo.wait_for_icon("mic")
        self.passing(tavlo, "message-cancelled")

    def passing(self, tavlo, name):
        """A message that goes by itself."""
        x, y, width, height = self.only_window(tavlo.process.pid)
        self.picture(name, x, y, width, height)
        wait_for(lambda: not tavlo.windows(), what="the message to go")

    def saved_hotkey(self, tavlo):
        tavlo.click(*ROWS[self.language]["capture"])
        tavlo.wait_for_icon("keyboard")
        self.desktop.hands.press("F5")
        tavlo.wait_for_icon("mic")
        self.passing(tavlo, "message-saved")

    def speak(self, tavlo):
        """A dictation; the overlay is taken while the voice is heard."""
        sound = self.desktop.sound
        speech = sound.speech(SENTENCE[self.language], self.language)
        tavlo.begin()
        self.icon(tavlo, "waveform")
        x, y, width, height = self.only_window(tavlo.process.pid)
        voice = sound.start_playing(speech)
        wait_for(sound.is_heard, what="the voice in the microphone")
        final = self.folder / f"recording-{self.suffix}.png"
        while voice.is_running:
            self.picture("next", x, y, width, height)
            if voice.is_running:
                (self.folder / f"next-{self.suffix}.png").replace(final)
        (self.folder / f"next-{self.suffix}.png").unlink(missing_ok=True)
        wait_for(lambda: not voice.is_running, timeout=30, what="the end of the sentence")
        tavlo.finish()

    def offer(self, tavlo):
        server = self.network.server({"kind": "hold", "size": 1_620_000_000, "after": 312_500_000})
        self.speak(tavlo)
        window = self.window(tavlo, "offer", "Offline model")
        self.desktop.hands.press("Return")
        wait_for(lambda: any("(19%)" in node.name for node in window.descendants()), timeout=60, what="19 percent")
        self.shot(tavlo, "offer-downloading", MARGIN)
        server.close()
        wait_for(lambda: any(node.name in ("Opnieuw", "Retry") for node in window.descendants()), what="the failure")
        self.shot(tavlo, "offer-failed", MARGIN)
        self.close(tavlo)

    def messages(self, tavlo):
        sound = self.desktop.sound
        tavlo.begin()
        sound.play_silence(1)
        tavlo.finish()
        self.shot(tavlo, "message-no-signal")
        wait_for(lambda: not tavlo.windows(), timeout=15, what="the message to go")
        sound.add_microphone("other", "voice")
        tavlo.begin()
        sound.set_default_source("other")
        wait_for(lambda: not tavlo.is_recording(), what="the recording to end")
        self.shot(tavlo, "message-device-changed")
        sound.set_default_source("microphone")
        sound.remove("other")
        wait_for(lambda: not tavlo.windows(), timeout=15, what="the message to go")

    def transcription(self, tavlo, engine):
        engine.hold()
        sound = self.desktop.sound
        tavlo.begin()
        sound.say(SENTENCE[self.language], self.language)
        tavlo.finish()
        self.icon(tavlo, "hourglass")
        engine.release()
        tavlo.wait_for_icon("mic", timeout=30)


def take(folder, theme, scale, languages):
    size = (1280 * scale, 800 * scale)
    environment = {"QT_SCALE_FACTOR": str(scale), "GDK_SCALE": str(scale)}
    if theme == "dark":
        environment.update(XDG_CURRENT_DESKTOP="KDE", KDE_FULL_SESSION="true", KDE_SESSION_VERSION="5")
    with Desktop(size=size, theme=theme, environment=environment) as desktop:
        desktop.width = size[0]
        if theme == "dark":
            (desktop.config_home / "kdeglobals").write_text(DARK_COLOURS, encoding="utf-8")
        reader = Accessibility(desktop)
        network = PrivateNetwork(desktop)
        for language in languages:
            print(f"{language}-{theme}-{scale}x", flush=True)
            Photographer(desktop, reader, network, folder, language, theme, scale).take_all()
            for path in (desktop.data_home / "Tavlo/models").glob("*"):
                path.unlink()
        reader.close()


def contact_sheet(folder, variants):
    names = sorted({path.name.rsplit("-", 3)[0] for path in folder.glob("*-*-*-*x.png")})
    pictures = [folder / f"{name}-{variant}.png" for name in names for variant in variants]
    # Without a font named it wants one that a system need not have.
    subprocess.run(["montage", "-font", "DejaVu-Sans", "-label", "%t",
                    *[path if path.exists() else "null:" for path in pictures],
                    "-tile", f"{len(variants)}x", "-geometry", "300x+6+6>", "-background", "#c8ccd0",
                    "-pointsize", "11", folder / "contact-sheet.png"], check=True)


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    everything = [f"{language}-{theme}-{scale}x" for scale, theme, language
                  in itertools.product(SCALES, THEMES, LANGUAGES)]
    wanted = sys.argv[2:] or everything
    for scale, theme in itertools.product(SCALES, THEMES):
        languages = [language for language in LANGUAGES if f"{language}-{theme}-{scale}x" in wanted]
        if languages:
            take(folder, theme, scale, languages)
    contact_sheet(folder, [variant for variant in everything if variant in wanted])


if __name__ == "__main__":
    main()
