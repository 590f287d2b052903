#!/usr/bin/python3
"""Runs the tests of this folder, or those named, inside the virtual machine of scripts/test-machine; by root.

Each runs as the user "tester" in a login session of its own, on the machine's first console, as a display manager
would start it: the session is active, and devices may be given to it. What only root may do is done by a server.
"""
import os
import pathlib
import subprocess
import sys
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "support"))

from machine import root_server  # noqa: E402  pylint: disable=wrong-import-position

SECONDS = 400


def run_in_session(command, environment, seconds=SECONDS):
    """Runs a command as the user in a session of his, and gives its exit status."""
    settings = ["--uid=tester", "--gid=tester", "--property=PAMName=tavlo-machine", "--property=TTYPath=/dev/tty1",
                "--property=StandardInput=null", f"--property=RuntimeMaxSec={seconds}",
                "--property=KillMode=control-group", "--property=TimeoutStopSec=5"]
    variables = {"XDG_SEAT": "seat0", "XDG_VTNR": "1", "XDG_SESSION_TYPE": "wayland", "XDG_SESSION_CLASS": "user",
                 "HOME": "/home/tester", "LANG": "C.UTF-8", **environment}
    # The output goes through this process: a service cannot open what is a pipe of another user.
    reading, writing = os.pipe()
    os.fchmod(writing, 0o666)
    process = subprocess.Popen(
        ["systemd-run", "--quiet", "--wait", "--collect", "--pipe", *settings,
         *[f"--setenv={name}={value}" for name, value in variables.items()], "--", *map(str, command)],
        stdin=subprocess.DEVNULL, stdout=writing, stderr=writing)
    os.close(writing)
    with os.fdopen(reading, "rb") as output:
        while block := output.read1(65536):
            sys.stdout.buffer.write(block)
            sys.stdout.buffer.flush()
    return process.wait()


def main():
    threading.Thread(target=root_server.serve().serve_forever, daemon=True).start()
    known = sorted(path.stem for path in HERE.glob("*.py") if path.name != "run.py")
    chosen = sys.argv[1:] or known
    # "tavlo_hotkey.Hotkey.test_..." is one test of a file.
    unknown = {name for name in chosen if name.partition(".")[0] not in known}
    if unknown:
        print(f"there is no test {', '.join(sorted(unknown))}; there are {', '.join(known)}")
        return 2
    environment = {name: value for name, value in os.environ.items() if name.startswith("TAVLO_")}
    environment |= {"PYTHONPATH": str(HERE.parent / "support"), "PYTHONDONTWRITEBYTECODE": "1",
                    "PYTHONUNBUFFERED": "1",
                    # The virtual machine is slower than what it runs on: all waits get this many times longer.
                    "TAVLO_TEST_PATIENCE": os.environ.get("TAVLO_TEST_PATIENCE", "4")}
    failed = []
    for name in chosen:
        started = time.monotonic()
        print(f"== {name}", flush=True)
        file, _, test = name.partition(".")
        status = run_in_session(["/usr/bin/python3", HERE / f"{file}.py", *([test] if test else [])], environment)
        print(f"== {name}: {'passed' if status == 0 else f'FAILED ({status})'} "
              f"after {time.monotonic() - started:.0f} s", flush=True)
        if status != 0:
            failed.append(name)
    print(f"{len(chosen) - len(failed)} passed, {len(failed)} failed", flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
