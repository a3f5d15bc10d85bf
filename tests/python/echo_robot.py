"""A robot of the package for tests that hide, stop or kill it: what tests/robaxi/test_server.cpp
has, and the values and the camera of the simulated robot that they use.

    python3 echo_robot.py PORT
"""

from __future__ import annotations

import sys
import time
from typing import List

import robaxi


def main() -> None:
    server = robaxi.Server("Process", address="127.0.0.1", port=int(sys.argv[1]), announce=False)
    server.module("Echo").bind("echo", lambda value: value)
    counting = server.module("Memory", "Counts").table = robaxi.Table()
    counting.add("counter", 0)

    talker = server.module("Talker", "Has large results")
    runs: List[None] = []

    @talker.method
    def talk() -> List[str]:
        runs.append(None)
        return ["x" * 102] * 1000

    talker.bind("runs", lambda: len(runs))
    server.memory.add("Audio/Volume", 60, writable=True)
    server.memory.add("Clock/Uptime", 0.0)
    head = server.add_camera("head", modes=[robaxi.Mode(64, 48, ["grey"], [10.0, 30.0])])

    with server:
        print("ready", flush=True)
        for count in range(1, sys.maxsize):
            counting["counter"] = count
            server.memory["Clock/Uptime"] = count * 0.02
            if head.watchers:
                head.publish(bytes([count % 256]) * 64 * 48)
            time.sleep(0.02)


if __name__ == "__main__":
    main()
