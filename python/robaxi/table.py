"""A robot's values: the table behind its module KVMemory (docs/memory.md)."""

from __future__ import annotations

import collections
import copy
import math
import secrets
import threading
from typing import (Any, Callable, Dict, Iterator, List, Mapping, MutableMapping, NamedTuple,
                    Optional, Set, Tuple)

from . import _wire
from ._wire import TimedValue
from .errors import Cause, Error, NoSuchKey, text_of
from .v1 import robaxi_pb2 as pb

WriteHandler = Callable[[Any], object]


class Entry:
    """A key with its newest value."""

    def __init__(self, key_id: int, name: str, value: Any, unit: str, description: str,
                 limits: Optional[Tuple[float, float]], writable: bool,
                 on_write: Optional[WriteHandler]) -> None:
        self.id = key_id
        self.name = name
        self.value = value
        self.unit = unit
        self.description = description
        self.limits = limits
        self.writable = writable
        self.on_write = on_write
        self.writing = threading.RLock()
        self.time = 0
        self.version = 0

    def to_message(self) -> pb.Key:
        return pb.Key(id=self.id, name=self.name, unit=self.unit, description=self.description,
                      type=_wire.type_of(self.value), writable=self.writable,
                      range=_wire.to_range(self.limits))

    def refuse(self, reason: str) -> Error:
        return Error(Cause.RAISED_BY_MODULE, f"{self.name} was not changed: {reason}")

    def fit(self, value: Any) -> Any:
        """Returns a value from a client as the key takes it. Raises Error."""
        if not self.writable:
            raise Error(Cause.RAISED_BY_MODULE, f"The key {self.name} is only for reading.")
        if type(self.value) is float and type(value) is int:
            value = float(value)
        elif self.value is not None and type(value) is not type(self.value):
            raise Error(Cause.WRONG_TYPE,
                        f"The key {self.name} is of type {_type_name(self.value)}; it cannot be "
                        f"set to a value of type {_type_name(value)}.")
        if self.limits is not None:
            self._check_limits(value, *self.limits)
        return value

    def _check_limits(self, value: Any, lowest: float, highest: float) -> None:
        if value is None or isinstance(value, bool):
            return
        size = value
        unit = f" {self.unit}" if self.unit else ""
        if isinstance(value, str):
            size, unit = len(_wire.encode_text(value)), " bytes"
        elif isinstance(value, (bytes, list, dict)):
            size, unit = len(value), " bytes" if isinstance(value, bytes) else " elements"
        # Written so that NaN is refused.
        if not lowest <= size <= highest:
            interval = f"{lowest:g} to {highest:g}"
            if math.isinf(highest):
                interval = f"at least {lowest:g}"
            elif math.isinf(lowest):
                interval = f"at most {highest:g}"
            raise self.refuse(f"it accepts {interval}{unit}, not {size:g}.")


class Known:
    """What a client knows of a table."""

    def __init__(self) -> None:
        self.ids: Set[int] = set()
        self.keys_version = -1
        self.version = 0


class Batch(NamedTuple):
    """The difference between a table and what a client knows of it."""

    removed: List[int]
    added: List[Entry]
    values: List[TimedValue]


class Table(MutableMapping[str, Any]):
    """The values of a robot: a mapping of keys to values, which clients read, write and watch.

    All operations may be called on any thread. `table[key] = value` sets a key that was added
    before; an equal value is not a change.
    """

    def __init__(self) -> None:
        #: Identifies the table for clients that continue a subscription.
        self.id = secrets.randbits(64) or 1
        self._lock = threading.RLock()
        # In the order of their last changes.
        self._entries: collections.OrderedDict[str, Entry] = collections.OrderedDict()
        self._order: Dict[str, Entry] = {}  # in that of their addition
        self._last_id = 0
        self._version = 0
        self._keys_version = 0
        self._observers: Set[Callable[[], None]] = set()

    def add(self, name: str, value: Any = None, *, unit: str = "", description: str = "",
            limits: Optional[Tuple[float, float]] = None, writable: bool = False,
            on_write: Optional[WriteHandler] = None) -> None:
        """Adds a key.

        With `writable` or `on_write` clients can write it. `limits` are then the lowest and highest
        number, or number of bytes or elements; `math.inf` stands for none. `on_write` receives a
        checked value before it is set, on a thread of the server; it refuses the value by raising
        an exception, whose text the client receives.
        """
        _wire.check_text("The name of a key", name)
        _wire.check_text(f"The unit of the key {name}", unit)
        _wire.check_text(f"The description of the key {name}", description)
        value = _normal(value)
        if limits is not None:
            _check_range(name, limits)
        with self._lock:
            if not name or name in self._entries:
                raise Error(Cause.INVALID_ARGUMENT, f"There is already a key named {name}."
                            if name else "A key needs a name.")
            self._last_id += 1
            entry = Entry(self._last_id, name, value, unit, description, limits,
                          writable or on_write is not None, on_write)
            self._entries[name] = self._order[name] = entry
            self._keys_version += 1
            self._touch([entry], _wire.to_time(None))

    def set_all(self, values: Mapping[str, Any], time_stamp: Optional[float] = None) -> None:
        """Sets several keys with one time stamp, in seconds since 1970; by default now.

        Sets none if there is no key of one of the names, or one of the values cannot be sent.
        """
        time = _wire.to_time(time_stamp)
        normal = {name: _normal(value) for name, value in values.items()}
        with self._lock:
            entries = [(self._find(name), value) for name, value in normal.items()]
            changed = []
            for entry, value in entries:
                if not _is_same(entry.value, value):
                    entry.value = value
                    changed.append(entry)
            self._touch(changed, time)

    def write(self, name: str, value: Any) -> None:
        """Sets a key as a client does: checks it, and calls its handler."""
        with self._lock:
            entry = self._find(name)
        # The last value that the handler has received is that of the key.
        with entry.writing:
            with self._lock:
                value = entry.fit(value)
            if entry.on_write is not None:
                try:
                    entry.on_write(value)
                except Error:
                    raise
                except Exception as error:
                    raise Error(Cause.RAISED_BY_MODULE, text_of(error)) from error
            self[name] = value

    @property
    def watchers(self) -> int:
        """Number of subscriptions of programs."""
        return len(self._observers)

    def names(self, prefix: str = "") -> List[str]:
        with self._lock:
            return [name for name in self._order if name.startswith(prefix)]

    def __getitem__(self, name: str) -> Any:
        """A copy of the value: what is changed in a list or dict is no change of the key."""
        with self._lock:
            return copy.deepcopy(self._find(name).value)

    def __setitem__(self, name: str, value: Any) -> None:
        self.set_all({name: value})

    def __delitem__(self, name: str) -> None:
        with self._lock:
            self._find(name)
            del self._entries[name], self._order[name]
            self._keys_version += 1
            self._tell()

    def __iter__(self) -> Iterator[str]:
        return iter(self.names())

    def __len__(self) -> int:
        with self._lock:
            return len(self._order)

    # --- For subscriptions ---

    def observe(self, observer: Callable[[], None]) -> None:
        """Calls `observer` after each change, with a lock held."""
        with self._lock:
            self._observers.add(observer)

    def forget(self, observer: Callable[[], None]) -> None:
        with self._lock:
            self._observers.discard(observer)

    def ids(self) -> Set[int]:
        """The identifiers of the present keys."""
        with self._lock:
            return {entry.id for entry in self._order.values()}

    def changes(self, known: Known, chosen: Optional[Set[int]], fresh: Set[int]) -> Batch:
        """What a client does not know: keys that were added and removed, and the values of the
        chosen keys (all for None) that have changed, or that are freshly chosen."""
        with self._lock:
            removed: List[int] = []
            added: List[Entry] = []
            if known.keys_version != self._keys_version:
                current = self.ids()
                removed = sorted(known.ids - current)
                added = [entry for entry in self._order.values() if entry.id not in known.ids]
                known.ids, known.keys_version = current, self._keys_version
            values = []
            for entry in reversed(self._entries.values()):
                if entry.version <= known.version and not fresh:
                    break
                if (chosen is None or entry.id in chosen) and (
                        entry.version > known.version or entry.id in fresh):
                    values.append(TimedValue(entry.id, entry.value, entry.time))
            values.reverse()
            known.version = self._version
            return Batch(removed, added, values)

    def known_to(self, client: pb.KnownState) -> Known:
        """What a client knows that continues a subscription to this table."""
        with self._lock:
            known = Known()
            known.ids = {entry.id for entry in self._order.values() if entry.id <= client.last_key}
            known.version = client.position if client.position <= self._version else 0
            return known

    def _find(self, name: str) -> Entry:
        entry = self._entries.get(name)
        if entry is None:
            raise NoSuchKey(f"There is no key named {name}.")
        return entry

    def _touch(self, entries: List[Entry], time: int) -> None:
        if not entries:
            return
        self._version += 1
        for entry in entries:
            entry.time = time
            entry.version = self._version
            self._entries.move_to_end(entry.name)
        self._tell()

    def _tell(self) -> None:
        for observer in self._observers:
            observer()


def _type_name(value: Any) -> str:
    return _wire.type_name(_wire.type_of(value))


def _check_range(name: str, limits: Tuple[float, float]) -> None:
    try:
        is_empty = not limits[0] <= limits[1]
        _wire.to_range(limits)
    except (TypeError, ValueError, OverflowError, LookupError):
        raise Error(Cause.INVALID_ARGUMENT,
                    f"The limits of the key {name} are two numbers.") from None
    if is_empty:
        raise Error(Cause.INVALID_ARGUMENT, f"The range of the key {name} is empty.")


def _normal(value: Any) -> Any:
    """A copy of a value, of the types that from_value() returns. Raises Error INVALID_ARGUMENT for
    one that cannot be sent."""
    if value is None or type(value) in (bool, float, bytes):
        return value
    if type(value) is str and _wire.is_utf8(value):
        return value
    return _wire.from_value(_wire.to_value(value))


def _is_same(left: Any, right: Any) -> bool:
    if type(left) is not type(right):
        return False
    if isinstance(left, float):
        return left == right or (math.isnan(left) and math.isnan(right))
    if isinstance(left, (list, dict)):
        return bool(_wire.to_value(left) == _wire.to_value(right))
    return bool(left == right)
