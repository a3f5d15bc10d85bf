"""Robaxi, the middleware of a robot: reach robots, or be one.

    robot = robaxi.Robot("marvin")
    print(robot.memory["Battery/Charge"])
"""

from ._wire import KeyInfo, MethodInfo, ModuleInfo
from .client import Camera, Change, Frame, Frames, Memory, Robot, Watch
from .discovery import Announced, discover
from .errors import Cause, Error, NoSuchKey
from .settings import Access, Limits, ServerSettings, Settings

__all__ = [
    "Access", "Announced", "Camera", "Cause", "Change", "Error", "Frame", "Frames", "KeyInfo",
    "Limits", "Memory", "MethodInfo", "ModuleInfo", "NoSuchKey", "Robot", "ServerSettings",
    "Settings", "Watch", "discover",
]
