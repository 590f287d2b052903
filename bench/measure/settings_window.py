"""Opening the settings window, against an empty window."""
import json

from rig import Desktop

from .cloud import KEY, SERVICE
from .figures import compared


def measure(rounds, programs):
    with Desktop(sound=None) as desktop:
        desktop.keyring.put(SERVICE, "openai_api_key", KEY)
        times = json.loads(desktop.processes.run(programs / "bench_settings_window", desktop.folder / "data", rounds + 1,
                                                 timeout=300))
    # The first ones load fonts and the like, which whoever opens the first window pays.
    return [compared("opening the settings window", times["settings"][1:], "ms", "an empty Qt window of its size",
                     times["empty"][1:], 1.5, f"the first opening took {times['settings'][0]:.0f} ms")]
