"""A robot that keeps a session, and sends on each of its connections what a test has written."""

from __future__ import annotations

import concurrent.futures
import dataclasses
import threading
from typing import Any, Iterator, List, Optional, Sequence

import grpc

from robaxi import _wire
from robaxi.v1 import robaxi_pb2 as pb

SESSION_ID = 7


@dataclasses.dataclass
class Script:
    """What the robot sends on one connection."""

    batches: Sequence[pb.ServerBatch] = ()  #: when it is called, or the session is resumed
    updates: Sequence[pb.SubscriptionUpdate] = ()
    frames: Sequence[pb.WatchUpdate] = ()
    #: Ends the streams of values and frames after those, with these bytes as the robot's reason.
    reason: Optional[bytes] = None


class ScriptedRobot:
    """Accepts one connection more with each call of accept(), and leaves others without an
    answer."""

    def __init__(self, *scripts: Script) -> None:
        self.subscribed: List[pb.SubscriptionRequest] = []  #: the first request of each
        self.ignored = 0  #: attempts to resume that have no answer
        self._scripts = scripts
        self._lock = threading.Lock()
        self._accepted: List[int] = []  # their resumptions
        self._most = 1
        self._left = 0
        self._server = grpc.server(concurrent.futures.ThreadPoolExecutor(32))
        self._server.add_generic_rpc_handlers([grpc.method_handlers_generic_handler(
            _wire.SERVICE, {
                "Session": grpc.stream_stream_rpc_method_handler(
                    self._session, pb.ClientBatch.FromString, pb.ServerBatch.SerializeToString),
                "Subscribe": grpc.stream_stream_rpc_method_handler(
                    self._subscribe, pb.SubscriptionRequest.FromString,
                    pb.SubscriptionUpdate.SerializeToString),
                "Watch": grpc.stream_stream_rpc_method_handler(
                    self._watch, pb.WatchRequest.FromString, pb.WatchUpdate.SerializeToString),
            })])
        self.port: int = self._server.add_insecure_port("127.0.0.1:0")
        self._server.start()

    def accept(self) -> None:
        self._most += 1

    def leave(self) -> None:
        """Answers nothing any more on the accepted connections, and refuses streams there."""
        self._left = len(self._accepted)

    def end(self) -> None:
        self._server.stop(0).wait()

    def _session(self, requests: Iterator[pb.ClientBatch],
                 context: Any) -> Iterator[pb.ServerBatch]:
        resume = next(requests).messages[0].hello.resume
        with self._lock:
            is_accepted = len(self._accepted) < self._most
            if is_accepted:
                self._accepted.append(resume.resumption)
            self.ignored += not is_accepted
        if not is_accepted:
            _wait_for_the_end(context)
            return
        yield pb.ServerBatch(messages=[pb.ServerMessage(hello_reply=pb.HelloReply(
            protocol_version=1, name="scripted", session_id=SESSION_ID, silence_limit=10_000,
            resumes=True, resumed=resume.resumption > 0))])
        batches = self._script(resume.resumption).batches
        if resume.resumption:
            yield from batches
        for batch in requests:
            for message in [] if self._is_left(resume.resumption) else batch.messages:
                if message.HasField("heartbeat"):
                    yield pb.ServerBatch(messages=[pb.ServerMessage(heartbeat=message.heartbeat)])
                elif message.HasField("call"):
                    yield from batches

    def _subscribe(self, requests: Iterator[pb.SubscriptionRequest],
                   context: Any) -> Iterator[pb.SubscriptionUpdate]:
        first = next(requests)
        self.subscribed.append(first)
        if self._is_left(first.start.resumption):
            context.abort(grpc.StatusCode.PERMISSION_DENIED, "another number")
        script = self._script(first.start.resumption)
        yield from script.updates
        _end(context, script)

    def _watch(self, requests: Iterator[pb.WatchRequest],
               context: Any) -> Iterator[pb.WatchUpdate]:
        script = self._script(next(requests).start.resumption)
        yield from script.frames
        _end(context, script)

    def _is_left(self, resumption: int) -> bool:
        return self._accepted.index(resumption) < self._left

    def _script(self, resumption: int) -> Script:
        return self._scripts[self._accepted.index(resumption)]


def _end(context: Any, script: Script) -> None:
    if script.reason is not None:
        context.set_trailing_metadata((("robaxi-error-bin", script.reason),))
        context.abort(grpc.StatusCode.RESOURCE_EXHAUSTED, "too many")
    _wait_for_the_end(context)


def _wait_for_the_end(context: Any) -> None:
    is_over = threading.Event()
    if context.add_callback(is_over.set):
        is_over.wait()
