"""A client in Python, which was written from robaxi.proto and docs/protocol.md, with robots of ours.

    client_test.py ROBOT TEST_SERVER
"""

import math
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import grpc
from google.protobuf import json_format

from client import Client, ConnectionLost, Refused
from free_port import free_port
from messages import PART_SIZE, PATIENCE, RemoteError, from_value
from robaxi.v1 import robaxi_pb2 as pb


class Robot:
    """A process that serves on a port of the loopback."""

    def __init__(self, command, ready, **environment):
        self.port = free_port()
        self.address = f"127.0.0.1:{self.port}"
        self.process = subprocess.Popen(
            [word.replace("PORT", str(self.port)) for word in command],
            stdout=subprocess.PIPE, text=True, env={**os.environ, **environment})
        if not any(ready in line for line in iter(self.process.stdout.readline, "")):
            raise RuntimeError(f"{command[0]} did not start")

    def end(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()


def start_echo(**environment):
    """A broker of the library with "Echo", and "Memory" in which a counter runs."""
    return Robot([sys.argv[2], "PORT"], "ready", **environment)


def start_robot():
    return Robot([sys.argv[1], "--port", "PORT", "--http-port", "0", "--no-announce"], "listens on")


class WithEcho(unittest.TestCase):
    def setUp(self):
        self.robot = start_echo()
        self.addCleanup(self.robot.end)

    def connect(self, **options):
        client = Client(self.robot.address, **options)
        self.addCleanup(client.close)
        return client

    def error_of(self, client, *call):
        with self.assertRaises(RemoteError) as raised:
            client.call(*call)
        return raised.exception

    def test_hello_is_answered(self):
        hello = self.connect().hello
        self.assertEqual(hello.protocol_version, 1)
        self.assertEqual(hello.name, "Process")
        self.assertNotEqual(hello.session_id, 0)
        self.assertGreater(hello.silence_limit, 1500)

    def test_another_version_is_refused(self):
        for version in (0, 2):
            with self.assertRaises(Refused) as raised:
                Client(self.robot.address, version=version)
            self.assertEqual(raised.exception.code, grpc.StatusCode.FAILED_PRECONDITION)
            self.assertEqual(raised.exception.reason.cause, pb.Error.PROTOCOL_VERSION)
            self.assertIn("it speaks version 1", raised.exception.reason.text)

    def test_values_of_every_type_come_back(self):
        client = self.connect()
        values = [
            None, False, True, 0, -(2**63), 2**63 - 1, 0.5, math.inf, "", "Zürich\0", b"\0\xff",
            [], [1, 2.0, "three", [None]], {}, {"a": 1, "ü": {"b": [b"bytes"]}},
        ]
        for value in values:
            answer = client.call("Echo", "echo", value)
            self.assertEqual(answer, value)
            self.assertIs(type(answer), type(value))
        self.assertTrue(math.isnan(client.call("Echo", "echo", math.nan)))
        self.assertEqual(math.copysign(1, client.call("Echo", "echo", -0.0)), -1)

    def test_a_text_that_is_not_utf8_is_carried_unchanged(self):
        client = self.connect()
        text = pb.Value(type=pb.Value.STRING, bytes_value=b"caf\xe9")
        call_id, future = client._expect_answer()
        client._say(pb.ClientMessage(call=pb.Call(
            call_id=call_id, module="Echo", method="echo", arguments=[text])))
        self.assertEqual(future.result(timeout=PATIENCE).value, text)

    def test_a_value_reads_as_what_it_is(self):
        value = self.connect().start_call("Echo", "echo", {"name": "Zürich", "n": 7, "on": True})[1]
        read = json_format.MessageToDict(value.result(timeout=PATIENCE).value)
        self.assertEqual(read["keys"], ["n", "name", "on"])
        self.assertEqual([element["type"] for element in read["elements"]], ["INT", "STRING", "BOOL"])
        self.assertEqual(read["elements"][1]["stringValue"], "Zürich")
        self.assertEqual(read["elements"][0]["intValue"], "7")
        self.assertIs(read["elements"][2]["boolValue"], True)

    def test_errors_say_their_cause(self):
        client = self.connect()
        raised = self.error_of(client, "Echo", "fail", "too hot")
        self.assertEqual(raised.cause, pb.Error.RAISED_BY_MODULE)
        self.assertEqual(raised.text, "too hot")
        self.assertTrue(raised.by_method)
        for call, cause in [
            (("Nobody", "echo"), pb.Error.NO_SUCH_MODULE),
            (("Echo", "nothing"), pb.Error.NO_SUCH_METHOD),
            (("Echo", "echo"), pb.Error.WRONG_ARGUMENTS),
            (("Echo", "fail", 7), pb.Error.WRONG_ARGUMENTS),
        ]:
            refused = self.error_of(client, *call)
            self.assertEqual(refused.cause, cause, call)
            self.assertFalse(refused.by_method, call)

    def test_large_messages_travel_whole_or_in_parts(self):
        large = bytes(range(256)) * (3 * PART_SIZE // 256)
        whole = self.connect(takes_fragments=False)
        self.assertEqual(whole.call("Echo", "echo", large), large)
        self.assertEqual(whole.assembler.parts, 0)
        cut = self.connect(takes_fragments=True)
        self.assertEqual(cut.call("Echo", "echo", large), large)
        self.assertGreaterEqual(cut.assembler.parts, 3)

    def test_results_of_calls_side_by_side_find_their_calls(self):
        client = self.connect()
        calls = [client.start_call("Echo", "echo", number)[1] for number in range(200)]
        results = [from_value(call.result(timeout=PATIENCE).value) for call in calls]
        self.assertEqual(results, list(range(200)))

    def test_heartbeats_come_back(self):
        client = self.connect()
        deadline = time.monotonic() + PATIENCE
        while client.heartbeats_returned < 3 and time.monotonic() < deadline:
            self.assertFalse(client.wait_for_loss(0.05))
        self.assertGreaterEqual(client.heartbeats_returned, 3)

    def test_the_end_of_a_robot_is_noticed(self):
        client = self.connect()
        self.robot.process.kill()
        self.assertTrue(client.wait_for_loss(PATIENCE))
        with self.assertRaises(ConnectionLost):
            client.call("Echo", "echo", 1)

    def test_the_silence_of_a_robot_is_noticed(self):
        client = self.connect(is_silence_loss=True)
        _, call = client.start_call("Echo", "echo", 1)
        call.result(timeout=PATIENCE)
        self.robot.process.send_signal(signal.SIGSTOP)
        # Its threads stop one after another, and one that still runs could answer.
        os.waitid(os.P_PID, self.robot.process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
        _, call = client.start_call("Echo", "echo", 1)
        self.assertTrue(client.wait_for_loss(PATIENCE))
        self.assertIsInstance(call.exception(timeout=PATIENCE), ConnectionLost)

    def test_values_are_followed(self):
        subscription = self.connect().subscribe("Memory", rate=100)
        self.addCleanup(subscription.close)
        table = subscription.next()
        self.assertEqual([key.name for key in table.keys_added.keys], ["counter"])
        key = table.keys_added.keys[0]
        self.assertEqual(key.type, pb.Value.INT)
        seen = []
        for _ in range(5):
            values = subscription.next().values
            self.assertEqual(list(values.int_ids), [key.id])
            self.assertAlmostEqual(values.time / 1e6, time.time(), delta=60)
            seen.append(values.ints[0])
        self.assertEqual(seen, sorted(set(seen)))

    def test_no_more_than_two_updates_are_on_their_way(self):
        subscription = self.connect().subscribe("Memory", rate=1000)
        self.addCleanup(subscription.close)
        subscription.next()
        first = subscription.next()
        # Nothing is reported for a while in which the counter continues, and then every update is new.
        counter = first.values.ints[0]
        other = self.connect().subscribe("Memory", rate=1000)
        self.addCleanup(other.close)
        while other.next().values.ints[:1] < [counter + 20]:
            pass
        waiting = subscription.next()
        newest = subscription.next()
        self.assertLess(waiting.values.ints[0], counter + 20)
        self.assertGreaterEqual(newest.values.ints[0], counter + 20)

    def test_refused_subscriptions_say_why(self):
        client = self.connect()
        for module, rate, cause in [
            ("Nobody", 1, pb.Error.NO_SUCH_MODULE),
            ("Memory", -1, pb.Error.INVALID_ARGUMENT),
        ]:
            subscription = client.subscribe(module, rate)
            with self.assertRaises(RemoteError) as raised:
                subscription.next()
            self.assertEqual(raised.exception.cause, cause)
            subscription.close()
        self.assertEqual(client.call("Echo", "echo", "the session lives on"), "the session lives on")


class WithRobot(unittest.TestCase):
    def setUp(self):
        self.robot = start_robot()
        self.addCleanup(self.robot.end)
        self.client = Client(self.robot.address)
        self.addCleanup(self.client.close)

    def read(self, key):
        return self.client.call("KVMemory", "getData", key)

    def test_modules_are_described(self):
        modules = {module.name: module for module in self.client.list_modules()}
        self.assertLessEqual({"KVMemory", "KVLeds", "KVBallamor", "KVSim"}, set(modules))
        self.assertTrue(modules["KVMemory"].has_values)
        self.assertFalse(modules["KVLeds"].has_values)
        [rasta] = modules["KVLeds"].methods
        self.assertEqual(rasta.name, "rasta")
        self.assertEqual(rasta.signature, "rasta(duration: float)")

    def test_one_module_is_asked_for(self):
        [leds] = self.client.list_modules("KVLeds")
        self.assertEqual(leds.name, "KVLeds")
        with self.assertRaises(RemoteError) as raised:
            self.client.list_modules("Nobody")
        self.assertEqual(raised.exception.cause, pb.Error.NO_SUCH_MODULE)

    def test_posts_are_run_in_spite_of_the_end_of_their_session(self):
        with Client(self.robot.address) as other:
            other.post("KVBallamor", "sendClipboard", "posted")
            other.post("KVBallamor", "noSuchMethod", "dropped")
        deadline = time.monotonic() + PATIENCE
        while self.read("Ballamor/ClipboardCount") == 0 and time.monotonic() < deadline:
            pass
        self.assertEqual(self.read("Ballamor/Clipboard"), "posted")
        self.assertEqual(self.read("Ballamor/ClipboardCount"), 1)

    def test_chosen_keys_are_followed(self):
        table = self.client.subscribe("KVMemory", rate=1, ids=[])
        names = {}
        while "Ballamor/Clipboard" not in names:
            names.update((key.name, key.id) for key in table.next().keys_added.keys)
        table.request(keys=pb.KeySelection(ids=[names["Ballamor/Clipboard"]]))
        values = table.next().values
        self.assertEqual(list(values.other_ids), [names["Ballamor/Clipboard"]])
        self.assertEqual(from_value(values.others[0]), "")
        self.client.call("KVBallamor", "sendClipboard", "followed")
        self.assertEqual(from_value(table.next().values.others[0]), "followed")
        table.close()

    def watch(self, camera):
        watched = self.client.watch("KVVideo", camera)
        self.addCleanup(watched.close)
        return watched

    def test_cameras_are_watched(self):
        [video] = self.client.list_modules("KVVideo")
        self.assertTrue(video.has_frames)
        settings = {"width": 320, "height": 240, "format": "rgb", "rate": 30.0}
        self.client.call("KVVideo", "setSettings", "head", settings)
        camera = self.watch("head")
        frames = [camera.next() for _ in range(10)]
        header, data = frames[-1]
        self.assertEqual((header.width, header.height, header.stride), (320, 240, 960))
        self.assertEqual(header.format, pb.FrameHeader.RGB888)
        self.assertEqual(header.size, 320 * 240 * 3)
        self.assertEqual(len(data), header.size)
        numbers = [header.number for header, _ in frames]
        self.assertEqual(numbers, sorted(set(numbers)))
        self.assertAlmostEqual(header.time / 1e6, time.time(), delta=60)

    def test_pictures_may_be_jpeg_files(self):
        self.client.call("KVVideo", "setSettings", "head", {"format": "jpeg"})
        camera = self.watch("head")
        header, data = camera.next()
        while header.format != pb.FrameHeader.JPEG:  # the one from before the change
            header, data = camera.next()
        self.assertEqual(header.stride, 0)
        self.assertEqual((data[:2], data[-2:]), (b"\xff\xd8", b"\xff\xd9"))

    def test_no_more_than_two_frames_are_on_their_way(self):
        slow = self.watch("head")
        first, _ = slow.next(report=False)
        quick = self.watch("head")
        while quick.next()[0].number < first.number + 10:
            pass
        second, _ = slow.next()
        third, _ = slow.next()
        self.assertLess(second.number, first.number + 10)
        self.assertGreaterEqual(third.number, first.number + 10)

    def test_a_camera_that_is_not_there_says_so(self):
        with self.assertRaises(RemoteError) as raised:
            self.watch("nose").next()
        self.assertEqual(raised.exception.cause, pb.Error.NO_SUCH_STREAM)


class Certificate:
    """A certificate that signed itself."""

    def __init__(self, folder, name, names):
        self.file = folder / f"{name}.pem"
        self.key = folder / f"{name}-key.pem"
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
             "-nodes", "-days", "2", "-subj", f"/CN={name}", "-addext", f"subjectAltName={names}",
             "-out", self.file, "-keyout", self.key], check=True, stderr=subprocess.DEVNULL)
        self.trust = self.file.read_bytes()


@unittest.skipUnless(shutil.which("openssl"), "no openssl to make certificates with")
class WithSecurity(unittest.TestCase):
    TOKEN = b"a secret of the robot"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.certificate = self.make_certificate("robot", "IP:127.0.0.1")

    def make_certificate(self, name, names):
        return Certificate(self.folder, name, names)

    def start(self, certificate=None, asks_for_token=False):
        settings = {}
        if certificate is not None:
            settings["ROBAXI_SERVER_CERTIFICATE"] = str(certificate.file)
            settings["ROBAXI_SERVER_KEY"] = str(certificate.key)
        if asks_for_token:
            file = self.folder / "token"
            file.write_bytes(self.TOKEN + b"\n")
            file.chmod(0o600)
            settings["ROBAXI_SERVER_TOKEN"] = str(file)
            settings["ROBAXI_SERVER_PLAIN_TOKEN"] = "yes"
        self.robot = start_echo(**settings)
        self.addCleanup(self.robot.end)

    def connect(self, **security):
        client = Client(self.robot.address, **security)
        self.addCleanup(client.close)
        return client

    def refusal(self, **security):
        with self.assertRaises(Refused) as raised:
            self.connect(**security)
        self.assertEqual(raised.exception.code, grpc.StatusCode.UNAUTHENTICATED)
        return raised.exception.reason.cause

    def test_calls_and_values_travel_in_tls(self):
        self.start(self.certificate, asks_for_token=True)
        client = self.connect(trust=self.certificate.trust, token=self.TOKEN)
        self.assertEqual(client.call("Echo", "echo", "in secret"), "in secret")
        subscription = client.subscribe("Memory", rate=100)
        self.addCleanup(subscription.close)
        self.assertEqual(len(subscription.next().keys_added.keys), 1)
        self.assertEqual(len(subscription.next().values.ints), 1)

    def test_a_certificate_for_another_name_is_taken_when_that_is_asked_for(self):
        certificate = self.make_certificate("marvin", "DNS:marvin.local")
        self.start(certificate)
        with self.assertRaises(ConnectionLost):
            self.connect(trust=certificate.trust)
        client = self.connect(trust=certificate.trust, name="marvin.local")
        self.assertEqual(client.call("Echo", "echo", 1), 1)

    def test_another_certificate_is_not_trusted(self):
        self.start(self.certificate)
        with self.assertRaises(ConnectionLost):
            self.connect(trust=self.make_certificate("other", "IP:127.0.0.1").trust)

    def test_there_is_no_falling_back(self):
        self.start(self.certificate)
        with self.assertRaises(ConnectionLost):
            self.connect()
        self.start()
        with self.assertRaises(ConnectionLost):
            self.connect(trust=self.certificate.trust)

    def test_only_those_who_know_the_token_are_let_in(self):
        for security in ({}, {"trust": self.certificate.trust}):
            self.start(self.certificate if security else None, asks_for_token=True)
            self.assertEqual(self.refusal(**security), pb.Error.TOKEN_MISSING)
            for wrong in (b"a guess", self.TOKEN[:-1], self.TOKEN + b"\n", b"\0\xff"):
                self.assertEqual(self.refusal(token=wrong, **security), pb.Error.TOKEN_WRONG)
            client = self.connect(token=self.TOKEN, **security)
            self.assertEqual(client.call("Echo", "echo", 1), 1)

    def test_streams_beside_a_session_need_its_number(self):
        self.start(self.certificate, asks_for_token=True)
        client = self.connect(trust=self.certificate.trust, token=self.TOKEN)
        client.hello.session_id ^= 1
        with self.assertRaises(RemoteError) as raised:
            client.subscribe("Memory", rate=1).next()
        self.assertEqual(raised.exception.cause, pb.Error.NOT_AUTHORISED)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
