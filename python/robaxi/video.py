"""A robot's cameras: its module KVVideo (docs/video.md)."""

from __future__ import annotations

import threading
from typing import Any, Callable, Dict, Iterable, List, Mapping, NamedTuple, Optional, Sequence, Set, Union

from . import _wire
from .errors import Cause, Error, text_of
from .v1 import robaxi_pb2 as pb

SettingsHandler = Callable[[Dict[str, Any]], object]

_SETTINGS = {"width": int, "height": int, "format": str, "rate": float}


class Mode(NamedTuple):
    """A mode of a camera: a size, with the formats and rates that it has there."""

    width: int
    height: int
    formats: Sequence[str] = ("rgb",)
    rates: Sequence[float] = (15.0,)

    def check(self) -> None:
        """Raises Error INVALID_ARGUMENT if no program accepts the mode."""
        if not (all(isinstance(side, int) and 1 <= side <= 65535 for side in self[:2])
                and self.formats and self.rates
                and all(isinstance(rate, (int, float)) and 0 < rate <= 10000 for rate in self.rates)
                and all(kind in _wire.PICTURE_FORMATS for kind in self.formats)):
            raise Error(Cause.INVALID_ARGUMENT, f"A camera cannot have the mode {self}.")

    def to_value(self) -> Dict[str, Any]:
        return {"width": self.width, "height": self.height, "formats": list(self.formats),
                "rates": [float(rate) for rate in self.rates]}


class CameraSource:
    """A camera of this robot. All operations may be called on any thread."""

    def __init__(self, name: str, modes: Sequence[Mode], description: str,
                 on_settings: Optional[SettingsHandler], frame_limit: int) -> None:
        _wire.check_text("The name of a camera", name)
        _wire.check_text(f"The description of the camera {name}", description)
        if not modes or not 0 < len(name.encode()) <= 200 or len(description.encode()) > 1000:
            raise Error(Cause.INVALID_ARGUMENT, "A camera needs a mode, a name of 1 to 200 bytes "
                        "and a description of at most 1000.")
        for mode in modes:
            mode.check()
        self.name = name
        self.description = description
        self._modes = list(modes)
        self._on_settings = on_settings
        self._frame_limit = frame_limit
        self._lock = threading.Lock()
        # One change after the other, with its handler; `_lock` may be taken inside.
        self._changing = threading.RLock()
        first = self._modes[0]
        self._settings: Dict[str, Any] = {"width": first.width, "height": first.height,
                                          "format": first.formats[0],
                                          "rate": float(first.rates[0])}
        self._number = 0
        self._newest: Optional[Picture] = None
        self.is_removed = False
        self._observers: Set[Callable[[], None]] = set()

    @property
    def settings(self) -> Dict[str, Any]:
        """The current width, height, format and rate, which programs can change."""
        with self._lock:
            return dict(self._settings)

    @property
    def watchers(self) -> int:
        """Number of programs that watch the camera; without one it can rest."""
        return len(self._observers)

    def publish(self, pixels: Any, time_stamp: Optional[float] = None, *,
                settings: Optional[Mapping[str, Any]] = None, stride: int = 0) -> None:
        """Sends a frame to the watchers.

        `pixels` are bytes, or a numpy array of bytes. They have the current size and format, or
        those in `settings`. `stride` is the number of bytes from one row to the next, by default
        without padding. `time_stamp` is in seconds since 1970, by default now. Raises Error
        INVALID_ARGUMENT for a frame that does not fit, and TOO_LARGE.
        """
        data = _bytes_of(pixels)
        shape = {**self.settings, **(settings or {})}
        width, height, kind = shape["width"], shape["height"], shape["format"]
        if kind not in _wire.PICTURE_FORMATS:
            raise _unsendable("its format is unknown")
        stride = 0 if kind == "jpeg" else stride or width * _wire.PIXEL_SIZES[kind]
        time = _wire.to_time(time_stamp)
        try:
            header = pb.FrameHeader(time=time, width=width, height=height, stride=stride,
                                    format=_wire.format_number(kind), size=len(data))
        except (TypeError, ValueError):
            raise _unsendable("its width, height and stride are no ints of 32 bits") from None
        damage = _wire.check_frame(kind, width, height, stride, len(data))
        if damage is not None:
            raise _unsendable(damage)
        if len(data) > self._frame_limit:
            raise Error(Cause.TOO_LARGE, f"The frame is larger than {self._frame_limit} bytes.")
        with self._lock:
            self._number += 1
            header.number = self._number
            self._newest = Picture(header, data)
            for observer in self._observers:
                observer()

    # --- For the module and for streams ---

    def newest(self) -> Optional[Picture]:
        with self._lock:
            return self._newest

    def remove(self) -> None:
        """Ends the streams."""
        with self._lock:
            self.is_removed = True
            for observer in self._observers:
                observer()

    def observe(self, observer: Callable[[], None]) -> None:
        with self._lock:
            self._observers.add(observer)

    def forget(self, observer: Callable[[], None]) -> None:
        with self._lock:
            self._observers.discard(observer)

    def describe(self) -> Dict[str, Any]:
        return {"name": self.name, "description": self.description,
                "modes": [mode.to_value() for mode in self._modes], "settings": self.settings}

    def change(self, changes: Mapping[str, Any]) -> Dict[str, Any]:
        """Changes the settings that are named. Raises Error with what the camera supports."""
        with self._changing:
            return self._change(changes)

    def _change(self, changes: Mapping[str, Any]) -> Dict[str, Any]:
        settings = self.settings
        for name, value in changes.items():
            if name not in _SETTINGS:
                raise self._refusal(f"has no setting '{name[:100]}'; it has width, height, format "
                                    "and rate.")
            if type(value) is int and name == "rate":
                value = float(value)
            if type(value) is not _SETTINGS[name]:
                raise self._refusal(f"cannot take this {name}: it is of another type.")
            settings[name] = value
        self._check(settings)
        if self._on_settings is not None:
            try:
                self._on_settings(dict(settings))
            except Exception as error:
                raise self._refusal(text_of(error)) from error
        with self._lock:
            self._settings = settings
        return dict(settings)

    def _check(self, settings: Dict[str, Any]) -> None:
        size = f"{settings['width']}x{settings['height']}"
        modes = [one for one in self._modes
                 if (one.width, one.height) == (settings["width"], settings["height"])]
        if not modes:
            able = _listed(f"{one.width}x{one.height}" for one in self._modes)
            raise self._refusal(f"cannot do {size} pixels; it can do {able}.")
        formats = _listed(kind for one in modes for kind in one.formats)
        modes = [one for one in modes if settings["format"] in one.formats]
        if not modes:
            raise self._refusal(f"cannot do the format {settings['format'][:100]} at {size} "
                                f"pixels; it can do {formats}.")
        if not any(settings["rate"] in one.rates for one in modes):
            rates = _listed(rate for one in modes for rate in one.rates)
            raise self._refusal(f"cannot do {settings['rate']:g} frames a second at {size} pixels; "
                                f"it can do {rates}.")

    def _refusal(self, reason: str) -> Error:
        return Error(Cause.RAISED_BY_MODULE, f"The camera {self.name} {reason}")


class Picture(NamedTuple):
    """A frame as it is sent."""

    header: pb.FrameHeader
    data: bytes


def _bytes_of(pixels: Any) -> bytes:
    if isinstance(pixels, bytes):
        return pixels
    view = memoryview(pixels)
    if view.itemsize != 1:
        raise _unsendable("its pixels are not bytes")
    return view.tobytes()  # also of an array that is a part of another one


def _unsendable(damage: str) -> Error:
    return Error(Cause.INVALID_ARGUMENT, f"The frame cannot be sent: {damage}.")


def _listed(items: Iterable[Union[str, float]]) -> str:
    """The distinct items, separated by commas."""
    return ", ".join(dict.fromkeys(one if isinstance(one, str) else f"{one:g}" for one in items))


def descriptions(cameras: Mapping[str, CameraSource]) -> List[Dict[str, Any]]:
    return [camera.describe() for camera in [*cameras.values()]]
