#!/usr/bin/env python3
"""The shells complete exactly the options that `opal --help` lists, and their values.

    tests/package/completions.py TOOL
"""

import pathlib
import re
import subprocess
import sys

FOLDER = pathlib.Path(__file__).resolve().parent.parent.parent / "tool" / "completions"
CASES = {  # what is typed, and what bash must offer
    "opal --mode ": "sum conj dual auto",
    "opal --cuts m": "modular",
    "opal --proof-format ": "sexp json dot",
    "opal --unmentioned ": "background B error",
    "opal --stats=": "text json",
    "opal --verify": "--verify --verify-with",
}


def offered(typed):
    words = re.findall(r"\S+", typed) + ([""] if typed.endswith(" ") else [])
    script = f"""
      source /usr/share/bash-completion/bash_completion
      source {FOLDER / 'opal.bash'}
      COMP_LINE="{typed}" COMP_POINT={len(typed)} COMP_CWORD={len(words) - 1}
      COMP_WORDS=({' '.join(f'"{word}"' for word in words)})
      _opal
      echo "${{COMPREPLY[*]}}" """
    done = subprocess.run(["bash", "-c", script], capture_output=True, text=True)
    return done.stdout.strip() if not done.stderr else done.stderr


def main():
    listed = subprocess.run([sys.argv[1], "--help"], capture_output=True, text=True, check=True)
    options = set(re.findall(r"^  (?:-h,)?(--[a-z-]+)", listed.stdout, re.MULTILINE))
    faults = [] if len(options) > 10 else [f"--help lists only {options}"]
    bash = set(offered("opal --").replace("=", "").split())
    zsh = set(re.findall(r"(--[a-z-]+)", (FOLDER / "_opal").read_text()))
    for shell, known in (("bash", bash), ("zsh", zsh)):
        if known != options:
            faults.append(f"{shell} and --help differ in {sorted(known ^ options)}")
    for typed, expected in CASES.items():
        if offered(typed) != expected:
            faults.append(f"bash offers {offered(typed)!r} after {typed!r}, not {expected!r}")
    checked = subprocess.run(["zsh", "-n", FOLDER / "_opal"], capture_output=True, text=True)
    if checked.returncode or checked.stderr:
        faults.append(f"zsh: {checked.stderr}")
    sys.exit("\n".join(faults) or 0)


if __name__ == "__main__":
    main()
