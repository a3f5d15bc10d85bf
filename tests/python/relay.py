"""A network between a program and a robot on the loopback, which can drop all packets."""

from __future__ import annotations

import select
import socket
import threading
from typing import Any, Dict, List


class Relay:
    """Passes TCP connections on to a port, as tests/robaxi/relay.h does.

    While it is cut nothing passes, and neither end sees the other one close.
    """

    def __init__(self, port: int) -> None:
        self.robot_port = port  #: that of new connections
        self._listening = socket.create_server(("127.0.0.1", 0))
        self.port: int = self._listening.getsockname()[1]
        self._others: Dict[socket.socket, socket.socket] = {}
        self._dropped: List[socket.socket] = []  # open, but cut for good
        self._lock = threading.Lock()  # held while something is passed
        self._is_cut = False
        self._refuses = False
        self._is_over = False
        self._thread = threading.Thread(target=self._run)
        self._thread.start()

    def cut(self) -> None:
        """Returns when nothing passes any more."""
        with self._lock:
            self._is_cut = True

    def restore(self, keeps_former: bool) -> None:
        """Lets data pass again: on new connections, and on those that the cut found or not."""
        with self._lock:
            if not keeps_former:
                self._dropped += self._others
                self._others.clear()
            self._is_cut = False

    def refuse(self) -> None:
        """Refuses new connections, as the system of a robot does whose process has ended."""
        self._refuses = True

    def end(self) -> None:
        self._is_over = True
        self._thread.join()
        for one in [self._listening, *self._others, *self._dropped]:
            one.close()

    def __enter__(self) -> Relay:
        return self

    def __exit__(self, *_: Any) -> None:
        self.end()

    def _run(self) -> None:
        while not self._is_over:
            listening = [self._listening]
            if self._refuses:
                self._listening.close()  # here, since this thread waits for it
                listening = []
            sources = [] if self._is_cut else [*listening, *self._others]
            ready = select.select(sources, [], [], 0.005)[0]
            with self._lock:
                for one in ready:
                    if not self._is_cut:
                        self._pass(one)

    def _pass(self, one: socket.socket) -> None:
        if one is self._listening:
            client = one.accept()[0]
            robot = socket.create_connection(("127.0.0.1", self.robot_port))
            self._others.update({client: robot, robot: client})
        elif one in self._others:
            other = self._others[one]
            try:
                data = one.recv(1 << 16)
                other.sendall(data)
            except OSError:
                data = b""
            if not data:
                for each in (one, other):
                    del self._others[each]
                    each.close()
