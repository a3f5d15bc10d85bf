"""The package's client with robots that a network hides for a while: those of the C++ library and
those of the package."""

import asyncio
import signal
import sys
import threading

import pytest

import robaxi
from conftest import PATIENCE, SOURCE, eventually
from relay import Relay
from robaxi import Cause, State
from robaxi._outbox import Copies
from robaxi.v1 import robaxi_pb2 as pb
from scripted_robot import Script

# Silent after 0.3 s, so that a test takes a moment only.
QUICK = robaxi.Limits(heartbeat=50, loss=300)


@pytest.fixture
def start_in_python(start):
    """A robot of the package with what those of the fixtures below have."""
    command = [sys.executable, str(SOURCE / "tests/python/echo_robot.py"), "PORT"]
    return lambda **environment: start(command, "ready", **environment)


@pytest.fixture(params=["library", "package"])
def start_either_echo(request, start_echo, start_in_python):
    return start_echo if request.param == "library" else start_in_python


@pytest.fixture(params=["library", "package"])
def start_either_humanoid(request, start_humanoid, start_in_python):
    return start_humanoid if request.param == "library" else start_in_python


@pytest.fixture
def relays():
    opened = []

    def open_relay(port):
        opened.append(Relay(port))
        return opened[-1]

    yield open_relay
    for relay in opened:
        relay.end()


@pytest.fixture
def reach(relays, connect):
    """Connects to a robot through a relay; returns both."""

    def reach_port(port, limits=QUICK, **access):
        relay = relays(port)
        settings = robaxi.Settings(limits=limits, access=robaxi.Access(**access))
        return relay, connect(relay.port, settings=settings)

    return reach_port


def is_state(robot, state):
    return lambda: robot.state == state


def hide(relay, robot):
    """Cuts the connection until the robot is silent."""
    relay.cut()
    eventually(is_state(robot, State.SILENT))


def newer(changes, than):
    """The values that arrive until one is above `than`."""
    seen = []
    while not seen or seen[-1] <= than:
        seen.append(next(changes).value)
    return seen


@pytest.mark.parametrize("keeps_former", [False, True])
def test_a_session_goes_on_after_a_silence(start_either_echo, reach, make_token, make_certificate,
                                           keeps_former):
    token = make_token("secret")
    certificate = make_certificate("robot", "IP:127.0.0.1")
    echo = start_either_echo(ROBAXI_SERVER_TOKEN=token, **certificate.served)
    relay, robot = reach(echo.port, token=token, tls=True, trust=str(certificate.file))
    changes = robot.values("Memory").watch(rate=100)
    chosen = robot.values("Memory").watch("count*", rate=100)
    last = newer(changes, 1)[-1]
    last_chosen = newer(chosen, 1)[-1]
    robot.call("Talker", "talk")
    relay.cut()
    answers = []
    waiting = threading.Thread(target=lambda: answers.append(robot.call("Talker", "talk")))
    waiting.start()
    robot.post("Talker", "talk")
    eventually(is_state(robot, State.SILENT))
    assert robot.silence >= 0.25
    assert robot.error is None and not answers
    relay.restore(keeps_former)
    eventually(is_state(robot, State.CONNECTED))
    waiting.join(PATIENCE)
    assert len(answers[0]) == 1000
    eventually(lambda: robot.call("Talker", "runs") == 3)
    for each, before in [(changes, last), (chosen, last_chosen)]:
        seen = newer(each, before + 40)
        assert seen == sorted(set(seen)) and seen[0] > before
    assert robot.silence < PATIENCE


def test_sessions_go_on_again_and_again(start_either_echo, reach):
    relay, robot = reach(start_either_echo().port)
    changes = robot.values("Memory").watch(rate=100)
    last = newer(changes, 1)[-1]
    threads = threading.active_count()
    for _ in range(2):
        hide(relay, robot)
        relay.restore(keeps_former=False)
        eventually(is_state(robot, State.CONNECTED))
        last = newer(changes, last)[-1]
        assert robot.call("Echo", "echo", last) == last
    eventually(lambda: threading.active_count() <= threads)


def test_large_messages_go_on_where_they_were(start_either_echo, reach):
    relay, robot = reach(start_either_echo().port)
    text = "x" * (4 << 20)
    answers = []
    is_over = threading.Event()

    def call_on():
        while not is_over.is_set():
            answers.append(robot.call("Echo", "echo", text))

    calling = threading.Thread(target=call_on)
    calling.start()
    try:
        eventually(lambda: len(answers) >= 2)
        hide(relay, robot)  # in the middle of a call
        before = len(answers)
        relay.restore(keeps_former=False)
        eventually(lambda: len(answers) >= before + 3)
    finally:
        is_over.set()
        calling.join()
    assert set(answers) == {text}


def test_only_what_has_changed_is_sent_again(start_either_humanoid, reach, connect):
    port = start_either_humanoid().port
    relay, robot = reach(port)
    other = connect(port).memory
    other["Audio/Volume"] = 10
    changes = robot.memory.watch("Audio/Volume", "Clock/*", "Joint/Head*")

    def until(is_last):
        seen = []
        while not seen or not is_last(seen[-1]):
            seen.append(next(changes))
        return [one.value for one in seen if one.key == "Audio/Volume"]

    assert until(lambda one: one.key == "Audio/Volume") == [10]
    begin = max(one.time for one in [next(changes) for _ in range(20)])
    hide(relay, robot)
    relay.restore(keeps_former=False)
    assert until(lambda one: one.time > begin + 1) == []
    hide(relay, robot)
    other["Audio/Volume"] = 20
    other["Audio/Volume"] = 30
    relay.restore(keeps_former=False)
    assert until(lambda one: one.key == "Audio/Volume") == [30]
    assert len(changes.keys) == len({key.name for key in changes.keys}) > 1


def move(scripted, relay, robot):
    """Moves the session to the next connection of a scripted robot."""
    hide(relay, robot)
    scripted.accept()
    relay.restore(keeps_former=False)
    eventually(is_state(robot, State.CONNECTED))


def test_keys_of_another_table_replace_the_former_ones(script, reach):
    def keys(table, **names):
        return pb.SubscriptionUpdate(number=1, position=1, keys_added=pb.KeysAdded(
            table=table, keys=[pb.Key(id=int(key[1:]), name=name) for key, name in names.items()]))

    def value(key, number):
        return pb.SubscriptionUpdate(number=2, position=2, values=pb.Values(
            int_ids=[key], ints=[number]))

    def present(*ids):
        return pb.SubscriptionUpdate(number=1, keys_present=pb.KeySelection(ids=ids))

    scripted = script(
        Script(updates=[keys(5, k1="a/one", k2="b/two", k3="a/three"), value(1, 10)]),
        Script(updates=[present(2, 3), value(3, 30)]),
        Script(updates=[present(), keys(6, k1="a/four"), value(1, 40)]))
    relay, robot = reach(scripted.port)
    changes = robot.memory.watch("a/*")
    assert (next(changes).key, changes.keys[-1].name) == ("a/one", "a/three")
    seen = []
    for _ in range(2):
        move(scripted, relay, robot)
        seen.append((next(changes).key, [key.name for key in changes.keys]))
    assert seen == [("a/three", ["a/three"]), ("a/four", ["a/four"])]
    first, second, third = scripted.subscribed
    assert first.start.resumption == 0 and not first.start.HasField("known")
    assert second.start.resumption < third.start.resumption
    assert second.start.known == pb.KnownState(
        position=2, last_key=3, keys=3, with_values=[1], table=5)
    assert [*second.keys.ids] == [1, 3]
    assert third.start.known == pb.KnownState(
        position=2, last_key=3, keys=2, with_values=[3], table=5)
    assert [*third.keys.ids] == [3]


def test_a_stream_that_the_robot_refuses_since_it_has_moved_the_session(script, reach):
    """Before the program counts the robot as silent, and knows of the other connection."""
    added = pb.SubscriptionUpdate(number=1, position=1, keys_added=pb.KeysAdded(
        table=5, keys=[pb.Key(id=1, name="one")]))
    value = pb.SubscriptionUpdate(number=2, position=2, values=pb.Values(int_ids=[1], ints=[10]))
    scripted = script(Script(), Script(updates=[added, value]))
    _, robot = reach(scripted.port, robaxi.Limits(heartbeat=100, loss=2000))
    scripted.leave()
    eventually(lambda: scripted.ignored)
    seen = []
    reading = threading.Thread(target=lambda: seen.append(next(robot.memory.watch("one"))))
    reading.start()
    eventually(lambda: scripted.subscribed)
    scripted.accept()
    reading.join(PATIENCE)
    assert [one.value for one in seen] == [10]


def test_a_repeated_part_of_a_result_is_ignored(script, reach):
    result = pb.ServerMessage(result=pb.Result(
        call_id=1, value=pb.Value(type=pb.Value.STRING, string_value="in parts")))
    data = result.SerializeToString()
    begin, rest = [
        pb.ServerBatch(number=number, messages=[pb.ServerMessage(fragment=fragment)])
        for number, fragment in [(1, pb.Fragment(data=data[:5])),
                                 (2, pb.Fragment(data=data[5:], last=True))]]
    scripted = script(Script(batches=[begin]), Script(batches=[begin, rest]))
    relay, robot = reach(scripted.port)
    answers = []
    calling = threading.Thread(target=lambda: answers.append(robot.call("Echo", "echo")))
    calling.start()
    eventually(lambda: robot._session._received == 1)
    move(scripted, relay, robot)
    calling.join(PATIENCE)
    assert answers == ["in parts"]


def test_a_repeated_frame_is_left_out(script, reach):
    def frame(number, **chain):
        kind = pb.FrameHeader.H264 if chain else pb.FrameHeader.GREY8
        header = pb.FrameHeader(number=number, time=number, width=1, height=1, size=1,
                                stride=0 if chain else 1, format=kind, **chain)
        return pb.WatchUpdate(header=header, data=b"x")

    def chained(number, is_key=False):
        return frame(number, sequence=number, is_key=is_key)

    cut_off = frame(3)
    cut_off.header.size = 2
    for first, second, expected in [
            ([frame(1), frame(2), cut_off], [frame(2), frame(4)], [2, 4]),
            ([chained(1, True), chained(2)], [chained(1, True), chained(2), chained(3)], [2, 3])]:
        scripted = script(Script(frames=first), Script(frames=second))
        relay, robot = reach(scripted.port)
        frames = robot.camera("head").frames()
        seen = []
        while not seen or seen[-1] < 2:
            seen.append(next(frames).number)
        move(scripted, relay, robot)
        assert [seen[-1], next(frames).number] == expected


def test_streams_end_for_a_reason_that_cannot_be_read(script, connect):
    scripted = script(Script(reason=b"\xff\xff\xff"))
    robot = connect(scripted.port)
    for stream in [robot.camera("head").frames(), robot.memory.watch()]:
        with pytest.raises(robaxi.Error) as raised:
            next(stream)
        assert raised.value.cause == robaxi.Cause.TOO_MANY


def test_frames_go_on_with_the_next_one(start_either_humanoid, reach):
    relay, robot = reach(start_either_humanoid().port)
    robot.camera("head").set(rate=30.0)
    frames = robot.camera("head").frames()
    seen = [next(frames).number for _ in range(3)]
    for keeps_former in [False, True]:
        hide(relay, robot)
        relay.restore(keeps_former)
        eventually(is_state(robot, State.CONNECTED))
        seen += [next(frames).number for _ in range(5)]
    assert seen == sorted(set(seen))


def test_a_silence_above_the_limit_is_the_loss(echo, reach):
    threads = threading.active_count()
    relay, robot = reach(echo.port, robaxi.Limits(heartbeat=50, loss=300, silence=3000))
    changes = robot.values("Memory").watch()
    next(changes)
    states = robot.states()
    # On a busy machine the robot may seem silent already before.
    assert State.CONNECTED in states
    relay.cut()
    assert [*states][-2:] == [State.SILENT, State.LOST]
    assert robot.state == State.LOST
    assert robot.error.cause == Cause.CONNECTION_LOST
    assert "is silent" in str(robot.error)
    with pytest.raises(robaxi.Error) as raised:
        [None for _ in changes]
    assert raised.value.cause == Cause.CONNECTION_LOST
    relay.end()
    eventually(lambda: threading.active_count() <= threads)


def test_a_robot_that_starts_again_is_another_one(start_either_echo, reach):
    relay, robot = reach(start_either_echo().port)
    other = start_either_echo()  # now, since a silent robot is lost after 10 s
    hide(relay, robot)
    relay.robot_port = other.port
    relay.restore(keeps_former=False)
    eventually(is_state(robot, State.LOST))
    assert "has ended the session" in str(robot.error)


def test_a_silent_robot_that_ends_is_lost_at_once(echo, reach):
    relay, robot = reach(echo.port, robaxi.Limits(heartbeat=50, loss=300, silence=120_000))
    relay.cut()
    relay.refuse()
    eventually(is_state(robot, State.LOST))
    assert "has ended" in str(robot.error)


def test_states_are_watched_with_asyncio(echo, reach):
    relay, robot = reach(echo.port)

    async def watch():
        seen = []
        async with robot.states() as states:
            async for state in states:
                if not seen and state == State.SILENT:
                    continue  # as it may seem on a busy machine
                seen.append(state)
                if len(seen) == 1:
                    relay.cut()
                elif len(seen) == 2:
                    relay.restore(keeps_former=False)
                else:
                    break
        assert [state async for state in states] == []
        return seen

    seen = asyncio.run(asyncio.wait_for(watch(), PATIENCE))
    assert seen == [State.CONNECTED, State.SILENT, State.CONNECTED]


def test_a_stopped_robot_of_the_package_does_not_mistake_that_for_silence(start_in_python, reach):
    silence = 2000  # milliseconds, of the robot
    robot_process = start_in_python(ROBAXI_SILENCE=str(silence))
    _, robot = reach(robot_process.port, robaxi.Limits(heartbeat=50, loss=300, silence=120_000))
    runs = robot.call("Talker", "runs")
    robot_process.stop()
    eventually(lambda: robot.silence > silence / 1000 + 0.5)
    robot_process.process.send_signal(signal.SIGCONT)
    eventually(is_state(robot, State.CONNECTED))
    assert robot.call("Talker", "runs") == runs


@pytest.fixture
def serve():
    """Starts a robot of the package in this process."""
    servers = []

    def start_server(**limits):
        servers.append(robaxi.Server("here", address="127.0.0.1", port=0, announce=False,
                                     settings=robaxi.Settings(limits=robaxi.Limits(**limits))))
        servers[-1].start()
        return servers[-1]

    yield start_server
    for server in servers:
        server.stop()


def test_a_robot_of_the_package_ends_a_silent_session_for_another_one(serve, reach, connect):
    # Not QUICK: the first session may not be silent, and end, while a busy machine delays it.
    server = serve(sessions=1, silence=120_000)
    relay, robot = reach(server.port, robaxi.Limits(silence=120_000))
    with pytest.raises(robaxi.Error) as raised:
        connect(server.port)
    assert raised.value.cause == Cause.TOO_MANY
    hide(relay, robot)

    def comes_in():
        try:
            return connect(server.port)
        except robaxi.Error as error:
            assert error.cause == Cause.TOO_MANY
            return None

    other = eventually(comes_in)
    relay.restore(keeps_former=False)
    eventually(is_state(robot, State.LOST))
    assert "has ended the session" in str(robot.error)
    assert other.state == State.CONNECTED


def test_a_robot_of_the_package_ends_a_stream_that_is_not_read(serve, reach):
    """Although it is in the middle of a frame, which takes as long as TCP tries to send it."""
    server = serve()
    camera = server.add_camera("head", modes=[robaxi.Mode(4000, 4000, ["grey"])])
    relay, robot = reach(server.port)
    frames = robot.camera("head").frames()
    frame = bytes(4000 * 4000)
    camera.publish(frame)
    assert next(frames).number == 1
    relay.cut()
    camera.publish(frame)
    eventually(is_state(robot, State.SILENT))
    relay.restore(keeps_former=False)
    while next(frames).number != 2:
        pass
    eventually(lambda: camera.watchers == 1)


def test_copies_of_what_was_sent_are_bounded():
    copies = Copies(largest_message=100_000)
    part = pb.ServerBatch(messages=[pb.ServerMessage(fragment=pb.Fragment(data=bytes(60_000)))])
    for number in range(1, 6):
        batch = pb.ServerBatch()
        batch.CopyFrom(part)
        copies.add(batch)
        assert batch.number == number
    assert not copies.resume(1)
    assert copies.resume(2)
    assert [copies.take_repeated().number for _ in range(3)] == [3, 4, 5]
    assert copies.take_repeated() is None
    assert not copies.resume(6)
    copies.acknowledge(4)
    assert not copies.resume(3)
    assert copies.resume(4)
    assert copies.take_repeated().number == 5
