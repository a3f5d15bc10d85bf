"""The sending side of a stream beside a session."""

from __future__ import annotations

import queue
from typing import Generic, Iterator, Optional, TypeVar

Request = TypeVar("Request")


class Requests(Generic[Request]):
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
