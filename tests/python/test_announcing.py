"""examples/robot.py in lab/run: announced, found, and shown."""

import json
import re
import subprocess
import sys

import pytest

import robaxi
from conftest import BUILD, PATIENCE, SOURCE, eventually, lab, until_found

EXAMPLE = SOURCE / "examples/robot.py"


def tool(*words):
    ended = subprocess.run([BUILD / "bin/robaxi", *words, "--timeout", str(PATIENCE)],
                           capture_output=True, text=True, check=False)
    assert ended.returncode == 0, ended.stdout + ended.stderr
    return ended.stdout


def names():
    return [one.name for one in robaxi.discover()]


@pytest.fixture(scope="module", autouse=True)
def marvin():
    lab("add", "marvin", "--ready", "listens on", "--", sys.executable, EXAMPLE)
    eventually(lambda: "marvin" in names())


def test_the_example_is_short():
    assert len(EXAMPLE.read_text().splitlines()) <= 40


def test_it_is_found():
    eventually(lambda: re.fullmatch(r"NAME .*\nmarvin +10\.77\.3\.\d +9559 +robot +marvin\n",
                                    tool("list")))
    eventually(lambda: [(one.host, one.port, one.kind) for one in robaxi.discover()] == [
        ("marvin.local", 9559, "robot")])


# Everything that a program needs of a robot: announcement, port, protocol, access and icon.
def test_the_doctor_finds_no_problem():
    report = tool("doctor", "marvin")
    assert "No problems found." in report
    for check in ["announced", "port", "protocol", "access", "icon"]:
        assert re.search(rf"^ok +{check}:", report, re.MULTILINE), report


def test_it_keeps_the_rules_of_announcements():
    checks = [json.loads(line) for line in
              tool("conform", "marvin", "--group", "announcing", "--json").splitlines()]
    assert len(checks) == 8
    assert [check for check in checks if check["verdict"] != "passed"] == []


def test_it_is_used(tmp_path):
    assert tool("get", "marvin", "Audio/Volume") == "60\n"
    tool("set", "marvin", "Audio/Volume", "35")
    assert tool("get", "marvin", "Audio/Volume") == "35\n"
    assert len(tool("watch", "marvin", "Joint/*", "--count", "3").splitlines()) == 3
    picture = tmp_path / "head.png"
    assert '"width":160,"height":120,"sent":"grey"' in tool("snapshot", "marvin", "head", "--json",
                                                            "-o", str(picture))
    with until_found(lambda: robaxi.Robot("marvin", timeout=PATIENCE)) as robot:
        assert next(robot.camera("head").frames()).width == 160
        robot.call("KVLeds", "rasta", 2.5)
        eventually(lambda: "rasta for 2.5 s" in lab("output", "marvin"))


def test_it_is_announced_again_by_another_daemon():
    lab("avahi", "stop", "marvin")
    eventually(lambda: "marvin" not in names())
    lab("avahi", "start", "marvin")
    eventually(lambda: "marvin" in names())


def test_what_cannot_be_announced_is_reported():
    program = f"""
import logging, signal, sys, robaxi
from robaxi._announcer import Announcer
signal.alarm({PATIENCE})
logging.basicConfig(stream=sys.stdout, format="%(message)s")
with robaxi.Server("x" * 64, port=0) as server:
    print("listens on", server.port)
Announcer("marvin", [("_robaxi._tcp", "no port")]).close()
print("closed")
"""
    lines = lab("exec", "marvin", "--", sys.executable, "-c", program).splitlines()
    assert re.fullmatch("not announced as x{64}: .*[Ii]nvalid service name.*", lines[0])
    assert lines[1].startswith("listens on ")
    assert lines[2] == "not announced"
    assert lines[-1] == "closed"


def test_a_name_that_is_taken_is_changed():
    lab("exec", "marvin", "--", "sh", "-c",
        f"{sys.executable} {EXAMPLE} marvin 7000 7001 >/dev/null 2>&1 &")
    eventually(lambda: names() == ["marvin #2", "marvin"] or names() == ["marvin", "marvin #2"])
