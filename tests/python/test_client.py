"""The package's client with robots of the C++ library."""

import asyncio
import concurrent.futures
import math
import socket
import subprocess
import sys
import threading
import time

import pytest

import robaxi
from conftest import PATIENCE, error_of, eventually
from free_port import free_port
from robaxi import Cause, client


def test_values_of_every_type_come_back(echo, connect):
    robot = connect(echo.port)
    for value in [None, False, True, 0, -(2**63), 2**63 - 1, 0.5, math.inf, "", "Zürich\0",
                  b"\0\xff", [], [1, 2.0, "three", [None]], {}, {"a": 1, "ü": {"b": [b"bytes"]}}]:
        answer = robot.call("Echo", "echo", value)
        assert answer == value
        assert type(answer) is type(value)
    assert math.isnan(robot.call("Echo", "echo", math.nan))
    assert math.copysign(1, robot.call("Echo", "echo", -0.0)) == -1
    assert robot.call("Echo", "echo", (1, bytearray(b"2"))) == [1, b"2"]


def test_a_text_that_is_not_utf8_is_carried_unchanged(echo, connect):
    text = b"caf\xe9".decode("utf-8", "surrogateescape")
    assert connect(echo.port).call("Echo", "echo", text) == text


def test_what_cannot_be_sent_is_refused_before(echo, connect):
    robot = connect(echo.port)
    deep = []
    for _ in range(65):
        deep = [deep]
    for value in [2**63, object(), {1: 2}, deep]:
        assert error_of(robot.call, "Echo", "echo", value).cause == Cause.INVALID_ARGUMENT
    assert error_of(robot.call, "Echo", "echo", bytes(17 << 20)).cause == Cause.TOO_LARGE
    assert robot.call("Echo", "echo", "still there") == "still there"


def test_errors_say_their_cause(echo, connect):
    robot = connect(echo.port)
    raised = error_of(robot.call, "Echo", "fail", "too hot")
    assert (raised.cause, str(raised)) == (Cause.RAISED_BY_MODULE, "too hot")
    for call, cause in [(("Nobody", "echo"), Cause.NO_SUCH_MODULE),
                        (("Echo", "nothing"), Cause.NO_SUCH_METHOD),
                        (("Echo", "echo"), Cause.WRONG_ARGUMENTS),
                        (("Echo", "fail", 1), Cause.WRONG_ARGUMENTS)]:
        raised = error_of(robot.call, *call)
        assert raised.cause == cause
        assert str(raised).startswith(f"The call of {call[0]}.{call[1]} at 127.0.0.1 port ")
    assert error_of(robot.module, "Nobody").cause == Cause.NO_SUCH_MODULE


def test_large_values_travel_in_parts(echo, connect):
    large = bytes(range(256)) * 4096 * 3
    assert connect(echo.port).call("Echo", "echo", large) == large


def test_calls_run_side_by_side(echo, connect):
    robot = connect(echo.port)
    with concurrent.futures.ThreadPoolExecutor(8) as callers:
        numbers = list(callers.map(lambda number: robot.call("Echo", "echo", number), range(200)))
    assert numbers == list(range(200))


def test_a_call_that_takes_too_long_is_given_up(echo, connect):
    patient = robaxi.Settings(limits=robaxi.Limits(heartbeat=60_000, loss=600_000))
    robot = connect(echo.port, settings=patient)
    echo.stop()
    raised = error_of(robot.call, "Echo", "echo", 1, timeout=0.3)
    assert raised.cause == Cause.TIMED_OUT
    assert "no answer came within 0.3 s" in str(raised)
    assert robot.error is None


def test_the_end_of_a_robot_is_noticed(echo, connect):
    robot = connect(echo.port)
    echo.process.kill()
    eventually(lambda: robot.error)
    raised = error_of(robot.call, "Echo", "echo", 1)
    assert raised.cause == Cause.CONNECTION_LOST
    assert "is lost" in str(raised)


def test_the_silence_of_a_robot_is_noticed(echo, connect):
    settings = robaxi.Settings(limits=robaxi.Limits(silence=2000))
    robot = connect(echo.port, settings=settings)
    changes = robot.values("Memory").watch()
    next(changes)
    echo.stop()
    assert error_of(robot.call, "Echo", "echo", 1).cause == Cause.CONNECTION_LOST
    raised = error_of(lambda: [None for _ in changes])
    assert raised.cause == Cause.CONNECTION_LOST
    assert "is silent" in str(raised)


def test_a_closed_connection_is_over(echo, connect):
    robot = connect(echo.port)
    robot.close()
    assert error_of(robot.call, "Echo", "echo", 1).cause == Cause.CONNECTION_LOST


def test_sessions_end_with_their_robot_objects(echo, connect):
    watcher = connect(echo.port, settings=robaxi.Settings(), name="watcher")
    before = threading.active_count()
    for _ in range(5):
        robot = robaxi.Robot("127.0.0.1", echo.port, timeout=PATIENCE)
        next(robot.values("Memory").watch())
        del robot
    eventually(lambda: threading.active_count() <= before)
    assert watcher.error is None


def test_addresses_where_nobody_is_are_said():
    refused = error_of(robaxi.Robot, "127.0.0.1", free_port())
    assert refused.cause == Cause.REFUSED
    assert "nothing listens on that port" in str(refused)
    assert error_of(robaxi.Robot, "no-such-name.invalid:1",
                    timeout=PATIENCE).cause == Cause.NAME_NOT_FOUND
    for host in ["", "a:b", "a:0", "a:65536", "[::1", "x" * 256]:
        assert error_of(robaxi.Robot, host).cause == Cause.INVALID_ARGUMENT, host
    assert error_of(robaxi.Robot, "a", timeout=0).cause == Cause.INVALID_ARGUMENT


def test_another_program_is_no_robot():
    with socket.create_server(("127.0.0.1", 0)) as listener:
        port = listener.getsockname()[1]
        assert error_of(robaxi.Robot, "127.0.0.1", port, timeout=0.5).cause == Cause.TIMED_OUT

        def hang_up():
            while True:
                try:
                    listener.accept()[0].close()
                except OSError:
                    return

        threading.Thread(target=hang_up, daemon=True).start()
        raised = error_of(robaxi.Robot, "127.0.0.1", port, timeout=PATIENCE)
        assert raised.cause == Cause.PROTOCOL_VERSION
        listener.shutdown(socket.SHUT_RDWR)


def test_values_are_watched(echo, connect):
    changes = connect(echo.port).values("Memory").watch(rate=100)
    seen = [next(changes) for _ in range(5)]
    assert {change.key for change in seen} == {"counter"}
    numbers = [change.value for change in seen]
    assert numbers == sorted(set(numbers))
    assert abs(seen[-1].time - time.time()) < 60
    assert [(key.name, key.type, key.writable) for key in changes.keys] == [
        ("counter", "int", False)]
    changes.close()
    assert list(changes) == []


def test_a_slow_program_gets_newer_values(echo, connect):
    robot = connect(echo.port)
    slow = robot.values("Memory").watch(rate=1000)
    first = next(slow).value
    with robot.values("Memory").watch(rate=1000) as quick:
        for change in quick:
            if change.value > first + 50:
                break
    # Two updates are on their way at most.
    skipping = [next(slow).value for _ in range(4)]
    assert skipping[-1] > first + 50


def test_values_are_watched_with_asyncio(echo, connect):
    robot = connect(echo.port)

    async def watch():
        async with robot.values("Memory").watch("count*", rate=100) as changes:
            seen = []
            async for change in changes:
                seen.append(change.value)
                if len(seen) == 5:
                    break
            cancelled = asyncio.ensure_future(changes.__anext__())
            await asyncio.sleep(0)
            cancelled.cancel()
            with pytest.raises(asyncio.CancelledError):
                await cancelled
            seen.append((await changes.__anext__()).value)
        assert [change async for change in changes] == []
        return seen

    seen = asyncio.run(asyncio.wait_for(watch(), PATIENCE))
    assert seen == sorted(set(seen))


def test_a_program_ends_while_it_watches(humanoid):
    program = f"""
import asyncio, robaxi
async def main():
    robot = robaxi.Robot("127.0.0.1", {humanoid.port}, timeout={PATIENCE})
    changes = robot.memory.watch("Audio/Volume")
    await changes.__anext__()
    try:
        await asyncio.wait_for(changes.__anext__(), 0.1)
    except asyncio.TimeoutError:
        print("waited")
asyncio.run(main())
"""
    ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                           check=False, timeout=PATIENCE)
    assert (ended.stdout, ended.stderr, ended.returncode) == ("waited\n", "", 0)


def test_a_watch_that_is_refused_says_why(echo, connect):
    robot = connect(echo.port)
    assert error_of(next, robot.memory.watch()).cause == Cause.NO_SUCH_MODULE
    assert error_of(next, robot.values("Memory").watch(rate=-1)).cause == Cause.INVALID_ARGUMENT


def test_the_memory_is_a_mapping(humanoid, connect):
    memory = connect(humanoid.port).memory
    assert 0 <= memory["Battery/Charge"] <= 100
    assert "Battery/Charge" in memory
    assert "Battery" not in memory
    assert len(memory) == len(list(memory)) == len(set(memory.keys())) > 25
    assert all(name.startswith("Battery/") for name in memory.names("Battery/"))
    assert memory.get("No/Such", 5) == 5
    with pytest.raises(KeyError, match="There is no key named No/Such"):
        memory["No/Such"]


def test_the_memory_is_written(humanoid, connect):
    memory = connect(humanoid.port).memory
    memory["Audio/Volume"] = 35
    assert memory["Audio/Volume"] == 35
    assert "not 1000" in str(error_of(memory.__setitem__, "Audio/Volume", 1000))
    assert "only for reading" in str(error_of(memory.__setitem__, "Battery/Charge", 1.0))


def test_keys_are_chosen_by_patterns(humanoid, connect):
    robot = connect(humanoid.port)
    with robot.memory.watch("Ballamor/Clip[b]oard", "Audio/Vol?me") as changes:
        current = {change.key: change.value for change in (next(changes), next(changes))}
        assert set(current) == {"Ballamor/Clipboard", "Audio/Volume"}
        robot.post("KVBallamor", "sendClipboard", "watched")
        change = next(changes)
        assert (change.key, change.value) == ("Ballamor/Clipboard", "watched")


def test_posts_are_run_in_spite_of_the_end_of_their_session(humanoid, connect):
    with connect(humanoid.port) as other:
        other.post("KVBallamor", "sendClipboard", "posted at the end")
    memory = connect(humanoid.port).memory
    eventually(lambda: memory["Ballamor/Clipboard"] == "posted at the end")


def test_modules_are_described(humanoid, connect):
    robot = connect(humanoid.port)
    modules = {module.name: module for module in robot.modules()}
    assert {"KVMemory", "KVLeds", "KVBallamor", "KVSim"} <= set(modules)
    assert modules["KVMemory"].has_values and not modules["KVLeds"].has_values
    leds = robot.module("KVLeds")
    assert leds == modules["KVLeds"]
    assert [method.name for method in leds.methods] == ["rasta"]


@pytest.mark.parametrize("kind, pixel", [("rgb", (3,)), ("grey", ()), ("yuv422", (2,))])
def test_frames_are_arrays(humanoid, connect, kind, pixel):
    numpy = pytest.importorskip("numpy")
    camera = connect(humanoid.port).camera("head")
    assert camera.set(width=320, height=240, format=kind, rate=30.0)["format"] == kind
    assert camera.settings["width"] == 320
    with camera.frames() as frames:
        frame = next(one for one in frames if one.format == kind and one.width == 320)
    assert frame.pixels.shape == (240, 320) + pixel
    assert frame.pixels.dtype == numpy.uint8
    assert frame.pixels.tobytes() == frame.data[:240 * frame.stride]
    assert abs(frame.time - time.time()) < 60


def test_frames_may_be_larger_than_a_message(humanoid, connect):
    settings = robaxi.Settings(limits=robaxi.Limits(message=1 << 16))
    camera = connect(humanoid.port, settings=settings).camera("head")
    camera.set(width=640, height=480, format="rgb", rate=30.0)
    assert next(one for one in camera.frames() if one.width == 640).pixels.nbytes == 640 * 480 * 3


def test_rows_may_be_padded():
    numpy = pytest.importorskip("numpy")
    frame = robaxi.Frame(1, 0.0, 2, 2, 8, "rgb", bytes(range(14)))
    assert frame.pixels.tolist() == [[[0, 1, 2], [3, 4, 5]], [[8, 9, 10], [11, 12, 13]]]
    assert isinstance(frame.pixels, numpy.ndarray)


def test_frames_are_never_queued(humanoid, connect):
    robot = connect(humanoid.port)
    assert [camera.name for camera in robot.cameras()] == ["head", "chest"]
    camera = robot.camera("chest")
    camera.set(width=320, height=240, format="jpeg", rate=15.0)
    slow = camera.frames()
    first = next(slow)
    with camera.frames() as quick:
        for frame in quick:
            if frame.number > first.number + 10:
                break
    # At most the frame that waits and the two on their way are older.
    newest = max([next(slow) for _ in range(4)], key=lambda one: one.number)
    assert newest.number > first.number + 10
    assert newest.pixels[:2] == b"\xff\xd8"
    slow.close()
    assert list(slow) == []


def test_frames_are_watched_with_asyncio(humanoid, connect):
    async def watch():
        async with connect(humanoid.port).camera("chest").frames() as frames:
            return [(await frames.__anext__()).number for _ in range(3)]

    numbers = asyncio.run(asyncio.wait_for(watch(), PATIENCE))
    assert numbers == sorted(set(numbers))


def test_a_camera_that_is_not_there_says_so(humanoid, connect):
    camera = connect(humanoid.port).camera("nose")
    assert error_of(next, camera.frames()).cause == Cause.NO_SUCH_STREAM
    assert "nose" in str(error_of(camera.set, rate=1.0))


def test_the_loss_of_a_robot_ends_its_frames(start_humanoid, connect):
    process = start_humanoid()
    frames = connect(process.port).camera("head").frames()
    next(frames)
    process.end()
    assert error_of(lambda: [None for _ in frames]).cause == Cause.CONNECTION_LOST


def test_waiting_h264_frames_have_no_more_bytes_than_one_may_have():
    def frame(sequence, is_key=False):
        return robaxi.Frame(sequence, 0, 16, 16, 0, "h264", bytes(40), is_key=is_key,
                            sequence=sequence)

    slot = client._Slot(most_bytes=100)
    assert slot.put(frame(1, is_key=True))
    assert slot.put(frame(2))
    assert not slot.put(frame(3)), "it needs those that are dropped for it"
    assert slot.put(frame(4, is_key=True))
    taken = slot.take()
    assert (taken.sequence, taken.skipped) == (4, 3)
