"""docs/python.md: its prompts are a doctest, its commands run after an install."""

import doctest
import os
import re
import shutil
import subprocess
import warnings

from conftest import BUILD, SOURCE

PAGE = SOURCE / "docs" / "python.md"


def blocks(kind):
    return re.findall(rf"^```{kind}\n(.*?)^```$", PAGE.read_text(), re.MULTILINE | re.DOTALL)


def test_what_the_page_shows_at_a_prompt_is_true():
    test = doctest.DocTestParser().get_doctest("".join(blocks("pycon")), {}, PAGE.name, str(PAGE), 0)
    assert len(test.examples) > 50
    with warnings.catch_warnings():
        assert doctest.DocTestRunner().run(test).failed == 0


def test_the_commands_of_the_page_run_after_an_install(tmp_path):
    subprocess.run(["cmake", "--install", BUILD, "--prefix", tmp_path / "prefix"], check=True, stdout=subprocess.DEVNULL)
    shutil.copytree(SOURCE / "python", tmp_path / "python")
    clean = {key: value for key, value in os.environ.items() if key not in ("LD_LIBRARY_PATH", "PYTHONPATH")}
    clean.update(PREFIX=str(tmp_path / "prefix"), PATH="/usr/bin:/bin")
    commands = "".join(blocks("sh"))
    assert "pip wheel" in commands
    subprocess.run(["bash", "-euo", "pipefail", "-c", commands], check=True, cwd=tmp_path, env=clean)


def test_every_name_of_the_package_is_on_the_page():
    import selvane

    text = PAGE.read_text()
    for name in selvane.__all__:
        assert re.search(rf"\b{name}\b", text), name
