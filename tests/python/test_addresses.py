"""Robots with several addresses, of which some do not answer."""

import contextlib
import errno
import os
import re
import select
import socket
import struct
import time

import pytest

import robaxi
from conftest import PATIENCE
from free_port import free_port
from robaxi import Cause, _race
from robaxi._race import Unreached, first_to_accept
from robaxi._target import Deadline, connect


@contextlib.contextmanager
def listener(address, port=0):
    with socket.socket() as one:
        one.bind((address, port))
        one.listen(8)
        yield one


@contextlib.contextmanager
def black_hole(address, port=0):
    """A port at which the system drops all packets, since the queue of connections is full."""
    with socket.socket() as full, contextlib.ExitStack() as clients:
        full.bind((address, port))
        full.listen(0)
        for _ in range(16):
            client = clients.enter_context(socket.socket())
            client.setblocking(False)
            client.connect_ex(full.getsockname())
        yield full.getsockname()[1]


def test_the_first_that_answers_is_used():
    with listener("127.0.0.1") as robot:
        port = robot.getsockname()[1]
        with black_hole("127.0.0.2", port):
            assert first_to_accept(["127.0.0.2", "127.0.0.1"], port, PATIENCE) == "127.0.0.1"


def test_the_next_is_not_tried_while_the_first_may_answer():
    with listener("127.0.0.1") as robot:
        port = robot.getsockname()[1]
        with listener("127.0.0.2", port) as spare:
            assert first_to_accept(["127.0.0.1", "127.0.0.2"], port, PATIENCE) == "127.0.0.1"
            spare.setblocking(False)
            with pytest.raises(BlockingIOError):
                spare.accept()


def until_readable(listening):
    """Waits for a connection, which is then established at both ends."""
    assert select.select([listening], [], [], PATIENCE)[0]


def test_a_program_that_was_held_up_looks_before_it_tries_the_next(monkeypatch):
    with listener("127.0.0.1") as robot, \
            listener("127.0.0.2", robot.getsockname()[1]) as spare:

        class EstablishedSocket(socket.socket):
            def connect_ex(self, address):
                error = super().connect_ex(address)
                until_readable(robot)
                return error

        class HeldUpClock:
            now = 0.0

            def monotonic(self):
                self.now += 1
                return self.now

        monkeypatch.setattr(socket, "socket", EstablishedSocket)
        monkeypatch.setattr(_race, "time", HeldUpClock())
        addresses = ["127.0.0.1", "127.0.0.2"]
        assert first_to_accept(addresses, robot.getsockname()[1], 1000) == "127.0.0.1"
        spare.setblocking(False)
        with pytest.raises(BlockingIOError):
            spare.accept()


def test_a_robot_that_resets_the_connection_at_once_has_accepted_it(monkeypatch):
    with listener("127.0.0.1") as robot:

        class ResetSocket(socket.socket):
            def getsockopt(self, *option):
                value = super().getsockopt(*option)
                peer = robot.accept()[0]
                peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                peer.close()
                until_readable(self)
                with pytest.raises(OSError):
                    self.getpeername()
                return value

        monkeypatch.setattr(socket, "socket", ResetSocket)
        assert first_to_accept(["127.0.0.1"], robot.getsockname()[1], PATIENCE) == "127.0.0.1"


def test_a_connection_to_itself_is_a_refusal(monkeypatch):
    class BoundSocket(socket.socket):
        def connect_ex(self, address):
            self.bind(address)
            return super().connect_ex(address)

    port = free_port()
    monkeypatch.setattr(socket, "socket", BoundSocket)
    for address in ["127.0.0.1", "::1"]:
        with pytest.raises(Unreached) as raised:
            first_to_accept([address], port, PATIENCE)
        assert raised.value.cause == Cause.REFUSED


def test_a_system_without_ipv6_uses_ipv4(monkeypatch):
    class OldSocket(socket.socket):
        def __init__(self, family=socket.AF_INET, *rest, **others):
            if family == socket.AF_INET6:
                raise OSError(errno.EAFNOSUPPORT, os.strerror(errno.EAFNOSUPPORT))
            super().__init__(family, *rest, **others)

    with listener("127.0.0.1") as robot:
        monkeypatch.setattr(socket, "socket", OldSocket)
        addresses = ["::1", "127.0.0.1"]
        assert first_to_accept(addresses, robot.getsockname()[1], PATIENCE) == "127.0.0.1"


def test_families_are_tried_in_turn_and_their_number_is_bounded():
    port = free_port()
    with pytest.raises(Unreached) as raised:
        first_to_accept(["127.0.0.2", "127.0.0.3", "127.0.0.2", "::1"], port, PATIENCE)
    assert raised.value.cause == Cause.REFUSED
    assert raised.value.tried == ["127.0.0.2", "::1", "127.0.0.3"]
    with pytest.raises(Unreached) as raised:
        first_to_accept([f"127.0.0.{number}" for number in range(2, 30)], port, PATIENCE)
    assert raised.value.tried == [f"127.0.0.{number}" for number in range(2, 10)]


def test_an_address_of_an_interface_that_is_gone_is_passed_over():
    with listener("127.0.0.1") as robot:
        addresses = ["fe80::1%nosuch0", "127.0.0.1"]
        assert first_to_accept(addresses, robot.getsockname()[1], PATIENCE) == "127.0.0.1"


def test_all_addresses_are_named_and_no_connection_is_left():
    with black_hole("127.0.0.2") as port, black_hole("127.0.0.3", port):
        before = len(os.listdir("/proc/self/fd"))
        with pytest.raises(robaxi.Error) as raised:
            connect("robot.test", port, Deadline(0.6), ["127.0.0.2", "127.0.0.3"])
        assert raised.value.cause == Cause.TIMED_OUT
        assert str(raised.value).startswith(
            f"Cannot reach robot.test port {port}: no answer came within 0.6 s (tried 127.0.0.2 "
            "and 127.0.0.3). Check that")
        assert len(os.listdir("/proc/self/fd")) == before
    with pytest.raises(robaxi.Error, match=re.escape("on that port (tried 127.0.0.2). Check")):
        connect("robot.test", port, Deadline(PATIENCE), ["127.0.0.2"])


def test_the_time_out_is_kept():
    with black_hole("127.0.0.2") as port:
        start = time.monotonic()
        with pytest.raises(Unreached):
            first_to_accept(["127.0.0.2"], port, 0.3)
        assert time.monotonic() - start >= 0.3
