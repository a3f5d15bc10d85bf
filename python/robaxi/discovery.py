"""Robots and computers that announce themselves on the local network, found through Avahi.

It uses Avahi's interface on the system bus, with the D-Bus client of GLib (Debian's python3-gi),
which can wait for signals on any thread without a main loop of the program.
"""

from __future__ import annotations

import dataclasses
import time
from typing import Any, Callable, Dict, List, Optional, Set, Tuple

from .errors import Cause, Error

ROBAXI = "_robaxi._tcp"
ROBAX = "_robax._tcp"

AVAHI = "org.freedesktop.Avahi"
SERVER = f"{AVAHI}.Server"
ANY = -1
_IPV4 = 0
_MOST = 1000  # announcements; everybody on the network can make some


@dataclasses.dataclass(frozen=True)
class Announced:
    """A robot or computer that announces itself."""

    name: str  #: name of its announcement
    host: str  #: host name, for instance "marvin.local"
    address: str  #: IPv4 address; empty if it cannot be resolved
    port: Optional[int]  #: None for a robot that does not run the middleware
    kind: str  #: "robot" or "computer"


def discover(timeout: float = 3.0) -> List[Announced]:
    """Lists the robots and computers of the local network.

    Returns when everything announced is resolved, after `timeout` seconds at the latest. Raises
    Error CANNOT_LISTEN without python3-gi, a system bus or an Avahi daemon.
    """
    search = _Search()
    search.run(timeout)
    return search.found()


def find(name: str, timeout: float) -> Optional[Announced]:
    """Finds the middleware that has this name, or whose host has it with or without ".local".
    Returns None if there is none, or if announcements cannot be received."""
    wanted = name.rstrip(".").lower()

    def is_wanted(one: Announced) -> bool:
        host = one.host.lower()
        return one.port is not None and wanted in (one.name.lower(), host,
                                                   host[:-len(".local")])

    try:
        search = _Search()
        search.run(timeout, lambda: any(map(is_wanted, search.found())))
    except Error:
        return None
    return next((one for one in search.found() if is_wanted(one)), None)


def open_bus() -> Tuple[Any, Any, Any]:
    """Returns Gio, GLib and a connection to the system bus. Raises Error CANNOT_LISTEN."""
    try:
        from gi.repository import Gio, GLib
    except ImportError:
        raise unusable("the Python package gi is missing (Debian's python3-gi)") from None
    try:
        # Not the shared connection, whose end would end the process.
        address = Gio.dbus_address_get_for_bus_sync(Gio.BusType.SYSTEM, None)
        flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
                 | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        return Gio, GLib, Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
    except GLib.Error as error:
        raise unusable(f"there is no system bus ({error.message})") from None


def unusable(why: str) -> Error:
    return Error(Cause.CANNOT_LISTEN, f"Announcements cannot be used: {why}.")


class _Search:
    """A search, on the thread that calls run()."""

    def __init__(self) -> None:
        # (name, type) of a service, and host, address and port of those that are resolved.
        self._services: Dict[Tuple[str, str], Tuple[str, str, int]] = {}
        # (name, type, interface, protocol) of sightings; one of a service may be without an answer.
        self._resolving: Set[Tuple[str, str, int, int]] = set()
        self._listing: Set[str] = set()
        self._cancellable: Any = None
        self._waiting = 0  # calls without an answer
        self._browsers: Dict[str, str] = {}

    def found(self) -> List[Announced]:
        robots = {host for (_, kind), (host, _, _) in self._services.items() if kind == ROBAX}
        running = {host for (_, kind), (host, _, _) in self._services.items() if kind == ROBAXI}
        found = []
        for (name, kind), (host, address, port) in self._services.items():
            if kind == ROBAXI:
                found.append(Announced(name, host, address, port,
                                       "robot" if host in robots else "computer"))
            elif host not in running:
                found.append(Announced(name, host, address, None, "robot"))
        return sorted(found, key=lambda one: (one.host, one.port or 0, one.name))

    def run(self, timeout: float, is_enough: Callable[[], bool] = lambda: False) -> None:
        end = time.monotonic() + timeout
        # Signals are delivered to the context of the thread, which is not the program's.
        Gio, GLib, _ = modules = open_bus()
        self._cancellable = Gio.Cancellable.new()
        context = GLib.MainContext.new()
        context.push_thread_default()
        subscription = 0
        try:
            subscription = self._start(modules)
            timer = GLib.timeout_source_new(20)
            timer.set_callback(lambda *_: True)
            timer.attach(context)
            while time.monotonic() < end and not is_enough():
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
            if subscription:
                modules[2].signal_unsubscribe(subscription)
            modules[2].close_sync(None)
            while context.iteration(False):
                pass
            context.pop_thread_default()

    def _is_complete(self) -> bool:
        return bool(self._browsers) and not self._listing and all(
            sighting[:2] in self._services for sighting in self._resolving)

    def _start(self, modules: Tuple[Any, Any, Any]) -> int:
        """Returns the subscription to signals."""
        Gio, GLib, bus = modules
        # Before the browsers, whose first signals may come before the answers.
        subscription = bus.signal_subscribe(AVAHI, f"{AVAHI}.ServiceBrowser", None, None, None,
                                            Gio.DBusSignalFlags.NONE, self._on_signal, modules)
        for kind in (ROBAXI, ROBAX):
            path = bus.call_sync(
                AVAHI, "/", SERVER, "ServiceBrowserNew",
                GLib.Variant("(iissu)", (ANY, ANY, kind, "", 0)), GLib.VariantType("(o)"),
                Gio.DBusCallFlags.NO_AUTO_START, 5000, None).unpack()[0]
            self._browsers[path] = kind
            self._listing.add(path)
        return int(subscription)

    def _on_signal(self, bus: Any, _sender: str, path: str, _interface: str, signal: str,
                   arguments: Any, modules: Tuple[Any, Any, Any]) -> None:
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
                     GLib.Variant("(iisssiu)", (interface, protocol, name, kind, domain, _IPV4, 0)),
                     None, Gio.DBusCallFlags.NO_AUTO_START, 10000, self._cancellable,
                     self._on_resolved, (sighting, GLib))
        elif signal == "ItemRemove":
            _, _, name, kind, _, _ = arguments.unpack()
            self._services.pop((name, kind), None)

    def _on_resolved(self, bus: Any, result: Any, data: Tuple[Any, Any]) -> None:
        sighting, GLib = data
        self._waiting -= 1
        self._resolving.discard(sighting)
        try:
            resolved = bus.call_finish(result).unpack()
        except GLib.Error:
            return  # it is gone, or has no IPv4 address
        host, address, port = resolved[5], resolved[7], resolved[8]
        self._services[sighting[:2]] = host, address, port
