"""The robot's end of the protocol, on an event loop: what the server of gRPC runs.

Everything here runs on the loop, except methods, which run on a pool of threads.
"""

from __future__ import annotations

import asyncio
import collections
import concurrent.futures
import contextlib
import hmac
import logging
import time
from typing import Any, AsyncIterator, Callable, Counter, Dict, List, Mapping, Optional, Union

import grpc
from google.protobuf.message import DecodeError

from . import _wire
from ._robot_session import (THREADS, WAITING_CALLS, Session, SessionOver, SessionStream,
                             address_of)
from ._robot_streams import FrameStream, SideStream, Subscription
from ._wire import Ended
from .errors import Cause, Error
from .module import Module
from .settings import Settings
from .v1 import robaxi_pb2 as pb

_log = logging.getLogger("robaxi")

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
        if self._rpcs[address] >= WAITING_CALLS or self._all_rpcs >= 2 * WAITING_CALLS or \
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
    def silence_limit(self) -> int:
        """Milliseconds of silence after which a session ends that cannot be resumed."""
        return self.limits.heartbeat * 20

    @property
    def silence(self) -> float:
        """Seconds in which a client has to send its first message."""
        return self.silence_limit / 1000

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

    def find_room(self, address: str) -> Optional[Session]:
        """Returns the session that gives way to a new one from an address, or None if there is room
        for both: the one that has been silent for longest, of the same address if there is one.
        Raises Ended if there is none."""
        limits = self.limits
        of_address = sum(one.address == address for one in self.sessions.values())
        has_address_too_many = of_address >= limits.sessions_of_address
        if not has_address_too_many and len(self.sessions) < limits.sessions:
            return None
        silent = [one for one in self.sessions.values()
                  if one.silence and (one.address == address or not has_address_too_many)]
        if not silent:
            raise Ended(pb.Error.TOO_MANY, "too many programs are connected to it")
        return max(silent, key=lambda one: (one.address == address, one.silence))

    def add_session(self, session: Session) -> Session:
        self.sessions[session.id] = session
        return session

    def run(self, call: pb.Call) -> pb.Result:
        """Runs a method, on a thread of the pool. Its caller receives an answer in any case."""
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
        except BaseException as error:  # SystemExit, too: a method does not end the robot
            _log.exception("the call of %s.%s failed", call.module, call.method)
            result.error.CopyFrom(_wire.to_error(_wire.unexpected(error), False))
        return result

    def list_modules(self, name: str) -> pb.ModuleList:
        """Descriptions of all modules, or of one. Raises Error."""
        if name and name not in self.modules:
            raise Error(Cause.NO_SUCH_MODULE, "")
        modules = [_wire.to_module(self.modules[one].describe())
                   for one in ([name] if name else [*self.modules])]
        answer = pb.ModuleList(modules=modules)
        if answer.ByteSize() > self.limits.message:
            raise Error(Cause.TOO_LARGE, "the descriptions of the modules")
        return answer

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
        address = address_of(context.peer())
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
        try:
            return self.list_modules(question.module)
        except Error as error:
            raise Ended(error.cause, error.text) from None

    async def _session(self, requests: AsyncIterator[Any], context: Any) -> None:
        await _serve(SessionStream(self, context), requests, context)

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


async def _serve(stream: Union[SessionStream, SideStream], requests: AsyncIterator[Any],
                 context: Any) -> None:
    try:
        await stream.serve(_readable(request) async for request in requests)
    except Ended as end:
        await context.abort(*end.status())
    except SessionOver:
        await context.abort(grpc.StatusCode.CANCELLED, "the session has ended")


def _token_of(authorization: str) -> bytes:
    kind, _, token = authorization.partition(" ")
    return token.encode() if kind == "Bearer" else b""
