"""The real engine and the small model that stands in for the large one."""
import fcntl
import os
import pathlib
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[3]
_HEAR = pathlib.Path(__file__).with_name("hear.py")
MODEL_BYTES = 1_500_000_000  # the size at which a model counts as complete


def cache():
    """The folder that keeps the engine and the model between runs."""
    base = os.environ.get("XDG_CACHE_HOME") or os.path.join(os.path.expanduser("~"), ".cache")
    folder = pathlib.Path(base, "tavlo-engine")
    folder.mkdir(parents=True, exist_ok=True)
    return folder


def whisper_cli():
    """The path of a whisper-cli that runs here."""
    found = shutil.which("whisper-cli")
    if found:
        return pathlib.Path(found)
    script = ROOT / "scripts/fetch-engine"
    lines = subprocess.run([script], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True, check=True).stdout
    return pathlib.Path(lines.split("\n")[-2])


def small_model():
    """The path of the small model, made from tests/data when there is none yet or the data is newer."""
    data = ROOT / "tests/data"
    sources = [data / "weights.npz", data / "words.txt", data / "make_speech_model.py"]
    model = cache() / "small-model.bin"
    with open(cache() / "small-model.lock", "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not model.exists() or any(source.stat().st_mtime > model.stat().st_mtime for source in sources):
            subprocess.run(["/usr/bin/python3", sources[2], model], check=True)
    return model


def command(wav, language="en"):
    """The words of a command that prints what the real engine hears in a WAV file."""
    return [str(_HEAR), str(whisper_cli()), "-m", str(small_model()), "-l", language, "--no-timestamps", "-np", "-f", str(wav)]


def transcribe(wav, language="en"):
    """What the real engine hears in a WAV file, as one line."""
    done = subprocess.run(command(wav, language),
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL, text=True,
                          check=True, timeout=60)
    return " ".join(done.stdout.split())


def install_wrapper(support_folder):
    """Puts a whisper-cli into the support folder that hands the real program the small model."""
    program = pathlib.Path(support_folder, "bin/whisper-cli")
    program.parent.mkdir(parents=True, exist_ok=True)
    program.write_text(f"""#!/bin/bash
# Stands in for whisper-cli: the real program, with the small model in place of the one that was named.
arguments=()
while [ $# -gt 0 ]; do
    arguments+=("$1")
    if [ "$1" = -m ]; then
        shift
        [ "$(stat -c %s "$1")" -ge {MODEL_BYTES} ] || {{ echo "no complete model: $1" >&2; exit 9; }}
        arguments+=("{small_model()}")
    fi
    shift
done
exec "{_HEAR}" "{whisper_cli()}" "${{arguments[@]}}"
""", encoding="utf-8")
    program.chmod(0o755)
    return program


def install_ready_model(support_folder):
    """Puts a file of a complete model's size in place. It is sparse: it takes no room on the disk."""
    model = pathlib.Path(support_folder, "models/ggml-large-v3-turbo.bin")
    model.parent.mkdir(parents=True, exist_ok=True)
    with open(model, "wb") as file:
        file.truncate(MODEL_BYTES)
    return model
