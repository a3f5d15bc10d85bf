"""The robot's end of a session: calls, heartbeat, silence and resumption. On the event loop of the
server."""

from __future__ import annotations

import asyncio
import collections
import functools
import secrets
from typing import (TYPE_CHECKING, Any, AsyncIterator, Coroutine, Deque, Dict, Iterator, Optional,
                    Set)

from . import _wire
from ._outbox import Copies
from ._wire import Ended
from .errors import Cause, Error
from .settings import periods
from .v1 import robaxi_pb2 as pb

if TYPE_CHECKING:
    from ._robot_streams import SideStream
    from ._service import Service

THREADS = 8  # on which methods run
WAITING_CALLS = 1024  # of a session, and of an address without one
_MESSAGES_AT_ONCE = 64  # of a batch, which may contain millions, before the other clients' turn


class SessionOver(Exception):
    """The end of a stream with its session."""


async def first_request(requests: AsyncIterator[Any], patience: float) -> Any:
    """The first request. Raises StopAsyncIteration, and Ended if none comes."""
    try:
        return await asyncio.wait_for(requests.__anext__(), patience)
    except asyncio.TimeoutError:
        raise Ended(pb.Error.TIMED_OUT, "no message came in time") from None


async def run_until_first(*coroutines: Coroutine[Any, Any, object]) -> None:
    """Runs all until one has ended, and raises its error."""
    tasks = [asyncio.ensure_future(one) for one in coroutines]
    try:
        done, _ = await asyncio.wait(tasks, return_when=asyncio.FIRST_COMPLETED)
        for task in done:
            task.result()
    finally:
        for task in tasks:
            task.cancel()
        await asyncio.gather(*tasks, return_exceptions=True)


def address_of(peer: str) -> str:
    """The address in a peer of gRPC, such as "ipv4:10.0.0.7:5000"."""
    return peer.partition(":")[2].rpartition(":")[0]


def _cost_of(message: pb.ServerMessage) -> int:
    return int(message.ByteSize()) + _wire.COST_OF_MESSAGE


class _Work:
    """A call that waits for a thread."""

    def __init__(self, call: pb.Call) -> None:
        self.call = call
        self.size = call.ByteSize()
        self.is_cancelled = False  # set on the event loop, read on any thread


class SessionStream:
    """One RPC of a session: it opens a session, or continues one whose former RPC does not answer
    any more."""

    def __init__(self, service: Service, context: Any) -> None:
        self.address = address_of(context.peer())
        self.context = context
        self.over = asyncio.Event()  # the session has ended, or uses another RPC
        self.ending: Optional[Exception] = None
        self._service = service

    def end(self, ending: Exception) -> None:
        self.ending = ending
        self.over.set()

    async def serve(self, requests: AsyncIterator[Any]) -> None:
        first = pb.ClientBatch()
        try:
            while not first.messages:
                first = await first_request(requests, self._service.silence)
        except StopAsyncIteration:
            return
        session = await self._greet(first.messages[0].hello)
        await session.serve(self, first, requests)

    async def _greet(self, hello: pb.Hello) -> Session:
        """Returns the session of this client; raises Ended if it is refused."""
        service = self._service
        if hello.protocol_version != _wire.PROTOCOL_VERSION:
            raise Ended(pb.Error.PROTOCOL_VERSION, "it speaks version "
                        f"{_wire.PROTOCOL_VERSION}, this program version {hello.protocol_version}")
        resumes = hello.HasField("resume")
        if not resumes:  # otherwise the session is counted already
            service.find_room(self.address)
        await service.admit(self.address, hello.token)
        if not resumes:
            silent = service.find_room(self.address)  # others may have come
            if silent is not None:
                silent.end(Ended(pb.Error.TOO_MANY,
                                 "the program was silent, and another one took its place"))
            return service.add_session(Session(service, self, hello))
        session = service.sessions.get(hello.resume.session_id)
        if session is None or not session.move_to(self, hello):
            raise Ended(pb.Error.NOT_AUTHORISED, "it names no session that can be resumed")
        return session


class Session:
    """A session with a client.

    It ends with the RPC that it uses, and when its client is silent for too long. Until then, its
    client may resume it with another RPC.
    """

    def __init__(self, service: Service, stream: SessionStream, hello: pb.Hello) -> None:
        self.id = secrets.randbits(64) or 1
        self.address = stream.address
        self.streams: Set[SideStream] = set()  #: beside it, with the present resumption
        self.resumption = 0
        self._service = service
        self._stream = stream
        self._loop = asyncio.get_running_loop()
        self._name = hello.name
        self._can_resume = hello.resumes
        self._takes_parts = hello.takes_fragments
        limits = service.limits
        self._silence_limit = limits.longest_silence if self._can_resume else service.silence_limit
        self._assembler = _wire.Assembler(limits.message + _wire.BATCH_OVERHEAD)
        self._received = 0  # number of the last batch
        self._rest: Iterator[pb.ClientMessage] = iter(())  # of that batch: not handled
        self._unacknowledged = 0
        self._out: Deque[pb.ServerMessage] = collections.deque()  # in parts, if it takes them
        self._out_bytes = 0
        self._copies: Copies[pb.ServerBatch] = Copies(limits.message)
        self._written = 0  # batches
        self._wake_writer = asyncio.Event()
        self._has_room = asyncio.Event()
        self._silence = 0
        self._calls: Deque[_Work] = collections.deque()
        self._call_bytes = 0
        self._answered: Dict[int, _Work] = {}  # by call_id: those waiting and those running
        self._running = 0
        self._is_half_closed = False

    @property
    def silence(self) -> int:
        """Heartbeats without any received message; 0 until they are so many that the session may
        have to give way to that of another client."""
        limits = self._service.limits
        return self._silence if self._silence > periods(limits.loss, limits.heartbeat) else 0

    def end(self, ending: Optional[Ended] = None) -> None:
        """Ends the session with its subscriptions and watched cameras."""
        self._service.sessions.pop(self.id, None)
        self._stream.end(ending or SessionOver())
        self._end_streams()
        # Posted calls still run; others do not.
        for work in self._answered.values():
            work.is_cancelled = True
        self._answered.clear()
        self._calls = collections.deque(work for work in self._calls if work.call.call_id == 0)
        self._call_bytes = sum(work.size for work in self._calls)
        # The RPC may take as long to end as TCP tries to reach the client.
        self._out.clear()
        self._out_bytes = 0
        self._copies.clear()
        self._start_calls()  # which may have waited until results were sent

    def move_to(self, stream: SessionStream, hello: pb.Hello) -> bool:
        """Leaves its RPC for another one, with which a client resumes it. Returns False, without an
        effect, if it may not."""
        resume = hello.resume
        if not self._can_resume or self._is_half_closed or hello.name != self._name or \
                resume.resumption <= self.resumption or not self._copies.resume(resume.received):
            return False
        self._stream.end(SessionOver())
        self._stream = stream
        self.resumption = resume.resumption
        self._end_streams()
        return True

    async def serve(self, stream: SessionStream, first: pb.ClientBatch,
                    requests: AsyncIterator[Any]) -> None:
        """Serves it until its end, or until it leaves this RPC."""
        self._silence = 0
        try:
            await stream.context.send_initial_metadata(())  # as in SideStream.serve()
            await asyncio.wait_for(stream.context.write(pb.ServerBatch(
                messages=[self._hello_reply()])), self._service.silence)
            await run_until_first(self._read(stream, first, requests), self._write(stream),
                                  self._beat(), stream.over.wait())
            if stream.ending is not None:
                raise stream.ending
        except asyncio.TimeoutError:
            raise Ended(pb.Error.TIMED_OUT, "the client reads nothing") from None
        except Error as error:
            raise Ended(pb.Error.INVALID_ARGUMENT, error.text) from None
        finally:
            if self._stream is stream:
                self.end()

    def _end_streams(self) -> None:
        streams, self.streams = self.streams, set()
        for stream in streams:
            stream.end(SessionOver())

    def _hello_reply(self) -> pb.ServerMessage:
        return pb.ServerMessage(hello_reply=pb.HelloReply(
            protocol_version=_wire.PROTOCOL_VERSION, name=self._service.name,
            session_id=self.id, silence_limit=self._silence_limit, takes_fragments=True,
            resumes=True, resumed=self.resumption > 0, received=self._received))

    # --- Receiving ---

    async def _read(self, stream: SessionStream, first: pb.ClientBatch,
                    requests: AsyncIterator[Any]) -> None:
        await self._handle_rest()  # of what another RPC has received
        if self._stream is stream:
            await self._receive(first)  # after Hello, which is ignored here
        async for batch in requests:
            if self._stream is not stream:
                return
            self._silence = 0
            await self._receive(batch)
        if self._stream is not stream:
            return
        # Closed in order: what was posted before still runs.
        self._is_half_closed = True
        while self._calls or self._running:
            self._has_room.clear()
            await self._has_room.wait()

    async def _await_room(self) -> None:
        while self._is_full():
            self._has_room.clear()
            await self._has_room.wait()
            self._silence = 0

    async def _receive(self, batch: pb.ClientBatch) -> None:
        if batch.number > self._received + 1:
            raise Ended(pb.Error.INVALID_ARGUMENT, "the program left out a batch")
        if batch.number == 0 or batch.number > self._received:  # otherwise it was repeated
            self._received = max(self._received, batch.number)
            self._rest = iter(batch.messages)
            await self._handle_rest()
        if self._can_resume:
            self._unacknowledged += batch.ByteSize()
            if self._unacknowledged >= _wire.ACKNOWLEDGE_AFTER:
                self._unacknowledged = 0
                self._put(pb.ServerMessage(heartbeat=pb.Heartbeat(received=self._received)))

    async def _handle_rest(self) -> None:
        """Handles the messages of the last batch while there is room. Cancelled between two of
        them if the session leaves its RPC; the next RPC continues."""
        await self._await_room()
        for count, message in enumerate(self._rest, 1):
            self._take(message)
            await self._await_room()
            if count % _MESSAGES_AT_ONCE == 0:
                self._silence = 0
                await asyncio.sleep(0)

    def _is_full(self) -> bool:
        return (len(self._calls) >= WAITING_CALLS
                or self._call_bytes + self._out_bytes > 4 * self._service.limits.message)

    def _take(self, part: pb.ClientMessage) -> None:
        message = self._assembler.take(part)
        content = None if message is None else message.WhichOneof("content")
        if message is None or content is None:
            return
        if content == "heartbeat":
            self._copies.acknowledge(message.heartbeat.received)
            self._put(pb.ServerMessage(heartbeat=pb.Heartbeat(
                number=message.heartbeat.number, received=self._received)))
        elif content == "call":
            work = _Work(message.call)
            self._calls.append(work)
            self._call_bytes += work.size
            if work.call.call_id != 0:
                self._answered[work.call.call_id] = work
            self._start_calls()
        elif content == "cancel":
            cancelled = self._answered.pop(message.cancel.call_id, None)
            if cancelled is not None:
                cancelled.is_cancelled = True
        elif content == "list_modules":
            self._list_modules(message.list_modules)

    def _list_modules(self, question: pb.ListModules) -> None:
        if question.call_id == 0:
            return
        try:
            answer = self._service.list_modules(question.module)
        except Error as error:
            self._put_error(question.call_id, error, False)
            return
        answer.call_id = question.call_id
        self._put(pb.ServerMessage(module_list=answer))

    # --- Calls ---

    def _start_calls(self) -> None:
        while self._calls and self._running < THREADS and \
                self._out_bytes <= 4 * self._service.limits.message:
            work = self._calls.popleft()
            self._call_bytes -= work.size
            if work.is_cancelled:
                continue
            self._running += 1
            try:
                future = self._loop.run_in_executor(self._service.pool, self._run, work)
            except RuntimeError:  # the server ends
                self._running -= 1
                return
            future.add_done_callback(functools.partial(self._on_done, work))

    def _run(self, work: _Work) -> Optional[pb.Result]:
        """Runs a call on a thread of the pool, unless it was cancelled while it waited for one."""
        return None if work.is_cancelled else self._service.run(work.call)

    def _on_done(self, work: _Work, future: asyncio.Future[Optional[pb.Result]]) -> None:
        self._running -= 1
        if self._answered.get(work.call.call_id) is work:
            del self._answered[work.call.call_id]
        if not future.cancelled() and future.exception() is None:
            result = future.result()
            if result is not None and result.call_id != 0 and not self._is_half_closed:
                self._put(pb.ServerMessage(result=result))
        self._start_calls()
        self._has_room.set()

    def _put_error(self, call_id: int, error: Error, by_method: bool) -> None:
        self._put(pb.ServerMessage(result=pb.Result(
            call_id=call_id, error=_wire.to_error(error, by_method))))

    # --- Sending ---

    def _put(self, message: pb.ServerMessage) -> None:
        if self._stream.over.is_set():
            return
        # All at once, since the parts of two messages must not be mixed.
        parts = [*_wire.in_parts(message)] if self._takes_parts else [message]
        self._out.extend(parts)
        self._out_bytes += sum(map(_cost_of, parts))
        self._wake_writer.set()

    async def _write(self, stream: SessionStream) -> None:
        while self._stream is stream:
            batch = self._next_batch()
            if batch is None:
                self._wake_writer.clear()
                await self._wake_writer.wait()
                continue
            await stream.context.write(batch)
            self._written += 1
            self._start_calls()
            self._has_room.set()

    def _next_batch(self) -> Optional[pb.ServerBatch]:
        repeated = self._copies.take_repeated()
        if repeated is not None or not self._out:
            return repeated
        part = self._out.popleft()
        self._out_bytes -= _cost_of(part)
        batch = pb.ServerBatch(messages=[part])
        if self._can_resume and not part.HasField("heartbeat"):
            self._copies.add(batch)
        return batch

    async def _beat(self) -> None:
        """Ends the session of a silent client, and keeps that of one which is not read alive.

        Heartbeats are counted, not seconds, so that a robot that was itself suspended does not
        mistake its own pause for its clients' silence.
        """
        period = self._service.limits.heartbeat
        most = periods(self._silence_limit, period)
        stuck = 0
        written = 0
        while True:
            await asyncio.sleep(period / 1000)
            if self._is_full():
                self._silence = 0
                stuck = stuck + 1 if self._out and self._written == written else 0
                written = self._written
                if stuck > _wire.UNTAKING_HEARTBEATS:
                    raise Ended(pb.Error.TIMED_OUT, "the client reads nothing")
                if len(self._out) < 4:
                    self._put(pb.ServerMessage(heartbeat=pb.Heartbeat(
                        number=0, received=self._received)))
            elif not self._is_half_closed:
                self._silence += 1
                if self._silence > most:
                    raise Ended(pb.Error.TIMED_OUT, "the client is silent")
