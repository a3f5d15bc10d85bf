"""Robots and computers that announce themselves on the local network, found through Avahi.

It uses Avahi's interface on the system bus, with the D-Bus client of GLib (Debian's python3-gi),
which can wait for signals on any thread without a main loop of the program.
"""

from __future__ import annotations

import dataclasses
import ipaddress
import socket
import threading
import time
from typing import Any, Callable, Dict, List, Optional, Set, Tuple

from .errors import Cause, Error

ROBAXI = "_robaxi._tcp"
ROBAX = "_robax._tcp"

AVAHI = "org.freedesktop.Avahi"
SERVER = f"{AVAHI}.Server"
ANY = -1
_NO_ADDRESS = 8  # a flag of lookups
_IN, _A, _AAAA = 1, 1, 28  # classes and types of records
_MOST = 1000  # announcements; everybody on the network can make some
_MOST_HOSTS = 400  # with two record browsers each; Avahi allows a program 1024 objects
_MOST_ADDRESSES = 16  # of a host
_RESOLUTION_DELAY = 0.05  # seconds for which one family's addresses wait for the other's (RFC 8305)


@dataclasses.dataclass(frozen=True)
class Announced:
    """A robot or computer that announces itself."""

    name: str  #: name of its announcement
    host: str  #: host name, for instance "marvin.local"
    address: str  #: IPv4 address, or IPv6 of a host without; empty if it cannot be resolved
    port: Optional[int]  #: None for a robot that does not run the middleware
    kind: str  #: "robot" or "computer"
    #: all addresses, IPv6 link-local ones with their interface ("fe80::1%eth0")
    addresses: Tuple[str, ...] = dataclasses.field(default=(), compare=False)


def discover(timeout: float = 3.0) -> List[Announced]:
    """Lists the robots and computers of the local network.

    Returns when everything announced is resolved, after `timeout` seconds at the latest. Raises
    Error CANNOT_LISTEN without python3-gi, a system bus or an Avahi daemon.
    """
    search = _Search()
    search.run(timeout)
    return search.found()


def find(name: str, timeout: float) -> Optional[Announced]:
    """Finds the middleware that has this name, or whose host has it with or without ".local"; of
    several, one with an address. Returns None if there is none, or if announcements cannot be
    received."""
    wanted = name.rstrip(".").lower()

    def is_wanted(one: Announced) -> bool:
        host = one.host.lower()
        return one.port is not None and wanted in (one.name.lower(), host,
                                                   host[:-len(".local")])

    search = _Search()
    try:
        search.run(timeout, lambda: any(one.addresses and search.is_looked_up(one.host)
                                        for one in search.found() if is_wanted(one)))
    except Error:
        return None
    found = sorted(filter(is_wanted, search.found()), key=lambda one: not one.addresses)
    return found[0] if found else None


def look_up(host: str, timeout: float) -> Tuple[str, ...]:
    """Returns the addresses of a host of the local network, for instance "marvin.local"; none if
    Avahi does not find it in time, or cannot be used."""
    search = _Search((), host)
    try:
        search.run(timeout)
    except Error:
        return ()
    return search.addresses(host)


def open_bus(timeout: float) -> Tuple[Any, Any, Any]:
    """Returns Gio, GLib and a connection to the system bus. Raises Error CANNOT_LISTEN, also if
    the bus does not answer in time."""
    try:
        from gi.repository import Gio, GLib
    except ImportError:
        raise unusable("the Python package gi is missing (Debian's python3-gi)") from None
    cancellable = Gio.Cancellable.new()
    timer = threading.Timer(timeout, cancellable.cancel)
    timer.daemon = True
    timer.start()
    try:
        # Not the shared connection, whose end would end the process.
        address = Gio.dbus_address_get_for_bus_sync(Gio.BusType.SYSTEM, cancellable)
        flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
                 | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        return Gio, GLib, Gio.DBusConnection.new_for_address_sync(address, flags, None, cancellable)
    except GLib.Error as error:
        if cancellable.is_cancelled():
            raise unusable("the system bus does not answer") from None
        raise unusable(f"there is no system bus ({error.message})") from None
    finally:
        timer.cancel()


def unusable(why: str) -> Error:
    return Error(Cause.CANNOT_LISTEN, f"Announcements cannot be used: {why}.")


class _Host:
    """The search for the addresses of a host."""

    def __init__(self, timeout: float) -> None:
        self.families: Dict[int, List[str]] = {_A: [], _AAAA: []}
        self.reading = set(self.families)  # families of which Avahi's cache is not yet read
        self._end = time.monotonic() + timeout

    def addresses(self) -> Tuple[str, ...]:
        found = [one for family in self.families.values() for one in family]
        return tuple(sorted(found, key=lambda one: (":" in one, "%" in one)))

    def add(self, family: int, address: str) -> None:
        known = self.families[family]
        if address and address not in known and len(known) < _MOST_ADDRESSES:
            known.append(address)
            self._advance()

    def cache_is_read(self, family: int) -> None:
        self.reading.discard(family)
        self._advance()

    def give_up(self) -> None:
        self.reading.clear()
        self._end = time.monotonic()

    def is_complete(self) -> bool:
        return time.monotonic() >= self._end or (
            not self.reading and all(self.families.values()))

    def _advance(self) -> None:
        if not self.reading and any(self.families.values()):
            self._end = min(self._end, time.monotonic() + _RESOLUTION_DELAY)


class _Search:
    """A search for services and the addresses of their hosts, on the thread that calls run()."""

    def __init__(self, kinds: Tuple[str, ...] = (ROBAXI, ROBAX), host: str = "") -> None:
        """`host` is looked up, too."""
        self._kinds = kinds
        self._first_host = host
        # (name, type) of a service, and host and port of those that are resolved.
        self._services: Dict[Tuple[str, str], Tuple[str, int]] = {}
        # (name, type, interface, protocol) of sightings; one of a service may be without an answer.
        self._resolving: Set[Tuple[str, str, int, int]] = set()
        self._hosts: Dict[str, _Host] = {}
        self._host_browsers: Dict[str, Tuple[_Host, int]] = {}  # and the family
        self._listing: Set[str] = set()
        self._cancellable: Any = None
        self._waiting = 0  # calls without an answer
        self._end = 0.0  # of the search
        self._browsers: Dict[str, str] = {}

    def found(self) -> List[Announced]:
        robots = {host for (_, kind), (host, _) in self._services.items() if kind == ROBAX}
        running = {host for (_, kind), (host, _) in self._services.items() if kind == ROBAXI}
        found = []
        for (name, kind), (host, port) in self._services.items():
            addresses = self.addresses(host)
            first = addresses[0] if addresses else ""
            if kind == ROBAXI:
                found.append(Announced(name, host, first, port,
                                       "robot" if host in robots else "computer", addresses))
            elif host not in running:
                found.append(Announced(name, host, first, None, "robot", addresses))
        return sorted(found, key=lambda one: (one.host, one.port or 0, one.name))

    def addresses(self, host: str) -> Tuple[str, ...]:
        known = self._hosts.get(host)
        return known.addresses() if known else ()

    def is_looked_up(self, host: str) -> bool:
        known = self._hosts.get(host)
        return known is None or known.is_complete()

    def run(self, timeout: float, is_enough: Callable[[], bool] = lambda: False) -> None:
        self._end = time.monotonic() + timeout
        # Signals are delivered to the context of the thread, which is not the program's.
        Gio, GLib, bus = modules = open_bus(timeout)
        self._cancellable = Gio.Cancellable.new()
        context = GLib.MainContext.new()
        context.push_thread_default()
        # Before the browsers, whose first signals may come before the answers.
        subscription = bus.signal_subscribe(AVAHI, None, None, None, None,
                                            Gio.DBusSignalFlags.NONE, self._on_signal, modules)
        try:
            self._start(modules)
            timer = GLib.timeout_source_new(20)
            timer.set_callback(lambda *_: True)
            timer.attach(context)
            while time.monotonic() < self._end and not is_enough():
                if self._is_complete():
                    break
                context.iteration(True)
            timer.destroy()
        except GLib.Error as error:
            raise unusable(f"the Avahi daemon does not answer ({error.message})") from None
        finally:
            # Calls that wait, and the subscription, are only released by their context.
            self._cancellable.cancel()
            while self._waiting:
                context.iteration(True)
            bus.signal_unsubscribe(subscription)
            bus.close_sync(None)
            while context.iteration(False):
                pass
            context.pop_thread_default()

    def _is_complete(self) -> bool:
        return not self._listing and all(
            sighting[:2] in self._services for sighting in self._resolving) and all(
            host.is_complete() for host in self._hosts.values())

    def _start(self, modules: Tuple[Any, Any, Any]) -> None:
        Gio, GLib, bus = modules
        if self._first_host:
            self._look_up(self._first_host, modules)
        for kind in self._kinds:
            path = bus.call_sync(
                AVAHI, "/", SERVER, "ServiceBrowserNew",
                GLib.Variant("(iissu)", (ANY, ANY, kind, "", 0)), GLib.VariantType("(o)"),
                Gio.DBusCallFlags.NO_AUTO_START, self._milliseconds_left(), None).unpack()[0]
            self._browsers[path] = kind
            self._listing.add(path)

    def _look_up(self, host: str, modules: Tuple[Any, Any, Any]) -> None:
        if host in self._hosts or len(self._hosts) >= _MOST_HOSTS:
            return
        Gio, GLib, bus = modules
        search = self._hosts[host] = _Host(5.0)
        try:
            for family in search.families:
                path = bus.call_sync(
                    AVAHI, "/", SERVER, "RecordBrowserNew",
                    GLib.Variant("(iisqqu)", (ANY, ANY, host, _IN, family, 0)),
                    GLib.VariantType("(o)"), Gio.DBusCallFlags.NO_AUTO_START,
                    self._milliseconds_left(), None).unpack()[0]
                self._host_browsers[path] = search, family
        except GLib.Error:
            search.give_up()
            raise

    def _milliseconds_left(self) -> int:
        """Returns the time-out of a call: a daemon that hangs must not hold the search up."""
        return max(1, int((self._end - time.monotonic()) * 1000))

    def _on_record(self, path: str, signal: str, arguments: Any) -> None:
        search, family = self._host_browsers[path]
        if signal == "ItemNew":
            interface, _, _, _, _, record, _ = arguments.unpack()
            search.add(family, _address_in(bytes(record), interface))
        elif signal != "ItemRemove":
            search.cache_is_read(family)  # also if it failed

    def _on_signal(self, bus: Any, _sender: str, path: str, _interface: str, signal: str,
                   arguments: Any, modules: Tuple[Any, Any, Any]) -> None:
        if path in self._host_browsers:
            self._on_record(path, signal, arguments)
            return
        if path not in self._browsers:
            return
        if signal in ("AllForNow", "Failure"):
            self._listing.discard(path)
        elif signal == "ItemNew":
            interface, protocol, name, kind, domain, _ = arguments.unpack()
            sighting = (name, kind, interface, protocol)
            if (name, kind) in self._services or sighting in self._resolving or \
                    len(self._services) + len(self._resolving) >= _MOST:
                return
            self._resolving.add(sighting)
            self._waiting += 1
            Gio, GLib, _ = modules
            bus.call(AVAHI, "/", SERVER, "ResolveService",
                     GLib.Variant("(iisssiu)", (interface, protocol, name, kind, domain, ANY,
                                                _NO_ADDRESS)),
                     None, Gio.DBusCallFlags.NO_AUTO_START, 10000, self._cancellable,
                     self._on_resolved, (sighting, modules))
        elif signal == "ItemRemove":
            _, _, name, kind, _, _ = arguments.unpack()
            self._services.pop((name, kind), None)

    def _on_resolved(self, bus: Any, result: Any, data: Tuple[Any, Any]) -> None:
        sighting, modules = data
        self._waiting -= 1
        self._resolving.discard(sighting)
        try:
            resolved = bus.call_finish(result).unpack()
            host, port = resolved[5], resolved[8]
            self._services[sighting[:2]] = host, port
            self._look_up(host, modules)
        except modules[1].Error:
            return  # it is gone


def _address_in(record: bytes, interface: int) -> str:
    """Returns the address in a DNS record; an empty text if it is none that can be used."""
    if len(record) == 4:
        return socket.inet_ntop(socket.AF_INET, record)
    if len(record) != 16:
        return ""
    address = socket.inet_ntop(socket.AF_INET6, record)
    if not ipaddress.IPv6Address(record).is_link_local:
        return address
    try:
        return f"{address}%{socket.if_indextoname(interface)}"
    except OSError:
        return ""
