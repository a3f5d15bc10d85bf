"""examples/robot.py found by Obvista's browser, and shown by both viewers.

In lab/run, on a virtual screen with a session's bus.
"""

import sys

import pytest

from conftest import SOURCE, lab
from obvista_windows import choose, connect, expect_texts, running_obvista
from screen_reader import ScreenReader


@pytest.fixture(scope="module", autouse=True)
def marvin():
    lab("add", "marvin", "--ready", "listens on", "--", sys.executable,
        str(SOURCE / "examples/robot.py"))


@pytest.mark.parametrize("viewer, texts", [
    ("memoryviewer", ["Charge", "60, writable", r"Status: 3 keys .*"]),
    ("cameraviewer", ["head", r"Status: 160 × 120 Grey .*", r".* [1-9]\d*\.\d shown .*"])])
def test_it_is_found_and_shown(viewer, texts):
    reader = ScreenReader()
    with running_obvista():
        choose(reader, viewer, "marvin.local")
        connect(reader)
        expect_texts(reader, texts)
