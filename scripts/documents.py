#!/usr/bin/env python3
"""Checks that the documents are whole: every call that a device brings is in the porting guide, every room in the
architecture's map, every scene and page in the README, and every link leads somewhere."""
import pathlib
import re
import sys

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "scripts"))
from include_map import FLOOR  # noqa: E402

DECLARED = re.compile(r"^[a-zA-Z_][\w *]*?\b(\w+)\(|^extern .*\b(\w+)\[", re.MULTILINE)
COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)
LINK = re.compile(r"\]\(([^)#:]*)(?:#([^)]*))?\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)


def text(path):
    return (ROOT / path).read_text(encoding="utf-8")


def device_calls():
    """Functions and records that the headers of platform/ declare."""
    for header in sorted((ROOT / "platform").glob("*.h")):
        for names in DECLARED.findall(COMMENT.sub("", text(header))):
            yield next(filter(None, names))


def anchor(heading):
    return re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-")


def broken_links(page):
    for target, wanted in LINK.findall(text(page)):
        path = (ROOT / page).parent / target if target else ROOT / page
        if not path.exists():
            yield f"{page}: there is no {target}"
        elif wanted and wanted not in map(anchor, HEADING.findall(path.read_text(encoding="utf-8"))):
            yield f"{page}: there is no heading #{wanted} in {path.name}"


def faults():
    porting, architecture, readme = map(text, ("docs/porting.md", "docs/architecture.md", "README.md"))
    calls = set(device_calls())
    if len(calls) < 40:
        yield f"only {len(calls)} calls found in platform/"
    for call in sorted(calls):
        if not re.search(rf"`{call}\b", porting):
            yield f"docs/porting.md does not name {call}"
    shape = architecture[:architecture.find("## The way of a frame")]
    for room in FLOOR:
        if not re.search(rf"^(floor \d)? +{room}/", shape, re.MULTILINE):
            yield f"docs/architecture.md has no room {room}/"
    for scene in sorted((ROOT / "lab" / "scenes").glob("*.py")):
        if scene.stem != "snooping" and f"| `{scene.stem}` |" not in readme:  # that one plays without a name
            yield f"README.md has no scene {scene.stem}"
    pages = ["README.md", *sorted(f"docs/{page.name}" for page in (ROOT / "docs").glob("*.md"))]
    for page in pages:
        if page != "README.md" and f"]({page})" not in readme:
            yield f"README.md does not name {page}"
        yield from broken_links(page)


def main():
    found = list(faults())
    print("\n".join(found) or "the documents are whole")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
