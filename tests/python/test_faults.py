"""Faults in a robot's or a program's own code: refused where its author sees them, or answered."""

import asyncio
import concurrent.futures
import fractions
import functools
import gc
import math
import os
import signal
import socket
import subprocess
import sys
import threading
import time

import pytest

import robaxi
from conftest import PATIENCE, error_of, eventually
from robaxi import Cause, Limits, Settings
from robaxi.v1 import robaxi_pb2 as pb
from scripted_robot import Script

LATIN1 = b"caf\xe9".decode("utf-8", "surrogateescape")
SURROGATE = "\ud800"  # unlike that of the text before, it stands for no byte

UNSENDABLE = {
    "text": SURROGATE, "list": [SURROGATE], "map": {SURROGATE: 1}, "keys": {1: 2},
    "int": 10**5000, "float": fractions.Fraction(10**400), "object": object(),
}


@pytest.mark.parametrize("value", UNSENDABLE.values(), ids=UNSENDABLE)
def test_a_value_that_cannot_be_sent_is_refused_at_once(serve, connect, value):
    server = serve()
    memory = server.memory
    memory.add("Robot/Note", "before", writable=True)
    robot = connect(server.port)
    with robot.memory.watch(rate=1000) as changes:
        assert next(changes).value == "before"
        for action in [lambda: memory.add("Robot/Other", value),
                       lambda: memory.set_all({"Robot/Note": value}),
                       lambda: robot.call("Echo", "echo", value),
                       lambda: robot.post("Echo", "echo", value),
                       lambda: robot.memory.__setitem__("Robot/Note", value)]:
            assert error_of(action).cause == Cause.INVALID_ARGUMENT
        assert dict(memory) == {"Robot/Note": "before"}
        memory["Robot/Note"] = "after"
        assert next(changes).value == "after"


@pytest.mark.parametrize("value", UNSENDABLE.values(), ids=UNSENDABLE)
def test_a_result_that_cannot_be_sent_is_an_error(serve, connect, value):
    server = serve()
    server.module("Strange").bind("result", lambda: value)
    robot = connect(server.port)
    error = error_of(robot.call, "Strange", "result")
    assert error.cause == Cause.INVALID_ARGUMENT
    assert "The call of Strange.result at 127.0.0.1 port" in str(error)


def test_names_and_descriptions_are_valid_texts(serve, connect):
    server = serve()
    robot = connect(server.port)
    echo = server.module("Ear")

    def described():
        """\ud800"""

    for wrong in [SURROGATE, LATIN1, 5, None]:
        for action in [
                lambda: robaxi.Server(wrong or 5), lambda: server.module(wrong or 5),
                lambda: server.module("Other", wrong), lambda: echo.bind(wrong or 5, print),
                lambda: echo.bind("described", described),
                lambda: server.memory.add(wrong or 5), lambda: server.memory.add("Key", unit=wrong),
                lambda: server.memory.add("Key", description=wrong),
                lambda: server.add_camera(wrong or 5),
                lambda: server.add_camera("head", description=wrong),
                lambda: robot.call(wrong, "echo"), lambda: robot.post("Echo", wrong),
                lambda: robot.module(wrong or 5), lambda: robot.values(wrong).watch(),
                lambda: robot.memory.watch(wrong), lambda: robot.camera(wrong).frames(),
                lambda: robaxi.Robot("127.0.0.1", server.port, name=wrong)]:
            assert error_of(action).cause == Cause.INVALID_ARGUMENT

    async def wait():
        pass

    for action in [lambda: robaxi.Server(""), lambda: echo.bind("", print),
                   lambda: echo.method(wait)]:
        assert error_of(action).cause == Cause.INVALID_ARGUMENT
    assert [one.name for one in robot.modules()] == ["Echo", "Ear", "KVMemory"]
    assert robot.memory.names() == []


def test_an_error_has_any_text(serve, connect):
    server = serve()
    server.memory.add("Robot/Note", "", writable=True)

    def fail():
        raise ValueError(f"{SURROGATE} {LATIN1}")

    server.module("Strange").bind("fail", fail)
    robot = connect(server.port)
    assert str(error_of(robot.call, "Strange", "fail")) == "\ufffd caf\ufffd"
    with pytest.raises(KeyError):
        robot.memory[SURROGATE]


class Unprintable(Exception):
    def __str__(self):
        raise RuntimeError("no text")


class Strange(dict):
    def values(self):
        raise RuntimeError("no values")


def test_a_call_is_answered_whatever_happens(serve, connect, caplog):
    server = serve()
    server.module("Strange").bind("result", lambda: Strange(a=1))

    def raising(exception):
        def fail():
            raise exception
        return fail

    failures = [SystemExit(1), KeyboardInterrupt(), Unprintable(), robaxi.Error("cause", "text")]
    for number, exception in enumerate(failures):
        server.module(f"Failing{number}").bind("fail", raising(exception))
    robot = connect(server.port)
    for module, method, name in [
            ("Strange", "result", "RuntimeError"), ("Failing0", "fail", "SystemExit"),
            ("Failing1", "fail", "KeyboardInterrupt"), ("Failing2", "fail", "RuntimeError"),
            ("Failing3", "fail", "ValueError")]:
        error = error_of(robot.call, module, method)
        assert error.cause == Cause.INTERNAL
        assert f"failed: an unexpected {name} in the robot; see its log." in str(error)
        assert f"the call of {module}.{method} failed" in caplog.text
        caplog.clear()
    assert robot.call("Echo", "echo", 1) == 1


def test_descriptions_above_the_limit_are_an_error(serve, connect):
    server = serve(settings=Settings(limits=Limits(message=1 << 16)))
    for number in range(7):
        server.module(f"Talkative{number}", "a" * 10000)
    robot = connect(server.port, settings=server._settings)
    error = error_of(robot.modules)
    assert error.cause == Cause.TOO_LARGE
    assert "the descriptions of the modules" in str(error)
    assert len(robot.module("Talkative6").description) == 10000


def test_a_key_that_is_missing_is_named_as_such(serve, connect):
    server = serve()
    lookup = server.module("Lookup")
    assert error_of(lookup.bind, "find", {}.__getitem__).cause == Cause.INVALID_ARGUMENT
    lookup.bind("find", lambda key: {"a": 1}[key])
    robot = connect(server.port)
    assert robot.call("Lookup", "find", "a") == 1
    assert str(error_of(robot.call, "Lookup", "find", "b")) == "KeyError('b')"


def test_the_text_of_an_error_is_bounded(serve, connect):
    server = serve(settings=Settings(limits=Limits(message=1 << 16)))

    @server.module("Talkative").method
    def fail():
        raise ValueError("a" + 100000 * "ü")

    robot = connect(server.port, settings=server._settings)
    assert str(error_of(robot.call, "Talkative", "fail")) == "a" + 32767 * "ü"
    assert robot.call("Echo", "echo", 1) == 1


def test_a_subscription_that_cannot_go_on_ends_with_an_error(serve, connect, caplog):
    server = serve()
    server.memory.add("Count", 0)
    with connect(server.port).memory.watch(rate=1000) as changes:
        assert next(changes).value == 0
        entry = server.memory._find("Count")
        entry.value = object()  # as the table never does
        server.memory.add("Other", 1)
        server.memory._touch([entry], 1)
        error = error_of(lambda: [*changes])
    assert error.cause == Cause.INTERNAL
    assert "an unexpected Error in the robot; see its log." in str(error)
    assert "a subscription ends" in caplog.text


def test_an_update_above_the_limit_is_too_large(serve, connect):
    server = serve()
    server.memory.add("Map", bytes(3 << 20))
    modest = Settings(limits=Limits(message=1 << 16))
    with connect(server.port, settings=modest).memory.watch() as changes:
        error = error_of(next, changes)
    assert error.cause == Cause.TOO_LARGE
    assert str(error).endswith(": a message is larger than the limit. Send it in smaller parts.")


def running(name):
    """The number of threads of that name."""
    return sum(thread.name == name for thread in threading.enumerate())


def side_by_side(*actions):
    """Runs each of them fifty times on a separate thread."""
    with concurrent.futures.ThreadPoolExecutor(len(actions)) as threads:
        for repeated in [threads.submit(lambda action=action: [action(i) for i in range(50)])
                         for action in actions]:
            repeated.result()


def test_changes_of_settings_are_single_steps(serve, connect):
    server = serve()
    applied = []

    def apply(settings):
        # What was applied before is in force.
        applied.append((camera.settings, settings))
        time.sleep(0.001)  # as long as a camera takes

    camera = server.add_camera("head", on_settings=apply, modes=[
        robaxi.Mode(320, 240, ["rgb", "grey"], [5.0, 10.0])])
    before = camera.settings
    formats, rates = (connect(server.port).camera("head") for _ in range(2))
    side_by_side(lambda i: formats.set(format=["grey", "rgb"][i % 2]),
                 lambda i: rates.set(rate=[10.0, 5.0][i % 2]))
    for current, settings in applied:
        assert current == before
        assert sum(current[name] != settings[name] for name in settings) <= 1
        before = settings
    assert len(applied) == 100 and camera.settings == before


def test_writes_of_a_key_are_single_steps(serve, connect):
    server = serve()
    received = [0]

    def receive(value):
        received.append((value, server.memory["Count"]))
        time.sleep(0.001)  # as long as a motor takes

    server.memory.add("Count", 0, on_write=receive)
    first, second = (connect(server.port).memory for _ in range(2))
    side_by_side(lambda i: first.__setitem__("Count", i), lambda i: second.__setitem__("Count", -i))
    values = [0, *(value for value, _ in received[1:])]
    assert [current for _, current in received[1:]] == values[:-1]
    assert server.memory["Count"] == values[-1]


def test_content_is_added_on_any_thread():
    for _ in range(50):
        server = robaxi.Server("Python", settings=Settings())
        with concurrent.futures.ThreadPoolExecutor(8) as threads:
            tables = [*threads.map(lambda _: server.memory, range(8))]
            assert all(table is server.memory for table in tables)
            cameras = [*threads.map(lambda _: attempt(server.add_camera, "head"), range(8))]
        assert [type(one) for one in cameras].count(robaxi.CameraSource) == 1


def attempt(action, *arguments):
    try:
        return action(*arguments)
    except robaxi.Error as error:
        return error


def test_a_memory_that_cannot_be_added_is_not_there():
    server = robaxi.Server("Python", settings=Settings())
    server.module("KVMemory")
    for _ in range(2):
        assert error_of(lambda: server.memory).cause == Cause.INVALID_ARGUMENT


def test_frames_that_cannot_be_sent_are_refused(serve, connect):
    numpy = pytest.importorskip("numpy")
    server = serve()
    camera = server.add_camera("head", 4, 2, "grey")
    for pixels, settings, stride in [
            (bytes(8), {"width": "4"}, 0), (bytes(8), {"width": 2**40}, 0), (bytes(8), {}, 2**40),
            (bytes(8), {}, -1), (bytes(8), {"format": "h264"}, 0), (bytes(8), {"format": None}, 0),
            (bytes(8), {"width": 5}, 0), (b"", {}, 0), (numpy.zeros((2, 4)), {}, 0)]:
        error = error_of(camera.publish, pixels, settings=settings, stride=stride)
        assert error.cause == Cause.INVALID_ARGUMENT
        assert str(error).startswith("The frame cannot be sent: ")
    with connect(server.port).camera("head").frames() as frames:
        image = numpy.arange(8, dtype=numpy.uint8).reshape(2, 4)
        camera.publish(image[:, ::-1])
        assert next(frames).data == bytes([3, 2, 1, 0, 7, 6, 5, 4])
        camera.publish(b"12", settings={"width": 1})
        assert next(frames).data == b"12"


def test_arguments_of_other_types_are_refused(serve, connect):
    server = serve()
    robot = connect(server.port)
    for action in [
            *(functools.partial(robot.call, "Echo", "echo", 1, timeout=timeout)
              for timeout in [0, -1, math.nan, "1"]),
            *(functools.partial(robaxi.Robot, host) for host in [5, None, b"host", SURROGATE]),
            *(functools.partial(robaxi.Robot, "127.0.0.1", port) for port in ["9559", 9559.5]),
            functools.partial(robaxi.Robot, "127.0.0.1", server.port, timeout=None),
            robaxi.Server("Python", port="1", settings=Settings()).start,
            robaxi.Server("Python", port=0, http_port=70000, settings=Settings()).start,
            functools.partial(server.module("Ear").bind, "hear", 5)]:
        assert error_of(action).cause == Cause.INVALID_ARGUMENT
    assert error_of(robot.module, "").cause == Cause.NO_SUCH_MODULE


def test_modes_of_other_types_are_refused():
    server = robaxi.Server("Python", settings=Settings())
    for mode in [("320", 240), (320, 240.0), (320, 240, [None]), (320, 240, ["rgb"], ["15"]),
                 (320, 240, ["rgb"], [math.nan])]:
        error = error_of(server.add_camera, "head", modes=[robaxi.Mode(*mode)])
        assert error.cause == Cause.INVALID_ARGUMENT
        assert str(error).startswith("A camera cannot have the mode Mode(")


def test_any_callable_object_is_a_method(serve, connect):
    server = serve()

    class Adder:
        def __call__(self, one: int, other: int) -> int:
            return one + other

    module = server.module("Sum")
    module.bind("add", Adder())
    module.bind("add_two", functools.partial(Adder(), 2))
    robot = connect(server.port)
    assert [robot.call("Sum", "add", 1, 2), robot.call("Sum", "add_two", 3)] == [3, 5]


def test_a_start_that_fails_leaves_nothing():
    with socket.create_server(("127.0.0.1", 0)) as taken:
        program = f"""
import gc, robaxi
usual = dict(address="127.0.0.1", port=0, announce=False)
for options in [dict(port={taken.getsockname()[1]}), dict(address="nowhere.invalid"),
                dict(icon=b"GIF89a", http_port=-1)]:
    try:
        robaxi.Server("Python", **{{**usual, **options}}).start()
    except robaxi.Error:
        gc.collect()
        print("failed")
"""
        ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                               check=False, timeout=PATIENCE)
    assert (ended.stdout, ended.stderr) == (3 * "failed\n", "")


def test_a_robot_ends_silently_while_values_change():
    program = """
import itertools, threading, time, robaxi
server = robaxi.Server("Python", address="127.0.0.1", port=0, announce=False)
server.memory.add("Count", 0)
server.start()
robot = robaxi.Robot("127.0.0.1", server.port)
changes = robot.memory.watch(rate=1000)
has_read, is_running = threading.Event(), threading.Event()

@server.module("Slow").method
def hold():
    is_running.set()
    while server.memory.watchers:  # the end of the program waits for this
        time.sleep(0.01)

def change():
    for number in itertools.count(1):
        server.memory["Count"] = number

def read():
    try:
        for change in changes:
            if change.value:
                has_read.set()
    except robaxi.Error:
        pass

for run in [change, read]:
    threading.Thread(target=run, daemon=True).start()
has_read.wait()
robot.post("Slow", "hold")
is_running.wait()
"""
    ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                           check=False, timeout=PATIENCE)
    assert (ended.stderr, ended.returncode) == ("", 0)


def test_an_interrupted_attempt_to_connect_leaves_nothing(script, connect):
    robot = script(Script())
    connect(robot.port)
    before = running("robaxi-read")

    def interrupt():
        eventually(lambda: robot.ignored)  # it does not answer
        os.kill(os.getpid(), signal.SIGINT)

    thread = threading.Thread(target=interrupt)
    thread.start()
    with pytest.raises(KeyboardInterrupt):
        robaxi.Robot("127.0.0.1", robot.port, timeout=PATIENCE)
    thread.join()
    eventually(lambda: running("robaxi-read") <= before)


def test_a_server_is_stopped_by_several_threads():
    for _ in range(20):
        server = robaxi.Server("Python", port=0, announce=False, settings=Settings())
        server.start()
        with concurrent.futures.ThreadPoolExecutor(16) as threads:
            for ended in [threads.submit(action) for _ in range(8)
                          for action in [server.stop, server.wait]]:
                ended.result(PATIENCE)


def test_a_closed_connection_says_who_closed_it(serve, connect):
    server = serve()
    robot = connect(server.port)
    robot.close()
    place = f"The connection to 127.0.0.1 port {server.port} is lost"
    assert str(error_of(robot.call, "Echo", "echo", 1)).startswith(
        f"{place}: it was closed by this program. Check ")
    other = connect(server.port)
    server.stop()
    eventually(lambda: other.error)
    assert str(other.error).startswith(f"{place}. Check ")


def test_a_watch_ends_with_its_error(script, connect):
    unknown = pb.SubscriptionUpdate(values=pb.Values(int_ids=[7], ints=[1]))
    changes = connect(script(Script(updates=[unknown])).port).memory.watch()
    assert error_of(next, changes).cause == Cause.INTERNAL
    assert [*changes] == []


def test_an_asynchronous_watch_raises_its_error_once(serve, connect):
    robot = connect(serve().port)

    async def watch():
        changes = robot.memory.watch()
        with pytest.raises(robaxi.Error):
            await changes.__anext__()
        return [change async for change in changes]

    assert asyncio.run(watch()) == []


def test_an_asynchronous_watch_ends_with_its_object(serve, connect):
    server = serve()
    server.memory.add("Count", 0)
    robot = connect(server.port)

    async def watch():
        async for change in robot.memory.watch():
            return change.value

    assert asyncio.run(watch()) == 0
    gc.collect()
    eventually(lambda: server.memory.watchers == 0)
    eventually(lambda: running("robaxi-watch") == 0)


def test_limits_are_numbers(serve):
    memory = serve().memory
    for limits in [("a", "b"), (0, 10**400), (0,), (1, 0), (0, math.nan), 5]:
        error = error_of(memory.add, "Robot/Speed", 1.0, limits=limits)
        assert error.cause == Cause.INVALID_ARGUMENT
    assert len(memory) == 0


def test_time_stamps_are_in_the_calendar(serve, connect):
    server = serve()
    server.memory.add("Count", 0)
    camera = server.add_camera("head", 1, 1, "grey")
    robot = connect(server.port)
    with robot.memory.watch(rate=1000) as changes, robot.camera("head").frames() as frames:
        assert next(changes).value == 0
        for wrong in [math.nan, math.inf, -1, 1e300, 10**400]:
            for action in [lambda: server.memory.set_all({"Count": 1}, wrong),
                           lambda: camera.publish(b"1", wrong)]:
                assert error_of(action).cause == Cause.INVALID_ARGUMENT
        assert server.memory["Count"] == 0
        server.memory.set_all({"Count": 2}, 1.5)
        camera.publish(b"2", 2.5)
        assert [(change.value, change.time) for change in [next(changes)]] == [(2, 1.5)]
        assert [(frame.data, frame.time) for frame in [next(frames)]] == [(b"2", 2.5)]


def test_a_list_is_changed_by_setting_it(serve, connect):
    server = serve()
    server.memory.add("Path", [1])
    with connect(server.port).memory.watch(rate=1000) as changes:
        assert next(changes).value == [1]
        path = server.memory["Path"]
        path.append(2)
        assert server.memory["Path"] == [1]
        server.memory["Path"] = path
        assert next(changes).value == [1, 2]
