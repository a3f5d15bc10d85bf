"""Obvista's windows, operated as a screen reader does."""

from __future__ import annotations

import contextlib
import os
import re
import subprocess
from typing import Iterable, Iterator

from conftest import BUILD, eventually
from screen_reader import ScreenReader


@contextlib.contextmanager
def running_obvista() -> Iterator[None]:
    process = subprocess.Popen([BUILD / "bin/obvista"],
                               env={**os.environ, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"})
    try:
        yield
    finally:
        process.kill()
        process.wait()


def _is_chosen(reader: ScreenReader, robot: str) -> bool:
    """Chooses a robot in the browser, whose window may still move."""
    row = reader.find(lambda one: one.name == robot and one.is_showing)
    if row and not row.is_selected:
        reader.click(row)
    return bool(row and row.is_selected)


def choose(reader: ScreenReader, viewer: str, robot: str) -> None:
    """Starts a viewer, and chooses a robot in the browser that it opens."""
    reader.press(eventually(lambda: reader.find(lambda one: one.name == viewer)))
    eventually(lambda: _is_chosen(reader, robot))


def connect(reader: ScreenReader) -> None:
    """Connects the viewer to the robot that is chosen."""
    reader.press(eventually(lambda: reader.find(lambda one: one.name == "Connect to")))


def expect_texts(reader: ScreenReader, texts: Iterable[str]) -> None:
    """Waits until texts, regular expressions, are visible."""
    for text in texts:
        eventually(lambda: reader.find(
            lambda one: one.is_showing and re.fullmatch(text, one.name)))
