#!/usr/bin/python3
"""The very first start where there is no session bus: it is said in the log, and no bus is started for want of one."""
import os
import pathlib

from rig import Scenario, main
from rig.waiting import wait_for

LINE = "Geen sessiebus: Tavlo draait zonder besturing van buitenaf"


def buses_started_for(display):
    """The launchers of session buses that serve this display."""
    found = []
    for folder in pathlib.Path("/proc").iterdir():
        try:
            if (folder / "comm").read_text().strip() == "dbus-launch":
                if f"DISPLAY={display}".encode() in (folder / "environ").read_bytes().split(b"\0"):
                    found.append(folder.name)
        except OSError:
            continue  # It is no process, or has ended.
    return found


class FirstStartWithoutBus(Scenario):
    def test_says_so_in_the_log_and_starts_none(self):
        desktop = self.desktop(window_manager=False, panel=False, keyring="absent")
        self.assertFalse((desktop.data_home / "Tavlo").exists())
        tavlo = desktop.processes.start("tavlo", [os.environ["TAVLO_PROGRAM"]], {
            "DBUS_SESSION_BUS_ADDRESS": "", "XDG_RUNTIME_DIR": str(desktop.folder),
            "PULSE_SERVER": f"unix:{desktop.runtime_folder}/pulse/native"})
        log = desktop.data_home / "Tavlo/app.log"
        wait_for(lambda: log.exists() and log.read_text(encoding="utf-8").endswith(f" {LINE}\n"), timeout=30,
                 what="the line in the log", show=tavlo.error_text)
        self.assertEqual(buses_started_for(desktop.environment["DISPLAY"]), [])
        tavlo.end()
        self.assertEqual(tavlo.error_text(), "")


if __name__ == "__main__":
    main()
