"""The examples of docs/python.md, in lab/run, with a robot that announces itself as "marvin"."""

import re
import subprocess
import sys

import pytest

from conftest import BUILD, PATIENCE, SOURCE, eventually, lab

import robaxi

PAGE = (SOURCE / "docs/python.md").read_text()
EXAMPLES = re.findall(r"^```python\n(.*?)^```$", PAGE, re.MULTILINE | re.DOTALL)


@pytest.fixture(scope="module", autouse=True)
def marvin():
    lab("add", "marvin", "--ready", "listens on", "--", str(BUILD / "bin/robaxi-robot"), "--name",
        "marvin", "--address", "0.0.0.0", "--http-port", "0")
    eventually(lambda: "marvin" in [one.name for one in robaxi.discover()])


def test_there_are_examples():
    assert len(EXAMPLES) >= 6


@pytest.mark.parametrize("number", range(len(EXAMPLES)))
def test_an_example_runs_and_prints(number, tmp_path):
    program = tmp_path / "example.py"
    program.write_text(EXAMPLES[number])
    ended = subprocess.run([sys.executable, program], capture_output=True, text=True,
                           timeout=PATIENCE, check=False, cwd=SOURCE)
    assert (ended.returncode, ended.stderr) == (0, ""), EXAMPLES[number]
    assert ended.stdout


def test_every_source_is_described():
    for source in (SOURCE / "python/robaxi").glob("*.py"):
        assert source.name == "__init__.py" or f"`{source.name}`" in PAGE
