"""Connects to one of several addresses of a host (RFC 8305)."""

from __future__ import annotations

import errno
import os
import select
import socket
import time
from typing import Any, Iterable, List, Optional

from .errors import Cause

MOST_ADDRESSES = 8
BETWEEN_ADDRESSES = 0.25  # seconds


class Unreached(Exception):
    """None of the addresses has accepted a connection."""

    def __init__(self, cause: Cause, detail: str, tried: List[str]) -> None:
        super().__init__(detail)
        self.cause = cause
        self.detail = detail
        self.tried = tried


def first_to_accept(addresses: Iterable[str], port: int, seconds: float) -> str:
    """Returns the first of some numeric addresses that accepts a connection.

    They are tried one after the other, IPv4 and IPv6 in turn: the next one after BETWEEN_ADDRESSES
    or when an attempt has failed, MOST_ADDRESSES at most. All connections are closed. An address
    of an interface that does not exist is left out. Raises Unreached.
    """
    end = time.monotonic() + seconds
    waiting = _in_turn(addresses)
    attempts: List[_Attempt] = []
    next_start = 0.0
    try:
        while True:
            for attempt in attempts:
                if attempt.error == 0:
                    return attempt.address
            pending = [attempt for attempt in attempts if attempt.is_pending]
            is_due = not attempts or not attempts[-1].is_pending or time.monotonic() >= next_start
            if waiting and is_due:
                # A program that was held up looks first whether an attempt has succeeded.
                if pending and _wait(pending, time.monotonic()):
                    continue
                attempts.append(_Attempt(waiting.pop(0), port))
                next_start = time.monotonic() + BETWEEN_ADDRESSES
                continue
            if not pending or time.monotonic() >= end:
                raise _failure(attempts)
            _wait(pending, min(end, next_start) if waiting else end)
    finally:
        for attempt in attempts:
            attempt.close()


class _Attempt:
    """An attempt to connect to one address, which does not wait."""

    def __init__(self, address: str, port: int) -> None:
        self.address = address
        self._peer: Any = None
        self._socket: Optional[socket.socket] = None
        try:  # a system without IPv6 has no socket for it
            found = socket.getaddrinfo(address, port, flags=socket.AI_NUMERICHOST)
            self._peer = found[0][4]
            self._socket = socket.socket(found[0][0], socket.SOCK_STREAM | socket.SOCK_NONBLOCK)
            self.error = self._socket.connect_ex(self._peer)
        except OSError:
            self.error = errno.ENODEV

    @property
    def is_pending(self) -> bool:
        return self.error == errno.EINPROGRESS

    def fileno(self) -> int:
        assert self._socket is not None  # of a pending attempt
        return self._socket.fileno()

    def read_outcome(self) -> None:
        assert self._socket is not None
        self.error = self._socket.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR)
        # TCP connects a socket to itself if nothing listens on the port and the system happens to
        # assign the same port to this end. The other end may have closed the connection since.
        if self.error == 0 and self._socket.getsockname() == self._peer:
            self.error = errno.ECONNREFUSED

    def close(self) -> None:
        if self._socket is not None:
            self._socket.close()


def _in_turn(addresses: Iterable[str]) -> List[str]:
    distinct = list(dict.fromkeys(addresses))
    families = [[one for one in distinct if (":" in one) == (":" in distinct[0])],
                [one for one in distinct if (":" in one) != (":" in distinct[0])]]
    ordered: List[str] = []
    while any(families):
        ordered += [family.pop(0) for family in families if family]
    return ordered[:MOST_ADDRESSES]


def _wait(pending: List[_Attempt], until: float) -> bool:
    """Waits for an outcome of the attempts. Returns false if there is none in time."""
    poll = select.poll()
    for attempt in pending:
        poll.register(attempt, select.POLLOUT)
    ready = {number for number, _ in poll.poll(max(0.0, until - time.monotonic()) * 1000)}
    for attempt in pending:
        if attempt.fileno() in ready:
            attempt.read_outcome()
    return bool(ready)


def _failure(attempts: List[_Attempt]) -> Unreached:
    """A refusal rather than silence, since the host is there, and silence rather than a missing
    route."""
    tried = [attempt.address for attempt in attempts]
    errors = [attempt.error for attempt in attempts]
    if errno.ECONNREFUSED in errors:
        return Unreached(Cause.REFUSED, "", tried)
    if errno.EINPROGRESS in errors or errno.ETIMEDOUT in errors:
        return Unreached(Cause.TIMED_OUT, "", tried)
    reasons = [os.strerror(error) for error in errors
               if error not in (errno.ENETUNREACH, errno.EHOSTUNREACH)]
    return Unreached(Cause.NO_ROUTE, reasons[0] if reasons else "", tried)
