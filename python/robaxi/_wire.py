"""Conversions between Python and the messages of the protocol. The peers are not trusted: what does
not fit is an Error INTERNAL."""

from __future__ import annotations

import numbers
import time
from typing import Any, Dict, Iterable, Iterator, List, Mapping, NamedTuple, Optional, Tuple, TypeVar

import grpc

from .errors import Cause, Error
from .settings import Limits
from .v1 import robaxi_pb2 as pb

PROTOCOL_VERSION = 1
PART_SIZE = 64 << 10
LARGEST_FRAME_PART = 1 << 20
# A batch may be larger than its message by this.
BATCH_OVERHEAD = 1 << 10
# Counted for each message that waits, or is kept, besides its bytes.
COST_OF_MESSAGE = 256
# Bytes after which batches are acknowledged before the next heartbeat.
ACKNOWLEDGE_AFTER = 1 << 20
# Heartbeats after which a robot ends the session of a program that reads nothing.
UNTAKING_HEARTBEATS = 240

SERVICE = "robaxi.v1.Robaxi"
SESSION = f"/{SERVICE}/Session"
SUBSCRIBE = f"/{SERVICE}/Subscribe"
WATCH = f"/{SERVICE}/Watch"

_DEEPEST = 64
_SMALLEST_INT, _LARGEST_INT = -(2**63), 2**63 - 1

_TYPE_NAMES: Dict[int, str] = {
    pb.Value.NOTHING: "nothing", pb.Value.BOOL: "bool", pb.Value.INT: "int",
    pb.Value.FLOAT: "float", pb.Value.STRING: "string", pb.Value.BINARY: "binary",
    pb.Value.LIST: "list", pb.Value.MAP: "map",
}


def malformed(what: str) -> Error:
    """The error for a message that breaks the protocol."""
    return Error(Cause.INTERNAL, f"The other side breaks the protocol: {what}.")


def unexpected(error: BaseException) -> Error:
    """The error for clients whose answer or update a robot cannot compose. The robot logs it."""
    return Error(Cause.INTERNAL, f"an unexpected {type(error).__name__} in the robot; see its log")


# --- Values ----------------------------------------------------------------------------------

def encode_text(text: str) -> bytes:
    """Bytes of a text. Those that were not UTF-8 when it was received are the same again. Raises
    Error INVALID_ARGUMENT for a text with another lone surrogate."""
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError as error:
        raise Error(Cause.INVALID_ARGUMENT, "A text with the lone surrogate "
                    f"U+{ord(text[error.start]):04X} cannot be sent.") from None


def decode_text(data: bytes) -> str:
    """The text of some bytes. What is not UTF-8 becomes lone surrogates."""
    return data.decode("utf-8", "surrogateescape")


def is_utf8(text: str) -> bool:
    """Returns true if a text can be sent in a field of the type string."""
    try:
        text.encode()
    except UnicodeEncodeError:
        return False
    return True


def check_text(what: str, text: str) -> str:
    """Returns a text that can be sent in a field of the type string. Raises Error INVALID_ARGUMENT
    for anything else."""
    if not isinstance(text, str):
        raise Error(Cause.INVALID_ARGUMENT,
                    f"{what} is a str; it cannot be of the type {type(text).__name__}.")
    if not is_utf8(text):
        raise Error(Cause.INVALID_ARGUMENT,
                    f"{what} is a text that UTF-8 can encode, unlike {text[:100]!r}.")
    return text


def plain_text(text: str) -> str:
    """A text with U+FFFD instead of each lone surrogate, for those that nobody can refuse."""
    return text.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "replace")


def to_value(thing: Any, depth: int = _DEEPEST) -> pb.Value:
    """The message of a value in Python: None, a bool, number, text, bytes, a list or tuple, or a
    mapping of texts to values. Raises Error INVALID_ARGUMENT for what cannot be sent."""
    if depth < 0:
        raise Error(Cause.INVALID_ARGUMENT, "A value has lists or maps nested too deep.")
    if thing is None:
        return pb.Value(type=pb.Value.NOTHING)
    if isinstance(thing, bool):
        return pb.Value(type=pb.Value.BOOL, bool_value=thing)
    if isinstance(thing, numbers.Integral):
        number = int(thing)
        if not _SMALLEST_INT <= number <= _LARGEST_INT:
            raise Error(Cause.INVALID_ARGUMENT,
                        f"An int of {number.bit_length() + 1} bits cannot be sent: ints have 64.")
        return pb.Value(type=pb.Value.INT, int_value=number)
    if isinstance(thing, numbers.Real):
        return pb.Value(type=pb.Value.FLOAT, float_value=_to_float(thing))
    if isinstance(thing, str):
        if is_utf8(thing):
            return pb.Value(type=pb.Value.STRING, string_value=thing)
        return pb.Value(type=pb.Value.STRING, bytes_value=encode_text(thing))
    if isinstance(thing, (bytes, bytearray, memoryview)):
        return pb.Value(type=pb.Value.BINARY, bytes_value=bytes(thing))
    if isinstance(thing, (list, tuple)):
        return pb.Value(type=pb.Value.LIST, elements=[to_value(one, depth - 1) for one in thing])
    if isinstance(thing, Mapping):
        if not all(isinstance(key, str) for key in thing):
            raise Error(Cause.INVALID_ARGUMENT, "The keys of a map are texts.")
        elements = [to_value(one, depth - 1) for one in thing.values()]
        if all(map(is_utf8, thing)):
            return pb.Value(type=pb.Value.MAP, keys=list(thing), elements=elements)
        return pb.Value(type=pb.Value.MAP, bytes_keys=[encode_text(key) for key in thing],
                        elements=elements)
    raise Error(Cause.INVALID_ARGUMENT,
                f"A {type(thing).__name__} cannot be sent: values are None, bool, int, float, str, "
                "bytes, lists, and dicts with keys of type str.")


def _to_float(number: Any) -> float:
    try:
        return float(number)
    except OverflowError:
        raise Error(Cause.INVALID_ARGUMENT,
                    f"This {type(number).__name__} is too large for a float.") from None


def from_value(value: pb.Value, depth: int = _DEEPEST) -> Any:
    """The opposite of to_value()."""
    if depth < 0:
        raise malformed("a value is nested too deep")
    kind = value.type
    if kind == pb.Value.NOTHING:
        return None
    if kind == pb.Value.BOOL:
        return value.bool_value
    if kind == pb.Value.INT:
        return value.int_value
    if kind == pb.Value.FLOAT:
        return value.float_value
    if kind == pb.Value.STRING:
        if value.WhichOneof("content") == "bytes_value":
            return decode_text(value.bytes_value)
        return value.string_value
    if kind == pb.Value.BINARY:
        return value.bytes_value
    if kind == pb.Value.LIST:
        return [from_value(one, depth - 1) for one in value.elements]
    if kind == pb.Value.MAP:
        keys = [decode_text(key) for key in value.bytes_keys] or list(value.keys)
        if len(keys) != len(value.elements):
            raise malformed("a map has not as many keys as values")
        result = {key: from_value(one, depth - 1) for key, one in zip(keys, value.elements)}
        if len(result) != len(keys):
            raise malformed("a map has a key twice")
        return result
    raise malformed("a value is of an unknown type")


_TYPES: Dict[type, Any] = {
    type(None): pb.Value.NOTHING, bool: pb.Value.BOOL, int: pb.Value.INT, float: pb.Value.FLOAT,
    str: pb.Value.STRING, bytes: pb.Value.BINARY, list: pb.Value.LIST, dict: pb.Value.MAP,
}


def type_of(thing: Any) -> Any:
    """The Value.Type of a value of the types that from_value() returns."""
    return _TYPES[type(thing)]


def size_of(thing: Any) -> int:
    """About the bytes of such a value in a message, at least as many as it has."""
    kind = type(thing)
    if kind in (str, bytes):
        return 16 + len(thing) * (4 if kind is str and not thing.isascii() else 1)
    return int(to_value(thing).ByteSize()) if kind in (list, dict) else 32


def type_name(kind: int) -> str:
    return _TYPE_NAMES.get(kind, "unknown")


# --- Errors ----------------------------------------------------------------------------------

def to_error(error: Error, by_method: bool) -> pb.Error:
    text = plain_text(error.text).encode()[:_LONGEST_TEXT].decode("utf-8", "ignore")
    return pb.Error(cause=pb.Error.Cause.Name(int(error.cause)), text=text, by_method=by_method)


def cause_of(error: pb.Error) -> Cause:
    if error.cause in (pb.Error.TOKEN_MISSING, pb.Error.TOKEN_WRONG):
        return Cause.NOT_AUTHORISED
    try:
        return Cause(error.cause)
    except ValueError:
        return Cause.INTERNAL


def end_of(end: grpc.RpcError) -> Optional[pb.Error]:
    """The robot's reason for the end of an RPC; None if it gives none."""
    for key, value in end.trailing_metadata() or ():
        if key == _DETAILS:
            try:
                reason: pb.Error = pb.Error.FromString(value)
                return reason
            except Exception:  # DecodeError, whose place differs between implementations
                break
    text = end.details() or ""
    # gRPC ends an RPC with the same status as a robot that has reached a limit.
    if end.code() == grpc.StatusCode.RESOURCE_EXHAUSTED and "larger than max" in text:
        return pb.Error(cause=pb.Error.TOO_LARGE)
    cause = _CAUSES.get(end.code())
    return None if cause is None else pb.Error(cause=cause, text=text)


# For robots that send no details.
_CAUSES = {
    grpc.StatusCode.INVALID_ARGUMENT: pb.Error.INVALID_ARGUMENT,
    grpc.StatusCode.NOT_FOUND: pb.Error.NO_SUCH_STREAM,
    grpc.StatusCode.UNAUTHENTICATED: pb.Error.NOT_AUTHORISED,
    grpc.StatusCode.PERMISSION_DENIED: pb.Error.NOT_AUTHORISED,
    grpc.StatusCode.RESOURCE_EXHAUSTED: pb.Error.TOO_MANY,
    grpc.StatusCode.FAILED_PRECONDITION: pb.Error.PROTOCOL_VERSION,
}


class Ended(Exception):
    """The end of an RPC by the robot, with an Error.Cause of the protocol."""

    def __init__(self, cause: Any, text: str = "", by_method: bool = False) -> None:
        super().__init__(cause, text)
        self.cause = cause
        self.text = text
        self.by_method = by_method

    def status(self) -> Tuple[grpc.StatusCode, str, Tuple[Tuple[str, bytes], ...]]:
        """Code, message and trailing metadata."""
        text = plain_text(self.text)[:_LONGEST_DETAIL]
        details = pb.Error(cause=self.cause, text=text, by_method=self.by_method)
        name = pb.Error.Cause.Name(self.cause)
        return (_STATUSES.get(self.cause, grpc.StatusCode.UNAVAILABLE), text or name,
                ((_DETAILS, details.SerializeToString()),))


_LONGEST_TEXT = 65536  # bytes of an error's text, as in the C++ library
_DETAILS = "robaxi-error-bin"
_LONGEST_DETAIL = 256  # characters; the protocol allows 1 KiB
# All others are UNAVAILABLE.
_STATUSES = {
    pb.Error.INTERNAL: grpc.StatusCode.INTERNAL,
    pb.Error.INVALID_ARGUMENT: grpc.StatusCode.INVALID_ARGUMENT,
    pb.Error.NO_SUCH_MODULE: grpc.StatusCode.NOT_FOUND,
    pb.Error.NO_SUCH_METHOD: grpc.StatusCode.NOT_FOUND,
    pb.Error.WRONG_ARGUMENTS: grpc.StatusCode.INVALID_ARGUMENT,
    pb.Error.RAISED_BY_MODULE: grpc.StatusCode.UNKNOWN,
    pb.Error.TOO_LARGE: grpc.StatusCode.RESOURCE_EXHAUSTED,
    pb.Error.WRONG_TYPE: grpc.StatusCode.INVALID_ARGUMENT,
    pb.Error.CANCELLED: grpc.StatusCode.CANCELLED,
    pb.Error.NO_SUCH_STREAM: grpc.StatusCode.NOT_FOUND,
    pb.Error.NOT_AUTHORISED: grpc.StatusCode.PERMISSION_DENIED,
    pb.Error.TIMED_OUT: grpc.StatusCode.DEADLINE_EXCEEDED,
    pb.Error.PROTOCOL_VERSION: grpc.StatusCode.FAILED_PRECONDITION,
    pb.Error.TOO_MANY: grpc.StatusCode.RESOURCE_EXHAUSTED,
    pb.Error.TOKEN_MISSING: grpc.StatusCode.UNAUTHENTICATED,
    pb.Error.TOKEN_WRONG: grpc.StatusCode.UNAUTHENTICATED,
}


# --- Descriptions ----------------------------------------------------------------------------

class MethodInfo(NamedTuple):
    """Description of a method."""

    name: str
    signature: str  #: for instance "rasta(duration: float)"
    description: str


class ModuleInfo(NamedTuple):
    """Description of a module of a robot."""

    name: str
    description: str
    methods: List[MethodInfo]
    has_values: bool  #: its values can be watched
    has_frames: bool  #: it has cameras that can be watched


def from_module(module: pb.Module) -> ModuleInfo:
    return ModuleInfo(
        module.name, module.description,
        [MethodInfo(method.name, method.signature, method.description)
         for method in module.methods], module.has_values, module.has_frames)


def to_module(info: ModuleInfo) -> pb.Module:
    return pb.Module(
        name=info.name, description=info.description,
        has_values=info.has_values, has_frames=info.has_frames,
        methods=[pb.Method(**method._asdict()) for method in info.methods])


class KeyInfo(NamedTuple):
    """Description of a key."""

    name: str  #: path with "/", for instance "Joint/HeadYaw/Position"
    unit: str  #: for instance "rad"; may be empty
    description: str
    type: str  #: type of the value when the robot described it; it may change
    writable: bool
    #: lowest and highest number, or number of bytes or elements, that can be written; None for all
    limits: Optional[Tuple[float, float]] = None


def to_range(limits: Optional[Tuple[float, float]]) -> Optional[pb.Range]:
    return None if limits is None else pb.Range(lowest=limits[0], highest=limits[1])


def from_key(key: pb.Key) -> KeyInfo:
    if key.id == 0 or not key.name:
        raise malformed("a key has no identifier or no name")
    limits = (key.range.lowest, key.range.highest) if key.HasField("range") else None
    if limits is not None and not limits[0] <= limits[1]:
        limits = None
    return KeyInfo(key.name, key.unit, key.description, type_name(key.type), key.writable, limits)


class TimedValue(NamedTuple):
    """A value of a subscription, with its time stamp in microseconds since 1970."""

    key: int
    value: Any
    time: int


_LATEST = 253_402_300_799_999_999  # in the year 9999


def to_time(seconds: Optional[float]) -> int:
    """A time stamp in microseconds since 1970, by default now. Raises Error INVALID_ARGUMENT."""
    if seconds is None:
        return int(time.time() * 1e6)
    # Written so that NaN is refused.
    if not 0 <= seconds < (_LATEST + 1) // 1_000_000:
        raise Error(Cause.INVALID_ARGUMENT,
                    "A time stamp is in seconds since 1970, and before the year 10000.")
    return int(seconds * 1e6)


def from_time(microseconds: int) -> int:
    """A time stamp from the network, clamped to the years 1970 to 9999."""
    return min(max(microseconds, 0), _LATEST)


def from_values(values: pb.Values) -> List[TimedValue]:
    """The values of an update."""
    ids = [*values.float_ids, *values.int_ids, *values.other_ids]
    offsets = values.time_offsets
    if (len(values.float_ids) != len(values.floats) or len(values.int_ids) != len(values.ints)
            or len(values.other_ids) != len(values.others)
            or len(offsets) not in (0, len(ids))):
        raise malformed("values and their keys are not equally many")
    things: List[Any] = [*values.floats, *values.ints,
                         *(from_value(other) for other in values.others)]
    times = [values.time + offset for offset in offsets] if offsets else [values.time] * len(ids)
    return [TimedValue(key, thing, from_time(stamp))
            for key, thing, stamp in zip(ids, things, times)]


def to_values(changes: Iterable[TimedValue]) -> pb.Values:
    """The opposite of from_values()."""
    floats: List[TimedValue] = []
    ints: List[TimedValue] = []
    others: List[TimedValue] = []
    for change in changes:
        kind = type(change.value)
        (floats if kind is float else ints if kind is int else others).append(change)
    ordered = floats + ints + others
    base = max((change.time for change in ordered), default=0)
    offsets = [change.time - base for change in ordered]
    return pb.Values(
        time=base, time_offsets=offsets if any(offsets) else [],
        float_ids=[one.key for one in floats], floats=[one.value for one in floats],
        int_ids=[one.key for one in ints], ints=[one.value for one in ints],
        other_ids=[one.key for one in others],
        others=[to_value(one.value) for one in others])


# --- Frames ----------------------------------------------------------------------------------

FORMATS: Dict[str, int] = {
    "rgb": pb.FrameHeader.RGB888, "yuv422": pb.FrameHeader.YUV422,
    "grey": pb.FrameHeader.GREY8, "jpeg": pb.FrameHeader.JPEG, "h264": pb.FrameHeader.H264,
}
#: The formats whose frames stand alone; a robot in Python offers no other.
PICTURE_FORMATS = frozenset(FORMATS) - {"h264"}
_FORMAT_NAMES = {number: name for name, number in FORMATS.items()}
#: Bytes of a pixel. JPEG and H.264 have no rows.
PIXEL_SIZES = {"rgb": 3, "yuv422": 2, "grey": 1}


def format_name(header: pb.FrameHeader) -> str:
    """The name of a frame's format; "unknown" for another one than those of FORMATS."""
    return _FORMAT_NAMES.get(header.format, "unknown")


def format_number(name: str) -> Any:
    return FORMATS[name]


def check_frame(kind: str, width: int, height: int, stride: int, size: int) -> Optional[str]:
    """Returns the reason for which such a frame is damaged, or None."""
    if kind not in FORMATS:
        return "its format is unknown"
    if width < 1 or height < 1 or size < 1:
        return "it is empty"
    if kind not in PIXEL_SIZES:
        return None
    row = width * PIXEL_SIZES[kind]
    if kind == "yuv422" and width % 2:
        return "its width is odd"
    if stride < row:
        return "its rows are longer than their stride"
    if stride * (height - 1) + row > size:
        return "it has too few bytes for its size"
    return None


# --- Messages in parts -----------------------------------------------------------------------

Message = TypeVar("Message", pb.ClientMessage, pb.ServerMessage)


def in_parts(message: Message) -> Iterator[Message]:
    """A message as the messages in which it travels to a peer that accepts parts."""
    if message.ByteSize() <= PART_SIZE:
        yield message
        return
    data = message.SerializeToString()
    for start in range(0, len(data), PART_SIZE):
        end = start + PART_SIZE
        yield type(message)(fragment=pb.Fragment(data=data[start:end], last=end >= len(data)))


class Assembler:
    """Assembles messages that arrive in parts."""

    def __init__(self, largest: int) -> None:
        self._largest = largest
        self._parts: List[bytes] = []
        self._size = 0

    def take(self, message: Message) -> Optional[Message]:
        """Returns a whole message, or None while parts of it are missing."""
        if message.WhichOneof("content") != "fragment":
            return message
        self._parts.append(message.fragment.data)
        self._size += len(message.fragment.data)
        if self._size > self._largest or len(self._parts) > self._largest // 1024 + 1:
            raise malformed("a message in parts is too large")
        if not message.fragment.last:
            return None
        data = b"".join(self._parts)
        self._parts, self._size = [], 0
        try:
            whole: Message = type(message).FromString(data)
        except Exception as error:  # DecodeError, whose place differs between implementations
            raise malformed("a message in parts cannot be read") from error
        if whole.WhichOneof("content") == "fragment":
            raise malformed("a part has parts")
        return whole


def options(limits: Limits, is_robot: bool) -> List[Tuple[str, Any]]:
    """Options of gRPC for a robot's server, or for a channel to one."""
    longest_wait = max(limits.longest_silence, UNTAKING_HEARTBEATS * limits.heartbeat)
    of_client = limits.message + BATCH_OVERHEAD
    of_robot = max(of_client, 2 * LARGEST_FRAME_PART)
    return [
        ("grpc.max_receive_message_length", of_client if is_robot else of_robot),
        ("grpc.max_send_message_length", of_robot if is_robot else of_client),
        # TCP_USER_TIMEOUT, which gRPC only sets with keepalive pings. These never become due, since
        # the heartbeats do more.
        ("grpc.keepalive_time_ms", 2**31 - 2),
        ("grpc.keepalive_timeout_ms", 10_000 + longest_wait),
    ]
