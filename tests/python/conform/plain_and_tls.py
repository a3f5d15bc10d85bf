"""A robot that accepts TLS and plain connections on one port: a switch before two robots."""

from __future__ import annotations

import asyncio
import threading
from typing import Any, Optional

_TLS_HANDSHAKE = b"\x16"  #: the first byte of a connection with TLS
_LARGEST_READ = 1 << 16


class PlainAndTls:
    """Passes connections on to one of two ports. Its `with` statement has the port of both."""

    def __init__(self, plain: int, tls: int) -> None:
        self._plain = plain
        self._tls = tls
        self._loop = asyncio.new_event_loop()
        self._thread = threading.Thread(target=self._loop.run_forever)
        self._server: Optional[asyncio.AbstractServer] = None

    def __enter__(self) -> int:
        self._thread.start()
        server = asyncio.run_coroutine_threadsafe(
            asyncio.start_server(self._accept, "127.0.0.1", 0), self._loop).result()
        self._server = server
        return int(server.sockets[0].getsockname()[1])

    def __exit__(self, *_: Any) -> None:
        asyncio.run_coroutine_threadsafe(self._end(), self._loop).result()
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join()
        self._loop.close()

    async def _end(self) -> None:
        assert self._server is not None
        self._server.close()
        others = asyncio.all_tasks() - {asyncio.current_task()}
        for task in others:
            task.cancel()
        await asyncio.gather(*others, return_exceptions=True)

    async def _accept(self, client: asyncio.StreamReader, to_client: asyncio.StreamWriter) -> None:
        first = await client.read(1)
        robot, to_robot = await asyncio.open_connection(
            "127.0.0.1", self._tls if first == _TLS_HANDSHAKE else self._plain)
        to_robot.write(first)
        await asyncio.gather(_pass(client, to_robot), _pass(robot, to_client))


async def _pass(source: asyncio.StreamReader, sink: asyncio.StreamWriter) -> None:
    try:
        while True:
            data = await source.read(_LARGEST_READ)
            if not data:
                break
            sink.write(data)
            await sink.drain()
    except ConnectionError:
        pass
    finally:
        sink.close()
