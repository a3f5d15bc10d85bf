"""A program's end: robots, their memory and their cameras."""

from __future__ import annotations

import collections
import dataclasses
import fnmatch
import threading
import time
import weakref
from typing import Any, Deque, Dict, Iterable, Iterator, List, Mapping, Optional, Sequence, Tuple

import grpc

from . import _wire, discovery
from ._async import Stream
from ._session import Session, State
from ._stream import SideStream
from ._target import (DEFAULT_PORT, Deadline, Target, check_port, connect, is_address,
                      parse_target)
from ._wire import KeyInfo, ModuleInfo
from .errors import Cause, Error, NoSuchKey, describe
from .settings import Settings
from .v1 import robaxi_pb2 as pb

numpy: Any = None
try:
    import numpy
except ImportError:
    pass  # pixels are bytes


class Robot:
    """A connection to a robot, made when the object is.

    It may be used on any number of threads. When the robot is silent, calls wait, and watches stay:
    they continue when it is heard again, if necessary on another network connection. A lost
    connection stays lost: everything then raises Error CONNECTION_LOST; make a new Robot to connect
    again.
    """

    def __init__(self, host: str, port: Optional[int] = None, *, timeout: float = 5.0,
                 settings: Optional[Settings] = None, name: str = "python") -> None:
        """Connects.

        `host` is an address, a host's name, or the name that a robot announces, with or without
        ":PORT". The port of an announced robot is the announced one, otherwise 9559. `timeout`, in
        seconds, applies to finding the robot, to connecting, and to each call. `settings` are by
        default the user's (robaxi.conf and the environment). `name` is shown to the robot.

        Raises Error.
        """
        _wire.check_text("The name of a program", name)
        host, written_port = parse_target(host)
        port = written_port if port is None else check_port(port)
        settings = Settings.load() if settings is None else settings
        settings.check()
        self._timeout = timeout
        target = _find(host, port, Deadline(timeout))
        self._session = Session(target, settings, name, Deadline(timeout))
        # Also run when the interpreter ends.
        self._finalizer = weakref.finalize(self, self._session.close)

    @property
    def name(self) -> str:
        """Name of the robot's broker."""
        return self._session.hello.name

    @property
    def host(self) -> str:
        """The host as the program wrote it."""
        return self._session.target.host

    @property
    def address(self) -> str:
        """The numeric address."""
        return self._session.target.address

    @property
    def port(self) -> int:
        return self._session.target.port

    @property
    def error(self) -> Optional[Error]:
        """The reason for which the connection is lost; None while it lives."""
        return self._session.error

    @property
    def state(self) -> State:
        """Connected, silent, or lost."""
        return self._session.state

    @property
    def silence(self) -> float:
        """Seconds since the robot was last heard."""
        return self._session.silence

    def states(self) -> States:
        """The state, then each other one, until the connection is lost. While the program is busy,
        a state that has passed is left out."""
        return States(self)

    @property
    def memory(self) -> Memory:
        """The robot's memory, its module KVMemory."""
        return self.values("KVMemory")

    def values(self, module: str) -> Memory:
        """The values of a module that is used like KVMemory."""
        return Memory(self, module)

    def camera(self, name: str, module: str = "KVVideo") -> Camera:
        """A camera of the robot. It is not checked that it exists."""
        return Camera(self, module, name)

    def cameras(self, module: str = "KVVideo") -> List[Camera]:
        """The robot's cameras."""
        found = self.call(module, "getCameras")
        if not isinstance(found, list):
            raise _unexpected(module, "getCameras")
        return [Camera(self, module, one["name"]) for one in found
                if isinstance(one, dict) and isinstance(one.get("name"), str)]

    def modules(self) -> List[ModuleInfo]:
        """Descriptions of the robot's modules."""
        return self._list_modules("")

    def module(self, name: str) -> ModuleInfo:
        """The description of a module. Raises Error NO_SUCH_MODULE."""
        # All are listed for an empty name.
        found = [one for one in self._list_modules(name) if one.name == name]
        if not found:
            raise describe(f"Cannot describe the module {name}", Cause.NO_SUCH_MODULE)
        return found[0]

    def call(self, module: str, method: str, *arguments: Any,
             timeout: Optional[float] = None) -> Any:
        """Calls a method and returns its result.

        Arguments and results are None, bool, int, float, str, bytes, lists, and dicts with keys of
        type str. Raises Error.
        """
        message = pb.ClientMessage(call=self._make_call(module, method, arguments))
        answer = self._session.request(message, self._attempt(module, method),
                                       Deadline(self._timeout if timeout is None else timeout))
        return _wire.from_value(answer.result.value)

    def post(self, module: str, method: str, *arguments: Any) -> None:
        """Calls a method without waiting: neither result nor failure is reported. It is still sent
        if the connection is closed immediately afterwards."""
        message = pb.ClientMessage(call=self._make_call(module, method, arguments))
        self._session.post(message, self._attempt(module, method), Deadline(self._timeout))

    def close(self) -> None:
        """Ends the connection. What was posted before is still run."""
        self._finalizer()

    def __enter__(self) -> Robot:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<Robot {self.name!r} at {self.address} port {self.port}>"

    def _list_modules(self, name: str) -> List[ModuleInfo]:
        _wire.check_text("The name of a module", name)
        message = pb.ClientMessage(list_modules=pb.ListModules(module=name))
        answer = self._session.request(message, f"Cannot list modules of {self.host}",
                                       Deadline(self._timeout))
        return [_wire.from_module(module) for module in answer.module_list.modules]

    def _make_call(self, module: str, method: str, arguments: Tuple[Any, ...]) -> pb.Call:
        depth = self._session.limits.depth
        return pb.Call(module=_wire.check_text("The name of a module", module),
                       method=_wire.check_text("The name of a method", method),
                       arguments=[_wire.to_value(one, depth) for one in arguments])

    def _attempt(self, module: str, method: str) -> str:
        return f"The call of {module}.{method} at {self._session.target.place} failed"


def _find(host: str, port: Optional[int], deadline: Deadline) -> Target:
    """The target of a host: an announced one at its announced address and port."""
    is_bare = "." not in host or host.lower().rstrip(".").endswith(".local")
    if is_address(host) or host == "localhost" or not is_bare:
        return connect(host, DEFAULT_PORT if port is None else port, deadline)
    if port is not None:
        try:
            return connect(host, port, deadline, _look_up(host, deadline))
        except Error as error:
            if error.cause != Cause.NAME_NOT_FOUND:
                raise
            target = _find_announced(host, port, deadline)
            if target is None:
                raise
            return target
    return _find_announced(host, None, deadline) or connect(
        host, DEFAULT_PORT, deadline, _look_up(host, deadline))


def _look_up(host: str, deadline: Deadline) -> Sequence[str]:
    """The addresses that Avahi knows: unlike the system's resolver it waits for no DNS server, and
    reports those of all interfaces and of both families."""
    return discovery.look_up(host, min(0.5, deadline.left() / 2)) if "." in host else ()


def _find_announced(host: str, port: Optional[int], deadline: Deadline) -> Optional[Target]:
    announced = discovery.find(host, min(1.0, deadline.left()))
    if announced is None or announced.port is None:
        return None
    # Settings and certificates are those of the host's name.
    return connect(announced.host, announced.port if port is None else port, deadline,
                   announced.addresses)


def _unexpected(module: str, method: str) -> Error:
    return Error(Cause.WRONG_TYPE, f"{module}.{method} returned something else than it should.")


class States(Stream[State]):
    """The states of a connection, as an iterator and as an asynchronous iterator. After LOST it
    ends."""

    def __init__(self, robot: Robot) -> None:
        super().__init__()
        self._robot = robot  # lives as long as it is watched
        self._told: Optional[State] = None
        self._is_closed = False

    def close(self) -> None:
        session = self._robot._session
        with session.changed:
            self._is_closed = True
            session.changed.notify_all()

    def _next(self) -> Optional[State]:
        if self._told == State.LOST:
            return None
        session = self._robot._session
        with session.changed:
            session.changed.wait_for(lambda: self._is_closed or session.state != self._told)
            self._told = None if self._is_closed else session.state
        return self._told


# --- Values ----------------------------------------------------------------------------------

class Memory(Mapping[str, Any]):
    """The values of a robot: a mapping of keys to values, of which some can be written."""

    def __init__(self, robot: Robot, module: str) -> None:
        self._robot = robot
        self._module = module

    def __getitem__(self, key: str) -> Any:
        """The current value. Raises NoSuchKey, which is a KeyError, and Error."""
        try:
            return self._robot.call(self._module, "getData", key)
        except Error as error:
            if error.cause == Cause.INVALID_ARGUMENT:
                raise NoSuchKey(error.text) from None
            raise

    def __setitem__(self, key: str, value: Any) -> None:
        """Writes a value. Raises Error with the robot's reason if it refuses."""
        self._robot.call(self._module, "setData", key, value)

    def __iter__(self) -> Iterator[str]:
        return iter(self.names())

    def __len__(self) -> int:
        return len(self.names())

    def __contains__(self, key: object) -> bool:
        return isinstance(key, str) and key in self.names(key)

    def names(self, prefix: str = "") -> List[str]:
        """The names of the keys that start with a text."""
        names = self._robot.call(self._module, "getDataList", prefix)
        if not isinstance(names, list) or not all(isinstance(name, str) for name in names):
            raise _unexpected(self._module, "getDataList")
        return names

    def watch(self, *patterns: str, rate: float = 10.0) -> Watch:
        """Watches keys: their current values, then each change.

        In a pattern `*` matches any text, `?` one character and `[...]` one of several; without a
        pattern all keys are watched. Keys that appear later are included. `rate` is the maximum
        number of updates a second of each key, above 0 to 1000. While the program is busy the robot
        sends less: the newest values arrive, never old ones from a queue.
        """
        return Watch(self._robot, self._module, patterns, rate)


@dataclasses.dataclass(frozen=True)
class Change:
    """A new value of a key."""

    key: str
    value: Any
    time: float  #: by the robot's clock, in seconds since 1970-01-01 UTC
    unit: str  #: of the value, for instance "rad"; may be empty


class Watch(Stream[Change]):
    """The changes of watched keys, as an iterator and as an asynchronous iterator."""

    def __init__(self, robot: Robot, module: str, patterns: Tuple[str, ...],
                 rate: float) -> None:
        super().__init__()
        self._robot = robot  # lives as long as it is watched
        self._session = session = robot._session
        self._module = _wire.check_text("The name of a module", module)
        self._rate = rate
        self._attempt = f"Cannot watch the values of {module} at {session.target.place}"
        for pattern in patterns:
            _wire.check_text("A pattern", pattern)
        self._patterns = None if not patterns or "*" in patterns else patterns
        self._keys: Dict[int, KeyInfo] = {}
        self._selected: Dict[int, bool] = {}  # true if a value of it was received
        self._table: Optional[int] = None
        self._last_key = 0
        self._position = 0  # of the last update
        self._waiting: Deque[Change] = collections.deque()
        self._number = 0
        self._is_closed = False
        self._stream: SideStream[pb.SubscriptionRequest, pb.SubscriptionUpdate] = SideStream(
            session, _wire.SUBSCRIBE, pb.SubscriptionRequest.SerializeToString,
            pb.SubscriptionUpdate.FromString)
        self._stream.begin(self._first_request)
        self._finalizer = weakref.finalize(self, self._stream.end)

    @property
    def keys(self) -> List[KeyInfo]:
        """Descriptions of the watched keys that the robot has reported so far."""
        return [key for key in [*self._keys.values()] if self._matches(key.name)]

    def close(self) -> None:
        self._is_closed = True
        self._finalizer()

    def _matches(self, name: str) -> bool:
        return self._patterns is None or any(
            fnmatch.fnmatchcase(name, pattern) for pattern in self._patterns)

    def _first_request(self, resumption: int) -> pb.SubscriptionRequest:
        """The request that starts the stream or, after a resumption, continues it with what is
        known."""
        start = pb.SubscriptionStart(
            session_id=self._session.hello.session_id, resumption=resumption,
            module=self._module, all_keys=self._patterns is None, rate=self._rate)
        request = pb.SubscriptionRequest(start=start)
        if self._table is not None:
            request.start.known.CopyFrom(pb.KnownState(
                position=self._position, last_key=self._last_key, keys=len(self._keys),
                with_values=[key for key, has_value in self._selected.items() if has_value],
                table=self._table))
        if self._selected:
            request.keys.ids.extend(self._selected)
        self._number = 0
        return request

    def _next(self) -> Optional[Change]:
        while not self._waiting and not self._is_closed:
            # Reported only now: until then the robot waits with more than one further update.
            if self._number:
                self._stream.put(pb.SubscriptionRequest(consumed=self._number))
            try:
                update = next(self._stream)
            except (grpc.RpcError, StopIteration) as end:
                self._continue_after(end)
                continue
            self._number = update.number
            try:
                self._take(update)
            except Error:
                self.close()
                raise
            self._position = update.position
        return None if self._is_closed else self._waiting.popleft()

    def _continue_after(self, end: Exception) -> None:
        """Begins again on the session's next connection, or raises the reason of the end."""
        if self._stream.follow(end):
            self._stream.begin(self._first_request)
        elif not self._is_closed:
            error = self._stream.error(self._attempt, end)
            self.close()
            raise error from None

    def _take(self, update: pb.SubscriptionUpdate) -> None:
        content = update.WhichOneof("content")
        if content == "values":
            for key_id, value, time in _wire.from_values(update.values):
                key = self._keys.get(key_id)
                if key is None:
                    raise _wire.malformed("a value has an unknown key")
                if key_id in self._selected:
                    self._selected[key_id] = True
                self._waiting.append(Change(key.name, value, time / 1e6, key.unit))
        elif content == "keys_added":
            self._table = update.keys_added.table
            self._add(update.keys_added.keys)
        elif content == "keys_removed":
            self._remove(update.keys_removed.ids)
        elif content == "keys_present":
            # The others were removed while the robot was silent: all with another table.
            present = {*update.keys_present.ids}
            self._remove([key for key in self._keys if key not in present])
            self._last_key = max(self._keys, default=0)

    def _add(self, keys: Any) -> None:
        chosen = []
        for key in keys:
            self._keys[key.id] = _wire.from_key(key)
            self._last_key = max(self._last_key, key.id)
            if self._patterns is not None and self._matches(key.name):
                chosen.append(key.id)
        if len(self._keys) > self._session.limits.keys:
            raise describe(self._attempt, Cause.TOO_LARGE, "it has too many keys")
        if chosen:
            self._selected.update(dict.fromkeys(chosen, False))
            self._stream.put(pb.SubscriptionRequest(keys=pb.KeySelection(ids=self._selected)))

    def _remove(self, keys: Iterable[int]) -> None:
        for key in keys:
            self._keys.pop(key, None)
            self._selected.pop(key, None)


# --- Cameras ---------------------------------------------------------------------------------

@dataclasses.dataclass(frozen=True)
class Frame:
    """A picture of a camera."""

    number: int  #: counted by the camera
    time: float  #: exposure by the robot's clock, in seconds since 1970-01-01 UTC
    width: int
    height: int
    stride: int  #: bytes from one row to the next; 0 for JPEG and H.264
    format: str  #: "rgb", "yuv422" (Y0 Cb Y1 Cr), "grey", "jpeg" or "h264" (a byte stream)
    data: bytes
    skipped: int = 0  #: frames that were replaced by newer ones since the one before
    is_key: bool = False  #: "h264": decoding can begin here; the others need the frame before
    sequence: int = 0  #: "h264": counts the encoded frames

    @property
    def pixels(self) -> Any:
        """The pixels as a numpy array of bytes: height x width x 3 for "rgb", height x width x 2
        for "yuv422", height x width for "grey". The bytes themselves for "jpeg" and "h264", and
        without numpy."""
        if numpy is None or self.format not in _wire.PIXEL_SIZES:
            return self.data
        size = _wire.PIXEL_SIZES[self.format]
        shape = (self.height, self.width) + ((size,) if size > 1 else ())
        strides = (self.stride, size) + ((1,) if size > 1 else ())
        return numpy.ndarray(shape, numpy.uint8, self.data, 0, strides)


class Camera:
    """A camera of a robot."""

    def __init__(self, robot: Robot, module: str, name: str) -> None:
        self._robot = robot
        self._module = module
        self.name = name

    @property
    def settings(self) -> Dict[str, Any]:
        """Width, height, format and rate, which all programs share."""
        return self._settings("getSettings", self.name)

    def set(self, **settings: Any) -> Dict[str, Any]:
        """Changes the settings that are named and returns the resulting ones. Raises Error with
        what the camera supports if it refuses."""
        return self._settings("setSettings", self.name, settings)

    def frames(self) -> Frames:
        """The frames: the newest one that the robot has, then newer ones as they arrive. Frames are
        never queued: one that arrives while the program is busy replaces the one that waits. Of
        "h264" up to 32 wait, and after a gap they continue with a key frame, so that each can be
        decoded."""
        return Frames(self._robot, self._module, self.name)

    def __repr__(self) -> str:
        return f"<Camera {self.name!r}>"

    def _settings(self, method: str, *arguments: Any) -> Dict[str, Any]:
        result = self._robot.call(self._module, method, *arguments)
        if not isinstance(result, dict):
            raise _unexpected(self._module, method)
        return result


#: Seconds between requests for a key frame.
KEY_FRAME_DISTANCE = 0.25


class _Slot:
    """The newest frame that nobody has taken; of H.264 those up to it."""

    MOST_WAITING = 32

    def __init__(self, most_bytes: int) -> None:
        self._most_bytes = most_bytes  # of the frames that wait
        self._changed = threading.Condition()
        self._frames: Deque[Frame] = collections.deque()
        self._next: Optional[int] = None  # sequence of the H.264 frame that can be decoded
        self._skipped = 0
        self._last: Optional[Frame] = None  # without its data
        self._may_repeat = False
        self._end: Optional[Error] = None
        self._is_over = False

    def begin_again(self) -> None:
        """Leaves out the frames with which the robot begins on another connection, if they came on
        the former one: the newest, of H.264 the newest key frame and those since."""
        with self._changed:
            self._may_repeat = True

    def put(self, frame: Frame) -> bool:
        """Returns False if it was left out, since it needs a frame that is missing."""
        with self._changed:
            is_chained = frame.format == "h264"
            self._may_repeat = self._may_repeat and self._has_come(frame)
            if self._may_repeat:
                return True
            self._last = dataclasses.replace(frame, data=b"")
            size = len(frame.data) + sum(len(waiting.data) for waiting in self._frames)
            is_full = len(self._frames) == self.MOST_WAITING or size > self._most_bytes
            if not is_chained or is_full:
                self._skipped += len(self._frames)
                self._frames.clear()
                self._next = None
            if is_chained and not frame.is_key and frame.sequence != self._next:
                self._next = None
                self._skipped += 1
                return False
            self._next = frame.sequence + 1 if is_chained else None
            self._frames.append(frame)
            self._changed.notify_all()
            return True

    def _has_come(self, frame: Frame) -> bool:
        last = self._last
        if last is None or last.format != frame.format:
            return False
        if frame.format == "h264":
            return frame.sequence <= last.sequence and frame.time <= last.time
        return (frame.number, frame.time) == (last.number, last.time)

    def end(self, error: Optional[Error]) -> None:
        with self._changed:
            if not self._is_over:
                self._end, self._is_over = error, True
            self._changed.notify_all()

    def take(self) -> Optional[Frame]:
        with self._changed:
            self._changed.wait_for(lambda: self._frames or self._is_over)
            skipped, self._skipped = self._skipped, 0
            if self._frames:
                return dataclasses.replace(self._frames.popleft(), skipped=skipped)
            if self._end is not None:
                raise self._end
            return None


_FrameStream = SideStream[pb.WatchRequest, pb.WatchUpdate]


class Frames(Stream[Frame]):
    """The frames of a camera, as an iterator and as an asynchronous iterator."""

    def __init__(self, robot: Robot, module: str, camera: str) -> None:
        super().__init__()
        self._robot = robot  # lives as long as it is watched
        session = robot._session
        self._slot = _Slot(session.limits.frame)
        stream: _FrameStream = SideStream(
            session, _wire.WATCH, pb.WatchRequest.SerializeToString, pb.WatchUpdate.FromString)
        start = pb.WatchStart(
            session_id=session.hello.session_id,
            module=_wire.check_text("The name of a module", module),
            stream=_wire.check_text("The name of a camera", camera))
        attempt = f"Cannot watch the camera {camera} at {session.target.place}"
        _begin_frames(stream, start)
        self._finalizer = weakref.finalize(self, stream.end)
        # It must not keep this object alive, whose end ends it.
        threading.Thread(
            target=_read_frames,
            args=[stream, start, self._slot, session.limits.frame, attempt],
            daemon=True, name="robaxi-frames").start()

    def close(self) -> None:
        self._slot.end(None)
        self._finalizer()

    def _next(self) -> Optional[Frame]:
        return self._slot.take()


def _begin_frames(stream: _FrameStream, start: pb.WatchStart) -> None:
    def first_request(resumption: int) -> pb.WatchRequest:
        request = pb.WatchRequest(start=start)
        request.start.resumption = resumption
        return request

    stream.begin(first_request)


def _read_frames(stream: _FrameStream, start: pb.WatchStart, slot: _Slot, largest: int,
                 attempt: str) -> None:
    error: Optional[Error] = None
    try:
        while True:
            end: Optional[grpc.RpcError] = None
            try:
                _pass_frames(stream, slot, largest, attempt)
            except grpc.RpcError as raised:
                end = raised
            if not stream.follow(end):
                error = None if stream.is_over else stream.error(attempt, end)
                break
            slot.begin_again()
            _begin_frames(stream, start)
    except Error as broken:
        error = broken
    slot.end(error)
    stream.end()


def _pass_frames(stream: _FrameStream, slot: _Slot, largest: int, attempt: str) -> None:
    """Passes frames on until the stream ends."""
    asked = -KEY_FRAME_DISTANCE
    for received, frame in enumerate(_whole_frames(stream, largest, attempt), 1):
        request = pb.WatchRequest(received=received)
        now = time.monotonic()
        if not slot.put(frame) and now - asked >= KEY_FRAME_DISTANCE:
            asked = now
            request.key_frame = True
        stream.put(request)


def _whole_frames(stream: _FrameStream, largest: int, attempt: str) -> Iterator[Frame]:
    header = pb.FrameHeader()
    data = bytearray()
    for update in stream:
        if update.HasField("header"):
            header, data = update.header, bytearray()
            if header.size > largest:
                raise describe(attempt, Cause.TOO_LARGE)
        if not update.data or len(data) + len(update.data) > header.size:
            raise _wire.malformed("a frame has another size than its header says")
        data += update.data
        if len(data) == header.size:
            yield _make_frame(header, bytes(data), attempt)
            header = pb.FrameHeader()


def _make_frame(header: pb.FrameHeader, data: bytes, attempt: str) -> Frame:
    kind = _wire.format_name(header)
    damage = _wire.check_frame(kind, header.width, header.height, header.stride, header.size)
    if damage is not None:
        raise describe(attempt, Cause.INTERNAL, f"a frame is damaged: {damage}")
    return Frame(header.number, _wire.from_time(header.time) / 1e6, header.width, header.height,
                 header.stride, kind, data, is_key=header.is_key, sequence=header.sequence)
