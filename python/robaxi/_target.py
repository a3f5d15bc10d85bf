"""Where a robot is: names, addresses, and the reasons for which it cannot be reached."""

from __future__ import annotations

import ipaddress
import socket
import ssl
import threading
import time
from typing import List, NamedTuple, Optional, Sequence, Tuple

from ._race import Unreached, first_to_accept
from ._wire import check_text
from .errors import Cause, Error, describe
from .settings import Access, read_file

DEFAULT_PORT = 9559


class Deadline:
    """A moment until which something may take."""

    def __init__(self, seconds: float) -> None:
        if not isinstance(seconds, (int, float)) or not 0 < seconds <= threading.TIMEOUT_MAX:
            raise Error(Cause.INVALID_ARGUMENT, "A time-out must be above 0 seconds.")
        self.seconds = seconds
        self._end = time.monotonic() + seconds

    def left(self) -> float:
        """Seconds until then, 0 if it has passed."""
        return max(0.0, self._end - time.monotonic())


class Target(NamedTuple):
    """A robot as the user wrote it, and the address and port at which it is reached."""

    host: str
    address: str
    port: int

    @property
    def place(self) -> str:
        return f"{self.host} port {self.port}"

    def cannot_reach(self, cause: Cause, detail: str = "", advice: str = "") -> Error:
        return describe(f"Cannot reach {self.place}", cause, detail, advice)


def is_address(host: str) -> bool:
    try:
        ipaddress.ip_address(host.partition("%")[0])
    except ValueError:
        return False
    return True


def check_port(port: int) -> int:
    if not isinstance(port, int) or not 1 <= port <= 65535:
        raise Error(Cause.INVALID_ARGUMENT, f"A port is a number from 1 to 65535, not {port}.")
    return port


def parse_target(text: str) -> Tuple[str, Optional[int]]:
    """Splits HOST, HOST:PORT, ADDRESS or [ADDRESS]:PORT."""
    host, rest = check_text("A host", text), ""
    if text.startswith("["):
        host, bracket, rest = text[1:].partition("]")
        if not bracket or not is_address(host):
            host = ""
    elif not is_address(text):
        host, colon, rest = text.partition(":")
        rest = colon + rest
    if not 0 < len(host) <= 255 or (rest and not rest.startswith(":")):
        raise Error(Cause.INVALID_ARGUMENT, f"{text!r} is not a host, or a host and port.")
    if not rest:
        return host, None
    port = rest[1:]
    if not (port.isascii() and port.isdigit() and len(port) <= 5):
        raise Error(Cause.INVALID_ARGUMENT, f"{port!r} is not a port.")
    return host, check_port(int(port))


def connect(host: str, port: int, deadline: Deadline, addresses: Sequence[str] = ()) -> Target:
    """Finds the address of a host that accepts connections on a port; they may be known."""
    target = Target(host, host, port)
    try:
        return Target(host, first_to_accept(addresses or _resolve(target, deadline), port,
                                            deadline.left()), port)
    except Unreached as failure:
        tried = _listed(failure.tried)
        detail = "" if tried == host else f"tried {tried}"
        if failure.cause == Cause.TIMED_OUT:
            raise _timed_out(target, deadline, detail) from None
        raise target.cannot_reach(failure.cause,
                                  "; ".join(filter(None, [failure.detail, detail]))) from None


def _listed(words: List[str]) -> str:
    return " and ".join(filter(None, [", ".join(words[:-1]), *words[-1:]]))


def _timed_out(target: Target, deadline: Deadline, detail: str = "") -> Error:
    detail = f" ({detail})" if detail else ""
    return Error(
        Cause.TIMED_OUT, f"Cannot reach {target.place}: no answer came within "
        f"{deadline.seconds:g} s{detail}. Check that the robot is switched on and on this network, "
        "and that no firewall blocks the connection.")


def _resolve(target: Target, deadline: Deadline) -> List[str]:
    """The numeric addresses of a host. The system's resolver has no time-out, so it runs on a
    thread."""
    found: List[str] = []

    def resolve() -> None:
        try:
            for entry in socket.getaddrinfo(target.host, target.port, type=socket.SOCK_STREAM):
                # Of a link-local address with its interface.
                address = socket.getnameinfo(
                    entry[4], socket.NI_NUMERICHOST | socket.NI_NUMERICSERV)[0]
                if address not in found:
                    found.append(address)
        except (OSError, UnicodeError):
            pass  # the name is not found

    if is_address(target.host):
        return [target.host]
    thread = threading.Thread(target=resolve, daemon=True, name="robaxi-resolve")
    thread.start()
    thread.join(deadline.left())
    if thread.is_alive():
        raise _timed_out(target, deadline)
    if not found:
        raise target.cannot_reach(Cause.NAME_NOT_FOUND)
    return found


def find_failure(target: Target, access: Access, deadline: Deadline) -> Error:
    """Returns the reason for which a robot that accepts connections accepts no session, which gRPC
    does not report."""
    if deadline.left() <= 0:
        return _timed_out(target, deadline)
    try:
        with socket.create_connection((target.address, target.port), deadline.left()) as connection:
            connection.settimeout(max(deadline.left(), 0.01))
            return _tls_failure(target, access, connection) or target.cannot_reach(
                Cause.PROTOCOL_VERSION)
    except socket.timeout:
        return _timed_out(target, deadline)
    except OSError:
        return target.cannot_reach(Cause.CONNECTION_LOST)


def _tls_failure(target: Target, access: Access, connection: socket.socket) -> Optional[Error]:
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.set_alpn_protocols(["h2"])
    name = access.name or target.host
    if not access.tls:
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        try:
            context.wrap_socket(connection).close()
        except (ssl.SSLError, OSError):
            return None
        return target.cannot_reach(
            Cause.NOT_AUTHORISED, "it speaks TLS only, and no certificate to trust is known for it",
            "Name the certificate that signed the robot's under trust in robaxi.conf.")
    try:
        context.load_verify_locations(cadata=read_file(access.trust).decode("ascii", "ignore"))
        context.wrap_socket(connection, server_hostname=name).close()
    except ssl.SSLCertVerificationError as error:
        if "mismatch" in error.verify_message.lower():
            return target.cannot_reach(
                Cause.NOT_TRUSTED, f"its certificate is for another name than {name}",
                "Use the name in the certificate, or set name in robaxi.conf to it.")
        return target.cannot_reach(
            Cause.NOT_TRUSTED,
            f"its certificate is not signed by a trusted one: {error.verify_message}")
    except socket.timeout:
        raise
    except (ssl.SSLError, OSError):
        return target.cannot_reach(
            Cause.NOT_TRUSTED, "it does not use TLS, which robaxi.conf requires",
            "Give the robot a certificate, or set tls = no for it in robaxi.conf.")
    return None
