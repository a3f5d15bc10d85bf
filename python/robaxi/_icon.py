"""Serves a robot's icon over HTTP, on an event loop."""

from __future__ import annotations

import asyncio
import socket
from typing import Optional

PATH = "/media/buddy.icon"

_LONGEST_HEAD = 8192  # bytes
_PATIENCE = 5.0  # seconds for a request and its answer
_MOST_CONNECTIONS = 64


class IconServer:
    """A web server with one file."""

    def __init__(self, icon: bytes) -> None:
        self._icon = icon
        self._connections = 0
        self._server: Optional[asyncio.AbstractServer] = None

    async def start(self, address: str, port: int) -> int:
        """Returns the port. Raises OSError."""
        self._server = await asyncio.start_server(self._serve, limit=_LONGEST_HEAD,
                                                  sock=_listen(address, port))
        return int(self._server.sockets[0].getsockname()[1])

    async def _serve(self, reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
        self._connections += 1
        try:
            if self._connections <= _MOST_CONNECTIONS:
                await asyncio.wait_for(self._answer(reader, writer), _PATIENCE)
        except (OSError, asyncio.TimeoutError, asyncio.IncompleteReadError,
                asyncio.LimitOverrunError):
            pass  # the client is slow, gone, or no HTTP client
        finally:
            self._connections -= 1
            writer.close()

    async def _answer(self, reader: asyncio.StreamReader, writer: asyncio.StreamWriter) -> None:
        head = await reader.readuntil(b"\r\n\r\n")
        words = head.split(b"\r\n", 1)[0].decode("latin-1").split(" ")
        status, kind, body = "404 Not Found", "text/plain", b"Not found\n"
        if len(words) != 3 or not words[2].startswith("HTTP/"):
            status, body = "400 Bad Request", b"This is not an HTTP request.\n"
        elif words[0] not in ("GET", "HEAD"):
            status, body = "405 Method Not Allowed", b"Only GET and HEAD are answered here.\n"
        # Clients that join an address and an absolute path with a slash ask for "//media/...".
        elif words[1].partition("?")[0].replace("//", "/", 1) == PATH:
            status, kind, body = "200 OK", "application/octet-stream", self._icon
        writer.write(f"HTTP/1.1 {status}\r\nContent-Type: {kind}\r\n"
                     f"Content-Length: {len(body)}\r\nX-Content-Type-Options: nosniff\r\n"
                     "Connection: close\r\n\r\n".encode())
        if words[0] != "HEAD":
            writer.write(body)
        await writer.drain()

    def close(self) -> None:
        if self._server is not None:
            self._server.close()


def _listen(address: str, port: int) -> socket.socket:
    """Listens on all addresses, those of IPv6, too, for "0.0.0.0", as gRPC does."""
    if address == "0.0.0.0" and socket.has_dualstack_ipv6():
        return socket.create_server(("::", port), family=socket.AF_INET6, dualstack_ipv6=True)
    family = socket.AF_INET6 if ":" in address else socket.AF_INET
    return socket.create_server((address, port), family=family)
