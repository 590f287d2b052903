#!/usr/bin/python3
"""Runs a test as an ordinary user, for what refuses to run as root or would pass as root where a user fails:

    as_user.py TEST.py

Whoever is no root runs it as it is. Root copies what the test needs to where everybody may read it, and runs it as the
user "nobody".
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

_NOBODY = 65534
_TESTS = pathlib.Path(__file__).resolve().parents[2]


def _copy(source, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    if source.is_dir():
        shutil.copytree(source, target, symlinks=True)
    else:
        shutil.copy2(source, target)


def main():
    test = pathlib.Path(sys.argv[1]).resolve()
    if os.geteuid() != 0:
        os.execv("/usr/bin/python3", ["/usr/bin/python3", str(test)])
    sys.path.insert(0, str(_TESTS / "support"))
    from rig import engine

    program = pathlib.Path(os.environ["TAVLO_PROGRAM"])
    with tempfile.TemporaryDirectory(prefix="tavlo-stage-") as name:
        stage = pathlib.Path(name)
        stage.chmod(0o755)
        _copy(_TESTS / "support", stage / "tests/support")
        _copy(_TESTS / "data", stage / "tests/data")
        _copy(_TESTS.parent / "scripts", stage / "scripts")
        _copy(test, stage / "tests/e2e" / test.name)
        _copy(program, stage / "bin/tavlo")
        _copy(program.parent.parent / "libexec", stage / "libexec")
        _copy(pathlib.Path(os.environ["TAVLO_REFERENCE_ICONS"]), stage / "bin/reference_icons")
        _copy(pathlib.Path(os.environ["TAVLO_DESKTOP_ENTRY"]), stage / "tavlo.desktop")
        engine.small_model()
        _copy(engine.cache(), stage / "cache/tavlo-engine")
        for folder, _, files in os.walk(stage / "cache"):
            for entry in (folder, *(os.path.join(folder, file) for file in files)):
                os.chown(entry, _NOBODY, _NOBODY, follow_symlinks=False)
        kept = {key: value for key, value in os.environ.items()
                if key.startswith(("TAVLO_TEST_", "ASAN_", "LSAN_", "UBSAN_", "TSAN_"))}
        done = subprocess.run(
            ["setpriv", f"--reuid={_NOBODY}", f"--regid={_NOBODY}", "--clear-groups", "--pdeathsig", "TERM",
             "/usr/bin/python3", stage / "tests/e2e" / test.name],
            env={**kept, "PATH": os.environ["PATH"], "HOME": str(stage / "cache"),
                 "XDG_CACHE_HOME": str(stage / "cache"), "TMPDIR": "/tmp", "LANG": "C.UTF-8",
                 "PYTHONDONTWRITEBYTECODE": "1", "PYTHONUNBUFFERED": "1", "PYTHONPATH": str(stage / "tests/support"),
                 "TAVLO_DESKTOP_ENTRY": str(stage / "tavlo.desktop"),
                 "TAVLO_PROGRAM": str(stage / "bin/tavlo"), "TAVLO_REFERENCE_ICONS": str(stage / "bin/reference_icons")},
            stdin=subprocess.DEVNULL, cwd=stage, check=False)
    sys.exit(done.returncode)


if __name__ == "__main__":
    main()
