#!/usr/bin/env python3
"""Checks that includes run downward only, by the table of rooms in docs/architecture.md."""
import pathlib
import re
import sys

FLOORS = [
    ["platform", "include"],
    ["base"],
    ["packet", "binding", "trap"],
    ["server6", "relay6", "snooping6", "client6"],
    ["server", "snooping"],
    ["relay"],
    ["module"],
    ["softswitch"],
]
FLOOR = {room: floor for floor, rooms in enumerate(FLOORS) for room in rooms}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')


def room_included(header):
    """The room a header belongs to; a service's public header belongs to the service."""
    first, _, rest = header.partition("/")
    if first != "dhcp":
        return first
    service = rest.removesuffix(".h")
    return service if service in FLOOR else "include"


def allowed(room, header):
    target = room_included(header)
    if target == room:
        return True
    if room == "include":
        return header in ("dhcp/types.h", "dhcp/binding.h")
    if room == "platform":
        return target == "platform"
    if room == "softswitch":  # sees the module through its public headers alone
        return header.startswith(("dhcp/", "platform/", "softswitch/"))
    return target in FLOOR and FLOOR[target] < FLOOR[room]


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    wrong = 0
    for room in FLOOR:
        for source in sorted((root / room).rglob("*")):
            if source.suffix not in (".h", ".cpp"):
                continue
            for number, line in enumerate(source.read_text().splitlines(), 1):
                found = INCLUDE.match(line)
                if found and not allowed(room, found.group(1)):
                    print(f"{source.relative_to(root)}:{number}: {room}/ may not include \"{found.group(1)}\"")
                    wrong += 1
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
