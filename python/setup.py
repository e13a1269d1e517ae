"""Builds the wheel: the package with the libselvane that pkg-config knows, whose version it takes."""

import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel


def pkg_config(word: str) -> str:
    return subprocess.run(["pkg-config", word, "selvane"], check=True, text=True, stdout=subprocess.PIPE).stdout.strip()


class WithLibrary(build_py):
    """Puts the library beside the modules, where they look first."""

    def run(self) -> None:
        super().run()
        library = Path(pkg_config("--variable=libdir")) / "libselvane.so.0"
        self.copy_file(str(library), str(Path(self.build_lib) / "selvane"))


class HoldsMachineCode(Distribution):
    def has_ext_modules(self) -> bool:
        return True


class ForAnyPython(bdist_wheel):
    """One system and processor, but any Python 3, since nothing is compiled against it."""

    def get_tag(self) -> "tuple[str, str, str]":
        return ("py3", "none", super().get_tag()[2])


setup(
    version=pkg_config("--modversion"),
    distclass=HoldsMachineCode,
    cmdclass={"build_py": WithLibrary, "bdist_wheel": ForAnyPython},
)
