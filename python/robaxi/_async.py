"""Iterators for programs with and without asyncio."""

from __future__ import annotations

import abc
import asyncio
import concurrent.futures
from typing import Generic, Optional, Type, TypeVar

Item = TypeVar("Item")


class Stream(abc.ABC, Generic[Item]):
    """What a robot sends, one item after the other: an iterator, and an asynchronous iterator.

    It ends when it is closed, and raises Error when the robot ends it or is lost. `with` (or
    `async with`) closes it. One thread or task at a time may iterate; close() may be called on any
    thread.
    """

    def __init__(self) -> None:
        self._executor: Optional[concurrent.futures.ThreadPoolExecutor] = None
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
            if self._executor is None:
                self._executor = concurrent.futures.ThreadPoolExecutor(
                    1, thread_name_prefix="robaxi-watch")
            self._awaited = self._executor.submit(self._next)
        # A task that is cancelled while it waits loses nothing: the next one gets the item.
        item = await asyncio.shield(asyncio.wrap_future(self._awaited))
        self._awaited = None
        if item is None:
            self._executor_shutdown()
            raise StopAsyncIteration
        return item

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()
        self._executor_shutdown()

    async def __aenter__(self: Self) -> Self:
        return self

    async def __aexit__(self, *_: object) -> None:
        self.__exit__()

    def _executor_shutdown(self) -> None:
        if self._executor is not None:
            self._executor.shutdown(wait=False)
            self._executor = None


Self = TypeVar("Self", bound="Stream")  # type: ignore[type-arg]
