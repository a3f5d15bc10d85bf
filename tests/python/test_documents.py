"""The examples in Python, and the keys that the pages name.

In lab/run, with a robot that announces itself as "marvin".
"""

import re
import subprocess
import sys

import pytest

from conftest import BUILD, PATIENCE, SOURCE, eventually, lab, until_found

import robaxi

PAGE = (SOURCE / "docs/python.md").read_text()
EXAMPLES = [example for page in (PAGE, (SOURCE / "docs/makers.md").read_text())
            for example in re.findall(r"^```python\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)]


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
    program.write_text(EXAMPLES[number].replace("range(600)", "range(2)"))

    def run():
        ended = subprocess.run([sys.executable, program], capture_output=True, text=True,
                               timeout=PATIENCE, check=False, cwd=SOURCE)
        # As in until_found().
        return None if "Cannot reach marvin port 9559: the name does not resolve" in ended.stderr \
            else ended

    ended = eventually(run)
    assert (ended.returncode, ended.stderr) == (0, ""), EXAMPLES[number]
    assert ended.stdout


def test_every_source_is_described():
    for source in (SOURCE / "python/robaxi").glob("*.py"):
        assert source.name == "__init__.py" or f"`{source.name}`" in PAGE


def test_the_simulated_robot_has_the_keys_that_the_guides_name():
    named = set()
    for page in ("guide", "memoryviewer", "robaxi-tool", "recordings", "makers"):
        text = (SOURCE / f"docs/{page}.md").read_text()
        named |= set(re.findall(
            r"\b(?:Battery|Joint|Audio|Leds|Motion|Robot)(?:/[A-Z]\w+)+\b(?![/*])", text))
    assert len(named) >= 3
    with until_found(lambda: robaxi.Robot("marvin", timeout=PATIENCE)) as robot:
        assert sorted(named - set(robot.memory)) == []
