"""The page of results. Each part is written by one command, with the machine and the day it
was measured, and stays as it is until that command runs again."""

import datetime
import pathlib
import re

PAGE = pathlib.Path(__file__).with_name("RESULTS.md")
PARTS = {  # in the order of the page: the command that writes it, and its title
    "targets": ("make bench", "Against the targets"),
    "rivals": ("make bench-compare", "Against z3 and cvc5, family by family"),
    "growth": ("make bench-scaling", "Growth with the size"),
    "change": ("make bench-change", "Before and after"),
}
HEAD = "# Results\n\nEach part says which command wrote it, when, and on what machine.\n"


def parts_of(text):
    """Part and text, from the marks that begin a part."""
    pieces = re.split(r"^<!-- part: (\w+) -->\n", text, flags=re.MULTILINE)
    return dict(zip(pieces[1::2], pieces[2::2]))


def heading(machine):
    return [f"*On {datetime.date.today()}:*", ""] + [f"- {line}" for line in machine] + [""]


def write_part(part, machine, lines, path=PAGE):
    """Replaces one part of the page; `machine` is its description at the start."""
    known = parts_of(path.read_text()) if path.exists() else {}
    command, title = PARTS[part]
    known[part] = "\n".join([f"## {title}", "", f"Written by `{command}`.", ""]
                            + heading(machine) + lines) + "\n\n"
    marked = [f"<!-- part: {name} -->\n{known[name]}" for name in PARTS if name in known]
    path.write_text(HEAD + "\n" + "".join(marked).rstrip("\n") + "\n")
    print(f"written: {title}, in {path.name}")
