"""examples/robot.py found by Obvista's browser, and shown by both viewers.

In lab/run, on a virtual screen with a session's bus.
"""

import os
import re
import subprocess
import sys

import pytest

from conftest import BUILD, SOURCE, eventually, lab
from screen_reader import ScreenReader


@pytest.fixture(scope="module", autouse=True)
def marvin():
    lab("add", "marvin", "--ready", "listens on", "--", sys.executable,
        str(SOURCE / "examples/robot.py"))


@pytest.fixture
def obvista():
    process = subprocess.Popen([BUILD / "bin/obvista"],
                               env={**os.environ, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"})
    yield
    process.kill()
    process.wait()


def is_chosen(reader):
    """Chooses the robot in the browser, whose window may still move."""
    row = reader.find(lambda one: one.name == "marvin.local" and one.is_showing)
    if row and not row.is_selected:
        reader.click(row)
    return row and row.is_selected


@pytest.mark.parametrize("viewer, texts", [
    ("memoryviewer", ["Charge", "60, writable", r"Status: 3 keys .*"]),
    ("cameraviewer", ["head", r"Status: 160 × 120 Grey .*", r".* [1-9]\d*\.\d shown .*"])])
def test_it_is_found_and_shown(obvista, viewer, texts):
    reader = ScreenReader()
    reader.press(eventually(lambda: reader.find(lambda one: one.name == viewer)))
    eventually(lambda: is_chosen(reader))
    reader.press(reader.find(lambda one: one.name == "Connect to"))
    for text in texts:
        eventually(lambda: reader.find(
            lambda one: one.is_showing and re.fullmatch(text, one.name)))
