"""The robot's ends of the streams beside a session: subscriptions and watched cameras. On the event
loop of the server."""

from __future__ import annotations

import asyncio
import collections
import functools
import logging
import time
from typing import (TYPE_CHECKING, Any, AsyncIterator, Callable, Deque, List, Optional, Sequence,
                    Set, Tuple, TypeVar)

from . import _wire
from ._robot_session import Session, SessionOver, first_request, run_until_first
from ._wire import Ended
from .module import Module
from .table import Entry, Known, Table
from .v1 import robaxi_pb2 as pb

if TYPE_CHECKING:
    from ._service import Service

_log = logging.getLogger("robaxi")

Result = TypeVar("Result")

_IN_FLIGHT = 2  # updates and frames
_HIGHEST_RATE = 1000.0
_LONGEST_PERIOD = 86400.0
_BATCH_KEYS = 500
_BATCH_VALUES = 1000
_IDS_AT_ONCE = 1 << 16


class SideStream:
    """A stream beside a session: a subscription or a watched camera."""

    def __init__(self, service: Service, context: Any) -> None:
        self._service = service
        self._context = context
        self._loop = asyncio.get_running_loop()
        self._wake = asyncio.Event()
        self._over = asyncio.Event()
        self._ending: Optional[Exception] = None
        self._sent = 0
        self._done = 0

    def end(self, reason: Optional[Exception] = None) -> None:
        """Ends the stream, with the status OK if there is no reason."""
        self._ending = self._ending or reason
        self._over.set()

    def refuse(self, cause: Any, text: str = "") -> None:
        self.end(Ended(cause, text))

    async def serve(self, requests: AsyncIterator[Any]) -> None:
        try:
            first = await first_request(requests, self._service.silence)
        except StopAsyncIteration:
            return
        if not first.HasField("start"):
            raise Ended(pb.Error.INVALID_ARGUMENT, "the first request has no start")
        session = self._service.sessions.get(first.start.session_id)
        if session is None or session.resumption != first.start.resumption:
            raise Ended(pb.Error.NOT_AUTHORISED, "there is no such session")
        session.streams.add(self)
        try:
            self._join(first, session)
            # Not with the first update: gRPC sends no status behind a write that began the response
            # and was cancelled.
            await self._context.send_initial_metadata(())
            # Not only between two updates: a write takes as long as TCP tries to reach the client.
            await run_until_first(self._read(requests), self._send(), self._over.wait())
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

    async def _send(self) -> None:
        while not self._over.is_set():
            self._wake.clear()
            delay = await self._send_due() if self._sent < self._done + _IN_FLIGHT else None
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


class Subscription(SideStream):
    """The changing values of a module, for one client."""

    def __init__(self, service: Service, context: Any) -> None:
        super().__init__(service, context)
        self._table: Any = None
        self._known = Known()
        self._has_sent_table = False
        # The keys that a client has which continues the subscription, if it knows others, too.
        self._present: Optional[List[int]] = None
        self._chosen: Optional[Set[int]] = None
        # What a client has sent, looked at before the next update: keys whose values it has, if it
        # continues the subscription, and its last choice.
        self._with_values: Optional[Sequence[int]] = None
        self._choice: Optional[Sequence[int]] = None
        self._has_skipped_choice = False  # one that was replaced before it was looked at
        self._period = 0.0
        self._last = 0.0
        # Encoded one by one, when they are sent, with the position behind each of them.
        self._waiting: Deque[Tuple[_Composed, int]] = collections.deque()

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
        if first.start.HasField("known"):
            self._continue(first, module.table)
        self._take_changes(first)
        self._table = module.table
        self._table.observe(self._wake_from_thread)

    def _continue(self, first: pb.SubscriptionRequest, table: Table) -> None:
        """Continues where the client has lost an earlier stream."""
        known = first.start.known
        if known.table != table.id:
            first.ClearField("keys")  # identifiers of the table that the client knows
            self._present = []
            return
        self._known = table.known_to(known)
        self._has_sent_table = True
        if len(self._known.ids) != known.keys:
            self._present = sorted(self._known.ids)
        if self._chosen is not None:
            self._with_values = known.with_values

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
            self._has_skipped_choice = self._has_skipped_choice or self._choice is not None
            self._choice = request.keys.ids
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
            if early > 0 and self._choice is None and self._sent:
                # Changes wake the stream, which must not be a load until then.
                pause = min(early, 0.02)
                await asyncio.sleep(pause)
                return early - pause
            # On a thread: a large value takes longer than a client waits for a heartbeat.
            choice, self._choice = self._choice, None
            has_skipped, self._has_skipped_choice = self._has_skipped_choice, False
            self._waiting.extend(await self._run(functools.partial(
                self._compose, choice, has_skipped)))
            if not self._waiting:
                return None
            self._last = now
        compose, position = self._waiting.popleft()
        update = await self._run(compose)
        self._sent += 1
        update.number = self._sent
        update.position = position
        await self._context.write(update)
        return 0

    async def _run(self, compose: Callable[[], Result]) -> Result:
        try:
            running = self._loop.run_in_executor(None, compose)
        except RuntimeError:  # the program ends
            raise SessionOver() from None
        try:
            return await running
        except Exception as error:
            _log.exception("a subscription ends")
            reason = _wire.unexpected(error)
            raise Ended(reason.cause, reason.text) from error

    def _compose(self, choice: Optional[Sequence[int]],
                 has_skipped: bool) -> List[Tuple[_Composed, int]]:
        before = self._known.version
        batch = self._table.changes(self._known, *self._choose(choice, has_skipped))
        updates: List[_Composed] = []
        if self._present is not None:
            updates.append(functools.partial(pb.SubscriptionUpdate, keys_present=pb.KeySelection(
                ids=self._present)))
            self._present = None
        if batch.removed:
            updates.append(lambda: pb.SubscriptionUpdate(
                keys_removed=pb.KeySelection(ids=batch.removed)))
        is_first, self._has_sent_table = not self._has_sent_table, True
        for start in range(0, max(len(batch.added), int(is_first)), _BATCH_KEYS):
            updates.append(functools.partial(
                _keys_update, self._table.id, batch.added[start:start + _BATCH_KEYS]))
        for part in _split(batch.values, self._service.limits.message):
            updates.append(functools.partial(_values_update, part))
        # A client that has received a part of them gets all of the values again.
        return [(update, before) for update in updates[:-1]] + [
            (update, self._known.version) for update in updates[-1:]]

    def _choose(self, choice: Optional[Sequence[int]],
                has_skipped: bool) -> Tuple[Optional[Set[int]], Set[int]]:
        """The chosen keys, None for all of them, and those that are freshly chosen: all of them
        after a skipped choice, which may have left them out."""
        if self._chosen is None:
            return None, set()
        if self._with_values is not None:
            self._chosen, self._with_values = _common(self._known.ids, self._with_values), None
        if choice is None:
            return self._chosen, set()
        before, self._chosen = self._chosen, _common(self._table.ids(), choice)
        return self._chosen, self._chosen if has_skipped else self._chosen - before


def _common(present: Set[int], ids: Sequence[int]) -> Set[int]:
    """The identifiers that exist, of those in a request, which may be millions. In parts, between
    which other threads have their turn."""
    found: Set[int] = set()
    for start in range(0, len(ids), _IDS_AT_ONCE):
        found.update(present.intersection(ids[start:start + _IDS_AT_ONCE]))
    return found


def _keys_update(table: int, entries: List[Entry]) -> pb.SubscriptionUpdate:
    return pb.SubscriptionUpdate(keys_added=pb.KeysAdded(
        table=table, keys=[entry.to_message() for entry in entries]))


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


class FrameStream(SideStream):
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
            await self._context.write(pb.WatchUpdate(data=picture.data[start:start + size]))
        return 0
