"""The client's end of a session: its connections with a robot, calls, heartbeat and loss."""

from __future__ import annotations

import concurrent.futures
import enum
import itertools
import socket
import threading
import time
from typing import Any, Dict, List, Optional, Tuple

import grpc

from . import _wire
from ._outbox import Outbox, Sender
from ._target import Deadline, Target, find_failure
from .v1 import robaxi_pb2 as pb
from .errors import Cause, Error, describe, describe_loss
from .settings import Access, Settings, periods, read_file, read_token

_CLOSED = "it was closed by this program"
# Attempts to resume a session that wait for the robot's answer.
_MOST_ATTEMPTS = 4
# Seconds between the first two of a silence; they double from one to the next.
_BETWEEN_ATTEMPTS = 0.5


class State(enum.Enum):
    """The state of a connection to a robot."""

    CONNECTED = "connected"
    SILENT = "silent"  #: nothing was heard for 1.5 s; the session may continue
    LOST = "lost"  #: for good


def _open_channel(target: Target, access: Access, settings: Settings) -> grpc.Channel:
    address = target.address.replace("%", "%25")
    uri = (f"ipv6:[{address}]:{target.port}" if ":" in address
           else f"ipv4:{address}:{target.port}")
    options: List[Tuple[str, Any]] = _wire.options(settings.limits, is_robot=False) + [
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


class _Connection:
    """One connection of a session: the one that it uses, or an attempt to resume it."""

    def __init__(self, channel: grpc.Channel, resumption: int, sender: Sender,
                 outbox: Outbox) -> None:
        self.channel = channel
        self.resumption = resumption  # of the session, 0 for its first connection
        self.sender = sender
        self._outbox = outbox
        self.answers = channel.stream_stream(
            _wire.SESSION, pb.ClientBatch.SerializeToString, pb.ServerBatch.FromString)(sender)

    def close(self) -> None:
        """Ends it, and the streams on it."""
        self._outbox.end(self.sender)
        self.answers.cancel()
        # Not on this thread, which may be one of gRPC's.
        threading.Thread(target=self.channel.close, daemon=True).start()


class Session:
    """One session. All operations may be called on any thread.

    When the robot is silent, it tries further connections, and continues on the first one on which
    the robot resumes the session. The former one is then closed.
    """

    def __init__(self, target: Target, settings: Settings, name: str, deadline: Deadline) -> None:
        """Connects. Raises Error."""
        self.target = target
        self.limits = settings.limits
        #: notified when the state or the connection changes; guards the members up to _seeks
        self.changed = threading.Condition()
        self._settings = settings
        self._access = settings.access_to(target.host, target.port)
        self._pending: Dict[int, concurrent.futures.Future[pb.ServerMessage]] = {}
        self._call_ids = itertools.count(1)
        self._error: Optional[Error] = None
        self._end_of_current: Optional[Error] = None  # not yet a loss, since attempts are open
        self._last_resumption = 0
        self._next_attempt = 0.0
        self._between_attempts = _BETWEEN_ATTEMPTS
        self.is_silent = False
        self._heard = time.monotonic()
        self._silence = 0  # heartbeats since then
        self._seeks = False  # another connection
        self.can_resume = False  #: the robot keeps the session of a silent program
        self._out = Outbox(self.limits.message)
        self._hello: concurrent.futures.Future[pb.HelloReply] = concurrent.futures.Future()
        self._over = threading.Event()
        self._is_closed = False  # by this program
        # Held while a batch is handled, since two connections may receive at the same time. It
        # guards the following three; `changed` may be taken inside it, not the other way round.
        self._receiving = threading.Lock()
        self._received = 0  # number of the last batch
        self._unacknowledged = 0
        self._assembler = _wire.Assembler(self.limits.message + _wire.BATCH_OVERHEAD)

        token = b""
        self._withholds_token = False
        if self._access.token:
            self._withholds_token = not self._access.tls and not self._access.plain_token
            token = b"" if self._withholds_token else read_token(self._access.token)
        self._request = pb.Hello(
            protocol_version=_wire.PROTOCOL_VERSION, name=name, takes_fragments=True, token=token,
            resumes=True)
        self._connections: List[_Connection] = []  # the attempts, too
        try:
            self._current = self._open(self._request, 0)
            self._connections.append(self._current)
            self._out.attach(self._current.sender)
            self._start_reading(self._current)
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
        except BaseException:  # the user has pressed Ctrl-C
            self._lose(self._lost(_CLOSED))
            raise
        threading.Thread(target=self._beat, daemon=True, name="robaxi-beat").start()

    @property
    def error(self) -> Optional[Error]:
        """The reason of the session's end; None while it lives."""
        return self._error

    @property
    def state(self) -> State:
        if self._error is not None:
            return State.LOST
        return State.SILENT if self.is_silent else State.CONNECTED

    @property
    def silence(self) -> float:
        """Seconds since the robot was last heard."""
        return time.monotonic() - self._heard

    @property
    def resumption(self) -> int:
        """The number of the connection that the session uses, which rises; 0 for the first one."""
        return self._current.resumption

    @property
    def may_have_moved(self) -> bool:
        """The robot may have moved the session to another connection already, and refuse streams
        that name the former. It may only be relied on while `changed` is held."""
        return self.is_silent or bool(self._attempts())

    def place_for_streams(self) -> Tuple[grpc.Channel, int]:
        """The channel that the session uses, and its resumption. It may only be relied on while
        `changed` is held. Raises Error if the session is over."""
        with self.changed:
            if self._error is not None:
                raise self._error
            return self._current.channel, self._current.resumption

    def await_error(self) -> Optional[Error]:
        """The reason of the session's end, if that comes within the time in which a robot that does
        not answer becomes silent."""
        self._over.wait((self.limits.heartbeat + self.limits.loss) / 1000)
        return self._error

    def close(self) -> None:
        """Ends the session in order: what was posted before is still run."""
        self._is_closed = True
        self._out.close()
        self._over.wait(0.5)
        self._lose(self._lost(_CLOSED))

    def request(self, message: pb.ClientMessage, attempt: str,
                deadline: Deadline) -> pb.ServerMessage:
        """Sends a call or a question and waits for its answer."""
        content = getattr(message, message.WhichOneof("content"))
        future: concurrent.futures.Future[pb.ServerMessage] = concurrent.futures.Future()
        with self.changed:
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
            with self.changed:
                self._pending.pop(content.call_id, None)
        raise Error(Cause.TIMED_OUT,
                    f"{attempt}: no answer came within {deadline.seconds:g} s. The method may take "
                    "longer than that; the robot continues to run it.")

    def post(self, message: pb.ClientMessage, attempt: str, deadline: Deadline) -> None:
        if self._error is not None:
            raise self._error
        if not self._send(message, attempt, deadline):
            raise Error(Cause.TIMED_OUT, f"{attempt}: the robot reads nothing.")

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
        return describe_loss(self.target.place, detail)

    def _lose(self, error: Error) -> None:
        """Ends the session for this reason, unless it is over."""
        with self.changed:
            if self._error is not None:
                return
            self._error = error
            waiting = [*self._pending.values()]
            connections = [*self._connections]
            self._pending.clear()
            self._connections.clear()
            self.changed.notify_all()
        self._over.set()
        self._out.discard()
        for future in waiting:
            future.set_exception(error)
        if not self._hello.done():
            self._hello.set_exception(error)
        for connection in connections:
            connection.close()

    # --- Receiving ---------------------------------------------------------------------------

    def _start_reading(self, connection: _Connection) -> None:
        threading.Thread(target=self._read, args=[connection], daemon=True,
                         name="robaxi-read").start()

    def _read(self, connection: _Connection) -> None:
        reason: Optional[pb.Error] = None
        try:
            for batch in connection.answers:
                with self._receiving:
                    if connection is self._current:
                        self._receive(batch)
                    else:
                        self._receive_answer(connection, batch)
        except grpc.RpcError as end:
            reason = _wire.end_of(end)
        except Error as broken:
            self._lose(broken)
        with self._receiving:
            self._end(connection, reason)

    def _receive(self, batch: pb.ServerBatch) -> None:
        self._hear()
        if batch.number == 0 or batch.number > self._received:  # otherwise it was repeated
            if batch.number > self._received + 1:
                raise _wire.malformed("a batch is missing")
            self._received = max(self._received, batch.number)
            for message in batch.messages:
                whole = self._assembler.take(message)
                if whole is not None:
                    self._handle(whole)
        self._unacknowledged += batch.ByteSize()
        if self.can_resume and self._unacknowledged >= _wire.ACKNOWLEDGE_AFTER:
            self._unacknowledged = 0
            self._out.put_heartbeat(pb.Heartbeat(received=self._received))

    def _hear(self) -> None:
        with self.changed:
            self._heard = time.monotonic()
            self._silence = 0
            self._seeks = False
            if self.is_silent:
                self.is_silent = False
                self.changed.notify_all()

    def _handle(self, message: pb.ServerMessage) -> None:
        content = message.WhichOneof("content")
        if content == "hello_reply":
            self._handle_hello(message.hello_reply)
        elif content in ("result", "module_list"):
            with self.changed:
                # An answer without a waiting caller is late.
                future = self._pending.pop(getattr(message, content).call_id, None)
            if future is not None:
                future.set_result(message)
        elif content == "heartbeat":
            self._out.acknowledge(message.heartbeat.received)

    def _handle_hello(self, reply: pb.HelloReply) -> None:
        if self._hello.done():
            return
        if reply.protocol_version != _wire.PROTOCOL_VERSION:
            self._lose(self.target.cannot_reach(
                Cause.PROTOCOL_VERSION, f"it speaks version {reply.protocol_version}, this program "
                f"version {_wire.PROTOCOL_VERSION}"))
            return
        self._out.peer_takes_parts = reply.takes_fragments
        if reply.resumes:
            self.can_resume = True
            self._out.keep_sent()
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

    # --- Silence, and resuming ---------------------------------------------------------------

    def _beat(self) -> None:
        # Heartbeats are counted, not seconds: a program that was itself suspended does not mistake
        # its own pause for the robot's silence. A robot may require more of them.
        period = min(self.limits.heartbeat, max(20, self.hello.silence_limit // 4))
        until_silent = max(2, periods(self.limits.loss, period))
        until_lost = periods(self.limits.longest_silence, period)
        for number in itertools.count(1):
            if self._over.wait(period / 1000):
                return
            with self.changed:
                self._silence += 1
                silence = self._silence
                if silence > until_silent and not self.is_silent:
                    self.is_silent = True
                    self.changed.notify_all()
            if silence > until_lost:
                self._lose(self._lost("it is silent"))
                return
            self._resume_if(silence > until_silent // 2, period)
            # Those of a long silence do not pile up.
            self._out.put_heartbeat(pb.Heartbeat(number=number, received=self._received),
                                    only_if_empty=self.is_silent)

    def _resume_if(self, is_due: bool, period: int) -> None:
        """Called at each heartbeat: looks for a connection on which to resume the session."""
        with self.changed:
            self._seeks = is_due and self._silence > 0 and self.can_resume
            if not self._seeks:
                self._next_attempt, self._between_attempts = 0.0, _BETWEEN_ATTEMPTS
            elif self._may_attempt():
                threading.Thread(target=self._look, args=[_MOST_ATTEMPTS * period / 1000],
                                 daemon=True, name="robaxi-look").start()

    def _may_attempt(self) -> bool:
        return (self._seeks and self._error is None and time.monotonic() >= self._next_attempt
                and len(self._attempts()) < _MOST_ATTEMPTS)

    def _attempts(self) -> List[_Connection]:
        return [one for one in self._connections if one.resumption > self.resumption]

    def _look(self, seconds: float) -> None:
        """Finds out whether the robot's address accepts connections; on a thread. It gives up
        before the system would repeat a lost packet, which a later look is quicker than."""
        try:
            socket.create_connection((self.target.address, self.target.port), seconds).close()
        except ConnectionRefusedError:
            if self._seeks:
                self._lose(self._lost("it has ended"))
        except OSError:
            pass
        else:
            self._attempt()

    def _attempt(self) -> None:
        """Tries to resume the session on another connection.

        The attempt is not cancelled, since the robot might already have moved the session to it.
        The next one starts while it is open, since its connection may have been cut, too.
        """
        with self.changed:
            if not self._may_attempt():
                return
            self._next_attempt = time.monotonic() + self._between_attempts
            self._between_attempts *= 2
            self._last_resumption += 1
            hello = pb.Hello()
            hello.CopyFrom(self._request)
            hello.resume.session_id = self.hello.session_id
            hello.resume.resumption = self._last_resumption
            hello.resume.received = self._received
            connection = self._open(hello, self._last_resumption)
            self._connections.append(connection)
        self._start_reading(connection)

    def _open(self, hello: pb.Hello, resumption: int) -> _Connection:
        return _Connection(_open_channel(self.target, self._access, self._settings), resumption,
                           Sender(self._out, hello), self._out)

    def _receive_answer(self, connection: _Connection, batch: pb.ServerBatch) -> None:
        """Handles the first batch of an attempt; those of a former connection are ignored."""
        if connection.resumption < self.resumption:
            return
        reply = batch.messages[0].hello_reply if len(batch.messages) == 1 else pb.HelloReply()
        if not reply.resumed or reply.session_id != self.hello.session_id:
            connection.answers.cancel()
        elif not self._out.resume(connection.sender, reply.received):
            self._lose(self._lost("it has not received what was sent"))
        else:
            self._continue_on(connection)

    def _continue_on(self, connection: _Connection) -> None:
        with self.changed:
            if self._error is not None:
                return
            former = [one for one in self._connections if one.resumption < connection.resumption]
            self._connections = [one for one in self._connections if one not in former]
            self._current = connection
            self._end_of_current = None
            self.changed.notify_all()
        for one in former:
            one.close()
        self._hear()

    def _end(self, connection: _Connection, reason: Optional[pb.Error]) -> None:
        """Handles the end of a connection, with the robot's reason."""
        with self.changed:
            if connection not in self._connections:
                return  # a former one, or the session is over
            if connection is not self._current:
                self._connections.remove(connection)
        loss = self._loss_at_end_of(connection, reason)
        if loss is not None:
            self._lose(loss)
        if connection is not self._current:
            connection.close()

    def _loss_at_end_of(self, connection: _Connection,
                        reason: Optional[pb.Error]) -> Optional[Error]:
        """The loss, if the end of this connection is that of the session."""
        if connection is self._current:
            if not self._hello.done():
                return self._lost() if reason is None else self._hello_failure(reason)
            self._end_of_current = self._lost(_CLOSED if self._is_closed else "")
        if self._attempts():
            return None
        # An attempt is also refused when the former connection has returned, and acknowledged more.
        is_refusal = reason is not None and reason.cause in (
            pb.Error.NOT_AUTHORISED, pb.Error.TOKEN_MISSING, pb.Error.TOKEN_WRONG)
        if self._end_of_current is None and is_refusal and self.is_silent:
            return self._lost("it has ended the session")
        return self._end_of_current
