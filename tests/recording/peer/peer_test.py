#!/usr/bin/env python3
"""Compares the library's recordings with a reader and a writer that are not ours.

    peer_test.py RECORDING_TOOL ROBAXI ROBAXI_ROBOT [VIEWER_RECORDINGS]

The peers are npm's packages @mcap/core, @mcap/nodejs and @mcap/support, at the versions of
package-lock.json. scripts/peers installs them; the test does so, too, if they are missing, and is
skipped (status 77) on a machine without Node.
"""
import http.server
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

from free_port import free_port

HERE = pathlib.Path(__file__).resolve().parent
TOOL = None
ROBAXI = None
ROBOT = None
VIEWERS = None
PEER = None


def run(command, **options):
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.stderr}")
    return json.loads(done.stdout)


def by_log_time(messages):
    return sorted(messages, key=lambda message: int(message["logTime"]))


class OurFiles(unittest.TestCase):
    """Files of the library, read by the peer."""

    def read(self, compression, count=2000):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "ours.mcap"
            written = run([TOOL, "write", path, compression, count])["messages"]
            return written, run(["node", PEER, "read", path]), run([TOOL, "read", path])

    def compare(self, compression):
        written, peer, ours = self.read(compression)
        stream, indexed = peer["stream"], peer["indexed"]
        self.assertEqual(len(written), 2000)
        self.assertEqual(stream["messages"], written)
        self.assertTrue(stream["isDone"])
        self.assertEqual(stream["bytesRemaining"], 0)
        self.assertEqual(stream["header"]["profile"], "test")
        self.assertEqual(indexed["messages"], by_log_time(written))
        self.assertEqual(indexed["reversed"], by_log_time(written)[::-1])
        self.assertEqual(ours["sequential"]["messages"], written)
        self.assertEqual(ours["indexed"]["messages"], by_log_time(written))
        self.assertEqual(ours["faults"], [])

        statistics = indexed["statistics"]
        self.assertEqual(statistics["messageCount"], "2000")
        self.assertEqual(statistics["channelCount"], 7)
        self.assertEqual(statistics["schemaCount"], 1)
        self.assertEqual(statistics["attachmentCount"], 1)
        self.assertEqual(statistics["metadataCount"], 1)
        times = [int(message["logTime"]) for message in written]
        self.assertEqual(int(statistics["messageStartTime"]), min(times))
        self.assertEqual(int(statistics["messageEndTime"]), max(times))
        counts = {}
        for message in written:
            channel = str(message["channel"])
            counts[channel] = counts.get(channel, 0) + 1
        self.assertEqual({channel: int(count) for channel, count in
                          statistics["channelMessageCounts"].items()}, counts)
        self.assertEqual({f"/robot1/memory/Größe{channel}": count for channel, count in
                          counts.items()},
                         {topic: count for topic, count in indexed["byTopic"].items() if count})

        # The peer's stream reader shows chunks by what is in them.
        self.assertGreater(len(indexed["chunks"]), 20)
        self.assertEqual(statistics["chunkCount"], len(indexed["chunks"]))
        for chunk in indexed["chunks"]:
            self.assertEqual(chunk["compression"], compression)
            self.assertTrue(chunk["messageIndexOffsets"])
        self.assertEqual(stream["records"]["MessageIndex"],
                         sum(len(chunk["messageIndexOffsets"]) for chunk in indexed["chunks"]))
        self.assertEqual(stream["records"]["ChunkIndex"], len(indexed["chunks"]))
        self.assertEqual(indexed["dataSectionCrc"]["claimed"], indexed["dataSectionCrc"]["actual"])
        self.assertEqual(len(indexed["summaryOffsets"]), stream["records"]["SummaryOffset"])

        self.assertEqual(indexed["channels"]["0"]["topic"], "/robot1/memory/Größe0")
        self.assertEqual(indexed["channels"]["0"]["metadata"], {"unit": "°"})
        self.assertEqual(indexed["schemas"]["1"]["name"], "Number")
        self.assertEqual(bytes.fromhex(indexed["schemas"]["1"]["data"]), b'{"type":"object"}')
        for attachments in (indexed["attachments"], stream["attachments"]):
            self.assertEqual([each["name"] for each in attachments], ["icon.png"])
            self.assertEqual(attachments[0]["data"], "010200ff")
            self.assertEqual(attachments[0]["createTime"], "78")
        for metadata in (indexed["metadata"], stream["metadata"]):
            self.assertEqual([each["metadata"] for each in metadata],
                             [{"name": "robot1", "unit": "°"}])

    def test_uncompressed(self):
        self.compare("")

    def test_zstd(self):
        self.compare("zstd")

    def test_lz4(self):
        self.compare("lz4")

    def test_without_messages(self):
        written, peer, ours = self.read("zstd", 0)
        self.assertEqual(written, [])
        self.assertEqual(peer["indexed"]["messages"], [])
        self.assertEqual(len(peer["indexed"]["channels"]), 7)
        self.assertEqual(ours["faults"], [])


class TheirFiles(unittest.TestCase):
    """Files of the peer, read by the library."""

    def compare(self, is_indexed, faults=(), **options):
        options = {"messageCount": 1000, "chunkSize": 2000, "compression": "", **options}
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "theirs.mcap"
            written = run(["node", PEER, "write", path, json.dumps(options)])["messages"]
            ours = run([TOOL, "read", path])
        self.assertEqual([fault.split(" at byte ")[0] for fault in ours["faults"]], list(faults))
        self.assertEqual(ours["indexed"]["isIndexed"], is_indexed)
        self.assertFalse(ours["sequential"]["isIndexed"])
        self.assertEqual(ours["sequential"]["messages"], written)
        self.assertEqual(ours["indexed"]["messages"], by_log_time(written))
        for content in (ours["indexed"], ours["sequential"]):
            self.assertTrue(content["isWhole"])
            self.assertEqual(content["profile"], "peer")
            self.assertEqual(content["messageCount"], 1000)
            self.assertEqual(sorted((each["topic"], each["schema"])
                                    for each in content["channels"].values()),
                             [("/one", "Thing"), ("/two", ""), ("/zwölf", "Thing")])
            self.assertEqual(content["channels"]["0"]["metadata"], {"unit": "°"})
            self.assertEqual(content["attachments"], [["icon.png", "image/png", "010203"]])
            self.assertEqual(content["metadata"], [["robot", {"name": "peer"}]])

    def test_zstd(self):
        self.compare(True, compression="zstd")

    def test_uncompressed(self):
        self.compare(True)

    def test_without_summary_offsets(self):
        self.compare(True, useSummaryOffsets=False)

    def test_without_message_indexes(self):
        self.compare(True, useMessageIndex=False)

    def test_without_chunk_index(self):
        self.compare(False, useChunkIndex=False)

    def test_without_statistics(self):
        self.compare(False, useStatistics=False)

    def test_without_repeated_channels(self):
        self.compare(False, repeatChannels=False, repeatSchemas=False)

    def test_without_chunks(self):
        # This writer does not count the messages before the attachment in its position.
        self.compare(False, faults=["attachment index"], useChunks=False)

    def test_without_attachment_and_metadata_index(self):
        self.compare(False, useAttachmentIndex=False, useMetadataIndex=False)


def with_robot(options, use):
    """Calls a function with the address of a robot."""
    port = str(free_port())
    with subprocess.Popen([ROBOT, "--address", "127.0.0.1", "--port", port, "--http-port", "0",
                           "--no-announce", *options], stdout=subprocess.PIPE, text=True) as robot:
        try:
            if "listens on" not in robot.stdout.readline():
                raise AssertionError("the robot does not start")
            use("127.0.0.1:" + port)
        finally:
            robot.terminate()


def caller_of(place):
    """Returns a function that calls methods of a robot."""
    return lambda module, method, *arguments: run(
        [ROBAXI, "call", "--json", "--timeout", 60, place, module, method,
         *map(json.dumps, arguments)])


class TheirRobots(unittest.TestCase):
    """A recording that the peer has written, replayed."""

    def test_fields_and_pictures(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "fields.mcap"
            run(["node", PEER, "write-fields", path])
            info = run([ROBAXI, "recording", "info", path, "--json"])
            self.assertEqual(info["not_replayed"],
                             [{"topic": "/tf", "reason": "the encoding 'cbor' is not supported"}])
            with_robot(["--replay", path, "--paused"], self.check)

    def check(self, place):
        call = caller_of(place)
        start = 1700000000000000
        for i in (49, 0, 17):
            self.assertEqual(call("KVReplay", "seek", start + i * 10000), start + i * 10000)
            values = {key: call("KVMemory", "getData", key)
                      for key in call("KVMemory", "getDataList", "")}
            self.assertEqual(values, {"imu/gyro/x": i / 2, "imu/name": f"n{i}", "arm/joints": i,
                                      "arm/tip/x": -i, "arm/loads": [1, 2]})
        camera, = call("KVVideo", "getCameras")
        self.assertEqual((camera["name"], camera["settings"]["width"]), ("camera", 2))
        history = call("KVReplay", "getHistory", "arm/joints", start, start + 10**9, 1000)
        self.assertEqual(history["values"], list(range(50)))
        self.assertEqual(history["times"], [start + i * 10000 for i in range(50)])


class OtherLayouts(unittest.TestCase):
    """Recordings as kinds of other programs write them: what can be replayed is, and `info` names the rest."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def write(self, layout):
        path = pathlib.Path(self.folder.name) / (layout + ".mcap")
        run(["node", PEER, "write-layout", path, layout])
        return path

    def not_replayed(self, path):
        info = run([ROBAXI, "recording", "info", path, "--json"])
        return {each["topic"]: each["reason"] for each in info["not_replayed"]}

    def refusal(self, path):
        done = subprocess.run([ROBOT, "--replay", path, "--http-port", "0", "--no-announce"],
                              capture_output=True, text=True, timeout=60)
        self.assertNotEqual(done.returncode, 0)
        return done.stderr

    def values(self, path):
        found = {}

        def check(place):
            call = caller_of(place)
            call("KVReplay", "seek", call("KVReplay", "getState")["end"])
            found.update({key: call("KVMemory", "getData", key) for key in call("KVMemory", "getDataList", "")})
        with_robot(["--replay", path, "--paused"], check)
        return found

    def test_ros2(self):
        path = self.write("ros2")
        self.assertEqual(run([ROBAXI, "recording", "info", path, "--json"])["profile"], "ros2")
        self.assertEqual(self.not_replayed(path),
                         {"/idl": "its type is not known, and has no schema 'ros2msg'"})
        values = self.values(path)
        imu = {key: value for key, value in values.items() if key.startswith("imu/")}
        self.assertEqual({key: value for key, value in imu.items() if "covariance" not in key}, {
            "imu/data/frame_id": "base",
            "imu/data/orientation/x": 0, "imu/data/orientation/y": 1, "imu/data/orientation/z": 2,
            "imu/data/orientation/w": 1,
            **{f"imu/data/{name}/{axis}": first + i
               for name, first in (("angular_velocity", 10), ("linear_acceleration", 20))
               for i, axis in enumerate("xyz")}})
        self.assertEqual([imu[f"imu/data/angular_velocity_covariance/{i}"] for i in range(9)],
                         [i / 2 for i in range(9)])
        self.assertEqual({key: value for key, value in values.items() if key not in imu}, {
            "left/Joint/frame_id": "base",
            "left/Joint/Knee/Position": 0.5, "left/Joint/Hip/Position": -1.5,
            "left/Joint/Knee/Velocity": 2, "left/Joint/Hip/Velocity": 3,
            "arm/on": True,
            "arm/joints/0/turns": -1, "arm/joints/1/turns": 7,
            "arm/joints/0/motors/0/load": 0.25, "arm/joints/0/motors/0/serial": 9,
            "arm/joints/0/motors/1/load": 4, "arm/joints/0/motors/1/serial": 10,
            "arm/labels/0": "A", "arm/labels/1": "", "arm/offset": -5, "arm/raw/0": 1, "arm/raw/1": 255,
            "arm/since": 1700000000.000005})

    def test_ros1(self):
        path = self.write("ros1")
        self.assertEqual(self.not_replayed(path), {"/odom": "the encoding 'ros1' is not supported"})
        self.assertIn("has no values and pictures that can be replayed", self.refusal(path))

    def test_values_beside_what_cannot_be_read(self):
        path = self.write("mixed")
        reasons = self.not_replayed(path)
        self.assertEqual(set(reasons), {"/cbor", "/flat", "/blob", "/proto", "/wrong"})
        self.assertEqual(reasons["/cbor"], "the encoding 'cbor' is not supported")
        self.assertEqual(reasons["/blob"], "its messages have no encoding")
        self.assertEqual(reasons["/proto"], "it has no protobuf schema")
        self.assertIn("The schema maker.Wrong cannot be used", reasons["/wrong"])
        self.assertEqual(self.values(path), {
            "log/timestamp/sec": 1, "log/timestamp/nsec": 5, "log/level": 2, "log/message": "hi",
            "log/file": None,
            "poses/frame_id": "map", "poses/poses": [{"position": {"x": 1}}], "no/schema/a/b": True,
            "number": -7.5})

    def test_nested_protobuf(self):
        path = self.write("nested")
        self.assertEqual(self.not_replayed(path), {})
        values = self.values(path)
        self.assertEqual(values.pop("limb/raw"), {"base64": "AQI="})
        self.assertEqual(values, {
            "limb/stamp/seconds": 12, "limb/stamp/nanos": 34, "limb/motors/0/load": 0.5,
            "limb/motors/0/mode": 1, "limb/motors/1/load": -1, "limb/motors/1/mode": 0, "limb/drill": 6,
            "limb/serial": 99, "limb/flags": [True, False]})

    def test_without_any_index(self):
        path = self.write("bare")
        self.assertEqual(self.not_replayed(path), {})
        self.assertEqual(self.values(path), {"imu/x": 1})

    def test_unknown_compression(self):
        path = self.write("compressed")
        reason = 'the chunks are compressed with "snappy", which is not supported'
        self.assertEqual(self.not_replayed(path), {"/imu": reason})
        self.assertIn('is compressed with "snappy", which is not supported', self.refusal(path))


class RecordedRobots(unittest.TestCase):
    """A recording of a simulated robot, as the peer shows it."""

    @staticmethod
    def record(path):
        with_robot([], lambda place: RecordedRobots.record_enough(place, path))

    @staticmethod
    def record_enough(place, path):
        with subprocess.Popen([ROBAXI, "record", place, "--all-cameras", "-o", path, "--json",
                               "--interval", "0.1"], stdout=subprocess.PIPE, text=True) as recorder:
            for line in recorder.stdout:
                report = json.loads(line)
                if report["values"] > 1000 and report["frames"] > 30:
                    break
            recorder.send_signal(signal.SIGINT)
            recorder.communicate()
        if recorder.returncode != 130:
            raise AssertionError(f"the recorder ended with {recorder.returncode}")

    def test_values_and_pictures(self):
        types = {"number": (float, int), "integer": int, "boolean": bool, "string": str, "array": list,
                 "object": dict}
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "robot.mcap"
            self.record(path)
            messages = run(["node", PEER, "decode", path])["messages"]
        pictures = {"foxglove.CompressedImage": 0, "foxglove.RawImage": 0}
        topics = set()
        for message in messages:
            content = message["content"]
            topic = message["topic"].split("/", 3)
            topics.add("/".join(topic[2:]))
            if topic[2] == "memory":
                self.assertIsInstance(content["value"], types[message["type"]], message)
            elif topic[2] == "camera":
                pictures[message["schema"]] += 1
                self.check_picture(message, topic[3])
        self.assertGreater(min(pictures.values()), 0, pictures)
        self.assertIn("memory/Joint/HeadYaw/Position", topics)
        self.assertIn("memory/Battery/Charging", topics)

    def check_picture(self, message, camera):
        content = message["content"]
        data = bytes.fromhex(content["data"])
        stamp = content["timestamp"]
        self.assertEqual(int(stamp["seconds"]) * 10**9 + stamp["nanos"], int(message["publishTime"]))
        self.assertEqual(content["frame_id"], camera)
        if message["schema"] == "foxglove.CompressedImage":
            self.assertEqual(content["format"], "jpeg")
            self.assertEqual((data[:2], data[-2:]), (b"\xff\xd8", b"\xff\xd9"))
        else:
            self.assertEqual(content["encoding"], "rgb8")
            self.assertEqual(content["step"], 3 * content["width"])
            self.assertEqual(len(data), content["step"] * content["height"])


class IconServer(http.server.BaseHTTPRequestHandler):
    """The web server of a robot. No other test uses its address."""
    ADDRESS = "127.0.61.1"
    ICON = bytes(range(256)) * 300

    def do_GET(self):
        # The server leaves out the doubled slash at the beginning.
        self.send_response(200 if self.path == "/media/buddy.icon" else 404)
        self.end_headers()
        self.wfile.write(self.ICON)

    def log_message(self, *_):
        pass


class ViewersRecordings(unittest.TestCase):
    """Recordings of the viewers, as the peer shows them."""

    def setUp(self):
        if VIEWERS is None:
            self.skipTest("the camera viewer is not built")
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.memory = pathlib.Path(self.folder.name) / "memory.mcap"
        self.camera = pathlib.Path(self.folder.name) / "camera.mcap"

    def record(self, *address):
        subprocess.run([VIEWERS, self.memory, self.camera, *address], check=True)

    def test_icons(self):
        try:
            server = http.server.ThreadingHTTPServer((IconServer.ADDRESS, 80), IconServer)
        except PermissionError:
            self.skipTest("port 80 cannot be used")
        with server:
            threading.Thread(target=server.serve_forever).start()
            try:
                self.record(IconServer.ADDRESS)
            finally:
                server.shutdown()
        for path in (self.memory, self.camera):
            content = run(["node", PEER, "read", path])
            for attachments in (content["stream"]["attachments"], content["indexed"]["attachments"]):
                self.assertEqual([each["name"] for each in attachments], ["robot1/icon"])
                self.assertTrue(bytes.fromhex(attachments[0]["data"]) == IconServer.ICON)
            self.assertEqual(content["indexed"]["statistics"]["attachmentCount"], 1)
            # The peer verifies the attachment's checksum.
            whole = path.read_bytes()
            place = whole.index(IconServer.ICON)
            path.write_bytes(whole[:place] + b"\xff" + whole[place + 1:])
            with self.assertRaisesRegex(AssertionError, "(?i)attachment.*crc|crc.*attachment"):
                run(["node", PEER, "read", path])

    def check_file(self, path, count):
        self.record()
        for content in (run(["node", PEER, "read", path])["indexed"], run([TOOL, "read", path])["indexed"]):
            self.assertEqual(len(content["messages"]), count)
        content = run(["node", PEER, "read", path])["indexed"]
        self.assertEqual(content["statistics"]["messageCount"], str(count))
        self.assertEqual(content["dataSectionCrc"]["claimed"], content["dataSectionCrc"]["actual"])
        self.assertEqual(run([TOOL, "read", path])["faults"], [])
        self.assertEqual([each["name"] for each in content["metadata"]], ["robot"])
        return run(["node", PEER, "decode", path])["messages"]

    def test_values(self):
        messages = self.check_file(self.memory, 503)
        values = [each for each in messages if each["topic"] == "/robot1/memory/Head/Yaw"]
        self.assertEqual([each["content"] for each in values], [{"value": i / 4} for i in range(500)])
        self.assertEqual([int(each["publishTime"]) for each in values],
                         [(1_600_000_000_000_000 + i) * 1000 for i in range(500)])
        self.assertEqual({each["type"] for each in values}, {"number"})
        events = [each["content"] for each in messages if each["topic"] == "/robot1/events"]
        self.assertEqual([each["event"] for each in events], ["begin", "lost", "end"])
        self.assertEqual(events[1]["text"], 'a "reason"\n')

    def test_frames(self):
        messages = self.check_file(self.camera, 6)
        frames = [each["content"] for each in messages if each["schema"] == "foxglove.RawImage"]
        self.assertEqual([(each["width"], each["height"], each["step"], each["frame_id"], each["data"])
                          for each in frames], [(4, 2, 12, "head", "01" * 24)] * 3)
        events = [each["content"]["event"] for each in messages if each["topic"] == "/robot1/events"]
        self.assertEqual(events, ["begin", "camera ended", "end"])


def install():
    """Returns the folder of the peer, with its packages."""
    installer = HERE.parents[2] / "scripts" / "peers"
    done = subprocess.run([installer], capture_output=True, text=True)
    if done.returncode != 0:
        print(done.stderr, file=sys.stderr)
        sys.exit(1)
    return pathlib.Path(done.stdout.splitlines()[-1])


if __name__ == "__main__":
    if not shutil.which("node") or not shutil.which("npm"):
        print("Node and npm are missing: scripts/setup test installs them")
        sys.exit(77)
    if len(sys.argv) > 4:
        VIEWERS = sys.argv.pop()
    ROBOT = sys.argv.pop()
    ROBAXI = sys.argv.pop()
    TOOL = sys.argv.pop()
    PEER = install() / "peer.mjs"
    unittest.main()
