"""The package's robot with the package's client and with the tool of the C++ library."""

import dataclasses
import http.client
import itertools
import json
import math
import os
import queue
import signal
import socket
import subprocess
import sys
import threading
import time

import grpc
import pytest

import robaxi
from conftest import BUILD, PATIENCE, SOURCE, error_of, eventually
from robaxi import Access, Cause, Limits, ServerSettings, Settings
from robaxi.v1 import robaxi_pb2 as pb


def tool(server, command, *words, status=0, **environment):
    """Runs the command line tool of the C++ library; returns what it prints."""
    host = f"127.0.0.1:{server.port}"
    ended = subprocess.run(
        [BUILD / "bin/robaxi", command, host, *words, "--timeout", str(PATIENCE)],
        capture_output=True, text=True, check=False, env={**os.environ, **environment})
    assert ended.returncode == status, ended.stderr
    return ended.stdout or ended.stderr


def test_values_of_every_type_come_back(serve, connect):
    server = serve()
    robot = connect(server.port)
    assert robot.name == "Python"
    for value in [None, True, -(2**63), 0.5, "Zürich\0", b"\0\xff", [1, [None]], {"ü": {"b": []}},
                  b"caf\xe9".decode("utf-8", "surrogateescape")]:
        assert robot.call("Echo", "echo", value) == value
    assert tool(server, "call", "Echo", "echo", '[1,2.5,{"a":null}]') == '[1,2.5,{"a":null}]\n'
    large = bytes(range(256)) * 4096 * 3
    assert robot.call("Echo", "echo", large) == large
    assert error_of(robot.call, "Echo", "echo", [b"x" * (16 << 20)]).cause == Cause.TOO_LARGE


def test_errors_say_their_cause(serve, connect):
    server = serve()
    robot = connect(server.port)
    assert str(error_of(robot.call, "Echo", "fail", "too hot")) == "too hot"
    assert robot.call("Echo", "scale", 2) == 4.0
    for call, cause in [(("Nobody", "echo"), Cause.NO_SUCH_MODULE),
                        (("Echo", "nothing"), Cause.NO_SUCH_METHOD),
                        (("Echo", "echo"), Cause.WRONG_ARGUMENTS),
                        (("Echo", "fail", 1), Cause.WRONG_ARGUMENTS),
                        (("Echo", "scale", 1.0, 2.0), Cause.WRONG_ARGUMENTS)]:
        assert error_of(robot.call, *call).cause == cause, call
    assert tool(server, "call", "Echo", "fail", "too hot", status=9) == "robaxi: too hot\n"
    not_offered = 8
    assert "no module named Nobody" in tool(server, "call", "Nobody", "echo", status=not_offered)
    assert "scale(number: float, times: int) -> float" in tool(server, "modules")


def test_slow_methods_delay_nothing_else(serve, connect):
    server = serve()
    release = threading.Event()
    server.module("Slow").bind("wait", lambda: release.wait(PATIENCE))
    robot = connect(server.port)
    callers = [threading.Thread(target=robot.call, args=["Slow", "wait"]) for _ in range(6)]
    for caller in callers:
        caller.start()
    # Longer than a client's patience with a silent robot.
    end = time.monotonic() + 2.0
    while time.monotonic() < end:
        assert robot.call("Echo", "echo", 1) == 1
    release.set()
    for caller in callers:
        caller.join()
    assert robot.error is None


def test_posts_are_run_in_spite_of_the_end_of_their_session(serve, connect):
    server = serve()
    heard = []
    server.module("Ear").bind("hear", heard.append)
    with connect(server.port) as robot:
        for number in range(100):
            robot.post("Ear", "hear", number)
    eventually(lambda: len(heard) == 100)


@pytest.fixture
def hold():
    """Adds the module Slow, whose method `hold` notes its number and lasts until release() is
    called, and the module Ear, whose method `hear` notes its number."""

    class Slow:
        def __init__(self, server):
            self.held = []
            self.heard = []
            self._is_over = threading.Event()
            server.module("Slow").bind("hold", self._hold)
            server.module("Ear").bind("hear", self.heard.append)

        def _hold(self, number, padding=""):
            """With a text that makes the call larger."""
            self.held.append(number)
            self._is_over.wait(PATIENCE)

        def release(self):
            self._is_over.set()

    made = []

    def make(server):
        made.append(Slow(server))
        return made[-1]

    yield make
    for each in made:
        each.release()


# For clients that send no heartbeats.
PATIENT = Limits(heartbeat=5000, loss=10000)


def message_of(call_id, module, method, *arguments):
    """A call, for a client by other means than the package."""
    return pb.ClientMessage(call=pb.Call(
        call_id=call_id, module=module, method=method,
        arguments=[pb.Value(type=pb.Value.INT, int_value=one) for one in arguments]))


class RawSession:
    """A session by other means than the package."""

    def __init__(self, server, **hello):
        self._requests = queue.SimpleQueue()
        self._channel = grpc.insecure_channel(f"127.0.0.1:{server.port}")
        stream = self._channel.stream_stream(
            "/robaxi.v1.Robaxi/Session", pb.ClientBatch.SerializeToString,
            pb.ServerBatch.FromString)
        self._answers = stream(iter(self._requests.get, None), timeout=PATIENCE)
        self.send(pb.ClientMessage(hello=pb.Hello(protocol_version=1, **hello)))
        self.reply = next(self.messages()).hello_reply

    def send(self, *messages, number=0):
        self._requests.put(pb.ClientBatch(messages=messages, number=number))

    def messages(self):
        """The messages of the robot, without heartbeats."""
        for batch in self._answers:
            yield from (each for each in batch.messages if not each.HasField("heartbeat"))

    def close(self):
        self._requests.put(None)
        self._channel.close()


def test_calls_of_a_client_that_is_gone_are_not_run(serve, connect, hold):
    server = serve(settings=Settings(limits=dataclasses.replace(PATIENT, sessions=1)))
    slow = hold(server)
    session = RawSession(server)
    session.send(*[message_of(number, "Slow", "hold", number) for number in range(1, 31)],
                 *[message_of(0, "Ear", "hear", number) for number in range(10)])
    eventually(lambda: len(slow.held) == 8)
    session.close()
    # There is room for another session as soon as the robot knows that this one has ended.
    eventually(lambda: not isinstance(attempt(lambda: connect(server.port)), robaxi.Error))
    slow.release()
    eventually(lambda: len(slow.heard) == 10)  # posted behind the calls
    assert sorted(slow.held) == [*range(1, 9)]


def test_cancelled_calls_are_not_run(serve, hold):
    server = serve(settings=Settings(limits=PATIENT))
    slow = hold(server)
    session = RawSession(server)
    calls = [message_of(number, "Slow", "hold", number) for number in range(1, 31)]
    cancels = [pb.ClientMessage(cancel=pb.Cancel(call_id=number)) for number in range(20, 31)]
    session.send(*calls, *cancels, pb.ClientMessage(list_modules=pb.ListModules(call_id=31)))
    messages = session.messages()
    assert next(messages).module_list.call_id == 31
    slow.release()
    assert sorted(next(messages).result.call_id for _ in range(19)) == [*range(1, 20)]
    session.send(message_of(32, "Ear", "hear", 1))
    assert next(messages).result.call_id == 32
    assert sorted(slow.held) == [*range(1, 20)]
    session.close()


def test_calls_without_a_session_of_a_client_that_is_gone_are_not_run(serve, hold):
    server = serve(settings=Settings(limits=Limits(message=65536)))
    slow = hold(server)

    def status_of_question(size):
        return end_of(unary, server, "ListModules", pb.ListModules(module="x" * size),
                      pb.ModuleList)[0]

    with grpc.insecure_channel(f"127.0.0.1:{server.port}") as channel:
        def call(number, size):
            request = message_of(1, "Slow", "hold", number).call
            request.arguments.append(pb.Value(type=pb.Value.STRING, string_value="x" * size))
            return channel.unary_unary("/robaxi.v1.Robaxi/Call", pb.Call.SerializeToString,
                                       pb.Result.FromString).future(request, timeout=PATIENCE)

        # There is room for 4 x 65536 bytes: for the small question unless all four calls wait, and
        # for the large one when none of them does.
        running = [call(number, 24000) for number in range(8)]
        eventually(lambda: len(slow.held) == 8)
        waiting = [call(number, 16000) for number in range(8, 12)]
        eventually(lambda: status_of_question(15000) == grpc.StatusCode.RESOURCE_EXHAUSTED)
        for each in waiting:
            each.cancel()
        eventually(lambda: status_of_question(60000) == grpc.StatusCode.NOT_FOUND)
        slow.release()
        for each in running:
            each.result()
        call(12, 0).result()
    assert sorted(slow.held) == [*range(8), 12]


def test_a_batch_is_handled_while_there_is_room(serve, hold):
    """It may contain a million messages."""
    server = serve(settings=Settings(limits=PATIENT))
    slow = hold(server)
    session = RawSession(server)
    session.send(*[message_of(number, "Slow", "hold", number) for number in range(1, 1101)],
                 pb.ClientMessage(list_modules=pb.ListModules(call_id=5000)))
    eventually(lambda: len(slow.held) == 8)
    slow.release()
    answers = [*itertools.islice(session.messages(), 1101)]
    assert answers[0].HasField("result")
    assert any(each.module_list.call_id == 5000 for each in answers)
    assert len(slow.held) == 1100
    session.close()


def test_a_resumed_session_goes_on_within_a_batch(serve, hold):
    server = serve(settings=Settings(limits=PATIENT))
    slow = hold(server)
    session = RawSession(server, resumes=True)
    session.send(*[message_of(number, "Slow", "hold", number) for number in range(1, 1101)],
                 pb.ClientMessage(list_modules=pb.ListModules(call_id=5000)), number=1)
    eventually(lambda: len(slow.held) == 8)
    resumed = RawSession(server, resumes=True, resume=pb.Resume(
        session_id=session.reply.session_id, resumption=1))
    assert resumed.reply.resumed
    assert resumed.reply.received == 1
    slow.release()
    ids = {each.result.call_id or each.module_list.call_id
           for each in itertools.islice(resumed.messages(), 1101)}
    assert ids == {*range(1, 1101), 5000}
    session.close()
    resumed.close()


def test_a_choice_consists_of_keys_that_exist(serve, connect):
    """It may name millions of others."""
    server = serve()
    server.memory.add("First", 1)
    requests = queue.SimpleQueue()
    requests.put(pb.SubscriptionRequest(start=pb.SubscriptionStart(
        session_id=connect(server.port)._session.hello.session_id, module="KVMemory", rate=1000)))
    with grpc.insecure_channel(f"127.0.0.1:{server.port}") as channel:
        updates = channel.stream_stream(
            "/robaxi.v1.Robaxi/Subscribe", pb.SubscriptionRequest.SerializeToString,
            pb.SubscriptionUpdate.FromString)(iter(requests.get, None), timeout=PATIENCE)

        def next_ids():
            """The keys of the next update with values."""
            for update in updates:
                requests.put(pb.SubscriptionRequest(consumed=update.number))
                if update.HasField("values"):
                    return [*update.values.int_ids]

        requests.put(pb.SubscriptionRequest(keys=pb.KeySelection(ids=range(1, 1000000))))
        assert next_ids() == [1]
        server.memory.add("Second", 2)
        server.memory["First"] = 3
        assert next_ids() == [1]
        requests.put(pb.SubscriptionRequest(keys=pb.KeySelection(ids=[2])))
        assert next_ids() == [2]
        # A key that was left out for a moment is freshly chosen.
        requests.put(pb.SubscriptionRequest(keys=pb.KeySelection()))
        requests.put(pb.SubscriptionRequest(keys=pb.KeySelection(ids=[2])))
        assert next_ids() == [2]
        requests.put(None)


def fill(server):
    """Adds some keys; returns what clients wrote to Audio/Volume."""
    written = []

    def write(volume):
        if volume == 13:
            raise ValueError("Not 13.")
        written.append(volume)

    memory = server.memory
    memory.add("Battery/Charge", 87.5, unit="%", description="Charge of the battery")
    memory.add("Audio/Volume", 60, unit="%", limits=(0, 100), on_write=write)
    memory.add("Robot/Note", "", limits=(0, 5), writable=True)
    memory.add("Robot/Speed", 1.0, limits=(0, math.inf), writable=True)
    with pytest.raises(robaxi.Error, match="The range of the key Robot/Nothing is empty."):
        memory.add("Robot/Nothing", 1.0, limits=(1, math.nan))
    return written


def test_a_key_without_a_value_has_a_range(serve, connect):
    server = serve()
    server.memory.add("Robot/Mood", None, limits=(0, 1), writable=True)
    memory = connect(server.port).memory
    assert "it accepts 0 to 1, not 7." in str(error_of(memory.__setitem__, "Robot/Mood", 7))
    memory["Robot/Mood"] = 0.5
    assert server.memory["Robot/Mood"] == 0.5


def test_the_memory_is_read_and_written(serve, connect):
    server = serve()
    written = fill(server)
    memory = connect(server.port).memory
    assert dict(memory) == {"Battery/Charge": 87.5, "Audio/Volume": 60, "Robot/Note": "",
                            "Robot/Speed": 1.0}
    memory["Audio/Volume"] = 35
    memory["Robot/Speed"] = 2
    assert server.memory["Robot/Speed"] == 2.0 and isinstance(server.memory["Robot/Speed"], float)
    assert (written, server.memory["Audio/Volume"]) == ([35], 35)
    for key, value, cause, text in [
        ("Battery/Charge", 1.0, Cause.RAISED_BY_MODULE, "only for reading"),
        ("Audio/Volume", 101, Cause.RAISED_BY_MODULE,
         "Audio/Volume was not changed: it accepts 0 to 100 %, not 101."),
        ("Audio/Volume", 13, Cause.RAISED_BY_MODULE, "Not 13."),
        ("Audio/Volume", "loud", Cause.WRONG_TYPE, "it cannot be set to a value of type string"),
        ("Robot/Note", "too long", Cause.RAISED_BY_MODULE, "0 to 5 bytes, not 8"),
        ("Robot/Speed", -0.5, Cause.RAISED_BY_MODULE, "it accepts at least 0, not -0.5."),
        ("Robot/Speed", math.nan, Cause.RAISED_BY_MODULE, "it accepts at least 0, not nan."),
        ("No/Such", 1, Cause.INVALID_ARGUMENT, "no key"),
    ]:
        error = error_of(memory.__setitem__, key, value)
        assert error.cause == cause
        assert text in str(error)
    with pytest.raises(KeyError):
        memory["No/Such"]
    assert tool(server, "get", "Robot/*", "Battery/Charge") == \
        'Robot/Note \nRobot/Speed 2.0\nBattery/Charge 87.5\n'
    assert tool(server, "set", "Robot/Note", "12") == ""
    assert server.memory["Robot/Note"] == "12"


def test_changes_are_watched(serve, connect):
    server = serve()
    fill(server)
    robot = connect(server.port)
    changes = robot.memory.watch("Battery/*", "Later", rate=1000)
    assert next(changes).value == 87.5
    server.memory["Battery/Charge"] = 87.5  # not a change
    server.memory["Audio/Volume"] = 1  # not watched
    with pytest.raises(KeyError):
        server.memory.set_all({"Battery/Charge": 80, "No/Such": 1})
    server.memory.set_all({"Battery/Charge": 80}, time_stamp=1000.25)
    change = next(changes)
    assert (change.key, change.value, change.time, change.unit) == ("Battery/Charge", 80, 1000.25,
                                                                    "%")
    server.memory.add("Later", "here")
    assert (next(changes).key, len(changes.keys)) == ("Later", 2)
    everything = robot.memory.watch()
    next(everything)
    assert {key.name: key.limits for key in everything.keys if key.limits} == {
        "Audio/Volume": (0, 100), "Robot/Note": (0, 5), "Robot/Speed": (0, math.inf)}
    del server.memory["Later"]
    server.memory.add("Later", ["again"])
    assert next(changes).value == ["again"]
    assert [key.name for key in changes.keys] == ["Battery/Charge", "Later"]
    lines = tool(server, "watch", "*", "--count", "5", "--json").splitlines()
    values = {one["key"]: one["value"] for one in map(json.loads, lines)}
    assert values["Battery/Charge"] == 80
    assert set(values) == set(server.memory)


def test_a_slow_client_gets_the_newest_values(serve, connect):
    server = serve()
    server.memory.add("Count", 0)
    slow = connect(server.port).memory.watch(rate=1000)
    next(slow)
    for number in range(1, 500):
        server.memory["Count"] = number
        time.sleep(0)
    received = 0
    for change in slow:
        received += 1
        if change.value == 499:
            break
    assert received <= 4


def test_the_rate_is_kept(serve, connect):
    server = serve()
    server.memory.add("Count", 0)
    changes = connect(server.port).memory.watch(rate=20)
    is_over = threading.Event()

    def count():
        while not is_over.is_set():
            server.memory["Count"] += 1
            time.sleep(0.001)

    counter = threading.Thread(target=count)
    counter.start()
    next(changes)
    began = time.monotonic()
    for _ in range(20):
        next(changes)
    # One second; the first may be late, and two were then on their way.
    assert time.monotonic() - began > 0.7
    is_over.set()
    counter.join()


def test_many_keys_are_sent_in_parts(serve, connect):
    server = serve()
    for number in range(5000):
        server.memory.add(f"Key{number}", "x" * 1000)
    server.memory.add("Large", b"x" * (15 << 20))
    # Encoding it takes longer than a client waits for a heartbeat.
    server.memory.add("List", [[0.5]] * 50_000)
    robot = connect(server.port)
    with robot.memory.watch() as changes:
        assert len({next(changes).key for _ in range(5002)}) == 5002
    assert len(robot.call("Echo", "echo", "x" * (15 << 20))) == 15 << 20


def test_frames_are_watched(serve, connect):
    numpy = pytest.importorskip("numpy")
    server = serve()
    camera = server.add_camera("head", 64, 48, "rgb", 30.0)
    picture = numpy.arange(48 * 64 * 3, dtype=numpy.uint8).reshape(48, 64, 3)
    camera.publish(picture, 12.5)
    frames = connect(server.port).camera("head").frames()
    frame = next(frames)
    assert (frame.number, frame.time, frame.format) == (1, 12.5, "rgb")
    assert (frame.pixels == picture).all()
    eventually(lambda: camera.watchers == 1)
    large = numpy.zeros((1000, 1500, 3), numpy.uint8)
    camera.publish(large, settings={"width": 1500, "height": 1000, "format": "rgb"})
    assert next(frames).pixels.shape == large.shape
    frames.close()
    eventually(lambda: camera.watchers == 0)
    for wrong in [b"", b"short", bytes(64 * 48)]:
        assert error_of(camera.publish, wrong).cause == Cause.INVALID_ARGUMENT


def test_cameras_have_modes(serve, connect):
    server = serve()
    applied = []
    server.add_camera("head", on_settings=applied.append, modes=[
        robaxi.Mode(320, 240, ["rgb", "grey"], [10.0]), robaxi.Mode(320, 240, ["grey"], [5.0]),
        robaxi.Mode(160, 120)])
    robot = connect(server.port)
    camera = robot.cameras()[0]
    assert camera.settings == {"width": 320, "height": 240, "format": "rgb", "rate": 10.0}
    assert camera.set(format="grey", rate=5)["rate"] == 5.0
    assert applied == [{"width": 320, "height": 240, "format": "grey", "rate": 5.0}]
    for settings, text in [
        ({"width": 100}, "The camera head cannot do 100x240 pixels; it can do 320x240, 160x120."),
        ({"format": "jpeg"}, "cannot do the format jpeg at 320x240 pixels; it can do rgb, grey."),
        ({"rate": 1.0}, "it can do 10, 5."), ({"format": "rgb"}, "cannot do 5 frames a second"),
        ({"zoom": 1}, "has no setting 'zoom'"),
        ({"width": "a"}, "cannot take this width"),
    ]:
        assert text in str(error_of(camera.set, **settings))
    assert error_of(next, robot.camera("nose").frames()).cause == Cause.NO_SUCH_STREAM
    assert "no camera 'nose'" in str(error_of(robot.camera("nose").set, rate=1.0))
    frames = camera.frames()
    server.remove_camera("head")
    assert error_of(next, frames).cause == Cause.NO_SUCH_STREAM
    assert robot.cameras() == []
    for mode in [robaxi.Mode(0, 1), robaxi.Mode(1, 1, ["png"]), robaxi.Mode(1, 1, ["rgb"], [0.0])]:
        assert error_of(server.add_camera, "bad", modes=[mode]).cause == Cause.INVALID_ARGUMENT


def test_the_tool_takes_a_picture(serve, tmp_path):
    server = serve()
    camera = server.add_camera("head", 32, 16, "grey", 30.0)
    is_over = threading.Event()

    def see():
        while not is_over.is_set():
            camera.publish(bytes(range(32)) * 16)
            time.sleep(0.02)

    seeing = threading.Thread(target=see)
    seeing.start()
    picture = tmp_path / "head.pgm"
    tool(server, "snapshot", "-o", str(picture))
    is_over.set()
    seeing.join()
    assert picture.read_bytes().endswith(bytes(range(32)) * 16)


def test_limits_are_kept(serve, connect):
    server = serve(settings=Settings(limits=Limits(sessions=2, subscriptions=1, cameras=1)))
    fill(server)
    server.add_camera("head", 2, 2, "grey").publish(b"1234")
    robot = connect(server.port)
    first = robot.memory.watch()
    next(first)
    assert error_of(next, robot.memory.watch()).cause == Cause.TOO_MANY
    first.close()
    # The robot learns of the end a moment later.
    eventually(lambda: not isinstance(attempt(lambda: next(robot.memory.watch())), robaxi.Error))
    frames = robot.camera("head").frames()
    next(frames)
    assert error_of(next, robot.camera("head").frames()).cause == Cause.TOO_MANY
    with connect(server.port):
        assert error_of(connect, server.port).cause == Cause.TOO_MANY
    eventually(lambda: not isinstance(attempt(lambda: connect(server.port)), robaxi.Error))


def attempt(action):
    try:
        return action()
    except robaxi.Error as error:
        return error


def test_streams_end_with_their_session(serve, connect):
    server = serve()
    camera = server.add_camera("head", 2, 2, "grey")
    camera.publish(b"1234")
    robot = connect(server.port)
    frames = robot.camera("head").frames()  # held, as a stream ends with its iterator, too
    next(frames)
    eventually(lambda: camera.watchers == 1)
    robot.close()
    eventually(lambda: camera.watchers == 0)


def test_a_silent_client_loses_its_session(serve):
    server = serve(settings=Settings(limits=Limits(silence=5000)))
    camera = server.add_camera("head", 2, 2, "grey")
    camera.publish(b"1234")
    program = ("import robaxi\n"
               f"robot = robaxi.Robot('127.0.0.1', {server.port}, timeout={PATIENCE})\n"
               "frames = robot.camera('head').frames()\nnext(frames)\nprint('sees', flush=True)\nnext(frames)\n")
    client = subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, text=True)
    assert client.stdout.readline() == "sees\n"
    eventually(lambda: camera.watchers == 1)
    client.send_signal(signal.SIGSTOP)
    eventually(lambda: camera.watchers == 0)
    client.kill()
    client.wait()


def test_clients_notice_the_end(serve, connect):
    server = serve()
    robot = connect(server.port)
    server.stop()
    eventually(lambda: robot.error)
    assert error_of(robot.call, "Echo", "echo", 1).cause == Cause.CONNECTION_LOST
    assert error_of(connect, server.port).cause == Cause.REFUSED


def raw_session(server, *messages):
    """The batches of a session that is opened by other means than the package; ends with them."""
    channel = grpc.insecure_channel(f"127.0.0.1:{server.port}")
    stream = channel.stream_stream(
        "/robaxi.v1.Robaxi/Session", pb.ClientBatch.SerializeToString, pb.ServerBatch.FromString)
    answers = []
    try:
        for batch in stream(iter(messages), timeout=PATIENCE):
            answers.extend(batch.messages)
    finally:
        channel.close()
    return answers


def test_sessions_follow_the_rules(serve):
    server = serve()
    hello = pb.ClientMessage(hello=pb.Hello(protocol_version=1))
    [reply] = raw_session(server, pb.ClientBatch(), pb.ClientBatch(messages=[hello, hello]))
    assert reply.hello_reply.protocol_version == 1
    assert reply.hello_reply.silence_limit == 5000
    for first in [pb.ClientMessage(hello=pb.Hello(protocol_version=2)),
                  pb.ClientMessage(heartbeat=pb.Heartbeat(number=1))]:
        end = end_of(raw_session, server, pb.ClientBatch(messages=[first]))
        assert end == (grpc.StatusCode.FAILED_PRECONDITION, pb.Error.PROTOCOL_VERSION)
    with pytest.raises(grpc.RpcError) as too_large:
        raw_session(server, pb.ClientBatch(messages=[hello, pb.ClientMessage(
            fragment=pb.Fragment(data=bytes(17 << 20)))]))
    assert too_large.value.code() == grpc.StatusCode.RESOURCE_EXHAUSTED
    part = pb.ClientMessage(fragment=pb.Fragment(data=b"nonsense", last=True))
    end = end_of(raw_session, server, pb.ClientBatch(messages=[hello, part]))
    assert end == (grpc.StatusCode.INVALID_ARGUMENT, pb.Error.INVALID_ARGUMENT)


def end_of(action, *arguments):
    """The status with which an RPC ends, and the cause in its details."""
    with pytest.raises(grpc.RpcError) as raised:
        action(*arguments)
    details = dict(raised.value.trailing_metadata())["robaxi-error-bin"]
    return raised.value.code(), pb.Error.FromString(details).cause


def test_streams_follow_the_rules(serve):
    server = serve(settings=Settings(limits=PATIENT))
    impatient = serve(settings=Settings(limits=Limits(heartbeat=20)))
    for path, request, start in [
        ("Subscribe", pb.SubscriptionRequest, pb.SubscriptionStart(session_id=1, rate=1)),
        ("Watch", pb.WatchRequest, pb.WatchStart(session_id=1, module="KVVideo", stream="head")),
    ]:
        is_over = threading.Event()

        def silence():
            is_over.wait(PATIENCE)
            yield from ()

        def read(robot, requests):
            with grpc.insecure_channel(f"127.0.0.1:{robot.port}") as channel:
                stream = channel.stream_stream(
                    f"/robaxi.v1.Robaxi/{path}", request.SerializeToString, bytes)
                return list(stream(requests, timeout=PATIENCE))

        assert end_of(read, server, iter([request()])) == (
            grpc.StatusCode.INVALID_ARGUMENT, pb.Error.INVALID_ARGUMENT)
        assert end_of(read, server, iter([request(start=start)])) == (
            grpc.StatusCode.PERMISSION_DENIED, pb.Error.NOT_AUTHORISED)
        assert end_of(read, impatient, silence()) == (
            grpc.StatusCode.DEADLINE_EXCEEDED, pb.Error.TIMED_OUT)
        is_over.set()


def test_a_stream_is_refused_while_it_sends_its_first_message(serve, connect):
    """The second start may arrive at any moment of the first update."""
    server = serve()
    fill(server)
    session = connect(server.port)._session.hello.session_id
    start = pb.SubscriptionRequest(start=pb.SubscriptionStart(
        session_id=session, module="KVMemory", all_keys=True, rate=1000))
    with grpc.insecure_channel(f"127.0.0.1:{server.port}") as channel:
        stream = channel.stream_stream("/robaxi.v1.Robaxi/Subscribe",
                                       pb.SubscriptionRequest.SerializeToString, bytes)
        for _ in range(50):
            end = end_of(lambda: list(stream(iter([start, start]), timeout=PATIENCE)))
            assert end == (grpc.StatusCode.INVALID_ARGUMENT, pb.Error.INVALID_ARGUMENT)


def unary(server, method, request, reply, **metadata):
    with grpc.insecure_channel(f"127.0.0.1:{server.port}") as channel:
        return channel.unary_unary(
            f"/robaxi.v1.Robaxi/{method}", request.SerializeToString, reply.FromString)(
                request, timeout=PATIENCE, metadata=list(metadata.items()))


def test_messages_that_cannot_be_read_end_their_rpc(serve):
    server = serve()
    with grpc.insecure_channel(f"127.0.0.1:{server.port}") as channel:
        for method in ["Session", "Subscribe", "Watch", "Call", "ListModules"]:
            stream = channel.stream_stream(f"/robaxi.v1.Robaxi/{method}")
            end = end_of(lambda: list(stream(iter([b"\xff\xff\xff"]), timeout=PATIENCE)))
            assert end == (grpc.StatusCode.INVALID_ARGUMENT, pb.Error.INVALID_ARGUMENT), method


def test_one_address_does_not_keep_the_others_out(serve):
    server = serve(address="::", settings=Settings(limits=Limits(message=65536)))
    is_over = threading.Event()
    entered = threading.Semaphore(0)

    @server.module("Slow", "Takes its time").method
    def hold(text: str):
        entered.release()
        is_over.wait(PATIENCE)

    def call(channel, module, method):
        large = pb.Value(type=pb.Value.STRING, string_value="x" * 60000)
        return channel.unary_unary("/robaxi.v1.Robaxi/Call", pb.Call.SerializeToString,
                                   pb.Result.FromString).future(
            pb.Call(module=module, method=method, arguments=[large]), timeout=PATIENCE)

    with grpc.insecure_channel(f"127.0.0.1:{server.port}") as stranger, \
            grpc.insecure_channel(f"[::1]:{server.port}") as other:
        held = [call(stranger, "Slow", "hold") for _ in range(4)]
        for _ in held:
            assert entered.acquire(timeout=PATIENCE)
        end = end_of(call(stranger, "Echo", "echo").result)
        assert end == (grpc.StatusCode.RESOURCE_EXHAUSTED, pb.Error.TOO_MANY)
        assert len(call(other, "Echo", "echo").result().value.string_value) == 60000
        is_over.set()
        for each in held:
            each.result()
        assert call(stranger, "Echo", "echo").result()


def test_a_session_is_not_needed(serve):
    server = serve()

    def call(method, *texts):
        arguments = [pb.Value(type=pb.Value.STRING, string_value=text) for text in texts]
        return unary(server, "Call", pb.Call(call_id=5, module="Echo", method=method,
                                             arguments=arguments), pb.Result)

    answer = call("echo", "hello")
    assert (answer.call_id, answer.value.string_value) == (0, "hello")
    assert end_of(call, "fail", "too hot") == (grpc.StatusCode.UNKNOWN,
                                               pb.Error.RAISED_BY_MODULE)
    assert end_of(call, "nothing") == (grpc.StatusCode.NOT_FOUND, pb.Error.NO_SUCH_METHOD)
    assert end_of(call, "echo") == (grpc.StatusCode.INVALID_ARGUMENT, pb.Error.WRONG_ARGUMENTS)
    listed = unary(server, "ListModules", pb.ListModules(), pb.ModuleList)
    assert [module.name for module in listed.modules] == ["Echo"]
    assert end_of(unary, server, "ListModules", pb.ListModules(module="Nobody"),
                  pb.ModuleList) == (grpc.StatusCode.NOT_FOUND, pb.Error.NO_SUCH_MODULE)


def test_the_token_is_required_without_a_session(serve, make_token):
    server = serve(settings=Settings(server=ServerSettings(token=make_token("a secret"),
                                                           plain_token=True)))
    question = pb.ListModules()
    assert len(unary(server, "ListModules", question, pb.ModuleList,
                     authorization="Bearer a secret").modules) == 1
    for metadata, cause in [({}, pb.Error.TOKEN_MISSING),
                            ({"authorization": "Bearer a guess"}, pb.Error.TOKEN_WRONG)]:
        with pytest.raises(grpc.RpcError) as raised:
            unary(server, "ListModules", question, pb.ModuleList, **metadata)
        assert raised.value.code() == grpc.StatusCode.UNAUTHENTICATED
        details = dict(raised.value.trailing_metadata())["robaxi-error-bin"]
        assert pb.Error.FromString(details).cause == cause


def test_an_independent_client_is_served(serve):
    """The one in tests/interop, which was written from the protocol's reference."""
    server = serve()
    server.add_camera("head", 2, 2, "grey").publish(b"1234")
    fill(server)
    program = """
import sys
from client import Client
with Client(sys.argv[1]) as client:
    assert client.call("Echo", "echo", ["x" * 200000]) == ["x" * 200000]
    values = client.subscribe("KVMemory", rate=100)
    assert [key.name for key in values.next().keys_added.keys][0] == "Battery/Charge"
    assert list(values.next().values.floats) == [87.5, 1.0]
    values.close()
    assert client.watch("KVVideo", "head").next()[1] == b"1234"
    assert [module.name for module in client.list_modules("Echo")] == ["Echo"]
"""
    subprocess.run([sys.executable, "-c", program, f"127.0.0.1:{server.port}"], check=True,
                   timeout=PATIENCE, env={**os.environ, "PYTHONPATH": ":".join(
                       [str(BUILD / "tests/interop/python"), str(SOURCE / "tests/interop")])})


def test_a_port_that_is_taken_is_said(serve):
    server = serve()
    other = robaxi.Server("other", address="127.0.0.1", port=server.port, announce=False,
                          settings=Settings())
    error = error_of(other.start)
    assert error.cause == Cause.ADDRESS_IN_USE
    assert "in use by another program" in str(error)
    nowhere = robaxi.Server("other", address="192.0.2.1", port=0, announce=False,
                            settings=Settings())
    assert error_of(nowhere.start).cause == Cause.CANNOT_LISTEN


def test_tls_and_token_are_required(serve, connect, make_certificate, make_token):
    certificate = make_certificate("robot", "IP:127.0.0.1")
    token = make_token("a secret")
    server = serve(settings=Settings(server=ServerSettings(
        certificate=str(certificate.file), key=str(certificate.key), token=token)))
    fill(server)
    trusting = {"tls": True, "trust": str(certificate.file)}

    def reach(**access):
        return connect(server.port, settings=Settings(access=Access(**access)))

    assert reach(token=token, **trusting).memory["Battery/Charge"] == 87.5
    assert error_of(reach).cause == Cause.NOT_AUTHORISED
    assert "requires a token" in str(error_of(reach, **trusting))
    guess = make_token("a guess")
    assert "not the right one" in str(error_of(reach, token=guess, **trusting))
    trust = {"ROBAXI_TRUST": str(certificate.file)}
    assert tool(server, "get", "Battery/Charge", ROBAXI_TOKEN=token, **trust) == "87.5\n"
    refused, untrusted = 7, 15
    tool(server, "get", "Battery/Charge", status=refused, **trust)
    tool(server, "get", "Battery/Charge", status=refused, ROBAXI_TOKEN=guess, **trust)
    other = make_certificate("other", "IP:127.0.0.1")
    tool(server, "get", "Battery/Charge", status=untrusted, ROBAXI_TRUST=str(other.file))


def test_guesses_of_the_token_are_slowed_down(serve, connect, make_token):
    token = make_token("a secret")
    server = serve(settings=Settings(server=ServerSettings(token=token, plain_token=True)))

    def reach(file):
        return connect(server.port, settings=Settings(access=Access(token=file, plain_token=True)))

    guess = make_token("a guess")
    for _ in range(5):
        assert error_of(reach, guess).cause == Cause.NOT_AUTHORISED
    began = time.monotonic()
    assert reach(token).name == "Python"
    assert time.monotonic() - began > 0.9


def test_unsafe_settings_are_refused(make_token, make_certificate):
    certificate = make_certificate("robot", "IP:127.0.0.1")
    for settings, text in [
        (ServerSettings(token=make_token("a secret")), "A token needs certificate and key"),
        (ServerSettings(certificate=str(certificate.file)), "only of use together"),
        (ServerSettings(certificate="/nowhere", key="/nowhere"), "cannot be read"),
    ]:
        server = robaxi.Server("robot", address="127.0.0.1", port=0, announce=False,
                               settings=Settings(server=settings))
        assert text in str(error_of(server.start))


def test_the_icon_is_served(serve):
    icon = (SOURCE / "examples/robot.png").read_bytes()
    server = serve(address="0.0.0.0", icon=icon, http_port=0)

    def get(path, method="GET", host="127.0.0.1"):
        connection = http.client.HTTPConnection(host, server.http_port, timeout=PATIENCE)
        connection.request(method, path)
        answer = connection.getresponse()
        return answer.status, answer.read()

    assert get("//media/buddy.icon") == get("/media/buddy.icon") == (200, icon)
    assert get("/media/buddy.icon", host="::1") == (200, icon)
    assert get("/media/buddy.icon", "HEAD") == (200, b"")
    assert get("/")[0] == 404
    assert get("/media/buddy.icon", "POST")[0] == 405
    with socket.create_connection(("127.0.0.1", server.http_port), PATIENCE) as stranger:
        try:
            stranger.sendall(b"x" * 100_000 + b"\r\n\r\n")
            assert stranger.recv(100) == b""
        except ConnectionError:
            pass  # closed before all was read, or even sent
    assert get("/media/buddy.icon")[0] == 200
