"""What the package says of itself: records, functions, types, help."""

import ctypes
import doctest
import importlib
import pydoc
import re
import shutil
import subprocess
import sys

import pytest
import selvane
from conftest import REFERENCE, SOURCE
from selvane import _library

RECORDS = {
    "picture": _library.PictureRecord,
    "point": _library.PointRecord,
    "curve": _library.CurveRecord,
    "settings": _library.SettingsRecord,
    "target": _library.TargetRecord,
    "report": _library.ReportRecord,
    "frame": _library.FrameRecord,
}


def test_each_record_has_the_fields_of_c_at_their_places():
    lines = subprocess.run([REFERENCE, "layout"], check=True, text=True, stdout=subprocess.PIPE).stdout.splitlines()
    ours = []
    for name, record in RECORDS.items():
        ours.append(f"{name} - 0 {ctypes.sizeof(record)}")
        for field, *_ in record._fields_:
            place = getattr(record, field)
            ours.append(f"{name} {field} {place.offset} {place.size}")
    assert sorted(ours) == sorted(lines)


def test_the_numbers_of_the_header_are_ours():
    header = (SOURCE / "lib" / "include" / "selvane.h").read_text()
    number = lambda name: int(re.search(rf"\b{name}\b\s*=?\s*(\d+)", header)[1])
    assert _library.SONAME == f"libselvane.so.{number('SELVANE_VERSION_MAJOR')}"
    assert _library.MOST_POINTS == number("SELVANE_MOST_POINTS")
    assert _library.FRAME_CELLS == number("SELVANE_FRAME_CELLS")
    assert len(_library.STAGES) == number("SELVANE_STAGES")
    assert [number(f"SELVANE_STAGE_{name.upper()}") for name in _library.STAGES] == [0, 1, 2, 3, 4]
    assert selvane.__version__ == ".".join(str(number(f"SELVANE_VERSION_{part}")) for part in ("MAJOR", "MINOR", "PATCH"))


@pytest.mark.parametrize("name", ["selvane", "selvane._renderer", "selvane._settings", "selvane._frames"])
def test_the_examples_of_the_help_are_true(name):
    result = doctest.testmod(importlib.import_module(name))
    assert result.failed == 0 < result.attempted


def test_help_teaches_the_public_names():
    text = pydoc.render_doc(selvane, renderer=pydoc.plaintext)
    for words in ("selvane.tonemap(scene)", "class Renderer", "progress=tqdm(total=100).update", 'order="bgr"', "-100 to 100"):
        assert words in text
    for name in selvane.__all__:
        thing = getattr(selvane, name)
        assert thing.__doc__
        public = [value for key, value in vars(thing).items() if not key.startswith("_")] if isinstance(thing, type) else []
        assert all(value.__doc__ for value in public if callable(value) or isinstance(value, property)), name


USER = """
import numpy as np
import selvane

picture = np.zeros((4, 4, 3), np.float32)
renderer = selvane.Renderer(picture, space=[(0.64, 0.33), (0.3, 0.6), (0.15, 0.06), (0.3127, 0.329)], order="bgr")
settings: selvane.Settings = renderer.suggest(progress=lambda step: None).replace(exposure=1)
renderer.settings = settings
reveal_type(renderer.render(dtype="uint16"))
reveal_type(renderer.base)
reveal_type(renderer.report)
selvane.tonemap(picture, space=3)
renderer.render(dither="yes")
"""


def test_mypy_finds_the_package_sound_and_the_errors_of_its_users(tmp_path):
    if shutil.which("mypy") is None:
        pytest.skip("no mypy")
    mypy = ["mypy", "--cache-dir", tmp_path / "cache", "--python-executable", sys.executable, "--strict"]
    own = subprocess.run([*mypy, SOURCE / "python" / "selvane"], text=True, stdout=subprocess.PIPE)
    assert own.returncode == 0, own.stdout
    (tmp_path / "user.py").write_text(USER)
    lines = subprocess.run([*mypy, tmp_path / "user.py"], text=True, stdout=subprocess.PIPE).stdout
    found = re.findall(r"user.py:(\d+): (?:note|error): ([^\n]*)", lines)
    assert [number for number, _ in found if "error" in lines.split(f"user.py:{number}:")[1].split("\n")[0]] == ["12", "13"]
    assert "numpy.ndarray" in found[0][1] and "floating" in found[1][1] and "selvane._report.Report" in found[2][1]
