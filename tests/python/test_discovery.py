"""Announced robots and computers, in lab/run with robot1, robot2 and computer1."""

import gc
import os
import re
import socket
import subprocess
import time
import weakref

import pytest

import robaxi
from conftest import PATIENCE, eventually, lab, until_found
from robaxi import Announced, Cause, discovery


def names():
    return [one.name for one in robaxi.discover()]


def test_robots_and_computers_are_found():
    announced = [
        Announced("computer1", "computer1.local", "10.77.2.1", 9559, "computer"),
        Announced("robot1", "robot1.local", "10.77.1.1", 9559, "robot"),
        Announced("robot2", "robot2.local", "10.77.1.2", 9559, "robot"),
    ]
    eventually(lambda: robaxi.discover() == announced)


def test_a_robot_is_reached_by_each_of_its_names():
    eventually(lambda: "robot1" in names())
    for name in ["robot1", "ROBOT1", "robot1.local", "robot1:9559", "10.77.1.1"]:
        with until_found(lambda: robaxi.Robot(name, timeout=PATIENCE)) as robot:
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
    before = min(use() for _ in range(3))
    for _ in range(4):
        use()
    # gRPC may close some a moment later.
    eventually(lambda: use() <= before)


def test_the_announced_port_is_used():
    lab("add", "sleeper", "--", "avahi-publish", "-s", "sleeper", "_robax._tcp", "9559")
    lab("add", "other", "--", "avahi-publish", "-s", "An other", "_robaxi._tcp", "7001")


    def found_both():
        found = {one.name: one for one in robaxi.discover()}
        return {"sleeper", "An other"} <= set(found) and found

    found = eventually(found_both)
    assert (found["sleeper"].port, found["sleeper"].kind) == (None, "robot")
    assert (found["An other"].host, found["An other"].port) == ("other.local", 7001)
    for name in ["other", "An other"]:
        with pytest.raises(robaxi.Error, match="other.local port 7001: nothing listens") as raised:
            until_found(lambda: robaxi.Robot(name, timeout=PATIENCE))
        assert raised.value.cause == Cause.REFUSED
    lab("stop", "sleeper")
    lab("stop", "other")


def test_of_several_with_a_name_one_with_an_address_is_found():
    lab("add", "walker", "--", "avahi-publish", "-s", "Strider", "_robaxi._tcp", "7001")
    lab("add", "other", "--", "avahi-publish", "-s", "-H", "nobody.local", "walker",
        "_robaxi._tcp", "7002")
    eventually(lambda: {"walker", "Strider"} <= set(names()))
    assert discovery.find("walker", PATIENCE).host == "walker.local"
    lab("stop", "walker")
    lab("stop", "other")


def ip(*words):
    subprocess.run(["ip", *words], check=True)


def test_an_address_whose_packets_are_lost_is_passed_over():
    eventually(lambda: "robot2" in names())
    # To a card that nobody has.
    ip("neighbour", "replace", "10.77.1.2", "lladdr", "02:00:00:00:00:01", "nud", "permanent", "dev",
       "eth0")
    with pytest.raises(robaxi.Error, match="10.77.1.2 port 9559: no answer") as raised:
        robaxi.Robot("10.77.1.2", timeout=1)
    assert raised.value.cause == Cause.TIMED_OUT

    def reached(name):
        try:
            with robaxi.Robot(name) as robot:
                return robot.address
        except robaxi.Error:
            return ""  # Avahi's answer came too late on a busy machine

    for name in ["robot2", "robot2.local:9559"]:
        assert re.fullmatch("fe80::[0-9a-f:]+%eth0", eventually(lambda: reached(name)))
    ip("neighbour", "delete", "10.77.1.2", "dev", "eth0")


def test_a_robot_without_ipv4_is_reached():
    eventually(lambda: "robot2" in names())
    lab("exec", "robot2", "--", "ip", "address", "delete", "10.77.1.2/16", "dev", "eth0")
    lab("avahi", "restart")  # forgets the address, for which no goodbye could be sent

    def address():
        found = discovery.find("robot2", 1)
        return found.address if found and "." not in found.address else ""

    assert re.fullmatch("fe80::[0-9a-f:]+%eth0", eventually(address))
    with until_found(lambda: robaxi.Robot("robot2", timeout=PATIENCE)) as robot:
        assert 0 <= robot.memory["Battery/Charge"] <= 100
    lab("exec", "robot2", "--", "ip", "address", "add", "10.77.1.2/16", "dev", "eth0")

    def has_ipv4():
        found = discovery.find("robot2", 1)
        return found and found.address == "10.77.1.2"

    eventually(has_ipv4)


def test_a_daemon_that_hangs_delays_a_name_of_the_resolver_by_a_bounded_time():
    eventually(lambda: "robot1" in names())
    with open("/etc/hosts", "a", encoding="ascii") as hosts:  # of the lab
        hosts.write("10.77.1.1 robot1.local\n")
    lab("avahi", "pause")
    try:
        with pytest.raises(robaxi.Error, match="the Avahi daemon does not answer"):
            robaxi.discover(0.5)
        assert discovery.find("robot1.local", 0.5) is None
        assert discovery.look_up("robot1.local", 0.5) == ()
        # The bus itself would wait 5 s for each answer: twice for a name without a port.
        for name, timeout in [("robot1.local", 9), ("robot1.local:9559", 4.5)]:
            with robaxi.Robot(name, timeout=timeout) as robot:
                assert robot.address == "10.77.1.1"
    finally:
        lab("avahi", "continue")
    eventually(lambda: "robot1" in names())


def test_a_host_that_cannot_be_looked_up_is_not_waited_for():
    Gio, GLib, bus = discovery.open_bus(PATIENCE)
    search = discovery._Search()
    search._end = time.monotonic() + PATIENCE
    with pytest.raises(GLib.Error, match="[Ii]nvalid"):
        search._look_up("no..host", (Gio, GLib, bus))
    assert search.is_looked_up("no..host")
    assert search.addresses("no..host") == ()
    bus.close_sync(None)


def test_a_name_that_nobody_has_is_given_up():
    with pytest.raises(robaxi.Error) as raised:
        robaxi.Robot("nobody", timeout=PATIENCE)
    assert raised.value.cause == Cause.NAME_NOT_FOUND


def test_a_bus_that_hangs_is_given_up(tmp_path, monkeypatch):
    with socket.socket(socket.AF_UNIX) as bus:
        bus.bind(str(tmp_path / "bus"))
        bus.listen()
        monkeypatch.setenv("DBUS_SYSTEM_BUS_ADDRESS", f"unix:path={tmp_path}/bus")
        with pytest.raises(robaxi.Error, match="the system bus does not answer") as raised:
            robaxi.discover(0.2)
        assert raised.value.cause == Cause.CANNOT_LISTEN
        assert discovery.find("robot1", 0.2) is None


def test_without_a_daemon_the_reason_is_said():
    lab("avahi", "stop")
    search = discovery._Search()
    with pytest.raises(robaxi.Error, match="Avahi daemon") as raised:
        search.run(PATIENCE)
    assert raised.value.cause == Cause.CANNOT_LISTEN
    # Its subscription, which nobody else would end, refers to it.
    released = weakref.ref(search)
    del search, raised
    gc.collect()
    assert released() is None
    with robaxi.Robot("10.77.1.1", timeout=PATIENCE) as robot:
        assert "KVMemory" in [module.name for module in robot.modules()]
    lab("avahi", "start")
    eventually(lambda: "robot1" in names())
