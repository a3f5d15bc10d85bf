"""The windows of all programs as a screen reader gets them: AT-SPI over D-Bus."""

from __future__ import annotations

import subprocess
from typing import Any, Callable, Iterator, NamedTuple, Optional, Tuple

from gi.repository import Gio, GLib

_ACCESSIBLE = "org.a11y.atspi.Accessible"
_REGISTRY = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
_SELECTED = 23
_SHOWING = 25
_DEEPEST = 30
#: Milliseconds. A program that does not answer, as while it starts, is read again from the beginning.
_TIMEOUT = 3000
#: Milliseconds for what is asked once.
_PATIENCE = 30_000


class Element(NamedTuple):
    """An accessible object."""

    reference: Tuple[str, str]
    role: str
    name: str
    is_selected: bool
    is_showing: bool


class ScreenReader:
    """Reads and operates the windows on the session's bus."""

    def __init__(self) -> None:
        session = Gio.bus_get_sync(Gio.BusType.SESSION)
        [address] = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress",
                                      None, None, 0, -1, None).unpack()
        self._bus = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        # Starts the registry, at which programs enrol once, when they start.
        self.find(lambda one: False)

    def _call(self, reference: Tuple[str, str], interface: str, method: str,
              arguments: Any = None, timeout: int = _TIMEOUT) -> Any:
        return self._bus.call_sync(*reference, interface, method, arguments, None, 0, timeout,
                                   None).unpack()[0]

    def read(self, reference: Tuple[str, str] = _REGISTRY, depth: int = 0) -> Iterator[Element]:
        """Yields all objects. An object that disappears while it is read is left out."""
        try:
            name = self._call(reference, "org.freedesktop.DBus.Properties", "Get",
                              GLib.Variant("(ss)", (_ACCESSIBLE, "Name")))
            states = [*self._call(reference, _ACCESSIBLE, "GetState"), 0][0]
            yield Element(reference, self._call(reference, _ACCESSIBLE, "GetRoleName"), name,
                          bool(states >> _SELECTED & 1), bool(states >> _SHOWING & 1))
            children = self._call(reference, _ACCESSIBLE, "GetChildren")
        except GLib.Error:
            return
        if depth < _DEEPEST:
            for child in children:
                yield from self.read(child, depth + 1)

    def find(self, condition: Callable[[Element], Any]) -> Optional[Element]:
        """Returns the first object that meets a condition, or None."""
        return next(filter(condition, self.read()), None)

    def press(self, element: Element) -> None:
        """Activates it like a click; does not wait until that has ended, as a dialog's does not."""
        self._bus.call(*element.reference, "org.a11y.atspi.Action", "DoAction",
                       GLib.Variant("(i)", (0,)), None, 0, -1, None, None)
        self._bus.flush_sync(None)

    def extents(self, element: Element) -> Tuple[int, int, int, int]:
        """Returns left, top, width and height on the screen."""
        left, top, width, height = self._call(
            element.reference, "org.a11y.atspi.Component", "GetExtents", GLib.Variant("(u)", (0,)),
            _PATIENCE)
        return left, top, width, height

    def click(self, element: Element, button: int = 1, left_by: int = 0) -> None:
        """Clicks with the mouse on its middle, or left of it by some pixels."""
        left, top, width, height = self.extents(element)
        subprocess.run(["xdotool", "mousemove", str(left + width // 2 - left_by), str(top + height // 2),
                        "click", str(button)], check=True)
