"""`robaxi conform` with robots that keep the rules, and with robots that are not there."""

import json
import re
import signal
import socket
import subprocess
import sys
import time

import pytest

import robaxi
from conforming import GROUPS, WRITABLE, conform, names, place, results, results_at_once
from conftest import BUILD, PATIENCE, SOURCE, Process, eventually

PYTHON_ROBOT = [sys.executable, str(SOURCE / "examples/robot.py"), "marvin", "PORT", "0"]
SHORT = {"ROBAXI_HEARTBEAT": "100"}
TOKEN_CHECKS = ["security.token-missing", "security.token-wrong", "security.version-first",
                "security.bearer-missing", "security.bearer-wrong"]

def skipped_without_announcement(found):
    return [name for name in names(found, "skipped") if not name.startswith("announcing.")]


def test_the_simulated_robot(start_humanoid):
    robot = start_humanoid(**SHORT)
    found = results_at_once(place(robot.port), "--write", WRITABLE, "--timeout", PATIENCE)
    assert [one for one in found if one["verdict"] == "failed"] == []
    assert skipped_without_announcement(found) == [*TOKEN_CHECKS, "security.tls-only"]


def test_the_robot_in_python(start):
    robot = start(PYTHON_ROBOT, "listens on", **SHORT)
    found = results_at_once(place(robot.port), "--write", "Audio/Volume", "--timeout", PATIENCE)
    assert [one for one in found if one["verdict"] == "failed"] == []
    # Audio/Volume is an int.
    assert skipped_without_announcement(found) == [
        "values.write-int", *TOKEN_CHECKS, "security.tls-only"]


@pytest.mark.parametrize("language", ["c++", "python"])
def test_a_token_and_tls(language, start, start_humanoid, make_token, make_certificate):
    token = make_token("a secret")
    certificate = make_certificate("robot", "IP:127.0.0.1")
    environment = {**SHORT, **certificate.served, "ROBAXI_SERVER_TOKEN": token}
    robot = start_humanoid(**environment) if language == "c++" else \
        start(PYTHON_ROBOT, "listens on", **environment)
    found = results(place(robot.port), "--group", "security", "--check", "calls.health",
                    "--check", "calls.reflection", "--timeout", PATIENCE,
                    ROBAXI_TRUST=str(certificate.file), ROBAXI_TOKEN=token)
    assert {one["verdict"] for one in found} == {"passed"}, found


def test_the_value_is_put_back(start_humanoid, connect):
    robot = start_humanoid()
    before = connect(robot.port).memory[WRITABLE]
    found = results(place(robot.port), "--group", "values", "--write", WRITABLE, "--timeout",
                    PATIENCE)
    assert "values.write" in names(found, "passed")
    assert connect(robot.port).memory[WRITABLE] == before


def test_nothing_is_written_without_write(start):
    """The robot prints each value that a client writes."""
    command = [*PYTHON_ROBOT]
    robot = start(command, "listens on")
    found = results(place(robot.port), "--group", "values", "--timeout", PATIENCE)
    assert "values.write" in names(found, "skipped")
    robot.end()
    assert robot.process.stdout.read() == ""


def test_a_robot_with_less():
    """What a robot does not have is skipped, with the reason."""
    with robaxi.Server("poor", address="127.0.0.1", port=0, announce=False,
                       settings=robaxi.Settings()) as server:
        found = results(place(server.port), "--group", "frames", "--group", "subscriptions",
                        "--timeout", PATIENCE)
    assert names(found, "failed") == []
    assert names(found, "passed") == ["subscriptions.no-module"]
    assert {one["text"] for one in found if one["text"]} >= {
        "The robot has no module with values.", "The robot has no module KVVideo."}


def test_a_robot_that_hangs(start_humanoid):
    """The first check fails in time, and the others are not tried."""
    robot = start_humanoid()
    # Connects, since the kernel accepts, and answers nothing.
    running = subprocess.Popen([str(BUILD / "bin/robaxi"), "conform", place(robot.port), "--timeout",
                                "5"], stdout=subprocess.PIPE, text=True)
    line = running.stdout.readline()
    assert line.startswith("passed  session.hello"), line
    robot.stop()
    output, _ = running.communicate(timeout=PATIENCE)
    assert running.returncode == 1, output
    assert re.search(r"^failed ", output, re.M), output
    assert re.search(r"^skipped .*\n +The robot opens no session since ", output, re.M), output


def test_an_interruption(start_humanoid):
    robot = start_humanoid()
    running = subprocess.Popen([str(BUILD / "bin/robaxi"), "conform", place(robot.port), "--timeout",
                                "60"], stdout=subprocess.PIPE, text=True)
    running.stdout.readline()
    robot.stop()
    running.send_signal(signal.SIGINT)
    running.communicate(timeout=PATIENCE)
    assert running.returncode == 130


def test_nobody_listens():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        ended = conform(place(probe.getsockname()[1]), "--timeout", PATIENCE)
    assert ended.returncode == 4
    assert "robaxi doctor" in ended.stderr


def test_options():
    listed = conform("--list").stdout.splitlines()
    assert len(listed) > 100
    assert len({line.split()[0] for line in listed}) == len(listed)
    assert sorted({line.split(".")[0] for line in listed}) == sorted(GROUPS)
    only = conform("--list", "--group", "limits", "--check", "session.hello").stdout.splitlines()
    assert [line.split()[0] for line in only] == ["session.hello"] + [
        line.split()[0] for line in listed if line.startswith("limits.")]
    assert conform("--list", "--json").stdout.count('"sentence"') == len(listed)
    for words, text in [(["--group", "limit"], "did you mean 'limits'"),
                        (["--check", "session.helo"], "did you mean 'session.hello'"),
                        ([], "HOST is missing")]:
        ended = conform(*words)
        assert ended.returncode == 2 and text in ended.stderr, ended.stderr


def plain(text):
    """A text without marks of Markdown and line breaks."""
    text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", text)
    return re.sub(r"\s+", " ", re.sub(r"[`*]", "", text))


def test_the_sentences_are_those_of_the_reference():
    """A numbered rule has the sentence; a sentence without a number is on the page that is named."""
    protocol = (SOURCE / "docs/protocol.md").read_text()
    rules = {number: plain(text) for number, text in re.findall(
        r"^- \*\*([A-Z]\d+)\*\* (.*(?:\n  .*)*)", protocol, re.M)}
    pages = {page: plain((SOURCE / f"docs/{page}.md").read_text())
             for page in ("memory", "video", "announcing", "protocol")}
    checks = [json.loads(line) for line in conform("--list", "--json").stdout.splitlines()]
    for check in checks:
        text = rules.get(check["rule"]) or pages[check["rule"]]
        assert check["sentence"] in text, check
    # The guide says why no check verifies these, and how many checks there are.
    assert set(rules) - {check["rule"] for check in checks} == \
        {"E3", "P5", "R5", "R10", "S1", "U10"}
    assert f"Each of the {len(checks)} checks" in (SOURCE / "docs/robaxi-tool.md").read_text()
