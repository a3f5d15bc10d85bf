"""A robot of ROS 2, published by Fast DDS in one host, in Obvista's windows: the browser finds the bridge
in another host, with its icon, and both viewers show the robot.

In lab/run, on a virtual screen with a session's bus. OBVISTA_SCREENSHOTS names a folder for pictures.
"""

import os
import subprocess

import pytest

from conftest import BUILD, eventually, lab
from obvista_windows import choose, connect, expect_texts, running_obvista
from screen_reader import ScreenReader


@pytest.fixture(scope="module", autouse=True)
def marvin():
    lab("add", "body", "--ready", "ready", "--", str(BUILD / "tests/ros2_writer"), "robot", "0")
    lab("add", "marvin", "--ready", "listens on", "--", str(BUILD / "bin/robaxi-bridge"),
        "--address", "0.0.0.0")


def take_picture(name):
    folder = os.environ.get("OBVISTA_SCREENSHOTS")
    if folder:
        subprocess.run(["import", "-window", "root", f"{folder}/{name}.png"], check=True)


@pytest.fixture
def reader():
    result = ScreenReader()  # first, since it starts the registry of programs
    with running_obvista():
        yield result


def show(reader, viewer):
    choose(reader, viewer, "marvin.local")
    take_picture(f"{viewer}-browser")
    connect(reader)


def test_the_memory_viewer_shows_the_joints(reader):
    show(reader, "memoryviewer")
    reader.click(eventually(lambda: reader.find(
        lambda one: one.is_showing and one.name == "Filter")))
    subprocess.run(["xdotool", "type", "LeftKnee"], check=True)
    expect_texts(reader, ["Joint", "LeftKnee", "Position", "rad", "Velocity", "rad/s", "Effort",
                          "0.5", "Nm"])
    take_picture("memoryviewer")


def test_the_camera_viewer_shows_the_camera(reader):
    show(reader, "cameraviewer")
    expect_texts(reader, ["camera/image_raw", r"Status: 640 × 480 RGB .*",
                          r".* [1-9]\d*\.\d shown .*"])
    take_picture("cameraviewer")
