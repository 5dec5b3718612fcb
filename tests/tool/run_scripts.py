#!/usr/bin/env python3
"""Runs the tool on every script of this folder and compares its answers.

A script name.smt2 may say in comments what it wants:

    ; ARGS: --mode dual          options of the tool
    ; EXIT: 1                    the exit status, 0 if not said

and name.expect holds the answers. Each script runs a second time with --verify, so that
an outside solver confirms every interpolant that name.expect holds; the answers must be
the same. Where there is a name.report, it holds what the run without --verify says on
standard error. With --update the files are written from what the tool says, provided that
verification confirms it.
"""

import argparse
import difflib
import pathlib
import shlex
import subprocess
import sys

FOLDER = pathlib.Path(__file__).resolve().parent


def wanted(script, key, default):
    for line in script.read_text().split("\n"):
        if line.startswith(f"; {key}:"):
            return line.split(":", 1)[1].strip()
    return default


def faults_of(opal, script, update):
    """What is wrong with the tool's answers to a script, as lines."""
    arguments = shlex.split(wanted(script, "ARGS", ""))
    status = int(wanted(script, "EXIT", "0"))
    expected_file = script.with_suffix(".expect")
    report_file = script.with_suffix(".report")
    report = update
    for extra in [["--verify"], []]:
        command = [opal, *arguments, *extra, script.name]
        run = subprocess.run(command, cwd=FOLDER, capture_output=True, text=True, timeout=60)
        if run.returncode != status:
            yield f"{extra}: exit {run.returncode}, expected {status}; {run.stderr.strip()}"
        if update and run.returncode == status:
            expected_file.write_text(run.stdout)
            update = False
        expected = expected_file.read_text() if expected_file.exists() else ""
        yield from difflib.unified_diff(expected.split("\n"), run.stdout.split("\n"),
                                        "expected", f"answered {extra}", lineterm="")
    if report_file.exists():
        if report:
            report_file.write_text(run.stderr)
        yield from difflib.unified_diff(report_file.read_text().split("\n"),
                                        run.stderr.split("\n"), "expected", "reported",
                                        lineterm="")


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--opal", required=True, help="the tool")
    options.add_argument("--update", action="store_true", help="write the .expect files")
    options.add_argument("names", nargs="*", help="scripts; all if none is given")
    arguments = options.parse_args()
    opal = str(pathlib.Path(arguments.opal).resolve())
    scripts = [FOLDER / f"{name}.smt2" for name in arguments.names]
    scripts = scripts or sorted(FOLDER.glob("*.smt2"))
    failed = 0
    for script in scripts:
        faults = list(faults_of(opal, script, arguments.update))
        failed += bool(faults)
        if faults:
            print(f"{script.name}:", *faults, sep="\n  ")
    print(f"{len(scripts) - failed} of {len(scripts)} scripts answered as expected")
    return 1 if failed or not scripts else 0


if __name__ == "__main__":
    sys.exit(main())
