#!/usr/bin/env python3
"""Holds the include lines of host/ against the drawing in host/CMakeLists.txt: a room knows those above it and beside it.

Usage: rooms.py HOST
"""
import pathlib
import re
import sys

host = pathlib.Path(sys.argv[1])


def drawn_lines():
    """The rooms of each line of the drawing, from the top down."""
    text = (host / "CMakeLists.txt").read_text()
    drawing = text[text.index("# A room knows those above it") :].split("\n#\n")[1]
    return [re.findall(r"([a-z]+)/", line) for line in drawing.splitlines()]


def main():
    depth = {room: i for i, line in enumerate(drawn_lines()) for room in line}
    rooms = {path.name for path in host.iterdir() if path.is_dir()}
    assert set(depth) == rooms, f"the drawing and the folders differ: {sorted(set(depth) ^ rooms)}"
    wrong = []
    count = 0
    for source in sorted(host.glob("*/*")):
        if source.suffix not in (".h", ".cpp", ".in"):
            continue
        for known in re.findall(r'^#include "([a-z]+)/', source.read_text(), re.MULTILINE):
            count += 1
            if known in depth and depth[known] > depth[source.parent.name]:
                wrong.append(f"{source.parent.name}/{source.name} includes {known}/")
    assert count > 300, f"only {count} include lines found"
    assert not wrong, "\n".join(wrong)
    print(f"{count} include lines lead up or sideways")


main()
