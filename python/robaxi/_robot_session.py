"""The robot's end of a session: calls, heartbeat and silence. On the event loop of the server."""

from __future__ import annotations

import asyncio
import collections
import secrets
import time
from typing import TYPE_CHECKING, Any, AsyncIterator, Coroutine, Deque, List, Optional, Set

from . import _wire
from ._wire import Ended
from .errors import Cause, Error
from .v1 import robaxi_pb2 as pb

if TYPE_CHECKING:
    from ._robot_streams import SideStream
    from ._service import Service

THREADS = 8  # on which methods run
WAITING_CALLS = 1024  # of a session, and of an address without one
_STUCK_HEARTBEATS = 240  # after which a client that reads nothing loses its session


class SessionOver(Exception):
    """The end of a stream with its session."""


async def first_request(requests: AsyncIterator[Any], patience: float) -> Any:
    """The first request. Raises StopAsyncIteration, and Ended if none comes."""
    try:
        return await asyncio.wait_for(requests.__anext__(), patience)
    except asyncio.TimeoutError:
        raise Ended(pb.Error.TIMED_OUT, "no message came in time") from None


async def run_until_first(*coroutines: Coroutine[Any, Any, None]) -> None:
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


class Session:
    """A session with a client."""

    def __init__(self, service: Service, context: Any) -> None:
        self.address = address_of(context.peer())
        self.streams: Set[SideStream] = set()
        self.over = asyncio.Event()
        self._service = service
        self._context = context
        self._loop = asyncio.get_running_loop()
        self._assembler = _wire.Assembler(service.limits.message + _wire.BATCH_OVERHEAD)
        self._out: Deque[pb.ServerMessage] = collections.deque()
        self._out_bytes = 0
        self._written = 0  # messages
        self._wake_writer = asyncio.Event()
        self._has_room = asyncio.Event()
        self._takes_parts = False
        self._heard = time.monotonic()
        self._calls: Deque[pb.Call] = collections.deque()
        self._call_bytes = 0
        self._running = 0
        self._is_half_closed = False

    def end(self) -> None:
        """Ends the session with its subscriptions and watched cameras."""
        self.over.set()
        for stream in [*self.streams]:
            stream.end(SessionOver())

    async def serve(self, requests: AsyncIterator[Any]) -> None:
        limits = self._service.limits
        messages: List[pb.ClientMessage] = []
        try:
            while not messages:
                messages = [*(await first_request(requests, self._service.silence)).messages]
        except StopAsyncIteration:
            return
        reply = await self._greet(messages[0].hello)
        # At once, so that the limits hold.
        self._service.sessions[reply.session_id] = self
        try:
            await self._context.write(pb.ServerBatch(
                messages=[pb.ServerMessage(hello_reply=reply)]))
            self._heard = time.monotonic()
            await run_until_first(
                self._read(messages[1:], requests), self._write(), self._beat(limits.heartbeat),
                self._await_end())
        except Error as error:
            raise Ended(pb.Error.INVALID_ARGUMENT, error.text) from None
        finally:
            self._service.sessions.pop(reply.session_id, None)
            self.end()

    async def _greet(self, hello: pb.Hello) -> pb.HelloReply:
        """Returns the answer to the hello; raises Ended if it is refused."""
        service = self._service
        if hello.protocol_version != _wire.PROTOCOL_VERSION:
            raise Ended(pb.Error.PROTOCOL_VERSION, "it speaks version "
                        f"{_wire.PROTOCOL_VERSION}, this program version {hello.protocol_version}")
        self._check_room()
        await service.admit(self.address, hello.token)
        self._check_room()  # others may have come
        self._takes_parts = hello.takes_fragments
        return pb.HelloReply(protocol_version=_wire.PROTOCOL_VERSION,
                             name=_wire.plain_text(service.name),
                             session_id=secrets.randbits(64) or 1,
                             silence_limit=int(service.silence * 1000), takes_fragments=True)

    def _check_room(self) -> None:
        service = self._service
        if len(service.sessions) >= service.limits.sessions or \
                service.count_of(self.address) >= service.limits.sessions_of_address:
            raise Ended(pb.Error.TOO_MANY, "too many programs are connected to it")

    # --- Receiving ---

    async def _read(self, messages: List[pb.ClientMessage], requests: AsyncIterator[Any]) -> None:
        for message in messages:
            self._take(message)
        async for batch in requests:
            self._heard = time.monotonic()
            for message in batch.messages:
                self._take(message)
            while self._is_full():
                self._has_room.clear()
                await self._has_room.wait()
                self._heard = time.monotonic()
        # Closed in order: what was posted before still runs.
        self._is_half_closed = True
        while self._calls or self._running:
            self._has_room.clear()
            await self._has_room.wait()

    def _is_full(self) -> bool:
        return (len(self._calls) >= WAITING_CALLS
                or self._call_bytes + self._out_bytes > 4 * self._service.limits.message)

    def _take(self, part: pb.ClientMessage) -> None:
        message = self._assembler.take(part)
        content = None if message is None else message.WhichOneof("content")
        if message is None or content is None:
            return
        if content == "heartbeat":
            self._put(pb.ServerMessage(heartbeat=message.heartbeat))
        elif content == "call":
            self._calls.append(message.call)
            self._call_bytes += message.call.ByteSize()
            self._start_calls()
        elif content == "cancel":
            for call in [one for one in self._calls if one.call_id == message.cancel.call_id]:
                self._calls.remove(call)
                self._call_bytes -= call.ByteSize()
        elif content == "list_modules":
            self._list_modules(message.list_modules)

    def _list_modules(self, question: pb.ListModules) -> None:
        if question.call_id == 0:
            return
        modules = self._service.list_modules(question.module)
        if modules is None:
            self._put_error(question.call_id, Error(Cause.NO_SUCH_MODULE, ""), False)
        else:
            self._put(pb.ServerMessage(module_list=pb.ModuleList(
                call_id=question.call_id, modules=modules)))

    # --- Calls ---

    def _start_calls(self) -> None:
        while self._calls and self._running < THREADS and \
                self._out_bytes <= 4 * self._service.limits.message:
            call = self._calls.popleft()
            self._call_bytes -= call.ByteSize()
            self._running += 1
            try:
                future = self._loop.run_in_executor(self._service.pool, self._service.run, call)
            except RuntimeError:  # the server ends
                self._running -= 1
                return
            future.add_done_callback(self._on_done)

    def _on_done(self, future: asyncio.Future[pb.Result]) -> None:
        self._running -= 1
        if not future.cancelled() and future.exception() is None:
            result = future.result()
            if result.call_id != 0 and not self._is_half_closed:
                self._put(pb.ServerMessage(result=result))
        self._start_calls()
        self._has_room.set()

    def _put_error(self, call_id: int, error: Error, by_method: bool) -> None:
        self._put(pb.ServerMessage(result=pb.Result(
            call_id=call_id, error=_wire.to_error(error, by_method))))

    # --- Sending ---

    def _put(self, message: pb.ServerMessage) -> None:
        self._out.append(message)
        self._out_bytes += message.ByteSize()
        self._wake_writer.set()

    async def _write(self) -> None:
        while True:
            while self._out:
                message = self._out.popleft()
                for part in _wire.in_parts(message) if self._takes_parts else [message]:
                    await self._context.write(pb.ServerBatch(messages=[part]))
                self._out_bytes -= message.ByteSize()
                self._written += 1
                self._start_calls()
                self._has_room.set()
            self._wake_writer.clear()
            await self._wake_writer.wait()

    async def _beat(self, period: int) -> None:
        """Ends the session of a silent client, and keeps that of one which is not read alive."""
        stuck = 0
        written = 0
        while True:
            await asyncio.sleep(period / 1000)
            if self._is_full():
                self._heard = time.monotonic()
                stuck = stuck + 1 if self._out and self._written == written else 0
                written = self._written
                if stuck > _STUCK_HEARTBEATS:
                    raise Ended(pb.Error.TIMED_OUT, "the client reads nothing")
                if len(self._out) < 4:
                    self._put(pb.ServerMessage(heartbeat=pb.Heartbeat(number=0)))
            elif time.monotonic() - self._heard > self._service.silence and \
                    not self._is_half_closed:
                raise Ended(pb.Error.TIMED_OUT, "the client is silent")

    async def _await_end(self) -> None:
        await self.over.wait()
