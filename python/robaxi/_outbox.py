"""What a session sends: messages that wait, and batches that another connection has to repeat."""

from __future__ import annotations

import collections
import threading
from typing import Deque, Generic, Iterator, Optional, TypeVar

from . import _wire
from ._target import Deadline
from .v1 import robaxi_pb2 as pb

Batch = TypeVar("Batch", pb.ClientBatch, pb.ServerBatch)


class Copies(Generic[Batch]):
    """The batches of a session that its other end has not acknowledged, numbered from 1, and
    bounded in bytes: beyond it the oldest are dropped. On another connection of the session, they
    are sent again."""

    def __init__(self, largest_message: int) -> None:
        self._most_bytes = 2 * largest_message
        self._batches: Deque[Batch] = collections.deque()
        self._bytes = 0
        self._to_repeat: Deque[Batch] = collections.deque()
        self._last_number = 0
        self._last_forgotten = 0

    def add(self, batch: Batch) -> None:
        """Numbers and keeps a batch that is sent now."""
        self._last_number += 1
        batch.number = self._last_number
        self._batches.append(batch)
        self._bytes += batch.ByteSize() + _wire.COST_OF_MESSAGE
        while self._bytes > self._most_bytes and len(self._batches) > 1:
            self._forget(self._batches[0].number)

    def acknowledge(self, number: int) -> None:
        """Forgets the batches up to this one, which the other end has received."""
        if number <= self._last_number:
            self._forget(number)

    def resume(self, received: int) -> bool:
        """Repeats the batches after the last one that the other end has received. Returns False,
        without an effect, if one of them is not kept any more, or that one was never sent."""
        if not self._last_forgotten <= received <= self._last_number:
            return False
        self._forget(received)
        self._to_repeat = self._batches.copy()
        return True

    @property
    def has_repeated(self) -> bool:
        return bool(self._to_repeat)

    def take_repeated(self) -> Optional[Batch]:
        """The next batch to repeat, if any."""
        return self._to_repeat.popleft() if self._to_repeat else None

    def clear(self) -> None:
        self._batches.clear()
        self._to_repeat.clear()

    def _forget(self, number: int) -> None:
        while self._batches and self._batches[0].number <= number:
            self._bytes -= self._batches.popleft().ByteSize() + _wire.COST_OF_MESSAGE
        self._last_forgotten = max(self._last_forgotten, number)


class Sender:
    """The requests of one connection: hello, then, while the session uses the connection, what the
    outbox has. gRPC iterates over it on its own thread."""

    def __init__(self, outbox: Outbox, hello: pb.Hello) -> None:
        self._outbox = outbox
        self._hello: Optional[pb.Hello] = hello
        self.is_over = False  # guarded by the outbox

    def __iter__(self) -> Iterator[pb.ClientBatch]:
        return self

    def __next__(self) -> pb.ClientBatch:
        hello, self._hello = self._hello, None
        if hello is not None:
            return pb.ClientBatch(messages=[pb.ClientMessage(hello=hello)])
        batch = self._outbox.take(self)
        if batch is None:
            raise StopIteration
        return batch


class Outbox:
    """Messages that wait to be sent, bounded in bytes.

    Batches of a session that can be resumed are numbered, and kept until the robot has acknowledged
    them: on another connection, the later ones are sent first.
    """

    def __init__(self, largest_message: int) -> None:
        self._most_waiting = 4 * largest_message
        self._changed = threading.Condition()
        self._waiting: Deque[pb.ClientBatch] = collections.deque()
        self._bytes = 0
        self._sender: Optional[Sender] = None  # of the connection that the session uses
        self._is_closed = False
        self._keeps_sent = False
        self._copies: Copies[pb.ClientBatch] = Copies(largest_message)
        self.peer_takes_parts = False

    def attach(self, sender: Sender) -> None:
        """Sets the first connection."""
        with self._changed:
            self._sender = sender
            self._changed.notify_all()

    def keep_sent(self) -> None:
        """Numbers and keeps all later batches."""
        with self._changed:
            self._keeps_sent = True

    def acknowledge(self, number: int) -> None:
        """Forgets the batches up to this one, which the robot has received."""
        with self._changed:
            self._copies.acknowledge(number)

    def resume(self, sender: Sender, received: int) -> bool:
        """Continues on another connection after the last batch that the robot has received. Returns
        False if a later one is not kept any more, or that one was never sent."""
        with self._changed:
            if not self._copies.resume(received):
                return False
            self._sender = sender
            self._changed.notify_all()
        return True

    def end(self, sender: Sender) -> None:
        """Ends the requests of a connection."""
        with self._changed:
            sender.is_over = True
            self._changed.notify_all()

    def put(self, message: pb.ClientMessage, deadline: Optional[Deadline] = None) -> bool:
        """Waits for room until the deadline; returns False if there was none."""
        size = message.ByteSize()
        with self._changed:
            if deadline is not None and not self._changed.wait_for(
                    lambda: self._is_closed or self._bytes < self._most_waiting, deadline.left()):
                return False
            # All at once, since the parts of two messages must not be mixed.
            parts = [*_wire.in_parts(message)] if self.peer_takes_parts else [message]
            self._waiting.extend(pb.ClientBatch(messages=[part]) for part in parts)
            self._bytes += size
            self._changed.notify_all()
        return True

    def put_heartbeat(self, heartbeat: pb.Heartbeat, only_if_empty: bool = False) -> None:
        """Puts it before all that waits, or nothing if something does."""
        with self._changed:
            if only_if_empty and (self._waiting or self._copies.has_repeated):
                return
            batch = pb.ClientBatch(messages=[pb.ClientMessage(heartbeat=heartbeat)])
            self._waiting.appendleft(batch)
            self._bytes += batch.ByteSize()
            self._changed.notify_all()

    def close(self) -> None:
        """Ends the sending side after all that waits."""
        with self._changed:
            self._is_closed = True
            self._changed.notify_all()

    def discard(self) -> None:
        with self._changed:
            self._waiting.clear()
            self._copies.clear()
            self._is_closed = True
            self._changed.notify_all()

    def take(self, sender: Sender) -> Optional[pb.ClientBatch]:
        """Waits for the next batch of a connection; None at its end."""
        with self._changed:
            self._changed.wait_for(lambda: sender.is_over or (self._sender is sender and (
                self._copies.has_repeated or self._waiting or self._is_closed)))
            if sender.is_over:
                return None
            repeated = self._copies.take_repeated()
            if repeated is not None or not self._waiting:
                return repeated
            batch = self._waiting.popleft()
            self._bytes = max(0, self._bytes - batch.ByteSize()) if self._waiting else 0
            if self._keeps_sent and not batch.messages[0].HasField("heartbeat"):
                self._copies.add(batch)
            self._changed.notify_all()
            return batch
