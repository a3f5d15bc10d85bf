"""The robot's end of the protocol, on an event loop: sessions, subscriptions and watched cameras.

Everything here runs on the loop, except methods, which run on a pool of threads.
"""

from __future__ import annotations

import asyncio
import collections
import concurrent.futures
import contextlib
import functools
import hmac
import logging
import secrets
import time
from typing import (Any, AsyncIterator, Callable, Coroutine, Counter, Deque, Dict, List, Mapping,
                    Optional, Set, Union)

import grpc
from google.protobuf.message import DecodeError

from . import _wire
from ._wire import Ended
from .errors import Cause, Error
from .module import Module
from .settings import Settings
from .table import Entry, Known
from .v1 import robaxi_pb2 as pb

_log = logging.getLogger("robaxi")

THREADS = 8  # on which methods run
_WAITING_CALLS = 1024  # of a session, and of an address without one
_IN_FLIGHT = 2  # updates and frames
_HIGHEST_RATE = 1000.0
_LONGEST_PERIOD = 86400.0
_BATCH_KEYS = 500
_BATCH_VALUES = 1000
_STUCK_HEARTBEATS = 240  # after which a client that reads nothing loses its session
_QUICK_REFUSALS = 5
_MOST_ADDRESSES = 1024


class TokenGuard:
    """Slows down addresses that send wrong tokens: after five in a row, one token a second."""

    def __init__(self) -> None:
        self._refusals: Dict[str, int] = {}
        self._next_turn: Dict[str, float] = {}

    async def await_turn(self, address: str, longest: float) -> bool:
        """Returns false if too many tokens wait."""
        if self._refusals.get(address, 0) < _QUICK_REFUSALS:
            return True
        now = time.monotonic()
        turn = max(self._next_turn.get(address, 0.0), now) + 1
        if turn - now > longest:
            return False
        self._next_turn[address] = turn
        await asyncio.sleep(turn - now)
        return True

    def count(self, address: str, is_right: bool) -> None:
        if is_right:
            self._refusals.pop(address, None)
            self._next_turn.pop(address, None)
            return
        if len(self._refusals) >= _MOST_ADDRESSES and address not in self._refusals:
            oldest = min(self._refusals, key=lambda one: self._next_turn.get(one, 0.0))
            self._refusals.pop(oldest)
            self._next_turn.pop(oldest, None)
        self._refusals[address] = self._refusals.get(address, 0) + 1


class RpcLoad:
    """Number and bytes of the RPCs without a session. One address may use half of the total."""

    def __init__(self, most_bytes: int) -> None:
        self._most_bytes = most_bytes
        self._rpcs: Counter[str] = collections.Counter()  # of each address
        self._bytes: Counter[str] = collections.Counter()
        self._all_rpcs = 0
        self._all_bytes = 0

    def add(self, address: str, size: int) -> bool:
        """Returns false, and adds nothing, beyond a limit."""
        if self._rpcs[address] >= _WAITING_CALLS or self._all_rpcs >= 2 * _WAITING_CALLS or \
                self._bytes[address] + size > self._most_bytes or \
                self._all_bytes + size > 2 * self._most_bytes:
            return False
        self._change(address, 1, size)
        return True

    def remove(self, address: str, size: int) -> None:
        self._change(address, -1, -size)
        if not self._rpcs[address]:
            del self._rpcs[address], self._bytes[address]

    def _change(self, address: str, rpcs: int, size: int) -> None:
        self._rpcs[address] += rpcs
        self._bytes[address] += size
        self._all_rpcs += rpcs
        self._all_bytes += size


class Service:
    """What the server of gRPC runs."""

    def __init__(self, name: str, modules: Mapping[str, Module], settings: Settings,
                 token: bytes) -> None:
        self.name = name
        self.modules = modules
        self.limits = settings.limits
        self.token = token
        self.guard = TokenGuard()
        self.sessions: Dict[int, Session] = {}
        self._load = RpcLoad(4 * settings.limits.message)
        self.pool = concurrent.futures.ThreadPoolExecutor(THREADS, thread_name_prefix="robaxi-call")

    @property
    def silence(self) -> float:
        """Seconds of silence after which a session ends."""
        return self.limits.heartbeat * 20 / 1000

    def handler(self) -> Any:
        def stream(serve: Callable[..., Any], request: Any, reply: Any) -> Any:
            return grpc.stream_stream_rpc_method_handler(serve, _reader(request),
                                                         reply.SerializeToString)

        def unary(serve: Callable[..., Any], request: Any, reply: Any) -> Any:
            return grpc.unary_unary_rpc_method_handler(serve, _reader(request),
                                                       reply.SerializeToString)

        return grpc.method_handlers_generic_handler(_wire.SERVICE, {
            "Call": unary(self._call, pb.Call, pb.Result),
            "ListModules": unary(self._list_modules, pb.ListModules, pb.ModuleList),
            "Session": stream(self._session, pb.ClientBatch, pb.ServerBatch),
            "Subscribe": stream(self._subscribe, pb.SubscriptionRequest, pb.SubscriptionUpdate),
            "Watch": stream(self._watch, pb.WatchRequest, pb.WatchUpdate),
        })

    def close(self) -> None:
        for session in [*self.sessions.values()]:
            session.end()
        self.pool.shutdown(wait=False)

    def count_of(self, address: str) -> int:
        return sum(session.address == address for session in self.sessions.values())

    def run(self, call: pb.Call) -> pb.Result:
        """Runs a method, on a thread of the pool."""
        limits = self.limits
        result = pb.Result(call_id=call.call_id)
        module = self.modules.get(call.module)
        try:
            if module is None:
                raise Error(Cause.NO_SUCH_MODULE, "")
            arguments = [_wire.from_value(one, limits.depth) for one in call.arguments]
            value, error, by_method = module.run(call.method, arguments)
            if error is None:
                result.value.CopyFrom(_wire.to_value(value, limits.depth))
                if result.ByteSize() > limits.message:
                    error, by_method = Error(Cause.TOO_LARGE, "the result"), False
            if error is not None:
                result.error.CopyFrom(_wire.to_error(error, by_method))
        except Error as error:
            result.error.CopyFrom(_wire.to_error(error, False))
        return result

    def list_modules(self, name: str) -> Optional[List[pb.Module]]:
        """Descriptions of all modules, or of one; None if there is none of that name."""
        if name and name not in self.modules:
            return None
        return [_wire.to_module(self.modules[one].describe())
                for one in ([name] if name else [*self.modules])]

    async def admit(self, address: str, token: bytes) -> None:
        """Raises Ended if this is not the token."""
        if not self.token:
            return
        if not token:
            raise Ended(pb.Error.TOKEN_MISSING)
        if not await self.guard.await_turn(address, self.silence):
            raise Ended(pb.Error.TOO_MANY, "too many wrong tokens came from this address")
        is_right = hmac.compare_digest(token, self.token)
        self.guard.count(address, is_right)
        if not is_right:
            _log.warning("wrong token from %s", address)
            raise Ended(pb.Error.TOKEN_WRONG)

    async def _call(self, call: Any, context: Any) -> Any:
        async with self.admitted(context, call):
            return await self._run_alone(call)

    async def _list_modules(self, question: Any, context: Any) -> Any:
        async with self.admitted(context, question):
            return self._list_alone(question)

    @contextlib.asynccontextmanager
    async def admitted(self, context: Any, request: Any = None) -> AsyncIterator[None]:
        """Runs an RPC without a session, or refuses it. Its request is None if it has several."""
        address = _address_of(context.peer())
        size = 0 if request is None or request is _UNREADABLE else request.ByteSize()
        is_counted = self._load.add(address, size)
        try:
            if not is_counted:
                raise Ended(pb.Error.TOO_MANY, "too many calls without a session wait there")
            bearer = dict(context.invocation_metadata()).get("authorization", "")
            await self.admit(address, _token_of(bearer))
            _readable(request)
            yield
        except Ended as end:
            await context.abort(*end.status())
        finally:
            if is_counted:
                self._load.remove(address, size)

    async def _run_alone(self, call: pb.Call) -> pb.Result:
        loop = asyncio.get_running_loop()
        result = await loop.run_in_executor(self.pool, self.run, call)
        if result.HasField("error"):
            error = result.error
            raise Ended(error.cause, error.text, error.by_method)
        result.call_id = 0
        return result

    def _list_alone(self, question: pb.ListModules) -> pb.ModuleList:
        modules = self.list_modules(question.module)
        if modules is None:
            raise Ended(pb.Error.NO_SUCH_MODULE)
        return pb.ModuleList(modules=modules)

    async def _session(self, requests: AsyncIterator[Any], context: Any) -> None:
        await _serve(Session(self, context), requests, context)

    async def _subscribe(self, requests: AsyncIterator[Any], context: Any) -> None:
        await _serve(Subscription(self, context), requests, context)

    async def _watch(self, requests: AsyncIterator[Any], context: Any) -> None:
        await _serve(FrameStream(self, context), requests, context)


# In the place of a message that cannot be read: an error of a deserialiser would end the RPC with a
# status of gRPC's choice.
_UNREADABLE = object()


def _reader(message: Any) -> Callable[[bytes], Any]:
    def read(data: bytes) -> Any:
        try:
            return message.FromString(data)
        except DecodeError:
            return _UNREADABLE
    return read


def _readable(request: Any) -> Any:
    if request is _UNREADABLE:
        raise Ended(pb.Error.INVALID_ARGUMENT, "a message cannot be read")
    return request


async def _serve(stream: Union[Session, _SideStream], requests: AsyncIterator[Any],
                 context: Any) -> None:
    try:
        await stream.serve(_readable(request) async for request in requests)
    except Ended as end:
        await context.abort(*end.status())
    except _SessionOver:
        await context.abort(grpc.StatusCode.CANCELLED, "the session has ended")


class _SessionOver(Exception):
    """The end of a stream with its session."""


async def _first(requests: AsyncIterator[Any], patience: float) -> Any:
    """The first request. Raises StopAsyncIteration, and Ended if none comes."""
    try:
        return await asyncio.wait_for(requests.__anext__(), patience)
    except asyncio.TimeoutError:
        raise Ended(pb.Error.TIMED_OUT, "no message came in time") from None


async def _run_until_first(*coroutines: Coroutine[Any, Any, None]) -> None:
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


def _address_of(peer: str) -> str:
    """The address in a peer of gRPC, such as "ipv4:10.0.0.7:5000"."""
    return peer.partition(":")[2].rpartition(":")[0]


def _token_of(authorization: str) -> bytes:
    kind, _, token = authorization.partition(" ")
    return token.encode() if kind == "Bearer" else b""


class Session:
    """A session with a client."""

    def __init__(self, service: Service, context: Any) -> None:
        self.address = _address_of(context.peer())
        self.streams: Set[_SideStream] = set()
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
            stream.end(_SessionOver())

    async def serve(self, requests: AsyncIterator[Any]) -> None:
        limits = self._service.limits
        messages: List[pb.ClientMessage] = []
        try:
            while not messages:
                messages = [*(await _first(requests, self._service.silence)).messages]
        except StopAsyncIteration:
            return
        reply = await self._greet(messages[0].hello)
        # At once, so that the limits hold.
        self._service.sessions[reply.session_id] = self
        try:
            await self._context.write(pb.ServerBatch(
                messages=[pb.ServerMessage(hello_reply=reply)]))
            self._heard = time.monotonic()
            await _run_until_first(
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
        return (len(self._calls) >= _WAITING_CALLS
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


class _SideStream:
    """A stream beside a session: a subscription or a watched camera."""

    def __init__(self, service: Service, context: Any) -> None:
        self._service = service
        self._context = context
        self._loop = asyncio.get_running_loop()
        self._wake = asyncio.Event()
        self._is_over = False
        self._ending: Optional[Exception] = None
        self._sent = 0
        self._done = 0

    def end(self, reason: Optional[Exception] = None) -> None:
        """Ends the stream, with the status OK if there is no reason."""
        self._is_over = True
        self._ending = self._ending or reason
        self._wake.set()

    def refuse(self, cause: Any, text: str = "") -> None:
        self.end(Ended(cause, text))

    async def serve(self, requests: AsyncIterator[Any]) -> None:
        try:
            first = await _first(requests, self._service.silence)
        except StopAsyncIteration:
            return
        if not first.HasField("start"):
            raise Ended(pb.Error.INVALID_ARGUMENT, "the first request has no start")
        session = self._service.sessions.get(first.start.session_id)
        if session is None:
            raise Ended(pb.Error.NOT_AUTHORISED, "there is no such session")
        session.streams.add(self)
        try:
            self._join(first, session)
            await _run_until_first(self._read(requests), self._send())
            if self._ending is not None:
                raise self._ending
        finally:
            session.streams.discard(self)
            self._leave()

    def _count(self, session: Session) -> int:
        return sum(type(one) is type(self) for one in session.streams)

    def _find_module(self, name: str) -> Optional[Module]:
        module = self._service.modules.get(name)
        if module is None:
            self.refuse(pb.Error.NO_SUCH_MODULE)
        return module

    def _wake_from_thread(self) -> None:
        if self._wake.is_set():
            return  # what has changed is looked at after it is cleared
        try:
            self._loop.call_soon_threadsafe(self._wake.set)
        except RuntimeError:
            pass  # the loop has ended

    async def _read(self, requests: AsyncIterator[Any]) -> None:
        async for request in requests:
            self._take(request)
            self._wake.set()
        self.end()
        await asyncio.Event().wait()  # until the sender has noticed

    async def _send(self) -> None:
        while not self._is_over:
            self._wake.clear()
            delay = await self._send_due() if self._sent < self._done + _IN_FLIGHT else None
            if self._is_over:
                break
            if delay is None:
                await self._wake.wait()
            elif delay > 0:
                await self._pause(delay)

    async def _pause(self, delay: float) -> None:
        await asyncio.sleep(delay)

    def _join(self, first: Any, session: Session) -> None:
        raise NotImplementedError

    def _leave(self) -> None:
        raise NotImplementedError

    def _take(self, request: Any) -> None:
        raise NotImplementedError

    async def _send_due(self) -> Optional[float]:
        """Sends what is due. Returns the seconds until more is, or None for the next wake-up."""
        raise NotImplementedError


_Composed = Callable[[], pb.SubscriptionUpdate]


class Subscription(_SideStream):
    """The changing values of a module, for one client."""

    def __init__(self, service: Service, context: Any) -> None:
        super().__init__(service, context)
        self._table: Any = None
        self._known = Known()
        self._chosen: Optional[Set[int]] = None
        self._fresh: Set[int] = set()
        self._period = 0.0
        self._last = 0.0
        # Encoded one by one, when they are sent.
        self._waiting: Deque[_Composed] = collections.deque()

    def _join(self, first: pb.SubscriptionRequest, session: Session) -> None:
        if self._count(session) > self._service.limits.subscriptions:
            self.refuse(pb.Error.TOO_MANY)
            return
        module = self._find_module(first.start.module)
        if module is None:
            return
        if module.table is None:
            self.refuse(pb.Error.INVALID_ARGUMENT, "the module has no values to subscribe to")
            return
        self._chosen = None if first.start.all_keys else set()
        self._set_rate(first.start.rate)
        self._take_changes(first)
        self._table = module.table
        self._table.observe(self._wake_from_thread)

    def _leave(self) -> None:
        if self._table is not None:
            self._table.forget(self._wake_from_thread)

    def _take(self, request: pb.SubscriptionRequest) -> None:
        if request.HasField("start"):
            self.refuse(pb.Error.INVALID_ARGUMENT, "a subscription was started twice")
        self._take_changes(request)

    def _take_changes(self, request: pb.SubscriptionRequest) -> None:
        if request.HasField("rate"):
            self._set_rate(request.rate)
        if request.HasField("keys") and self._chosen is not None:
            chosen = set(request.keys.ids)
            self._fresh |= chosen - self._chosen
            self._fresh &= chosen
            self._chosen = chosen
        self._done = max(self._done, request.consumed)

    def _set_rate(self, rate: float) -> None:
        if not 0 < rate <= _HIGHEST_RATE:
            self.refuse(pb.Error.INVALID_ARGUMENT, "a rate is above 0 to 1000 updates a second")
            return
        self._period = min(1 / rate, _LONGEST_PERIOD)

    async def _pause(self, delay: float) -> None:
        # A new selection or rate is not delayed by the rate, which is up to a day.
        try:
            await asyncio.wait_for(self._wake.wait(), delay)
        except asyncio.TimeoutError:
            pass

    async def _send_due(self) -> Optional[float]:
        if not self._waiting:
            now = time.monotonic()
            early = self._last + self._period - now
            if early > 0 and not self._fresh and self._sent:
                # Changes wake the stream, which must not be a load until then.
                pause = min(early, 0.02)
                await asyncio.sleep(pause)
                return early - pause
            # On a thread: a large value takes longer than a client waits for a heartbeat.
            fresh, self._fresh = self._fresh, set()
            self._waiting.extend(await self._loop.run_in_executor(
                None, self._compose, self._chosen, fresh))
            if not self._waiting:
                return None
            self._last = now
        update = await self._loop.run_in_executor(None, self._waiting.popleft())
        self._sent += 1
        update.number = self._sent
        await self._context.write(update)
        return 0

    def _compose(self, chosen: Optional[Set[int]], fresh: Set[int]) -> List[_Composed]:
        batch = self._table.changes(self._known, chosen, fresh)
        updates: List[_Composed] = []
        if batch.removed:
            updates.append(lambda: pb.SubscriptionUpdate(
                keys_removed=pb.KeySelection(ids=batch.removed)))
        is_first = self._sent == 0
        for start in range(0, max(len(batch.added), int(is_first)), _BATCH_KEYS):
            updates.append(functools.partial(
                _keys_update, batch.added[start:start + _BATCH_KEYS]))
        for part in _split(batch.values, self._service.limits.message):
            updates.append(functools.partial(_values_update, part))
        return updates


def _keys_update(entries: List[Entry]) -> pb.SubscriptionUpdate:
    return pb.SubscriptionUpdate(
        keys_added=pb.KeysAdded(keys=[entry.to_message() for entry in entries]))


def _values_update(values: List[_wire.TimedValue]) -> pb.SubscriptionUpdate:
    return pb.SubscriptionUpdate(values=_wire.to_values(values))


def _split(values: List[_wire.TimedValue], largest: int) -> List[List[_wire.TimedValue]]:
    """Values as updates below the limit of a message; one above it is sent as nothing."""
    parts: List[List[_wire.TimedValue]] = []
    room = 0
    for value in values:
        size = 32 + _wire.size_of(value.value)
        if size > largest - _wire.BATCH_OVERHEAD:
            value, size = value._replace(value=None), 32
        if not parts or size > room or len(parts[-1]) >= _BATCH_VALUES:
            parts.append([])
            room = largest // 2
        parts[-1].append(value)
        room -= size
    return parts


class FrameStream(_SideStream):
    """The frames of a camera, for one client."""

    def __init__(self, service: Service, context: Any) -> None:
        super().__init__(service, context)
        self._camera: Any = None
        self._newest = 0

    def _join(self, first: pb.WatchRequest, session: Session) -> None:
        if self._count(session) > self._service.limits.cameras:
            self.refuse(pb.Error.TOO_MANY)
            return
        module = self._find_module(first.start.module)
        if module is None:
            return
        camera = module.cameras.get(first.start.stream)
        if camera is None:
            self.refuse(pb.Error.NO_SUCH_STREAM)
            return
        self._camera = camera
        camera.observe(self._wake_from_thread)

    def _leave(self) -> None:
        if self._camera is not None:
            self._camera.forget(self._wake_from_thread)

    def _take(self, request: pb.WatchRequest) -> None:
        if request.HasField("start"):
            self.refuse(pb.Error.INVALID_ARGUMENT, "a camera was watched twice")
        self._done = max(self._done, request.received)

    async def _send_due(self) -> Optional[float]:
        if self._camera.is_removed:
            self.refuse(pb.Error.NO_SUCH_STREAM)
            return None
        picture = self._camera.newest()
        if picture is None or picture.header.number == self._newest:
            return None
        self._newest = picture.header.number
        self._sent += 1
        size = _wire.LARGEST_FRAME_PART
        await self._context.write(pb.WatchUpdate(header=picture.header, data=picture.data[:size]))
        for start in range(size, len(picture.data), size):
            if self._is_over:
                return None
            await self._context.write(pb.WatchUpdate(data=picture.data[start:start + size]))
        return 0
