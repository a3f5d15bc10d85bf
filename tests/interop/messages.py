"""What a client and a robot in Python have in common: values, batches, and messages in parts."""

from robaxi.v1 import robaxi_pb2 as pb

PROTOCOL_VERSION = 1
HEARTBEAT_PERIOD = 0.25  # seconds
PATIENCE = 60  # seconds, on a busy machine
PART_SIZE = 64 * 1024

SERVICE = "robaxi.v1.Robaxi"
SESSION = f"/{SERVICE}/Session"
SUBSCRIBE = f"/{SERVICE}/Subscribe"
WATCH = f"/{SERVICE}/Watch"
DETAILS = "robaxi-error-bin"
# gRPC's own limit, 4 MiB, is below that of the protocol.
UNLIMITED = [("grpc.max_receive_message_length", -1), ("grpc.max_send_message_length", -1)]


class RemoteError(Exception):
    """An Error of the protocol."""

    def __init__(self, cause, text="", by_method=True):
        super().__init__(f"{pb.Error.Cause.Name(cause)}: {text}")
        self.cause = cause
        self.text = text
        self.by_method = by_method

    def to_message(self):
        return pb.Error(cause=self.cause, text=self.text, by_method=self.by_method)

    @classmethod
    def from_end(cls, error):
        """The reason of the end of an RPC: in its trailing metadata."""
        metadata = dict(error.trailing_metadata() or ())
        details = pb.Error.FromString(metadata.get(DETAILS, b""))
        return cls(details.cause, details.text or error.details(), details.by_method)


def to_value(thing):
    """A Value of something in Python."""
    if thing is None:
        return pb.Value(type=pb.Value.NOTHING)
    if isinstance(thing, bool):
        return pb.Value(type=pb.Value.BOOL, bool_value=thing)
    if isinstance(thing, int):
        return pb.Value(type=pb.Value.INT, int_value=thing)
    if isinstance(thing, float):
        return pb.Value(type=pb.Value.FLOAT, float_value=thing)
    if isinstance(thing, str):
        return pb.Value(type=pb.Value.STRING, string_value=thing)
    if isinstance(thing, bytes):
        return pb.Value(type=pb.Value.BINARY, bytes_value=thing)
    if isinstance(thing, list):
        return pb.Value(type=pb.Value.LIST, elements=[to_value(element) for element in thing])
    return pb.Value(
        type=pb.Value.MAP,
        keys=list(thing),
        elements=[to_value(element) for element in thing.values()],
    )


def from_value(value):
    """The opposite of to_value()."""
    if value.type == pb.Value.NOTHING:
        return None
    if value.type == pb.Value.BOOL:
        return value.bool_value
    if value.type == pb.Value.INT:
        return value.int_value
    if value.type == pb.Value.FLOAT:
        return value.float_value
    if value.type == pb.Value.STRING:
        # A text that is not UTF-8 travels as bytes, and is left so.
        return value.bytes_value if value.WhichOneof("content") == "bytes_value" else value.string_value
    if value.type == pb.Value.BINARY:
        return value.bytes_value
    elements = [from_value(element) for element in value.elements]
    if value.type == pb.Value.LIST:
        return elements
    return dict(zip(value.bytes_keys or value.keys, elements, strict=True))


def in_parts(message):
    """A message as the list of messages in which it travels to a peer that takes parts."""
    data = message.SerializeToString()
    if len(data) <= PART_SIZE:
        return [message]
    starts = range(0, len(data), PART_SIZE)
    return [
        type(message)(fragment=pb.Fragment(data=data[start : start + PART_SIZE],
                                           last=start + PART_SIZE >= len(data)))
        for start in starts
    ]


class Assembler:
    """Puts messages together that arrive in parts."""

    def __init__(self):
        self._data = b""
        self.parts = 0  # that were taken so far

    def take(self, message):
        """The whole message, or None while parts of it are missing."""
        if message.WhichOneof("content") != "fragment":
            return message
        self.parts += 1
        self._data += message.fragment.data
        if not message.fragment.last:
            return None
        whole = type(message).FromString(self._data)
        self._data = b""
        return whole
