#!/usr/bin/env python3
"""The shells complete the options that `opal --help` lists and the values that opal takes.

    tests/package/completions.py TOOL
"""

import pathlib
import re
import subprocess
import sys

FOLDER = pathlib.Path(__file__).resolve().parent.parent.parent / "tool" / "completions"
ZSH = (FOLDER / "_opal").read_text()
LOAD_IN_ZSH = f"""
  fpath=({FOLDER} $fpath)
  autoload -Uz compinit && compinit -u -D
  [[ $_comps[opal] == _opal ]] && autoload +X _opal"""


def run(*command):
    return subprocess.run(command, capture_output=True, text=True)


def offered(typed):
    """What bash offers after these words."""
    words = re.findall(r"[^\s=]+|=", typed) + ([""] if typed.endswith(" ") else [])
    done = run("bash", "-c", f"""
      source /usr/share/bash-completion/bash_completion
      source {FOLDER / 'opal.bash'}
      COMP_LINE="{typed}" COMP_POINT={len(typed)} COMP_CWORD={len(words) - 1}
      COMP_WORDS=({' '.join(f'"{word}"' for word in words)})
      _opal
      echo "${{COMPREPLY[*]}}" """)
    return done.stderr.split() or done.stdout.split()


def values(tool, option):
    """The values among which an option's must be, and whether it can do without."""
    refused = run(tool, f"{option}=?", "/dev/null").stderr
    one_of = re.match(r"expected (\w+(?:, \w+)* or \w+), found", refused)
    in_set = re.match(rf"{option}: \? not in {{(.*)}}", refused)
    listed = one_of or in_set
    return re.split(", | or |,", listed[1]) if listed else [], bool(in_set)


def faults(tool):
    options = re.findall(r"^  (?:-h,)?(--[a-z-]+)", run(tool, "--help").stdout, re.MULTILINE)
    bash = {word.rstrip("=") for word in offered("opal --")}
    for shell, known in (("bash", bash), ("zsh", set(re.findall("--[a-z-]+", ZSH)))):
        if known != set(options):
            yield f"{shell} and --help differ in {sorted(known ^ set(options))}"
    choices = {option: values(tool, option) for option in options}
    if sum(bool(taken) for taken, _ in choices.values()) < 6:
        yield f"the tool's messages do not say which values it takes: {choices}"
    for option, (taken, optional) in choices.items():
        if not taken:
            continue
        in_zsh = re.search(rf"'{option}=.*\((.*)\)'", ZSH)
        if not in_zsh or in_zsh[1].split() != taken:
            yield f"{option} takes {taken}, but not in zsh"
        for typed in (f"opal {option}=",) if optional else (f"opal {option}=", f"opal {option} "):
            if offered(typed) != taken:
                yield f"bash offers {offered(typed)} after '{typed}', not {taken}"
    if offered("opal --cuts=m") != ["modular"] or offered("opal --verify-") != ["--verify-with"]:
        yield "bash does not go by what is typed already"
    loaded = run("zsh", "-fc", LOAD_IN_ZSH)
    if loaded.returncode or loaded.stderr:
        yield f"zsh does not load _opal: {loaded.stderr}"


if __name__ == "__main__":
    sys.exit("\n".join(faults(sys.argv[1])) or 0)
