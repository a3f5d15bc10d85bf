"""A generic client of gRPC, without our .proto, with a robot of ours.

    generic_client_test.py ROBOT TEST_SERVER
"""

import pathlib
import queue
import shutil
import sys
import tempfile
import unittest

import grpc

import client_test
from client import open_channel
from generic_client import GenericClient, NotFound
from messages import PATIENCE

ROBAXI = "robaxi.v1.Robaxi"
HEALTH = "grpc.health.v1.Health"
REFLECTION = "grpc.reflection.v1alpha.ServerReflection"
TOKEN = "a secret of the robot"


def text(value):
    return {"type": "STRING", "stringValue": value}


class WithEcho(unittest.TestCase):
    def setUp(self):
        robot = client_test.start_echo()
        self.addCleanup(robot.end)
        self.channel = open_channel(robot.address)
        self.addCleanup(self.channel.close)
        self.client = GenericClient(self.channel)

    def call(self, module, method, *arguments):
        return self.client.unary(ROBAXI, "Call", {
            "module": module, "method": method, "arguments": list(arguments)})

    def refusal(self, *call):
        """The status of a call, and its details."""
        with self.assertRaises(grpc.RpcError) as raised:
            self.call(*call)
        end = raised.exception
        details = dict(end.trailing_metadata()).get("robaxi-error-bin")
        self.assertIsNotNone(details, end)
        return end.code(), end.details(), self.client.message("robaxi.v1.Error", details)

    def test_services_are_found(self):
        self.assertEqual(set(self.client.services()), {ROBAXI, HEALTH, REFLECTION})
        with self.assertRaises(NotFound):
            self.client.unary("robaxi.v1.Nobody", "Call")

    def test_a_service_of_an_endless_name_is_not_looked_for(self):
        with self.assertRaises(grpc.RpcError) as raised:
            self.client.unary("x" * (1 << 20), "Call")
        self.assertEqual(raised.exception.code(), grpc.StatusCode.RESOURCE_EXHAUSTED)

    def test_a_method_is_called(self):
        for value in (text("Zürich"), {"type": "INT", "intValue": "-7"}, {},
                      {"type": "LIST", "elements": [{"type": "BOOL", "boolValue": False}]}):
            self.assertEqual(self.call("Echo", "echo", value), {"value": value})

    def test_a_method_that_is_refused_or_fails_ends_with_a_status(self):
        code, message, details = self.refusal("Echo", "fail", text("too hot"))
        self.assertEqual((code, message), (grpc.StatusCode.UNKNOWN, "too hot"))
        self.assertEqual(details, {"cause": "RAISED_BY_MODULE", "text": "too hot", "byMethod": True})
        for call, code, cause in [
            (("Nobody", "echo"), grpc.StatusCode.NOT_FOUND, "NO_SUCH_MODULE"),
            (("Echo", "nothing"), grpc.StatusCode.NOT_FOUND, "NO_SUCH_METHOD"),
            (("Echo", "echo"), grpc.StatusCode.INVALID_ARGUMENT, "WRONG_ARGUMENTS"),
        ]:
            refused, message, details = self.refusal(*call)
            self.assertEqual((refused, details["cause"]), (code, cause))
            self.assertTrue(message)

    def end_of(self, method, *requests):
        """The status of a stream on which these bytes are sent, and its details."""
        stream = self.channel.stream_stream(f"/{ROBAXI}/{method}")(iter(requests), timeout=PATIENCE)
        with self.assertRaises(grpc.RpcError) as raised:
            for _ in stream:
                pass
        details = dict(raised.exception.trailing_metadata()).get("robaxi-error-bin", b"")
        return raised.exception.code(), self.client.message("robaxi.v1.Error", details)

    def test_a_message_that_cannot_be_read_ends_its_stream_with_a_status(self):
        self.client.learn(ROBAXI)
        hello = self.client.encode("robaxi.v1.ClientBatch", {
            "messages": [{"hello": {"protocolVersion": 1, "name": "plain"}}]})
        bad_text = hello.replace(b"plain", b"pl\xffin")
        for method, requests in [
            ("Session", [hello, b"\xff\xff\xff"]), ("Session", [b"\xff\xff\xff"]),
            ("Session", [bad_text]), ("Session", [hello, bad_text]),
            ("Subscribe", [b"\xff\xff\xff"]), ("Watch", [b"\xff\xff\xff"]),
        ]:
            with self.subTest(method=method, requests=requests):
                code, details = self.end_of(method, *requests)
                self.assertEqual(code, grpc.StatusCode.INVALID_ARGUMENT)
                self.assertEqual(details["cause"], "INVALID_ARGUMENT")
                self.assertTrue(details["text"])
        self.assertEqual(self.call("Echo", "echo", text("still")), {"value": text("still")})

    def open_stream(self, method, content):
        """A stream with its first message, and the queue of the others; None closes it."""
        kind = {"Session": "ClientBatch", "Subscribe": "SubscriptionRequest"}[method]
        requests = queue.SimpleQueue()
        requests.put(self.client.encode(f"robaxi.v1.{kind}", content))
        call = self.channel.stream_stream(f"/{ROBAXI}/{method}")
        return call(iter(requests.get, None), timeout=PATIENCE), requests

    def test_streams_end_when_the_client_closes_them_and_with_their_session(self):
        self.client.learn(ROBAXI)
        session, to_session = self.open_stream("Session", {
            "messages": [{"hello": {"protocolVersion": 1, "name": "plain"}}]})
        [answer] = self.client.message("robaxi.v1.ServerBatch", next(session))["messages"]
        start = {"start": {"sessionId": answer["helloReply"]["sessionId"], "module": "Memory",
                           "allKeys": True, "rate": 10}}
        closed, to_closed = self.open_stream("Subscribe", start)
        kept, _ = self.open_stream("Subscribe", start)
        for stream in (closed, kept):
            next(stream)
        to_closed.put(None)
        list(closed)
        self.assertEqual(closed.code(), grpc.StatusCode.OK)
        to_session.put(None)
        list(session)
        self.assertEqual(session.code(), grpc.StatusCode.OK)
        with self.assertRaises(grpc.RpcError):
            list(kept)
        self.assertIn(kept.code(), (grpc.StatusCode.CANCELLED, grpc.StatusCode.UNAVAILABLE))

    def test_a_message_above_the_limit_ends_its_session_with_a_status(self):
        self.client.learn(ROBAXI)
        code, _ = self.end_of("Session", bytes(17 << 20))
        self.assertEqual(code, grpc.StatusCode.RESOURCE_EXHAUSTED)

    def test_calls_may_be_large(self):
        large = text("x" * (10 << 20))
        self.assertEqual(self.call("Echo", "echo", large), {"value": large})
        with self.assertRaises(grpc.RpcError) as raised:
            self.call("Echo", "echo", text("x" * (17 << 20)))
        self.assertEqual(raised.exception.code(), grpc.StatusCode.RESOURCE_EXHAUSTED)

    def test_modules_are_listed(self):
        modules = self.client.unary(ROBAXI, "ListModules")["modules"]
        self.assertEqual({module["name"] for module in modules}, {"Echo", "Memory", "Talker"})
        [echo] = self.client.unary(ROBAXI, "ListModules", {"module": "Echo"})["modules"]
        self.assertIn("echo", [method["name"] for method in echo["methods"]])
        with self.assertRaises(grpc.RpcError) as raised:
            self.client.unary(ROBAXI, "ListModules", {"module": "Nobody"})
        self.assertEqual(raised.exception.code(), grpc.StatusCode.NOT_FOUND)

    def test_health_is_read(self):
        for service in ("", ROBAXI):
            answer = self.client.unary(HEALTH, "Check", {"service": service})
            self.assertEqual(answer, {"status": "SERVING"})
        with self.assertRaises(grpc.RpcError) as raised:
            self.client.unary(HEALTH, "Check", {"service": "nobody"})
        self.assertEqual(raised.exception.code(), grpc.StatusCode.NOT_FOUND)

    def test_health_is_watched(self):
        for service, status in ((ROBAXI, 1), ("nobody", 3)):
            states = self.client.stream(HEALTH, "Watch", {"service": service})
            self.assertEqual(next(states).status, status)
            states.cancel()


@unittest.skipUnless(shutil.which("openssl"), "no openssl to make certificates with")
class WithSecurity(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        folder = pathlib.Path(folder.name)
        certificate = client_test.Certificate(folder, "robot", "IP:127.0.0.1")
        token = folder / "token"
        token.write_text(TOKEN + "\n")
        token.chmod(0o600)
        robot = client_test.start_echo(ROBAXI_SERVER_CERTIFICATE=str(certificate.file),
                                       ROBAXI_SERVER_KEY=str(certificate.key),
                                       ROBAXI_SERVER_TOKEN=str(token))
        self.addCleanup(robot.end)
        self.channel = open_channel(robot.address, trust=certificate.trust)
        self.addCleanup(self.channel.close)

    def test_whoever_knows_the_token_is_let_in(self):
        client = GenericClient(self.channel, TOKEN)
        self.assertIn(ROBAXI, client.services())
        self.assertTrue(client.unary(ROBAXI, "ListModules")["modules"])
        self.assertEqual(client.unary(HEALTH, "Check"), {"status": "SERVING"})
        call = {"module": "Echo", "method": "echo", "arguments": [text("in secret")]}
        self.assertEqual(client.unary(ROBAXI, "Call", call), {"value": text("in secret")})

    def test_others_are_refused_everywhere(self):
        methods = [(ROBAXI, "Call"), (ROBAXI, "ListModules"), (HEALTH, "Check"),
                   (REFLECTION, "ServerReflectionInfo")]
        for service, method in methods:
            for metadata in ([], [("authorization", "Bearer a guess")],
                             [("authorization", f"Basic {TOKEN}")]):
                with self.subTest(method=method, metadata=metadata):
                    # An empty message is one of every type.
                    call = self.channel.stream_stream(f"/{service}/{method}")
                    with self.assertRaises(grpc.RpcError) as raised:
                        list(call(iter([b""]), metadata=metadata, timeout=PATIENCE))
                    self.assertEqual(raised.exception.code(), grpc.StatusCode.UNAUTHENTICATED)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
