#!/usr/bin/env python3
"""Holds reports of real runs against their schema, and the schema against itself.

Usage: report.py COMMAND SCENE SCHEMA
"""
import copy
import json
import math
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

command, scene, schema_path = sys.argv[1:]
schema = json.loads(pathlib.Path(schema_path).read_text())
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)


def leaves(part, path=""):
    """All named values that the schema describes, with their path."""
    for name, inner in part.get("properties", {}).items():
        yield path + name, inner
        yield from leaves(inner, path + name + ".")


def check_meanings():
    """Each value has a title and a sentence: the page of `selvane explain` shows them."""
    for path, part in [*leaves(schema), *leaves(schema["$defs"]["settings"])]:
        for key in ("title", "description"):
            assert part.get(key), f"{path} has no {key}"


def without_each_part(report, path=()):
    """Copies of the report that lack one of its values."""
    node = report
    for step in path:
        node = node[step]
    for name in node:
        lacking = copy.deepcopy(report)
        inner = lacking
        for step in path:
            inner = inner[step]
        del inner[name]
        yield ".".join([*path, name]), lacking
        if isinstance(node[name], dict):
            yield from without_each_part(report, (*path, name))


def check(report, words):
    errors = [f"{error.json_path}: {error.message}" for error in validator.iter_errors(report)]
    assert not errors, f"{words}: {errors}"
    for section in ("scene", "layers", "points", "milliseconds"):
        for name, value in report[section].items():
            assert math.isfinite(value), f"{words}: {section}.{name} is {value}"
    assert sum(report["stage_bytes"].values()) == report["memory"]["library"], f"{words}: {report['stage_bytes']}"


def run(folder, words):
    report = folder / "report.json"
    subprocess.run([command, *words, "--report", str(report)], check=True, stderr=subprocess.DEVNULL)
    found = json.loads(report.read_text())
    check(found, words)
    return found


def main():
    check_meanings()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        picture, out = str(folder / "in.hdr"), str(folder / "out.png")
        photograph = str(folder / "in.jpg")
        subprocess.run([scene, "make", "--scene", picture, "--photograph", photograph, "--width", "120"], check=True)
        curves = folder / "curves.toml"
        curves.write_text('hue = [[0.0, 0.5], [0.4, 0.6]]\nwrap = true\npoints = "given"\nblack_point = 0.01\nwhite_point = 2.0\n')
        for words in (
            ["tonemap", picture, "-o", out],
            ["tonemap", photograph, "-o", str(folder / "out.jpg"), "--preset", "dramatic"],
            ["tonemap", picture, "-o", out, "--exact", "--white-clip", "20"],
            ["tonemap", picture, "-o", out, "--manual", "--exposure", "1"],
            ["tonemap", picture, "-o", out, "--compression", "40"],
            ["tonemap", picture, "-o", out, "--settings", str(curves)],
            ["explain", picture, "-o", str(folder / "page.html"), "--wrap"],
        ):
            report = run(folder, words)
        for path, lacking in without_each_part(report):
            assert not validator.is_valid(lacking), f"a report without {path} passes"
        more = copy.deepcopy(report)
        more["scene"]["further"] = 1
        assert not validator.is_valid(more), "a report with an unknown value passes"
    print("the reports are as their schema says")


main()
