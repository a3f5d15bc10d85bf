"""The output of every command of robaxi with --json, compared with the documented schema.

    json_test.py ROBAXI ROBAXI_ROBOT

tools.list compares the output of robaxi list, which needs robots on a network.
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

import jsonschema

import json_schema
from free_port import free_port

ROBAXI, ROBOT = sys.argv[1:3]
NOT_HERE = {"list"}


class Output(unittest.TestCase):
    seen = set()

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        port = str(free_port())
        cls.place = f"127.0.0.1:{port}"
        cls.reach = (cls.place, "--timeout", "60")  # seconds, on a busy machine
        cls.robot = subprocess.Popen(
            [ROBOT, "--port", port, "--http-port", "0", "--no-announce"], text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        if not any("listens on" in line for line in cls.robot.stdout):
            raise RuntimeError("the robot has ended")

    @classmethod
    def tearDownClass(cls):
        cls.robot.kill()
        cls.robot.communicate()
        cls.folder.cleanup()

    def path(self, name):
        return str(pathlib.Path(self.folder.name) / name)

    def expect(self, definition, *arguments, statuses=(0,)):
        """Runs a command with --json. Returns its lines, which must match the definition."""
        result = subprocess.run([ROBAXI, *arguments, "--json"], text=True, capture_output=True,
                                stdin=subprocess.DEVNULL, check=False)
        self.assertIn(result.returncode, statuses, result.stderr)
        self.assertEqual([], json_schema.mismatches(definition, result.stdout))
        self.seen.add(definition)
        return [json.loads(line) for line in result.stdout.splitlines()]

    def test_schema_is_valid(self):
        jsonschema.Draft202012Validator.check_schema(json_schema.SCHEMA)

    def test_every_command_has_a_definition_and_the_option(self):
        for command in self.expect("help", "help"):
            name = command["command"]
            with self.subTest(command=name):
                self.assertIn("--json", [each["option"] for each in command["options"]])
                self.assertTrue([each for each in json_schema.definitions()
                                 if each.split()[0] == name])

    def test_a_command_is_described_alone(self):
        self.assertEqual(["watch"], [each["command"] for each in
                                     self.expect("help", "help", "watch")])

    def test_values(self):
        self.expect("modules", "modules", *self.reach)
        self.expect("call", "call", *self.reach, "KVMemory", "getDataList", "")
        self.expect("call", "call", *self.reach, "KVLeds", "rasta", "0.1")
        self.assertGreater(len(self.expect("keys", "keys", *self.reach)), 10)
        self.expect("get", "get", *self.reach, "*")
        self.expect("get --long", "get", *self.reach, "--long", "*")
        self.expect("watch", "watch", *self.reach, "*", "--count", "50")
        self.assertEqual([{"key": "Audio/Volume", "value": 12}],
                         self.expect("set", "set", *self.reach, "Audio/Volume", "12"))

    def test_cameras(self):
        self.assertEqual(2, len(self.expect("snapshot --list", "snapshot", *self.reach, "--list")))
        self.expect("snapshot", "snapshot", *self.reach, "-o", self.path("head.png"))

    def test_recordings(self):
        walk = self.path("walk.mcap")
        self.expect("record", "record", *self.reach, "--camera", "head", "--duration", "1",
                    "--interval", "0.2", "-o", walk)
        self.expect("recording info", "recording", "info", walk)
        self.expect("recording check", "recording", "check", walk)
        self.expect("recording export", "recording", "export", walk, "-o", self.path("walk.csv"))
        self.expect("recording cut", "recording", "cut", walk, "--from", "0.2", "-o",
                    self.path("cut.mcap"))
        self.expect("recording merge", "recording", "merge", walk, self.path("cut.mcap"), "-o",
                    self.path("merged.mcap"))
        cut_off = self.path("cut-off.mcap")
        content = pathlib.Path(walk).read_bytes()
        pathlib.Path(cut_off).write_bytes(content[:len(content) // 2])
        self.expect("recording info", "recording", "info", cut_off)
        self.expect("recording check", "recording", "check", cut_off, statuses=(1,))
        self.expect("recording repair", "recording", "repair", cut_off)

    def test_diagnoses(self):
        self.expect("ping", "ping", *self.reach, "--count", "2")
        self.expect("doctor", "doctor", self.place, "--timeout", "1", statuses=(0, 1))
        self.expect("conform --list", "conform", "--list")
        self.expect("conform", "conform", *self.reach, "--check", "session.hello")

    def test_aliases(self):
        self.expect("alias", "alias", "kitchen", self.place)
        self.expect("alias", "alias", "kitchen")
        self.assertEqual([{"name": "kitchen", "host": self.place}], self.expect("alias", "alias"))
        self.expect("alias", "alias", "--remove", "kitchen")

    def test_zz_every_definition_was_needed(self):
        """Runs last: the tests run in the order of their names."""
        commands = {json.loads(line)["command"] for line in subprocess.run(
            [ROBAXI, "help", "--json"], text=True, capture_output=True,
            check=True).stdout.splitlines()}
        of_commands = {each for each in json_schema.definitions() if each.split()[0] in commands}
        self.assertEqual(of_commands - NOT_HERE, self.seen)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
