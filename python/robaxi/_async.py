"""Iterators for programs with and without asyncio."""

from __future__ import annotations

import abc
import asyncio
import concurrent.futures
import queue
import threading
import weakref
from typing import Callable, Generic, Optional, Tuple, TypeVar

Item = TypeVar("Item")


class _Worker(Generic[Item]):
    """A thread that runs one function after another. Unlike the threads of an executor, it does not
    keep the interpreter from ending while a function waits."""

    def __init__(self) -> None:
        self._jobs: queue.SimpleQueue[
            Optional[Tuple[Callable[[], Item], concurrent.futures.Future[Item]]]
        ] = queue.SimpleQueue()
        threading.Thread(target=self._run, daemon=True, name="robaxi-watch").start()

    def submit(self, function: Callable[[], Item]) -> concurrent.futures.Future[Item]:
        future: concurrent.futures.Future[Item] = concurrent.futures.Future()
        self._jobs.put((function, future))
        return future

    def close(self) -> None:
        self._jobs.put(None)

    def _run(self) -> None:
        while True:
            job = self._jobs.get()
            if job is None:
                return
            function, future = job
            try:
                future.set_result(function())
            except BaseException as error:
                future.set_exception(error)
            # What the function belongs to must not live as long as this thread waits.
            del job, function, future


class Stream(abc.ABC, Generic[Item]):
    """What a robot sends, one item after the other: an iterator, and an asynchronous iterator.

    It ends when it is closed, and raises Error, once, when the robot ends it or is lost. `with` (or
    `async with`) closes it. One thread or task at a time may iterate; close() may be called on any
    thread.
    """

    def __init__(self) -> None:
        self._worker: Optional[_Worker[Optional[Item]]] = None
        self._awaited: Optional[concurrent.futures.Future[Optional[Item]]] = None

    @abc.abstractmethod
    def _next(self) -> Optional[Item]:
        """Waits for the next item; None at the end."""

    @abc.abstractmethod
    def close(self) -> None:
        """Ends the stream."""

    def __iter__(self: Self) -> Self:
        return self

    def __next__(self) -> Item:
        item = self._next()
        if item is None:
            raise StopIteration
        return item

    def __aiter__(self: Self) -> Self:
        return self

    async def __anext__(self) -> Item:
        if self._awaited is None:
            if self._worker is None:
                self._worker = _Worker()
                weakref.finalize(self, self._worker.close)
            self._awaited = self._worker.submit(self._next)
        # A task that is cancelled while it waits loses nothing: the next one gets the item.
        try:
            item = await asyncio.shield(asyncio.wrap_future(self._awaited))
        except Exception:
            self._awaited = None
            self._end_worker()
            raise
        self._awaited = None
        if item is None:
            self._end_worker()
            raise StopAsyncIteration
        return item

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()
        self._end_worker()

    async def __aenter__(self: Self) -> Self:
        return self

    async def __aexit__(self, *_: object) -> None:
        self.__exit__()

    def _end_worker(self) -> None:
        if self._worker is not None:
            self._worker.close()
            self._worker = None


Self = TypeVar("Self", bound="Stream")  # type: ignore[type-arg]
