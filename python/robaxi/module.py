"""Modules of a robot: methods that programs can call."""

from __future__ import annotations

import inspect
import threading
import typing
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Tuple, TypeVar

from . import _wire
from ._wire import MethodInfo, ModuleInfo
from .errors import Cause, Error, text_of
from .table import Table
from .video import CameraSource

_TYPES: Dict[Any, str] = {
    type(None): "nothing", bool: "bool", int: "int", float: "float", str: "string",
    bytes: "binary", list: "list", tuple: "list", dict: "map",
}

Function = TypeVar("Function", bound=Callable[..., Any])


class _Method(NamedTuple):
    function: Callable[..., Any]
    info: MethodInfo
    types: List[Optional[type]]  # of the arguments; None for any
    required: int


class Module:
    """A module of this robot. Methods run on up to eight threads of the server."""

    def __init__(self, name: str, description: str = "") -> None:
        if not name:
            raise Error(Cause.INVALID_ARGUMENT, "A module needs a name.")
        self.name = _wire.check_text("The name of a module", name)
        self.description = _wire.check_text(f"The description of the module {name}", description)
        self.table: Optional[Table] = None
        self.cameras: Dict[str, CameraSource] = {}
        self.has_frames = False
        self._lock = threading.Lock()
        self._methods: Dict[str, _Method] = {}

    def method(self, function: Function) -> Function:
        """Binds a method; usable as a decorator.

        The function's name, parameters, annotations and the first line of its docstring describe
        it. Arguments are checked against annotations of the types bool, int, float, str, bytes,
        list and dict; an int is accepted for a float, and any type without an annotation. An
        exception reaches the caller with its text.
        """
        self.bind(function.__name__, function)
        return function

    def bind(self, name: str, function: Callable[..., Any]) -> None:
        """Binds a method under a name."""
        if not name:
            raise Error(Cause.INVALID_ARGUMENT, "A method needs a name.")
        _wire.check_text("The name of a method", name)
        if not callable(function) or inspect.iscoroutinefunction(function):
            raise Error(Cause.INVALID_ARGUMENT, f"The method {name} must be a function, and not a "
                        "coroutine, since methods run on threads.")
        is_function = inspect.isroutine(function)  # others are objects without annotations
        hints = typing.get_type_hints(function) if is_function else {}
        types: List[Optional[type]] = []
        shown: List[str] = []
        required = 0
        try:
            parameters = inspect.signature(function).parameters.values()
        except ValueError:  # of some that are written in C
            raise Error(Cause.INVALID_ARGUMENT, f"The parameters of the method {name} are not "
                        "known: bind a function that calls it.") from None
        for parameter in parameters:
            if parameter.kind not in (parameter.POSITIONAL_ONLY, parameter.POSITIONAL_OR_KEYWORD):
                raise Error(Cause.INVALID_ARGUMENT, f"The method {name} may have positional "
                            "parameters only.")
            kind = _plain(hints.get(parameter.name))
            types.append(kind)
            shown.append(parameter.name + (f": {_TYPES[kind]}" if kind else ""))
            required += parameter.default is parameter.empty
        returned = _plain(hints.get("return"))
        signature = f"{name}({', '.join(shown)})"
        if returned not in (None, type(None)):
            signature += f" -> {_TYPES[returned]}"
        description = _wire.check_text(f"The description of the method {name}",
                                       (inspect.getdoc(function) or "").partition("\n")[0])
        with self._lock:
            self._methods[name] = _Method(function, MethodInfo(name, signature, description),
                                          types, required)

    def describe(self) -> ModuleInfo:
        with self._lock:
            return ModuleInfo(self.name, self.description,
                              [method.info for method in self._methods.values()],
                              self.table is not None, self.has_frames)

    def run(self, name: str, arguments: List[Any]) -> Tuple[Any, Optional[Error], bool]:
        """Runs a method. Returns its result or error, and true if the method raised the error."""
        with self._lock:
            method = self._methods.get(name)
        if method is None:
            return None, Error(Cause.NO_SUCH_METHOD, f"{self.name} has no method {name}"), False
        wrong = _mismatch(method, arguments)
        if wrong:
            return None, Error(Cause.WRONG_ARGUMENTS, wrong), False
        fitted = [float(one) if kind is float else one
                  for one, kind in zip(arguments, method.types)]
        try:
            return method.function(*fitted), None, True
        except Error as error:
            return None, error, True
        except Exception as error:
            return None, Error(Cause.RAISED_BY_MODULE, text_of(error)), True


def _plain(hint: Any) -> Any:
    """The type of an annotation that is checked, or None."""
    kind = typing.get_origin(hint) or hint
    return kind if kind in _TYPES else None


def _mismatch(method: _Method, arguments: List[Any]) -> str:
    signature = method.info.signature
    if not method.required <= len(arguments) <= len(method.types):
        return f"{signature} does not take {len(arguments)} arguments"
    for number, (argument, kind) in enumerate(zip(arguments, method.types), 1):
        if kind is None or type(argument) is kind or (kind is float and type(argument) is int) or \
                (kind is tuple and type(argument) is list):
            continue
        return f"argument {number} of {signature} is of type {_TYPES[type(argument)]}"
    return ""
