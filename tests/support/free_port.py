"""Ports of the loopback for the robots of tests, chosen as by free_port.cpp."""

from __future__ import annotations

import os
import socket
from typing import Iterator, List

# free_port.cpp has the same numbers.
_FIRST_PORT = 21000
_PORTS_OF_BLOCK = 50
_NUMBER_OF_BLOCKS = 160

_claims: List[socket.socket] = []  # open until the process ends


def _claim(block: int) -> bool:
    """Claims a block for this process by a name that the system gives to one process at a time."""
    claim = socket.socket(socket.AF_UNIX)
    try:
        claim.bind(f"\0obvista-test-ports-{block}")
    except OSError:
        claim.close()
        return False
    _claims.append(claim)
    return True


def _candidates() -> Iterator[int]:
    for attempt in range(_NUMBER_OF_BLOCKS):
        block = (os.getpid() + attempt) % _NUMBER_OF_BLOCKS
        if _claim(block):
            first = _FIRST_PORT + block * _PORTS_OF_BLOCK
            yield from range(first, first + _PORTS_OF_BLOCK)


def _is_free(port: int) -> bool:
    with socket.socket() as probe:
        try:
            probe.bind(("127.0.0.1", port))
        except OSError:
            return False
    return True


_ports = _candidates()


def free_port() -> int:
    """Returns a port on which nothing listens, and which no other test chooses while this process runs."""
    return next(filter(_is_free, _ports))
