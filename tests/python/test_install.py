"""The package as `cmake --install` and a wheel bring it: no variable names the library, and the folder can be moved."""

import os
import shutil
import subprocess
import sys
import zipfile

import pytest
from conftest import BUILD, SOURCE

PROGRAM = """
import numpy, selvane, sys
scene = numpy.geomspace(0.01, 100, 64 * 48 * 3, dtype=numpy.float32).reshape(48, 64, 3)
sys.stdout.write(selvane.__file__ + " " + selvane.tonemap(scene).tobytes().hex())
"""


def run(folder):
    """Runs the program with the package of a folder; returns what it rendered."""
    clean = {key: value for key, value in os.environ.items() if key not in ("LD_LIBRARY_PATH", "PYTHONPATH")}
    command = [sys.executable, "-c", PROGRAM]
    result = subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, env={**clean, "PYTHONPATH": str(folder)})
    file, pixels = result.stdout.split()
    assert file.startswith(str(folder))
    return pixels


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    folder = tmp_path_factory.mktemp("install")
    subprocess.run(["cmake", "--install", BUILD, "--prefix", folder / "first"], check=True, stdout=subprocess.DEVNULL)
    return (folder / "first").rename(folder / "moved")


def packages(prefix):
    return prefix / "lib" / "python{}.{}".format(*sys.version_info) / "dist-packages"


def test_an_install_that_was_moved_finds_its_library(prefix):
    assert len(run(packages(prefix))) == 2 * 48 * 64 * 3
    installed = sorted(path.name for path in (packages(prefix) / "selvane").iterdir())
    source = [path.name for path in (SOURCE / "python" / "selvane").glob("*.py")]
    assert installed == sorted([*source, "libselvane.so.0", "py.typed"])
    assert not os.path.isabs(os.readlink(packages(prefix) / "selvane" / "libselvane.so.0"))


def test_without_the_library_there_is_an_import_error():
    program = "try:\n    import selvane\nexcept ImportError as error:\n    print(error)"
    clean = {key: value for key, value in os.environ.items() if key != "LD_LIBRARY_PATH"}
    text = subprocess.run([sys.executable, "-c", program], check=True, text=True, stdout=subprocess.PIPE, env=clean).stdout
    assert text.startswith("selvane needs the library libselvane.so.0: libselvane.so.0: cannot open")


def test_the_folder_of_the_install_is_one_where_python_looks():
    import site

    for prefix in ("/usr", "/usr/local"):
        assert f"{prefix}/lib/python{sys.version_info[0]}.{sys.version_info[1]}/dist-packages" in site.getsitepackages()


def test_a_wheel_carries_the_library(prefix, tmp_path):
    shutil.copytree(SOURCE / "python", tmp_path / "python")
    configs = os.path.dirname(next(prefix.rglob("selvane.pc")))
    pip = [sys.executable, "-m", "pip", "--no-cache-dir", "--quiet", "--disable-pip-version-check"]
    offline = ["--no-index", "--no-deps", "--no-build-isolation"]
    command = [*pip, "wheel", *offline, "--wheel-dir", tmp_path, tmp_path / "python"]
    subprocess.run(command, check=True, env={**os.environ, "PKG_CONFIG_PATH": configs})
    (wheel,) = tmp_path.glob("*.whl")
    version = subprocess.run(["pkg-config", "--modversion", "selvane"], text=True, stdout=subprocess.PIPE, env={**os.environ, "PKG_CONFIG_PATH": configs})
    assert wheel.name == f"selvane-{version.stdout.strip()}-py3-none-linux_x86_64.whl"
    assert {"selvane/libselvane.so.0", "selvane/py.typed", "selvane/__init__.py"} < set(zipfile.ZipFile(wheel).namelist())
    subprocess.run([*pip, "install", "--no-index", "--no-deps", "--no-warn-script-location", "--target", tmp_path / "site", wheel], check=True)
    assert run(tmp_path / "site") == run(packages(prefix))
