"""The client's end of a session: one connection with a robot, its calls, heartbeat and loss."""

from __future__ import annotations

import collections
import concurrent.futures
import itertools
import threading
from typing import Any, Callable, Deque, Dict, Iterator, List, Optional, Set, Tuple

import grpc

from . import _wire
from ._target import Deadline, Target, find_failure
from .v1 import robaxi_pb2 as pb
from .errors import Cause, Error, describe
from .settings import Access, Settings, read_file, read_token


class _Outbox:
    """Messages that wait to be sent, bounded in bytes. gRPC iterates over it on its own thread."""

    def __init__(self, largest: int) -> None:
        self._largest = largest
        self._changed = threading.Condition()
        self._waiting: Deque[pb.ClientBatch] = collections.deque()
        self._bytes = 0
        self._is_closed = False
        self.peer_takes_parts = False

    def put(self, message: pb.ClientMessage, deadline: Optional[Deadline] = None) -> bool:
        """Waits for room until the deadline; returns false if there was none."""
        size = message.ByteSize()
        with self._changed:
            if deadline is not None and not self._changed.wait_for(
                    lambda: self._is_closed or self._bytes < self._largest, deadline.left()):
                return False
            # All at once, since the parts of two messages must not be mixed.
            parts = [*_wire.in_parts(message)] if self.peer_takes_parts else [message]
            self._waiting.extend(pb.ClientBatch(messages=[part]) for part in parts)
            self._bytes += size
            self._changed.notify_all()
        return True

    def close(self) -> None:
        """Ends the sending side after all that waits."""
        with self._changed:
            self._is_closed = True
            self._changed.notify_all()

    def discard(self) -> None:
        with self._changed:
            self._waiting.clear()
            self._is_closed = True
            self._changed.notify_all()

    def __iter__(self) -> Iterator[pb.ClientBatch]:
        return self

    def __next__(self) -> pb.ClientBatch:
        with self._changed:
            self._changed.wait_for(lambda: self._waiting or self._is_closed)
            if not self._waiting:
                raise StopIteration
            batch = self._waiting.popleft()
            self._bytes = max(0, self._bytes - batch.ByteSize()) if self._waiting else 0
            self._changed.notify_all()
            return batch


def _open_channel(target: Target, access: Access, settings: Settings) -> grpc.Channel:
    address = target.address.replace("%", "%25")
    uri = (f"ipv6:[{address}]:{target.port}" if ":" in address
           else f"ipv4:{address}:{target.port}")
    options: List[Tuple[str, Any]] = _wire.options(settings.limits.message) + [
        ("grpc.enable_http_proxy", 0), ("grpc.enable_retries", 0),
        ("grpc.service_config_disable_resolution", 1),
        # Another connection does not wait for the retry of one that failed.
        ("grpc.use_local_subchannel_pool", 1),
        # Bounds what is on its way: a slow reader gets newer frames, not more.
        ("grpc.http2.bdp_probe", 0), ("grpc.http2.lookahead_bytes", 512 << 10),
    ]
    if not access.tls:
        return grpc.insecure_channel(uri, options)
    options.append(("grpc.ssl_target_name_override", access.name or target.host))
    return grpc.secure_channel(
        uri, grpc.ssl_channel_credentials(read_file(access.trust)), options)


class Session:
    """One session. All operations may be called on any thread."""

    def __init__(self, target: Target, settings: Settings, name: str, deadline: Deadline) -> None:
        """Connects. Raises Error."""
        self.target = target
        self.limits = settings.limits
        self._access = settings.access_to(target.host, target.port)
        self._out = _Outbox(4 * self.limits.message)
        self._lock = threading.Lock()
        self._pending: Dict[int, concurrent.futures.Future[pb.ServerMessage]] = {}
        self._call_ids = itertools.count(1)
        self._streams: Set[Any] = set()
        self._hello: concurrent.futures.Future[pb.HelloReply] = concurrent.futures.Future()
        self._error: Optional[Error] = None
        self._over = threading.Event()
        self._silent = 0

        token = b""
        self._withholds_token = False
        if self._access.token:
            self._withholds_token = not self._access.tls and not self._access.plain_token
            token = b"" if self._withholds_token else read_token(self._access.token)
        self._channel = _open_channel(target, self._access, settings)
        self._out.put(pb.ClientMessage(hello=pb.Hello(
            protocol_version=_wire.PROTOCOL_VERSION, name=_wire.plain_text(name),
            takes_fragments=True, token=token)))
        stream = self._channel.stream_stream(
            _wire.SESSION, pb.ClientBatch.SerializeToString, pb.ServerBatch.FromString)
        self._answers = stream(self._out)
        threading.Thread(target=self._read, daemon=True, name="robaxi-read").start()
        try:
            self.hello = self._hello.result(deadline.left())
        except concurrent.futures.TimeoutError:
            # The handshake of TLS may be what does not end.
            error = find_failure(target, self._access, deadline)
            self._lose(error)
            raise error from None
        except Error as error:
            if error.cause == Cause.CONNECTION_LOST:
                raise find_failure(target, self._access, deadline) from None
            raise
        threading.Thread(target=self._beat, daemon=True, name="robaxi-beat").start()

    @property
    def error(self) -> Optional[Error]:
        """The reason of the session's end; None while it lives."""
        return self._error

    def close(self) -> None:
        """Ends the session in order: what was posted before is still run."""
        self._out.close()
        self._over.wait(0.5)
        self._lose(self._lost("it was closed by this program"))

    def request(self, message: pb.ClientMessage, attempt: str,
                deadline: Deadline) -> pb.ServerMessage:
        """Sends a call or a question and waits for its answer."""
        content = getattr(message, message.WhichOneof("content"))
        future: concurrent.futures.Future[pb.ServerMessage] = concurrent.futures.Future()
        with self._lock:
            if self._error is not None:
                raise self._error
            content.call_id = next(self._call_ids)
            self._pending[content.call_id] = future
        try:
            if self._send(message, attempt, deadline):
                answer = future.result(deadline.left())
                if answer.WhichOneof("content") == "result" and answer.result.HasField("error"):
                    raise self._refusal(answer.result.error, attempt)
                return answer
        except concurrent.futures.TimeoutError:
            self._out.put(pb.ClientMessage(cancel=pb.Cancel(call_id=content.call_id)))
        finally:
            with self._lock:
                self._pending.pop(content.call_id, None)
        raise Error(Cause.TIMED_OUT,
                    f"{attempt}: no answer came within {deadline.seconds:g} s. The method may take "
                    "longer than that; the robot continues to run it.")

    def post(self, message: pb.ClientMessage, attempt: str, deadline: Deadline) -> None:
        if self._error is not None:
            raise self._error
        if not self._send(message, attempt, deadline):
            raise Error(Cause.TIMED_OUT, f"{attempt}: the robot reads nothing.")

    def open_stream(self, path: str, requests: Iterator[Any], serialise: Callable[[Any], bytes],
                    parse: Callable[[bytes], Any]) -> Any:
        """Opens a stream beside the session, which is cancelled when the session ends."""
        with self._lock:
            if self._error is not None:
                raise self._error
            stream = self._channel.stream_stream(path, serialise, parse)(requests)
            self._streams.add(stream)
        return stream

    def end_stream(self, stream: Any) -> None:
        with self._lock:
            self._streams.discard(stream)
        stream.cancel()

    def stream_error(self, attempt: str, end: Exception) -> Error:
        """The reason for which a stream ended: the robot's, or, without one, usually that of the
        session, of which the stream may know before."""
        reason = _wire.end_of(end) if isinstance(end, grpc.RpcError) else None
        if reason is not None:
            return describe(attempt, _wire.cause_of(reason), reason.text)
        self._over.wait(self.limits.heartbeat / 1000 * (self.limits.silent_heartbeats + 1))
        return self._error or describe(attempt, Cause.INTERNAL, "the robot ended the stream")

    def _refusal(self, error: pb.Error, attempt: str) -> Error:
        cause = _wire.cause_of(error)
        if error.by_method:
            return Error(cause, error.text) if error.text else describe(attempt, cause)
        return describe(attempt, cause, error.text)

    def _send(self, message: pb.ClientMessage, attempt: str, deadline: Deadline) -> bool:
        if message.ByteSize() > self.limits.message:
            raise describe(attempt, Cause.TOO_LARGE)
        return self._out.put(message, deadline)

    def _lost(self, detail: str = "") -> Error:
        return describe(f"The connection to {self.target.place} is lost", Cause.CONNECTION_LOST,
                        detail)

    def _lose(self, error: Error) -> None:
        """Ends the session for this reason, unless it is over."""
        with self._lock:
            if self._error is not None:
                return
            self._error = error
            waiting = [*self._pending.values()]
            streams = [*self._streams]
            self._pending.clear()
            self._streams.clear()
        self._over.set()
        self._out.discard()
        for future in waiting:
            future.set_exception(error)
        if not self._hello.done():
            self._hello.set_exception(error)
        for stream in streams:
            stream.cancel()
        self._answers.cancel()
        # Not on this thread, which may be one of gRPC's.
        threading.Thread(target=self._channel.close, daemon=True).start()

    def _read(self) -> None:
        assembler = _wire.Assembler(self.limits.message + _wire.BATCH_OVERHEAD)
        error = self._lost()
        try:
            for batch in self._answers:
                self._silent = 0
                for message in batch.messages:
                    whole = assembler.take(message)
                    if whole is not None:
                        self._handle(whole)
        except grpc.RpcError as end:
            reason = _wire.end_of(end)
            if reason is not None and not self._hello.done():
                error = self._hello_failure(reason)
        except Error as broken:
            error = broken
        self._lose(error)

    def _handle(self, message: pb.ServerMessage) -> None:
        content = message.WhichOneof("content")
        if content == "hello_reply":
            self._handle_hello(message.hello_reply)
        elif content in ("result", "module_list"):
            with self._lock:
                # An answer without a waiting caller is late.
                future = self._pending.pop(getattr(message, content).call_id, None)
            if future is not None:
                future.set_result(message)

    def _handle_hello(self, reply: pb.HelloReply) -> None:
        if self._hello.done():
            return
        if reply.protocol_version != _wire.PROTOCOL_VERSION:
            self._lose(self.target.cannot_reach(
                Cause.PROTOCOL_VERSION, f"it speaks version {reply.protocol_version}, this program "
                f"version {_wire.PROTOCOL_VERSION}"))
            return
        self._out.peer_takes_parts = reply.takes_fragments
        self._hello.set_result(reply)

    def _hello_failure(self, reason: pb.Error) -> Error:
        if reason.cause == pb.Error.TOKEN_MISSING:
            if self._withholds_token:
                return self.target.cannot_reach(
                    Cause.NOT_AUTHORISED,
                    "it requires a token, which is not sent over a connection without TLS",
                    "Use TLS, or set plain-token = yes for it in robaxi.conf.")
            return self.target.cannot_reach(
                Cause.NOT_AUTHORISED, "it requires a token",
                "Name the file with the robot's token under token in robaxi.conf.")
        if reason.cause == pb.Error.TOKEN_WRONG:
            return self.target.cannot_reach(Cause.NOT_AUTHORISED,
                                            "the token is not the right one")
        return self.target.cannot_reach(_wire.cause_of(reason), reason.text)

    def _beat(self) -> None:
        # Heartbeats are counted, not seconds: a program that was itself suspended does not mistake
        # its own pause for the robot's silence. A robot may require more of them.
        period = min(self.limits.heartbeat, max(20, self.hello.silence_limit // 4))
        for number in itertools.count(1):
            if self._over.wait(period / 1000):
                return
            self._silent += 1
            if self._silent > max(2, self.limits.loss // period):
                self._lose(self._lost("it is silent"))
                return
            self._out.put(pb.ClientMessage(heartbeat=pb.Heartbeat(number=number)))
