"""Robaxi, the middleware of a robot: reach robots, or be one.

    robot = robaxi.Robot("marvin")
    print(robot.memory["Battery/Charge"])

    with robaxi.Server("marvin") as server:
        server.memory.add("Battery/Charge", 87.5, unit="%")
        server.wait()
"""

from ._wire import KeyInfo, MethodInfo, ModuleInfo
from ._session import State
from .client import Camera, Change, Frame, Frames, Memory, Robot, States, Watch
from .discovery import Announced, discover
from .errors import Cause, Error, NoSuchKey
from .module import Module
from .server import Server
from .settings import Access, Limits, ServerSettings, Settings
from .table import Table
from .video import CameraSource, Mode

__all__ = [
    "Access", "Announced", "Camera", "CameraSource", "Cause", "Change", "Error", "Frame", "Frames",
    "KeyInfo", "Limits", "Memory", "MethodInfo", "Mode", "Module", "ModuleInfo", "NoSuchKey",
    "Robot", "Server", "ServerSettings", "Settings", "State", "States", "Table", "Watch",
    "discover",
]
