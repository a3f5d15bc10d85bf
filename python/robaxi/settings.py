"""The user's settings for security and limits: robaxi.conf and the environment."""

from __future__ import annotations

import copy
import dataclasses
import os
import stat
from typing import Any, Callable, Dict, List, Mapping, NoReturn, Optional, Tuple

from .errors import Cause, Error

_LONGEST_TOKEN = 1024


@dataclasses.dataclass
class ServerSettings:
    """Settings of a robot. Security is off unless it is configured here."""

    certificate: str = ""  #: PEM file; with `key` the robot accepts only TLS
    key: str = ""  #: PEM file
    token: str = ""  #: file with one line, the token that every program must know
    plain_token: bool = False  #: requires the token without TLS, too


@dataclasses.dataclass
class Access:
    """Settings for connecting to a robot."""

    tls: bool = False
    trust: str = ""  #: PEM file of the certificates of which one must have signed the robot's
    name: str = ""  #: name in the robot's certificate; empty: the address as the program wrote it
    token: str = ""  #: file with the robot's token
    plain_token: bool = False  #: sends the token without TLS, too


@dataclasses.dataclass
class Limits:
    """Limits; settings out of range are refused."""

    message: int = 16 << 20  #: bytes of a call, a result or a value
    frame: int = 64 << 20  #: bytes of a camera's frame
    depth: int = 64  #: nesting of lists and maps
    modules: int = 256
    sessions: int = 256
    sessions_of_address: int = 128
    subscriptions: int = 64
    cameras: int = 16
    keys: int = 1_000_000
    heartbeat: int = 250  #: milliseconds between heartbeats
    loss: int = 1500  #: milliseconds without any received message after which a robot is silent
    silence: int = 10_000  #: milliseconds of silence after which it is lost

    @property
    def longest_silence(self) -> int:
        """Milliseconds of silence after which a session that can be resumed ends."""
        return max(self.silence, self.loss)


def periods(milliseconds: int, period: int) -> int:
    """The number of periods of that many milliseconds, rounded up."""
    return -(-milliseconds // period)


_Set = Callable[[str], None]
# Key in the file, environment variable, and what sets the field.
_Field = Tuple[str, str, _Set]

_COUNT = (1, 1_000_000_000)
_LIMITS: Dict[str, Tuple[str, Tuple[int, int]]] = {
    "message": ("ROBAXI_LIMIT_MESSAGE", (64 << 10, 256 << 20)),
    "frame": ("ROBAXI_LIMIT_FRAME", (64 << 10, 64 << 20)),
    "depth": ("ROBAXI_LIMIT_DEPTH", (1, 64)),
    "modules": ("ROBAXI_LIMIT_MODULES", _COUNT),
    "sessions": ("ROBAXI_LIMIT_SESSIONS", _COUNT),
    "sessions-of-address": ("ROBAXI_LIMIT_SESSIONS_OF_ADDRESS", _COUNT),
    "subscriptions": ("ROBAXI_LIMIT_SUBSCRIPTIONS", _COUNT),
    "cameras": ("ROBAXI_LIMIT_CAMERAS", _COUNT),
    "keys": ("ROBAXI_LIMIT_KEYS", _COUNT),
    "heartbeat": ("ROBAXI_HEARTBEAT", (20, 60_000)),
    "loss": ("ROBAXI_LOSS", (40, 600_000)),
    "silence": ("ROBAXI_SILENCE", (2_000, 120_000)),
}


class _Unusable(Exception):
    """The reason for which a text cannot be the value of a setting."""


def _path(target: Any, field: str, folder: str) -> _Set:
    def set_path(text: str) -> None:
        if text.startswith("~/"):
            text = os.environ.get("HOME", "") + text[1:]
        elif text and not text.startswith("/"):
            text = f"{folder}/{text}"
        setattr(target, field, text)
    return set_path


def _bool(target: Any, field: str) -> _Set:
    def set_bool(text: str) -> None:
        if text not in ("yes", "no"):
            raise _Unusable(f'is yes or no, not "{text}"')
        setattr(target, field, text == "yes")
    return set_bool


def _number(target: Any, field: str, least: int, most: int) -> _Set:
    def set_number(text: str) -> None:
        if not (text.isascii() and text.isdigit()) or not least <= int(text[:20]) <= most:
            raise _Unusable(f'is a number from {least} to {most}, not "{text}"')
        setattr(target, field, int(text))
    return set_number


def _server_fields(server: ServerSettings, folder: str) -> List[_Field]:
    return [
        ("certificate", "ROBAXI_SERVER_CERTIFICATE", _path(server, "certificate", folder)),
        ("key", "ROBAXI_SERVER_KEY", _path(server, "key", folder)),
        ("token", "ROBAXI_SERVER_TOKEN", _path(server, "token", folder)),
        ("plain-token", "ROBAXI_SERVER_PLAIN_TOKEN", _bool(server, "plain_token")),
    ]


def _access_fields(access: Access, folder: str) -> List[_Field]:
    set_path = _path(access, "trust", folder)

    def set_trust(text: str) -> None:
        set_path(text)
        access.tls = bool(access.trust)

    def set_name(text: str) -> None:
        access.name = text

    return [
        ("trust", "ROBAXI_TRUST", set_trust),
        ("tls", "ROBAXI_TLS", _bool(access, "tls")),  # after trust, which enables it
        ("name", "ROBAXI_NAME", set_name),
        ("token", "ROBAXI_TOKEN", _path(access, "token", folder)),
        ("plain-token", "ROBAXI_PLAIN_TOKEN", _bool(access, "plain_token")),
    ]


def _limit_fields(limits: Limits) -> List[_Field]:
    return [(key, variable, _number(limits, key.replace("-", "_"), least, most))
            for key, (variable, (least, most)) in _LIMITS.items()]


class _File:
    """A configuration file: sections of settings, with the lines on which they are."""

    def __init__(self, file: str) -> None:
        self._file = file
        self._sections: Dict[str, Dict[str, Tuple[str, int]]] = {}
        self._lines: Dict[str, int] = {}  # on which the sections begin
        try:
            with open(file, encoding="utf-8", errors="surrogateescape") as stream:
                self._read(stream.read())
        except OSError:
            self._fail(0, "it cannot be read")

    def apply_to(self, settings: Settings) -> None:
        folder = os.path.dirname(self._file) or "."
        self._apply("robots", _access_fields(settings.access, folder))
        for section, content in self._sections.items():
            if not content:
                continue
            if section.startswith("robot:"):
                access = copy.copy(settings.access)
                settings.robots[section[len("robot:"):].strip()] = access
                self._apply(section, _access_fields(access, folder))
            elif section == "server":
                self._apply(section, _server_fields(settings.server, folder))
            elif section == "limits":
                self._apply(section, _limit_fields(settings.limits))
            elif section != "robots":
                self._fail(self._lines[section], f"there is no section named {section}")

    def _read(self, text: str) -> None:
        section = ""
        for number, line in enumerate(text.split("\n"), 1):
            line = line.strip(" \t\r")
            if not line or line[0] in ";#":
                continue
            if line[0] == "[":
                section = line[1:].partition("]")[0].strip()
                if "]" not in line:
                    self._fail(number, "the section's name does not end")
                if self._sections.get(section):
                    self._fail(number, f"there is already a section named {section}")
                self._sections[section] = {}
                self._lines[section] = number
                continue
            key, equals, value = (part.strip(" \t") for part in line.partition("="))
            if not equals:
                self._fail(number, "'=' is missing")
            if not section:
                self._fail(number, f"{key} is outside any section")
            if key in self._sections[section]:
                self._fail(number, f"{key} is set twice")
            self._sections[section][key] = value, number

    def _apply(self, section: str, fields: List[_Field]) -> None:
        content = self._sections.get(section, {})
        known = {key for key, _, _ in fields}
        for key, (_, line) in content.items():
            if key not in known:
                self._fail(line, f"there is no setting {key} in a section {section}")
        for key, _, set_field in fields:
            if key in content:
                value, line = content[key]
                try:
                    set_field(value)
                except _Unusable as unusable:
                    self._fail(line, f"{key} {unusable}")

    def _fail(self, line: int, what: str) -> NoReturn:
        where = f"The configuration file {self._file}" + (f", line {line}" if line else "")
        raise Error(Cause.INVALID_ARGUMENT, f"{where}: {what}.")


def _apply_environment(fields: List[_Field], environment: Mapping[str, str]) -> None:
    for _, variable, set_field in fields:
        if variable in environment:
            try:
                set_field(environment[variable])
            except _Unusable as unusable:
                raise Error(Cause.INVALID_ARGUMENT,
                            f"The environment variable {variable} {unusable}.") from None


@dataclasses.dataclass
class Settings:
    """Security and limits of a program or robot, with the meanings of robaxi.conf."""

    server: ServerSettings = dataclasses.field(default_factory=ServerSettings)
    access: Access = dataclasses.field(default_factory=Access)  #: robots that are not in `robots`
    robots: Dict[str, Access] = dataclasses.field(default_factory=dict)
    limits: Limits = dataclasses.field(default_factory=Limits)

    @staticmethod
    def load(file: Optional[str] = None) -> Settings:
        """Loads a file alone or, without one, the user's file overridden by the environment.

        Raises Error INVALID_ARGUMENT with a text that names file and line, or the variable.
        """
        settings = Settings()
        if file is not None:
            _File(file).apply_to(settings)
        else:
            settings._load_users(os.environ)
        settings.check()
        return settings

    def check(self) -> None:
        """Raises Error INVALID_ARGUMENT if settings contradict each other."""
        if self.limits.loss < 2 * self.limits.heartbeat:
            raise Error(Cause.INVALID_ARGUMENT, "The limit loss is at least two heartbeats.")
        for name, access in [("robots", self.access),
                             *((f"the robot {name}", one) for name, one in self.robots.items())]:
            if access.tls and not access.trust:
                raise Error(Cause.INVALID_ARGUMENT,
                            f"TLS for {name} needs a certificate to trust.")

    def access_to(self, address: str, port: int) -> Access:
        """Returns the settings for a robot, by its address as the user wrote it."""
        for name in (f"[{address}]:{port}", f"{address}:{port}", address):
            if name in self.robots:
                return self.robots[name]
        return self.access

    def _load_users(self, environment: Mapping[str, str]) -> None:
        folder = environment.get("XDG_CONFIG_HOME", "")
        if not folder.startswith("/"):
            home = environment.get("HOME", "")
            folder = f"{home}/.config" if home else ""
        usual = f"{folder}/Quorvane Robotics/robaxi.conf"
        named = environment.get("ROBAXI_CONFIG", "")
        if named:
            _File(named).apply_to(self)
        elif folder and os.path.lexists(usual):
            _File(usual).apply_to(self)
        _apply_environment(_server_fields(self.server, "."), environment)
        for access in [self.access, *self.robots.values()]:
            _apply_environment(_access_fields(access, "."), environment)
        _apply_environment(_limit_fields(self.limits), environment)


def _fail(what: str) -> NoReturn:
    raise Error(Cause.INVALID_ARGUMENT, f"{what}. Check robaxi.conf and the environment.")


def read_file(file: str) -> bytes:
    """Returns the content of a file that the settings name."""
    try:
        with open(file, "rb") as stream:
            content = stream.read()
    except OSError:
        _fail(f"The file {file} cannot be read")
    if not content:
        _fail(f"The file {file} is empty")
    return content


def read_token(file: str) -> bytes:
    """Returns the token in a file, which only its owner may read."""
    try:
        with open(file, "rb") as stream:
            status = os.fstat(stream.fileno())
            content = stream.read(_LONGEST_TOKEN + 3)
    except OSError:
        _fail(f"The token's file {file} cannot be read")
    if status.st_mode & (stat.S_IRWXG | stat.S_IRWXO):
        _fail(f"The token's file {file} may be read or written by others; only its owner may "
              "(chmod 600)")
    if status.st_uid not in (os.geteuid(), 0):
        _fail(f"The token's file {file} belongs to another user")
    token = content.rstrip(b"\r\n")
    if not 0 < len(token) <= _LONGEST_TOKEN or any(byte < 32 or byte == 127 for byte in token):
        _fail(f"The token's file {file} does not hold one line of at most {_LONGEST_TOKEN} "
              "characters")
    return token
