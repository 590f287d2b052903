"""The download of the model, by the offer's button, against curl from the same server."""
import json
import pathlib
import subprocess
import sys

from rig import Desktop

from .figures import bounded, compared
from .machine import Stolen

_BYTES = 400_000_000
_PATH = "/model.bin"
_SERVER = pathlib.Path(__file__).resolve().parents[2] / "tests/support/servers/model_server.py"


def measure(rounds, programs):
    ours, curls, growth, held, held_processor = [], [], [], [], []
    with Desktop(sound=None, keyring="absent") as desktop:
        scenario = desktop.folder / "scenario.json"
        scenario.write_text(json.dumps({"kind": "body", "size": _BYTES}), encoding="utf-8")
        # A process of its own, as any server is.
        server = desktop.processes.start("model-server", [sys.executable, _SERVER, "--scenario", scenario],
                                         pipe=True, stdin=subprocess.PIPE)
        told = json.loads(server.popen.stdout.readline())
        data = desktop.folder / "download"
        stolen = Stolen()
        for number in range(rounds):
            def download():
                done = json.loads(desktop.processes.run(programs / "bench_model_download", told["base_url"] + _PATH,
                                                        told["authority"], data, _BYTES, timeout=180))
                ours.append(_BYTES / done["seconds"] / 1e6)
                growth.append(done["growth"] / 1e6)
                held.append(done["held"])
                held_processor.append(done["held_processor"])

            def fetch():
                target = data / "curl.bin"
                data.mkdir(exist_ok=True)
                seconds = float(desktop.processes.run("curl", "-s", "--cacert", told["authority"], "-o", target, "-w",
                                                      "%{time_total}", told["base_url"] + _PATH, timeout=180))
                if target.stat().st_size != _BYTES:
                    raise RuntimeError("curl did not fetch the whole file")
                target.unlink()
                curls.append(_BYTES / seconds / 1e6)

            for step in ((download, fetch) if number % 2 == 0 else (fetch, download)):
                step()
            (data / "Tavlo/models/ggml-large-v3-turbo.bin").unlink()
        taken = stolen.percentage()
    rate = compared("download of the model", ours, "MB/s", "curl from the same server", curls, 0.95,
                    f"{_BYTES // 1_000_000} MB each")
    rate.budget, rate.met = "ratio ≥ 0.95", rate.ratio >= 0.95
    return [
        rate,
        bounded("memory growth while downloading", growth, "MB", "absolute", None, "< 16 MB",
                lambda _: max(growth) < 16, f"worst {max(growth):.1f} MB"),
        bounded("main thread held by one event while downloading", held, "ms", "absolute", None, "≤ 10 ms, never longer",
                lambda _: max(held) <= 10,
                f"worst {max(held):.1f} ms, processor time {max(held_processor):.1f} ms at most; the machine's host "
                f"took {taken:.0f} % of the processors' time meanwhile")]
