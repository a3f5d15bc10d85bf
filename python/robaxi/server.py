"""A robot: modules, values and cameras that programs can reach."""

from __future__ import annotations

import asyncio
import atexit
import errno
import pathlib
import socket
import sys
import threading
from typing import Any, Dict, List, Optional, Sequence, Tuple, Union

import grpc
import grpc.aio

from . import _wire
from ._announcer import Announcer
from ._icon import IconServer
from ._service import Service
from ._generic import handlers
from ._target import DEFAULT_PORT, check_port
from .discovery import ROBAX, ROBAXI
from .errors import Cause, Error, describe
from .module import Module
from .settings import Settings, read_file, read_token
from .table import Table
from .video import CameraSource, Mode, SettingsHandler, descriptions

_LARGEST_ICON = 512 << 10  # bytes that programs accept


class Server:
    """A robot. Build it, then start() it, or use it in a `with` statement.

    Modules, keys and cameras may be added before and after the start, on any thread.
    """

    def __init__(self, name: str, *, address: str = "0.0.0.0", port: int = DEFAULT_PORT,
                 icon: Union[str, pathlib.Path, bytes, None] = None, http_port: int = 80,
                 announce: bool = True, settings: Optional[Settings] = None) -> None:
        """
        `name` is announced and shown to programs. `address` is an address of this computer,
        by default all; `port` 0 is any free one. `icon` is a PNG, JPEG or GIF picture, or a file
        with one, which is served over HTTP on `http_port`. `settings` are by default the user's
        (robaxi.conf and the environment).
        """
        if not name:
            raise Error(Cause.INVALID_ARGUMENT, "A robot needs a name.")
        self.name = _wire.check_text("The name of a robot", name)
        self._address = address
        self._wanted_port = port
        self._icon = icon if icon is None or isinstance(icon, bytes) else \
            pathlib.Path(icon).read_bytes()
        if self._icon is not None and len(self._icon) > _LARGEST_ICON:
            raise Error(Cause.TOO_LARGE, "The icon is larger than 512 KiB.")
        self._wanted_http_port = http_port
        self._announces = announce
        self._settings = Settings.load() if settings is None else settings
        self._settings.check()
        self._lock = threading.RLock()  # guards what modules and cameras there are
        self._stopping = threading.RLock()  # held until the server has stopped
        self._modules: Dict[str, Module] = {}
        self._memory: Optional[Table] = None
        self._cameras: Optional[Module] = None
        self._thread: Optional[threading.Thread] = None
        self._loop: Optional[asyncio.AbstractEventLoop] = None
        self._end: Optional[asyncio.Event] = None
        self._announcer: Optional[Announcer] = None
        #: The port on which the middleware listens, after the start.
        self.port = 0
        #: The port of the icon, after the start; 0 without an icon.
        self.http_port = 0

    # --- Content ---

    def module(self, name: str, description: str = "") -> Module:
        """Adds a module, to which methods can be bound with its decorator `method`."""
        module = Module(name, description)
        with self._lock:
            if name in self._modules:
                raise Error(Cause.INVALID_ARGUMENT, f"There is already a module {name}.")
            if len(self._modules) >= self._settings.limits.modules:
                raise Error(Cause.TOO_MANY, "There are too many modules.")
            self._modules[name] = module
        return module

    @property
    def memory(self) -> Table:
        """The values of the module KVMemory, which is added when they are used first."""
        with self._lock:
            return self._memory_table()

    def add_camera(self, name: str, width: int = 320, height: int = 240, format: str = "rgb",
                   rate: float = 15.0, *, modes: Optional[Sequence[Mode]] = None,
                   description: str = "",
                   on_settings: Optional[SettingsHandler] = None) -> CameraSource:
        """Adds a camera to the module KVVideo.

        It has one mode, or those of `modes`, and begins with the first. `on_settings` receives new
        settings, a dict of width, height, format and rate, before they apply; it refuses them by
        raising an exception.
        """
        camera = CameraSource(name, modes or [Mode(width, height, [format], [rate])], description,
                              on_settings, self._settings.limits.frame)
        with self._lock:
            module = self._video_module()
            if name in module.cameras:
                raise Error(Cause.INVALID_ARGUMENT, f"There is already a camera {name}.")
            module.cameras[name] = camera
        return camera

    def remove_camera(self, name: str) -> None:
        """Removes a camera and ends its streams."""
        with self._lock:
            camera = self._video_module().cameras.pop(name, None)
        if camera is None:
            raise Error(Cause.INVALID_ARGUMENT, f"There is no camera {name}.")
        camera.remove()

    # --- Life ---

    def start(self) -> None:
        """Listens, and announces the robot. Raises Error."""
        if self._thread is not None:
            raise Error(Cause.INVALID_ARGUMENT, "The server was started before.")
        failures: List[BaseException] = []
        is_ready = threading.Event()

        def run() -> None:
            try:
                asyncio.run(self._serve(is_ready))
            except BaseException as error:
                failures.append(error)
            is_ready.set()

        # The interpreter must not end while gRPC's loop runs.
        atexit.register(self.stop)
        self._thread = threading.Thread(target=run, daemon=True, name="robaxi-serve")
        self._thread.start()
        is_ready.wait()
        if failures:
            self._thread.join()
            self._thread = None
            raise failures[0]
        if self._announces:
            services = [(ROBAXI, self.port), (ROBAX, self.http_port or DEFAULT_PORT)]
            self._announcer = Announcer(self.name, services)

    def stop(self) -> None:
        """Withdraws the announcement and ends all sessions.

        A running method is not stopped, and the end of the program waits for it.
        """
        with self._stopping:
            if self._announcer is not None:
                self._announcer.close()
                self._announcer = None
            if self._thread is not None and self._loop is not None and self._end is not None:
                self._loop.call_soon_threadsafe(self._end.set)
                self._thread.join()
                self._thread = None
            atexit.unregister(self.stop)

    def wait(self) -> None:
        """Waits until the server is stopped by another thread, or the user presses Ctrl-C."""
        try:
            thread = self._thread
            while thread is not None and thread.is_alive():
                thread.join(1)
        except KeyboardInterrupt:
            pass

    def __enter__(self) -> Server:
        self.start()
        return self

    def __exit__(self, *_: object) -> None:
        self.stop()

    def _memory_table(self) -> Table:
        if self._memory is None:
            table = Table()
            module = self.module("KVMemory", "The robot's values.")
            module.table = self._memory = table

            @module.method
            def getData(key: str) -> Any:
                """The newest value of a key."""
                return table[key]

            @module.method
            def setData(key: str, value: Any) -> None:
                """Sets a key that can be written."""
                table.write(key, value)

            @module.method
            def getDataList(prefix: str) -> List[str]:
                """The names of the keys that start with a text; all for an empty one."""
                return table.names(prefix)

        return self._memory

    def _video_module(self) -> Module:
        if self._cameras is None:
            module = self._cameras = self.module("KVVideo", "The robot's cameras.")
            module.has_frames = True

            def find(name: str) -> CameraSource:
                camera = module.cameras.get(name)
                if camera is None:
                    raise Error(Cause.INVALID_ARGUMENT,
                                f"The robot has no camera '{name[:100]}'.")
                return camera

            @module.method
            def getCameras() -> List[Dict[str, Any]]:
                """The cameras: name, description, modes and current settings of each."""
                return descriptions(module.cameras)

            @module.method
            def getSettings(camera: str) -> Dict[str, Any]:
                """A camera's width, height, format and rate."""
                return find(camera).settings

            @module.method
            def setSettings(camera: str, settings: Dict[str, Any]) -> Dict[str, Any]:
                """Changes what is named; says what the camera supports when it refuses."""
                return find(camera).change(settings)

        return self._cameras

    async def _serve(self, is_ready: threading.Event) -> None:
        self._loop = asyncio.get_running_loop()
        self._end = asyncio.Event()
        credentials, token = self._security()
        service = Service(self.name, self._modules, self._settings, token)
        options = _wire.options(self._settings.limits, is_robot=True) + [("grpc.so_reuseport", 0)]
        icon = None
        server = grpc.aio.server(options=options)
        try:
            server.add_generic_rpc_handlers([service.handler(), *handlers(service)])
            self.port = self._listen(server, credentials)
            await server.start()
            icon = await self._serve_icon()
            is_ready.set()
            await self._end.wait()
        finally:
            if icon is not None:
                icon.close()
            service.close()
            await server.stop(None)

    def _security(self) -> Tuple[Any, bytes]:
        """The credentials, None without TLS, and the token."""
        settings = self._settings.server
        if bool(settings.certificate) != bool(settings.key):
            raise Error(Cause.INVALID_ARGUMENT, "Certificate and key are only of use together.")
        credentials = None
        if settings.certificate:
            credentials = grpc.ssl_server_credentials(
                [(read_file(settings.key), read_file(settings.certificate))])
        if not settings.token:
            return credentials, b""
        if credentials is None and not settings.plain_token:
            raise Error(Cause.INVALID_ARGUMENT,
                        "A token needs certificate and key, or everybody on the network can read "
                        "it (plain-token = yes allows that).")
        return credentials, read_token(settings.token)

    def _listen(self, server: Any, credentials: Any) -> int:
        place = f"[{self._address}]" if ":" in self._address else self._address
        place = f"{place}:{self._wanted_port}"
        self._check_place()
        try:
            port = int(server.add_insecure_port(place) if credentials is None
                       else server.add_secure_port(place, credentials))
        except RuntimeError:
            port = 0
        if port == 0:
            raise self._cannot_listen(Cause.CANNOT_LISTEN)
        return port

    def _check_place(self) -> None:
        """gRPC does not report why it cannot listen."""
        for wanted in [self._wanted_port, self._wanted_http_port]:
            if wanted != 0:  # which is any free one
                check_port(wanted)
        family = socket.AF_INET6 if ":" in self._address else socket.AF_INET
        try:
            with socket.socket(family) as probe:
                probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                probe.bind((self._address, self._wanted_port))
        except OSError as error:
            raise self._cannot_listen(
                Cause.ADDRESS_IN_USE if error.errno == errno.EADDRINUSE else Cause.CANNOT_LISTEN,
                error) from None

    def _cannot_listen(self, cause: Cause, error: Optional[OSError] = None) -> Error:
        advice = "Choose another port, or end that program." if cause == Cause.ADDRESS_IN_USE \
            else "Choose an address of this computer and a port that this user may open."
        detail = "" if error is None or cause == Cause.ADDRESS_IN_USE else error.strerror or ""
        return describe(f"Cannot listen on {self._address} port {self._wanted_port}", cause,
                        detail, advice)

    async def _serve_icon(self) -> Optional[IconServer]:
        if self._icon is None:
            return None
        icon = IconServer(self._icon)
        try:
            self.http_port = await icon.start(self._address, self._wanted_http_port)
        except OSError as error:
            print(f"{self.name}: no icon, port {self._wanted_http_port} cannot be used: "
                  f"{error.strerror}", file=sys.stderr)
            return None
        return icon
