"""Announces a robot through Avahi, on a separate thread, for as long as it lives."""

from __future__ import annotations

import logging
import threading
from typing import Any, List, Optional, Tuple

from .discovery import ANY, AVAHI, SERVER, open_bus
from .errors import Error

_log = logging.getLogger("robaxi")

_PATIENCE = 5.0  # seconds for an answer of the bus or the daemon
_RUNNING = 2  # state of Avahi's server
_COLLISION = 3  # state of an entry group
_NO_DAEMON = [f"org.freedesktop.DBus.Error.{name}"
              for name in ("ServiceUnknown", "NameHasNoOwner")]
_TRIES = 20  # names; another program of this machine may have each of them


class Announcer:
    """The announcement of some services. A missing daemon is reported once and waited for; a name
    that is taken becomes "NAME #2"."""

    def __init__(self, name: str, services: List[Tuple[str, int]]) -> None:
        """`services` are types and ports."""
        self.name = name
        self._services = services
        self._group: Optional[str] = None
        self._subscriptions: List[int] = []
        self._context: Any = None
        self._loop: Any = None
        self._is_ready = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True, name="robaxi-announce")
        self._thread.start()
        self._is_ready.wait()

    def close(self) -> None:
        """Withdraws the announcement."""
        if self._context is not None:
            # On its thread, since the loop may not have begun to run.
            source = self._GLib.idle_source_new()
            source.set_callback(lambda *_: self._loop.quit())
            source.attach(self._context)
        self._thread.join()

    def _run(self) -> None:
        try:
            self._Gio, self._GLib, self._bus = open_bus(_PATIENCE)
            self._announce()
        except Error as error:
            _log.warning("not announced: %s", error)
        except Exception:
            _log.exception("not announced")
        finally:
            self._is_ready.set()

    def _announce(self) -> None:
        context = self._GLib.MainContext.new()
        context.push_thread_default()
        self._loop = self._GLib.MainLoop.new(context, False)
        self._context = context
        try:
            self._subscribe(None, "org.freedesktop.DBus", "NameOwnerChanged", self._on_owner,
                            AVAHI)
            self._subscribe(AVAHI, SERVER, "StateChanged", self._on_state)
            self._subscribe(AVAHI, f"{AVAHI}.EntryGroup", "StateChanged", self._on_group)
            self._publish()
            self._is_ready.set()
            self._loop.run()
        finally:
            for subscription in self._subscriptions:
                self._bus.signal_unsubscribe(subscription)
            # The daemon withdraws what a connection has announced.
            try:
                self._bus.close_sync(None)
            except self._GLib.Error:
                pass  # the bus has closed it
            # Subscriptions are only released by their context.
            while context.iteration(False):
                pass
            context.pop_thread_default()

    def _subscribe(self, sender: Optional[str], interface: str, signal: str, handle: Any,
                   argument: Optional[str] = None) -> None:
        self._subscriptions.append(self._bus.signal_subscribe(
            sender, interface, signal, None, argument, self._Gio.DBusSignalFlags.NONE,
            lambda _b, _s, path, _i, _n, values: handle(path, values)))

    def _call(self, path: str, interface: str, method: str, arguments: Any = None) -> Any:
        result = self._bus.call_sync(AVAHI, path, interface, method, arguments, None,
                                     self._Gio.DBusCallFlags.NO_AUTO_START,
                                     int(_PATIENCE * 1000), None).unpack()
        return result[0] if result else None

    def _on_owner(self, _path: str, values: Any) -> None:
        if values.unpack()[2]:
            self._publish()
        else:
            self._group = None

    def _on_state(self, _path: str, values: Any) -> None:
        # Also after a change of the machine's host name.
        if values.unpack()[0] == _RUNNING:
            self._publish()
        else:
            self._withdraw()

    def _on_group(self, path: str, values: Any) -> None:
        if path == self._group and values.unpack()[0] == _COLLISION:
            self._publish(is_taken=True)

    def _withdraw(self) -> None:
        if self._group is not None:
            try:
                self._call(self._group, f"{AVAHI}.EntryGroup", "Free")
            except self._GLib.Error:
                pass  # the daemon is gone
            self._group = None

    def _publish(self, is_taken: bool = False) -> None:
        self._withdraw()
        try:
            if self._call("/", SERVER, "GetState") != _RUNNING:
                _log.warning("not announced yet: the Avahi daemon is not ready")
                return  # it reports when it runs
            if is_taken:
                self._rename()
            for _ in range(_TRIES):
                self._group = self._call("/", SERVER, "EntryGroupNew")
                if self._add_services():
                    return
                self._withdraw()
                self._rename()
            _log.warning("not announced: all names are taken")
        except self._GLib.Error as error:
            self._withdraw()
            if self._Gio.dbus_error_get_remote_error(error) in _NO_DAEMON:
                _log.warning("not announced yet: there is no Avahi daemon")
            else:
                self._Gio.dbus_error_strip_remote_error(error)
                _log.warning("not announced as %s: %s", self.name, error.message)

    def _add_services(self) -> bool:
        """Returns false if another program of this machine uses the name."""
        group = f"{AVAHI}.EntryGroup"
        try:
            for kind, port in self._services:
                self._call(self._group or "/", group, "AddService", self._GLib.Variant(
                    "(iiussssqaay)", (ANY, ANY, 0, self.name, kind, "", "", port, [])))
            self._call(self._group or "/", group, "Commit")
        except self._GLib.Error as error:
            if "CollisionError" in (self._Gio.dbus_error_get_remote_error(error) or ""):
                return False
            raise
        return True

    def _rename(self) -> None:
        self.name = self._call("/", SERVER, "GetAlternativeServiceName",
                               self._GLib.Variant("(s)", (self.name,)))
        _log.warning("the name is taken; announced as %s", self.name)
