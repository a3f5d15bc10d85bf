"""The robot of the robot maker's guide keeps the rules, as the guide says. In lab/run."""

import re
import sys

import robaxi
from conforming import names, results_at_once
from conftest import PATIENCE, SOURCE, eventually, lab


def test_the_robot_in_ten_lines(tmp_path):
    guide = (SOURCE / "docs/makers.md").read_text()
    [example] = re.findall(r"^```python\n(.*?)^```$", guide, re.MULTILINE | re.DOTALL)
    program = tmp_path / "buddy.py"
    program.write_text(example)
    lab("add", "desk", "--", sys.executable, program)
    eventually(lambda: "buddy" in [one.name for one in robaxi.discover()])
    found = results_at_once("buddy", "--timeout", PATIENCE)
    assert [one for one in found if one["verdict"] == "failed"] == []
    assert [name for name in names(found, "skipped") if name.startswith("announcing.")] == [
        "announcing.icon", "announcing.icon-with-one-slash", "announcing.icon-format",
        "announcing.icon-bytes", "announcing.icon-pixels"]
