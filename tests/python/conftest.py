"""Robots for the tests: processes of the C++ library, which end with their test."""

from __future__ import annotations

import os
import pathlib
import signal
import subprocess
import time
from typing import Any, Callable, Dict, Iterator, List

import pytest

import robaxi
from free_port import free_port
from scripted_robot import ScriptedRobot

BUILD = pathlib.Path(os.environ["OBVISTA_BUILD_DIR"])
SOURCE = pathlib.Path(os.environ["OBVISTA_SOURCE_DIR"])
PATIENCE = 30  # seconds, on a busy machine
LAB_CTL = SOURCE / "lab/ctl"


def eventually(condition: Callable[[], Any]) -> Any:
    """Waits until a condition holds; returns its result."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.01)
    raise AssertionError(f"not within {PATIENCE} s")


def until_found(action: Callable[[], Any]) -> Any:
    """Repeats an action on a robot by its name until the robot is found: a program waits a second
    for its announcement, which is late on a busy machine."""
    def attempt() -> Any:
        try:
            return action()
        except robaxi.Error as error:
            if error.cause != robaxi.Cause.NAME_NOT_FOUND:
                raise
            return None

    return eventually(attempt)


def lab(*words: str) -> str:
    """Runs lab/ctl, which changes the lab in which the test runs; returns its output."""
    return subprocess.run([LAB_CTL, *words], check=True, stdout=subprocess.PIPE, text=True).stdout


class Process:
    """A robot on a port of the loopback."""

    def __init__(self, command: List[str], ready: str, **environment: str) -> None:
        self.port = free_port()
        self.process = subprocess.Popen(
            [word.replace("PORT", str(self.port)) for word in command], stdout=subprocess.PIPE,
            text=True, env={**os.environ, **environment})
        assert self.process.stdout is not None
        assert any(ready in line for line in iter(self.process.stdout.readline, "")), command

    def stop(self) -> None:
        """Stops all of its threads, which happens one after another."""
        self.process.send_signal(signal.SIGSTOP)
        os.waitid(os.P_PID, self.process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)

    def end(self) -> None:
        self.process.kill()
        self.process.wait()


def error_of(action: Callable[..., Any], *arguments: Any, **options: Any) -> robaxi.Error:
    """The error that an action raises."""
    with pytest.raises(robaxi.Error) as raised:
        action(*arguments, **options)
    return raised.value


@pytest.fixture
def start() -> Iterator[Callable[..., Process]]:
    """Starts a process by its command, in which PORT stands for its port."""
    started: List[Process] = []

    def start_process(command: List[str], ready: str, **environment: str) -> Process:
        started.append(Process(command, ready, **environment))
        return started[-1]

    yield start_process
    for one in started:
        one.end()


@pytest.fixture
def start_echo(start: Any) -> Callable[..., Process]:
    """A broker of the library with "Echo", and "Memory" in which a counter runs."""
    command = [str(BUILD / "tests/robaxi_test_server"), "PORT"]
    return lambda **environment: start(command, "ready", **environment)


@pytest.fixture
def echo(start_echo: Any) -> Process:
    return start_echo()


@pytest.fixture
def connect() -> Iterator[Callable[..., robaxi.Robot]]:
    """Connects to a robot on the loopback."""
    robots: List[robaxi.Robot] = []

    def connect_to(port: int, **options: Any) -> robaxi.Robot:
        robots.append(robaxi.Robot("127.0.0.1", port, **{"timeout": PATIENCE, **options}))
        return robots[-1]

    yield connect_to
    for robot in robots:
        robot.close()


@pytest.fixture
def serve() -> Iterator[Callable[..., robaxi.Server]]:
    """Starts a robot of the package on any free port of the loopback, with the module Echo."""
    servers: List[robaxi.Server] = []

    def start_server(**options: Any) -> robaxi.Server:
        server = robaxi.Server("Python", port=0, announce=False, **{
            "address": "127.0.0.1", "settings": robaxi.Settings(), **options})
        servers.append(server)
        echo = server.module("Echo", "Says what it hears")
        echo.bind("echo", lambda value: value)

        @echo.method
        def fail(text: str) -> None:
            """Fails"""
            raise ValueError(text)

        @echo.method
        def scale(number: float, times: int = 2) -> float:
            return number * times

        server.start()
        return server

    yield start_server
    for server in servers:
        server.stop()


HUMANOID = [str(BUILD / "bin/robaxi-robot"), "--port", "PORT", "--http-port", "0", "--no-announce"]


@pytest.fixture
def start_humanoid(start: Any) -> Callable[..., Process]:
    """The simulated robot."""
    return lambda **environment: start(HUMANOID, "listens on", **environment)


@pytest.fixture(scope="session")
def humanoid() -> Iterator[Process]:
    """The simulated robot; shared, since it takes a moment to start."""
    robot = Process(HUMANOID, "listens on")
    yield robot
    robot.end()


class Certificate:
    """A certificate that signed itself."""

    def __init__(self, folder: pathlib.Path, name: str, names: str) -> None:
        self.file = folder / f"{name}.pem"
        self.key = folder / f"{name}-key.pem"
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
             "-nodes", "-days", "2", "-subj", f"/CN={name}", "-addext", f"subjectAltName={names}",
             "-out", self.file, "-keyout", self.key], check=True, stderr=subprocess.DEVNULL)

    @property
    def served(self) -> Dict[str, str]:
        """The environment of a robot that uses it."""
        return {"ROBAXI_SERVER_CERTIFICATE": str(self.file), "ROBAXI_SERVER_KEY": str(self.key)}


@pytest.fixture
def make_certificate(tmp_path: pathlib.Path) -> Callable[[str, str], Certificate]:
    return lambda name, names: Certificate(tmp_path, name, names)


@pytest.fixture
def make_token(tmp_path: pathlib.Path) -> Callable[[str], str]:
    """Writes a token into a file that only its owner may read."""

    def write(token: str) -> str:
        file = tmp_path / f"token-{len(list(tmp_path.iterdir()))}"
        file.write_text(token + "\n")
        file.chmod(0o600)
        return str(file)

    return write


@pytest.fixture
def script():
    """Starts scripted robots."""
    robots = []

    def start_robot(*scripts):
        robots.append(ScriptedRobot(*scripts))
        return robots[-1]

    yield start_robot
    for robot in robots:
        robot.end()
