"""Robots that break one rule each: proxies before a real robot that change what passes.

They run on an event loop in a thread of the test.
"""

from __future__ import annotations

import asyncio
import threading
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Tuple

import grpc
import grpc.aio

from robaxi.v1 import robaxi_pb2 as pb

_DETAILS = "robaxi-error-bin"
_BETWEEN_FLOODS = 0.05  # seconds; shorter than `robaxi conform` waits for messages that must not come
_OPTIONS = [("grpc.max_send_message_length", -1), ("grpc.so_reuseport", 0)]
#: Requests and replies of the robot's RPCs.
_MESSAGES = {
    "Session": (pb.ClientBatch, pb.ServerBatch),
    "Subscribe": (pb.SubscriptionRequest, pb.SubscriptionUpdate),
    "Watch": (pb.WatchRequest, pb.WatchUpdate),
    "Call": (pb.Call, pb.Result),
    "ListModules": (pb.ListModules, pb.ModuleList),
}


class End(NamedTuple):
    """The end of an RPC."""

    code: Any
    text: str
    details: Optional[bytes]


class Passage:
    """One RPC that passes the proxy."""

    def __init__(self, method: str, shared: Dict[str, Any]) -> None:
        self.method = method
        self.shared = shared  #: of all RPCs of the proxy
        self.count = 0  #: of replies
        self.calls: Dict[int, pb.Call] = {}  #: of a session, by their call_id
        self.to_client: List[Any] = []  #: what a change of a request sends to the client

    def say(self, message: pb.ServerMessage) -> None:
        """Sends a message on a session to the client."""
        self.to_client.append(pb.ServerBatch(messages=[message]))


class Stop(Exception):
    """Ends the RPC."""


#: Changes a message in place. Returns None, or what passes in its place: messages, or bytes.
Change = Callable[[Passage, Any], Optional[List[Any]]]


class Breakage(NamedTuple):
    """What a proxy changes, in the RPCs of one method."""

    method: str = "Session"
    request: Optional[Change] = None
    reply: Optional[Change] = None
    end: Optional[Callable[[End], Optional[End]]] = None  #: returns None to keep the RPC open
    closes: bool = True  #: the end of the client's messages passes
    metadata: Optional[Callable[[Dict[str, str]], Dict[str, str]]] = None
    receive_limit: int = -1
    flood: Any = None  #: a message that the client receives again and again, behind the first reply


def each(change: Change) -> Change:
    """A change of each message of a batch."""

    def change_batch(passage: Passage, batch: Any) -> Optional[List[Any]]:
        kept = []
        for message in batch.messages:
            changed = change(passage, message)
            kept += [message] if changed is None else changed
        passed = type(batch)(messages=kept, number=batch.number)
        return [passed] if kept or not batch.messages else []

    return change_batch


class Proxies:
    """Proxies before the robot on a port of the loopback, one for each breakage."""

    def __init__(self, robot: int, breakages: Dict[str, Breakage]) -> None:
        self.ports: Dict[str, int] = {}
        self._robot = robot
        self._breakages = breakages
        self._loop = asyncio.new_event_loop()
        self._end = asyncio.Event()
        self._is_ready = threading.Event()
        self._thread = threading.Thread(target=self._loop.run_until_complete, args=[self._run()])
        self._thread.start()
        self._is_ready.wait()

    def close(self) -> None:
        self._loop.call_soon_threadsafe(self._end.set)
        self._thread.join()

    async def _run(self) -> None:
        servers = []
        for name, breakage in self._breakages.items():
            server = grpc.aio.server(options=[
                *_OPTIONS, ("grpc.max_receive_message_length", breakage.receive_limit)])
            server.add_generic_rpc_handlers([_Handler(self._robot, breakage)])
            self.ports[name] = server.add_insecure_port("127.0.0.1:0")
            await server.start()
            servers.append(server)
        self._is_ready.set()
        await self._end.wait()
        await asyncio.gather(*(server.stop(None) for server in servers))


class _Handler(grpc.GenericRpcHandler):
    def __init__(self, robot: int, breakage: Breakage) -> None:
        self._breakage = breakage
        self._shared: Dict[str, Any] = {}
        self._channel = grpc.aio.insecure_channel(
            f"127.0.0.1:{robot}", options=[*_OPTIONS, ("grpc.max_receive_message_length", -1),
                                           ("grpc.use_local_subchannel_pool", 1)])

    def service(self, details: Any) -> Any:
        path = details.method

        async def serve(requests: Any, context: Any) -> None:
            await self._pass(path, requests, context)

        # A unary RPC is a stream with one message.
        return grpc.stream_stream_rpc_method_handler(serve)

    async def _pass(self, path: str, requests: Any, context: Any) -> None:
        method = path.rpartition("/")[2]
        breakage = self._breakage if self._breakage.method in (method, path) else Breakage()
        passage = Passage(method, self._shared)
        types = _MESSAGES.get(method) if path.startswith("/robaxi.v1.") else None
        metadata = {key: value for key, value in context.invocation_metadata()
                    if key == "authorization"}
        if breakage.metadata:
            metadata = breakage.metadata(metadata)
        robot = self._channel.stream_stream(path)(metadata=tuple(metadata.items()))
        lock = asyncio.Lock()  # of messages to the client

        async def forward() -> None:
            async for data in requests:
                for one in _changed(passage, breakage.request, types and types[0], data):
                    await robot.write(one)
                async with lock:
                    while passage.to_client:
                        await context.write(passage.to_client.pop(0).SerializeToString())
            if breakage.closes:
                await robot.done_writing()

        async def back() -> None:
            async for data in robot:
                for one in _changed(passage, breakage.reply, types and types[1], data):
                    async with lock:
                        await context.write(one)
                if breakage.flood:
                    has_answered.set()

        async def flood() -> None:
            await has_answered.wait()
            while True:
                async with lock:
                    await context.write(breakage.flood.SerializeToString())
                await asyncio.sleep(_BETWEEN_FLOODS)

        has_answered = asyncio.Event()
        flooding = asyncio.ensure_future(flood())
        forwarding = asyncio.ensure_future(forward())
        try:
            returning = asyncio.ensure_future(back())
            await asyncio.wait([forwarding, returning], return_when=asyncio.FIRST_EXCEPTION)
            for task in (forwarding, returning):
                if task.done() and isinstance(task.exception(), Stop):
                    await context.abort(grpc.StatusCode.ABORTED, "stopped by the proxy")
            end = await _end_of(robot)
            if breakage.end:
                changed = breakage.end(end)
                if changed is None:
                    await asyncio.Event().wait()
                end = changed
            if end.code != grpc.StatusCode.OK:
                trailing = () if end.details is None else ((_DETAILS, end.details),)
                await context.abort(end.code, end.text, trailing)
        finally:
            flooding.cancel()
            forwarding.cancel()
            returning.cancel()
            robot.cancel()


async def _end_of(robot: Any) -> End:
    code = await robot.code()
    details = dict(tuple(await robot.trailing_metadata() or ())).get(_DETAILS)
    return End(code, await robot.details(), details)


def _changed(passage: Passage, change: Optional[Change], kind: Any, data: bytes) -> List[bytes]:
    """The messages that pass in the place of one. Those that cannot be read are bytes."""
    if kind is None and change is None:
        return [data]
    try:
        message = data if kind is None else kind.FromString(data)
    except Exception:  # DecodeError, whose place differs between implementations
        message = data
    if isinstance(message, pb.ClientBatch):
        passage.calls.update((one.call.call_id, one.call) for one in message.messages
                             if one.HasField("call"))
    passage.count += not isinstance(message, pb.ClientBatch)
    if change is None:
        return [data]
    changed = change(passage, message)
    if changed is None:
        changed = [message]
    return [one if isinstance(one, bytes) else one.SerializeToString() for one in changed]


def with_cause(cause: Any) -> Callable[[End], End]:
    """Changes the details of a refusal."""
    return lambda end: end._replace(details=pb.Error(cause=cause).SerializeToString())


def with_code(code: Any) -> Callable[[End], End]:
    """Changes the status of a refusal."""
    return lambda end: end._replace(code=code)


def never(_: End) -> None:
    """Keeps the RPC open."""
