"""A stream beside a session, of values or frames."""

from __future__ import annotations

import queue
from typing import Any, Callable, Generic, Iterator, Optional, TypeVar

import grpc

from . import _wire
from ._session import Session
from .errors import Cause, Error, describe
from .v1 import robaxi_pb2 as pb

Request = TypeVar("Request")
Update = TypeVar("Update")


class _Requests(Generic[Request]):
    """Requests to be sent, over which gRPC iterates on its own thread."""

    def __init__(self, first: Request) -> None:
        self._queue: queue.SimpleQueue[Optional[Request]] = queue.SimpleQueue()
        self._queue.put(first)

    def put(self, request: Request) -> None:
        self._queue.put(request)

    def close(self) -> None:
        self._queue.put(None)

    def __iter__(self) -> Iterator[Request]:
        return self

    def __next__(self) -> Request:
        request = self._queue.get()
        if request is None:
            raise StopIteration
        return request


class SideStream(Generic[Request, Update]):
    """Updates from the robot, as an iterator, and requests to it.

    It ends with its connection. If follow() then returns True, the session continues on another
    one, and begin() starts the stream there. begin(), follow() and the iteration are for one thread
    at a time.
    """

    def __init__(self, session: Session, path: str, serialise: Callable[[Request], bytes],
                 parse: Callable[[bytes], Update]) -> None:
        self._session = session
        self._path = path
        self._serialise = serialise
        self._parse = parse
        self._requests: Optional[_Requests[Request]] = None
        self._call: Any = None
        self._resumption = 0
        self.is_over = False  #: it was ended by this program

    def begin(self, make: Callable[[int], Request]) -> None:
        """Starts it with the request that `make` returns for the session's resumption. Raises
        Error if the session is over."""
        with self._session.changed:
            if self.is_over:
                return
            if self._requests is not None:
                self._requests.close()
            channel, self._resumption = self._session.place_for_streams()
            self._requests = _Requests(make(self._resumption))
            self._call = channel.stream_stream(self._path, self._serialise, self._parse)(
                self._requests)

    def put(self, request: Request) -> None:
        if self._requests is not None:
            self._requests.put(request)

    def __iter__(self) -> Iterator[Update]:
        return self

    def __next__(self) -> Update:
        update: Update = next(self._call)
        return update

    def follow(self, end: Optional[Exception]) -> bool:
        """Returns True if the stream can begin again after this end, None if it was in order. Waits
        for another connection of the session, if the former one may be the reason."""
        session = self._session
        with session.changed:
            if session.resumption == self._resumption and self._was_cut_off(end):
                session.changed.wait_for(
                    lambda: self.is_over or session.error is not None
                    or session.resumption > self._resumption)
            return (not self.is_over and session.error is None
                    and session.resumption > self._resumption)

    def error(self, attempt: str, end: Optional[Exception]) -> Error:
        """The reason for an end that cannot be followed: the robot's, or, without one, usually that
        of the session, of which the stream may know before."""
        reason = _wire.end_of(end) if isinstance(end, grpc.RpcError) else None
        if reason is not None and self._session.error is None:
            return describe(attempt, _wire.cause_of(reason), reason.text)
        return self._session.await_error() or describe(
            attempt, Cause.INTERNAL, "the robot ended the stream")

    def end(self) -> None:
        """Ends it; on any thread."""
        with self._session.changed:
            self.is_over = True
            if self._requests is not None:
                self._requests.close()
            self._session.changed.notify_all()
        if self._call is not None:
            self._call.cancel()

    def _was_cut_off(self, end: Optional[Exception]) -> bool:
        if not self._session.can_resume or not isinstance(end, grpc.RpcError):
            return False
        reason = _wire.end_of(end)
        if reason is not None:  # it may have named the former resumption
            return reason.cause == pb.Error.NOT_AUTHORISED and self._session.may_have_moved
        return end.code() in (grpc.StatusCode.UNAVAILABLE, grpc.StatusCode.CANCELLED)
