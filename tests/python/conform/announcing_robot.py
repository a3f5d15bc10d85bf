"""A robot that breaks one rule of the announcement. Runs in a host of lab/run:

    python3 announcing_robot.py CASE
"""

from __future__ import annotations

import http.server
import struct
import subprocess
import sys
import zlib
from typing import Any, Dict, NamedTuple

import robaxi

ROBAX = "_robax._tcp"
ROBAXI = "_robaxi._tcp"
PORT = 9559
IPV6_HOST = "ipv6.local"
KIB = 1024


def _chunk(kind: bytes, data: bytes) -> bytes:
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(width: int = 2, height: int = 2) -> bytes:
    rows = (b"\0" + bytes(width)) * height
    header = struct.pack(">2I5B", width, height, 8, 0, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) \
        + _chunk(b"IDAT", zlib.compress(rows)) + _chunk(b"IEND", b"")


def jpeg(frame: int) -> bytes:
    """The beginning of a JPEG, whose frame header has that marker after a table."""
    return b"\xff\xd8\xff\xdb\0\x04\0\0\xff" + bytes([frame]) + b"\0\x08\x08\0\x02\0\x02\x01"


BASELINE = jpeg(0xC0)
PROGRESSIVE = jpeg(0xC2)


class Case(NamedTuple):
    """A robot, and a part of the fault that `check` finds; none if it breaks no rule."""

    check: str
    text: str = ""
    port: int = PORT  #: announced
    second_name: str = ""  #: the end of the name of _robaxi._tcp
    host: str = ""  #: the announced host name, in the place of the host's
    icon: bytes = png()
    one_slash: bytes = b""  #: in the place of the icon
    status: int = 200


def icon_bytes(icon: bytes, size: int, text: str = "") -> Case:
    return Case("announcing.icon-bytes", text, icon=icon.ljust(size, b" "))


CASES: Dict[str, Case] = {
    "port": Case("announcing.port", "announces no _robaxi._tcp with port 9559",
                 port=PORT + 1),
    "name": Case("announcing.name", "have the names", second_name=" too"),
    "address": Case("announcing.address", "has no IPv4 address", host=IPV6_HOST),
    "icon": Case("announcing.icon", "status 404", status=404),
    "slash": Case("announcing.icon-with-one-slash", "another answer", one_slash=png(3)),
    "format": Case("announcing.icon-format", "format of the icon is unknown", icon=b"<svg/>"),
    "pixels": Case("announcing.icon-pixels", "257x256 pixels", icon=png(257, 256)),
    "png": icon_bytes(png(), 512 * KIB + 1, "The icon has 524289 bytes"),
    "jpeg": icon_bytes(BASELINE, 80 * KIB + 1, "A JPEG has 81921 bytes"),
    "progressive": icon_bytes(PROGRESSIVE, 52 * KIB + 1, "A progressive JPEG has 53249 bytes"),
    "text": icon_bytes(b"P3\n", 40 * KIB + 1, "A PBM, PGM, PPM, XBM or XPM has 40961 bytes"),
    "largest-png": icon_bytes(png(), 512 * KIB),
    "largest-jpeg": icon_bytes(BASELINE, 80 * KIB),
    "largest-progressive": icon_bytes(PROGRESSIVE, 52 * KIB),
    "largest-text": icon_bytes(b"P3\n", 40 * KIB),
}


def icon_handler(case: Case) -> Any:
    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self) -> None:
            # `path` has lost a slash.
            has_one_slash = self.requestline.split()[1].startswith("/media")
            body = (has_one_slash and case.one_slash) or case.icon
            self.send_response(case.status)
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body)

    return Handler


def main() -> None:
    name = sys.argv[1]
    case = CASES[name]
    with robaxi.Server(name, address="::" if case.host else "0.0.0.0", port=PORT,
                       announce=False, settings=robaxi.Settings()), \
            http.server.HTTPServer(("", 80), icon_handler(case)) as server:
        for kind, service, port in [(ROBAX, name, PORT),
                                    (ROBAXI, name + case.second_name, case.port)]:
            host = ["-H", case.host] if case.host else []
            subprocess.Popen(["avahi-publish", *host, "-s", service, kind, str(port)])
        server.serve_forever()


if __name__ == "__main__":
    main()
