#!/usr/bin/env python3
"""Every relative link in a Markdown file of the sources leads to a file, and to a heading."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def anchors(page):
    """The names by which headings of a page are linked."""
    headings = re.findall(r"^#+ (.*)", page.read_text(), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", h.lower()).replace(" ", "-") for h in headings}


def main():
    pages = [p for p in ROOT.rglob("*.md") if "build" not in p.relative_to(ROOT).parts]
    faults, count = [], 0
    for page in pages:
        text = re.sub(r"```.*?```", "", page.read_text(), flags=re.DOTALL)
        for link in re.findall(r"\]\(([^)\s]+)\)", text):
            if re.match(r"[a-z]+:", link):
                continue
            count += 1
            path, _, heading = link.partition("#")
            target = (page.parent / path).resolve() if path else page
            if not target.exists():
                faults.append(f"{page.relative_to(ROOT)}: {link} does not exist")
            elif heading and heading not in anchors(target):
                faults.append(f"{page.relative_to(ROOT)}: {link} is no heading")
    if count < 10:
        faults.append(f"only {count} links found")
    sys.exit("\n".join(faults) or 0)


if __name__ == "__main__":
    main()
