"""What the tests share: a scene, and what a C program makes of it."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

BUILD = Path(os.environ["SELVANE_BUILD"])
SOURCE = Path(os.environ["SELVANE_SOURCE"])
REFERENCE = BUILD / "tests" / "selvane_python_reference"

FORMATS = {"uint8": 1, "uint16": 2, "float16": 3, "float32": 4}


def make_scene(rows: int = 90, columns: int = 120) -> np.ndarray:
    """A dim room with a bright window: linear floats, 11 stops, noise of a fixed seed."""
    y, x = np.mgrid[0:rows, 0:columns].astype(np.float32)
    light = 0.02 + 0.3 * np.exp(-(((x - 0.3 * columns) / 40) ** 2 + ((y - 0.6 * rows) / 30) ** 2))
    light += 30 * ((abs(x - 0.75 * columns) < 0.12 * columns) & (abs(y - 0.3 * rows) < 0.2 * rows))
    noise = np.random.default_rng(7).uniform(0.8, 1.2, (rows, columns, 3))
    return (light[..., None] * noise * (1.0, 0.85, 0.6)).astype(np.float32)


def as_dtype(scene: np.ndarray, dtype: str) -> np.ndarray:
    """Integers are encoded by a power, as pictures of a camera are."""
    if np.dtype(dtype).kind == "f":
        return scene.astype(dtype)
    return (np.minimum(scene / 40, 1) ** (1 / 2.2) * np.iinfo(dtype).max).astype(dtype)


def with_alpha(array: np.ndarray) -> np.ndarray:
    """Alpha falls from full to 0 at the right edge."""
    full = np.iinfo(array.dtype).max if array.dtype.kind == "u" else 1
    alpha = np.broadcast_to(np.linspace(full, 0, array.shape[1]), array.shape[:2])
    return np.dstack([array, alpha.astype(array.dtype)])


@pytest.fixture
def scene() -> np.ndarray:
    return make_scene()


@pytest.fixture
def rendered_by_c(tmp_path):
    """rendered_by_c(array, dtype, channels, FIELD=VALUE...): the result of a C program, from a file of plain samples."""

    def render(array, dtype="uint8", channels=None, **fields):
        channels = channels or array.shape[2]
        (tmp_path / "in").write_bytes(np.ascontiguousarray(array).tobytes())
        fields.update(width=array.shape[1], height=array.shape[0], channels=array.shape[2], out_channels=channels)
        fields.update(format=FORMATS[array.dtype.name], out_format=FORMATS[dtype])
        words = [f"{name}={value}" for name, value in fields.items()]
        subprocess.run([REFERENCE, "render", *words, tmp_path / "in", tmp_path / "out"], check=True)
        return np.fromfile(tmp_path / "out", dtype).reshape(*array.shape[:2], channels)

    return render


@pytest.fixture
def run_python(tmp_path):
    """run_python(TEXT, WORD...): runs a program and returns what it prints."""

    def run(text, *words, **options):
        program = tmp_path / "program.py"
        program.write_text(text)
        command = [sys.executable, program, *words]
        return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, **options).stdout

    return run
