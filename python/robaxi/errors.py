"""Errors of the middleware."""

from __future__ import annotations

import enum


class Cause(enum.IntEnum):
    """Reason of an `Error`, for programs."""

    INTERNAL = 0
    INVALID_ARGUMENT = 1
    NO_SUCH_MODULE = 2
    NO_SUCH_METHOD = 3
    WRONG_ARGUMENTS = 4
    RAISED_BY_MODULE = 5
    NOT_AUTHORISED = 6
    TOO_LARGE = 7
    WRONG_TYPE = 8
    CANCELLED = 9
    NAME_NOT_FOUND = 10
    NO_ROUTE = 11
    REFUSED = 12
    TIMED_OUT = 13
    PROTOCOL_VERSION = 14
    CONNECTION_LOST = 15
    ADDRESS_IN_USE = 16
    CANNOT_LISTEN = 17
    NO_SUCH_STREAM = 18
    NOT_TRUSTED = 19
    TOO_MANY = 20


class Error(Exception):
    """A failure: `cause` is for the program, `str(error)` is a sentence for the user.

    A method of a robot that fails raises it, too: with the cause RAISED_BY_MODULE, unless the
    method chose another.
    """

    def __init__(self, cause: Cause, text: str) -> None:
        super().__init__(cause, text)
        self.cause = cause
        self.text = text

    def __str__(self) -> str:
        return self.text


class NoSuchKey(Error, KeyError):
    """The robot has no key of that name."""

    def __init__(self, text: str) -> None:
        super().__init__(Cause.INVALID_ARGUMENT, text)

    def __str__(self) -> str:
        return self.text

    def __reduce__(self) -> "tuple[type[NoSuchKey], tuple[str]]":
        return NoSuchKey, (self.text,)


_REASONS = {
    Cause.INTERNAL: "an internal error happened",
    Cause.INVALID_ARGUMENT: "an argument is invalid",
    Cause.NAME_NOT_FOUND: "the name does not resolve to an address",
    Cause.NO_ROUTE: "there is no route to that address",
    Cause.REFUSED: "nothing listens on that port",
    Cause.TIMED_OUT: "no answer came in time",
    Cause.PROTOCOL_VERSION: "the program there does not speak this version of the Robaxi protocol",
    Cause.NO_SUCH_MODULE: "there is no module of that name",
    Cause.NO_SUCH_METHOD: "the module has no method of that name",
    Cause.WRONG_ARGUMENTS: "the arguments do not match the method",
    Cause.RAISED_BY_MODULE: "the module reported a failure without a reason",
    Cause.CONNECTION_LOST: "the connection is lost",
    Cause.NOT_AUTHORISED: "the robot refuses access",
    Cause.ADDRESS_IN_USE: "the port is in use by another program",
    Cause.CANNOT_LISTEN: "the address cannot be used",
    Cause.TOO_LARGE: "a message is larger than the limit",
    Cause.WRONG_TYPE: "a value is not of the requested type",
    Cause.CANCELLED: "it was cancelled",
    Cause.NO_SUCH_STREAM: "it has no camera of that name",
    Cause.NOT_TRUSTED: "the robot cannot be authenticated",
    Cause.TOO_MANY: "a limit of the robot is reached",
}

# The detail of these is usually a reason.
_DETAIL_IS_REASON = {
    Cause.INVALID_ARGUMENT, Cause.NO_SUCH_METHOD, Cause.WRONG_ARGUMENTS, Cause.RAISED_BY_MODULE,
    Cause.WRONG_TYPE, Cause.INTERNAL,
}

_ADVICE = {
    Cause.NAME_NOT_FOUND: "Check the spelling, or use the numeric address.",
    Cause.NO_ROUTE: "Check that this computer is on the robot's network.",
    Cause.REFUSED: "Check that the robot's middleware is running and that the port is right.",
    Cause.PROTOCOL_VERSION: "Check the port, and that robot and program are of matching versions.",
    Cause.NO_SUCH_MODULE: "Check the module's name, and that it is started on the robot.",
    Cause.NO_SUCH_STREAM: "Choose one of the cameras that it has now.",
    Cause.CONNECTION_LOST:
        "Check that the robot is still running and connected, then connect again.",
    Cause.NOT_AUTHORISED: "Ask the robot's owner for access.",
    Cause.NOT_TRUSTED: "Check trust and name for this robot in robaxi.conf, and that nobody "
                       "intercepts the connection.",
    Cause.TOO_MANY: "End what is not needed, or raise the robot's limit.",
    Cause.TOO_LARGE: "Send it in smaller parts.",
}


def text_of(error: Exception) -> str:
    """The text of an exception that a robot's author has raised, for the caller."""
    # That of a KeyError is only the key.
    return repr(error) if type(error) is KeyError else str(error) or repr(error)


def describe(attempt: str, cause: Cause, detail: str = "", advice: str = "") -> Error:
    """Returns an error whose sentence says what was tried, why it failed, and what to try next."""
    detail = detail[:-1] if detail.endswith(".") else detail
    reason = "" if detail and cause in _DETAIL_IS_REASON else _REASONS[cause]
    why = f"{reason} ({detail})" if reason and detail else reason or detail
    advice = advice or _ADVICE.get(cause, "")
    return Error(cause, f"{attempt}: {why}." + (f" {advice}" if advice else ""))


def describe_loss(place: str, detail: str = "") -> Error:
    """Returns the error for the loss of a connection to a robot."""
    why = f": {detail}" if detail else ""
    return Error(Cause.CONNECTION_LOST, f"The connection to {place} is lost{why}. "
                 f"{_ADVICE[Cause.CONNECTION_LOST]}")
