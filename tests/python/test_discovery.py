"""Announced robots and computers, in lab/run with robot1, robot2 and computer1."""

import gc
import os

import pytest

import robaxi
from conftest import PATIENCE, eventually, lab
from robaxi import Announced, Cause, discovery


def names():
    return [one.name for one in robaxi.discover()]


def test_robots_and_computers_are_found():
    eventually(lambda: names() == ["computer1", "robot1", "robot2"])
    assert robaxi.discover() == [
        Announced("computer1", "computer1.local", "10.77.2.1", 9559, "computer"),
        Announced("robot1", "robot1.local", "10.77.1.1", 9559, "robot"),
        Announced("robot2", "robot2.local", "10.77.1.2", 9559, "robot"),
    ]


def test_a_robot_is_reached_by_each_of_its_names():
    eventually(lambda: "robot1" in names())
    for name in ["robot1", "ROBOT1", "robot1.local", "robot1:9559", "10.77.1.1"]:
        with robaxi.Robot(name, timeout=PATIENCE) as robot:
            assert robot.address == "10.77.1.1"
            assert 0 <= robot.memory["Battery/Charge"] <= 100


def test_searches_and_announcements_leave_nothing_open():
    def use():
        assert discovery.find("robot1", PATIENCE).address == "10.77.1.1"
        with robaxi.Server("brief", port=0, settings=robaxi.Settings()):
            pass
        gc.collect()
        return len(os.listdir("/proc/self/fd"))

    use()
    before = use()
    assert [use() for _ in range(4)] == [before] * 4


def test_the_announced_port_is_used():
    lab("add", "sleeper", "--", "avahi-publish", "-s", "sleeper", "_robax._tcp", "9559")
    lab("add", "other", "--", "avahi-publish", "-s", "An other", "_robaxi._tcp", "7001")
    eventually(lambda: {"sleeper", "An other"} <= set(names()))
    found = {one.name: one for one in robaxi.discover()}
    assert (found["sleeper"].port, found["sleeper"].kind) == (None, "robot")
    assert (found["An other"].host, found["An other"].port) == ("other.local", 7001)
    for name in ["other", "An other"]:
        with pytest.raises(robaxi.Error, match="other.local port 7001: nothing listens") as raised:
            robaxi.Robot(name, timeout=PATIENCE)
        assert raised.value.cause == Cause.REFUSED
    lab("stop", "sleeper")
    lab("stop", "other")


def test_a_name_that_nobody_has_is_given_up():
    with pytest.raises(robaxi.Error) as raised:
        robaxi.Robot("nobody", timeout=PATIENCE)
    assert raised.value.cause == Cause.NAME_NOT_FOUND


def test_without_a_daemon_the_reason_is_said():
    lab("avahi", "stop")
    with pytest.raises(robaxi.Error, match="Avahi daemon") as raised:
        robaxi.discover()
    assert raised.value.cause == Cause.CANNOT_LISTEN
    with robaxi.Robot("10.77.1.1", timeout=PATIENCE) as robot:
        assert "KVMemory" in [module.name for module in robot.modules()]
    lab("avahi", "start")
    eventually(lambda: "robot1" in names())
