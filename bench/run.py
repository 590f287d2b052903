#!/usr/bin/python3
"""Measures everything and prints the table. Started by scripts/bench, which builds first and sets the environment."""
import argparse
import importlib
import json
import pathlib
import sys
import time
import traceback

from measure import figures, machine

# Each module's measure(rounds, programs) gives its figures.
PARTS = ["capture", "upload", "local", "detection", "startup", "idle", "recording", "download", "settings_window"]


def main():
    parser = argparse.ArgumentParser(description="Measures Tavlo on virtual desktops of its own and prints a table.")
    parser.add_argument("parts", nargs="*", choices=[[], *PARTS], metavar="part",
                        help=f"only these: {', '.join(PARTS)}")
    parser.add_argument("--rounds", type=int, default=20, help="how often each is measured (20; fewer is for trying)")
    parser.add_argument("--json", type=pathlib.Path, required=True, help="where the figures are written")
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the build folder")
    options = parser.parse_args()
    if options.rounds < 1:
        parser.error("at least one round")

    on = machine.describe(options.build)
    result, complete = [], True
    for part in options.parts or PARTS:
        started = time.monotonic()
        print(f"-- {part}", file=sys.stderr, flush=True)
        try:
            result += importlib.import_module(f"measure.{part}").measure(options.rounds, options.build / "bench")
        except Exception as error:  # the others are still worth measuring
            traceback.print_exc()
            result.append(figures.failed(part, f"{type(error).__name__}: {error}"))
            complete = False
        print(f"   {time.monotonic() - started:.0f} s", file=sys.stderr, flush=True)

    print("\n".join(f"{name}: {value}" for name, value in on.items()))
    print("Times hold on this machine alone; what says more are the ratios, whose two sides were measured in turn.")
    if options.rounds < 20:
        print(f"Only {options.rounds} rounds: these are no figures to rely on.")
    print()
    print("\n".join(figures.table(result)))
    options.json.parent.mkdir(parents=True, exist_ok=True)
    options.json.write_text(json.dumps({
        "machine": on, "rounds": options.rounds,
        "figures": [dict(vars(each), verdict=each.verdict) for each in result]}, indent=1, ensure_ascii=False) + "\n",
        encoding="utf-8")
    print(f"\nWritten as JSON, with all samples: {options.json}")
    if not complete:
        print("Some figures could not be measured.", file=sys.stderr)
    return 0 if complete else 1


if __name__ == "__main__":
    sys.exit(main())
