"""The programs of python/examples, on the files and with the arrays of the libraries that they show."""

import os
import subprocess
import sys

import numpy as np
import pytest
import selvane
from conftest import SOURCE, as_dtype, make_scene

os.environ["OPENCV_IO_ENABLE_OPENEXR"] = "1"


def run(example, *words):
    subprocess.run([sys.executable, SOURCE / "python" / "examples" / example, *words], check=True)


@pytest.fixture(params=["hdr", "exr", "tif"])
def picture_file(request, tmp_path):
    """A file of that kind, written by OpenCV, and the array that it holds, red first."""
    cv2 = pytest.importorskip("cv2")
    scene = make_scene()
    array = as_dtype(scene, "uint16") if request.param == "tif" else scene
    path = str(tmp_path / f"scene.{request.param}")
    assert cv2.imwrite(path, array[..., ::-1].copy())
    stored = cv2.imread(path, cv2.IMREAD_UNCHANGED)[..., ::-1]
    np.testing.assert_allclose(stored, array, rtol=0.02, atol=0.05)  # exponents are shared in an .hdr
    return path, stored


def test_opencv(picture_file, tmp_path):
    cv2 = pytest.importorskip("cv2")
    path, stored = picture_file
    run("with_opencv.py", path, str(tmp_path / "display.png"))
    display = cv2.imread(str(tmp_path / "display.png"), cv2.IMREAD_UNCHANGED)
    np.testing.assert_array_equal(display[..., ::-1], selvane.tonemap(stored))


def test_imageio(picture_file, tmp_path):
    imageio = pytest.importorskip("imageio")
    path, stored = picture_file
    array = imageio.imread(path)
    np.testing.assert_array_equal(array, stored)
    run("with_imageio.py", path, str(tmp_path / "display.png"))
    np.testing.assert_array_equal(imageio.imread(tmp_path / "display.png"), selvane.tonemap(stored))


def test_openexr(tmp_path):
    """Debian 12 has no package of this module."""
    OpenEXR = pytest.importorskip("OpenEXR")
    scene = make_scene().astype("float16")
    header = OpenEXR.Header(scene.shape[1], scene.shape[0])
    half = OpenEXR.Imath.Channel(OpenEXR.Imath.PixelType(OpenEXR.Imath.PixelType.HALF))
    header["channels"] = dict.fromkeys("RGB", half)
    file = OpenEXR.OutputFile(str(tmp_path / "scene.exr"), header)
    file.writePixels({name: scene[..., i].tobytes() for i, name in enumerate("RGB")})
    file.close()
    run("with_openexr.py", str(tmp_path / "scene.exr"), str(tmp_path / "display.npy"))
    np.testing.assert_array_equal(np.load(tmp_path / "display.npy"), selvane.tonemap(scene))


def test_each_example_has_a_test():
    names = {path.stem for path in (SOURCE / "python" / "examples").glob("*.py")}
    assert names == {"with_opencv", "with_imageio", "with_openexr"}
