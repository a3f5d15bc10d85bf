"""A robot of the package in Obvista's viewers."""

import signal
import subprocess

import pytest

import robaxi
from conftest import BUILD, eventually
from robaxi import Settings


@pytest.fixture
def robot():
    server = robaxi.Server("Python", address="127.0.0.1", port=0, announce=False,
                           settings=Settings())
    server.memory.add("Battery/Charge", 87.5)
    server.camera = server.add_camera("head", 32, 16, "grey", 30.0)
    with server:
        yield server


def show(robot, viewer):
    return subprocess.Popen([BUILD / "bin/obvista", "--plugin", viewer, "--ip", "127.0.0.1",
                             "--port", str(robot.port)])


def end(process):
    process.send_signal(signal.SIGKILL)
    process.wait()


def test_the_memory_viewer_subscribes(robot):
    viewer = show(robot, "memoryviewer")
    eventually(lambda: robot.memory.watchers == 1)
    end(viewer)
    eventually(lambda: robot.memory.watchers == 0)


def test_the_camera_viewer_watches(robot):
    viewer = show(robot, "cameraviewer")
    eventually(lambda: robot.camera.watchers == 1)
    robot.camera.publish(bytes(32 * 16))
    end(viewer)
    eventually(lambda: robot.camera.watchers == 0)
