"""A robot in Python: values, a method and a camera, announced with its icon.

    python3 robot.py [NAME [PORT [HTTP_PORT]]]
"""
import math
import pathlib
import sys
import time

import robaxi

name, port, http_port = (sys.argv[1:] + ["marvin", "9559", "80"][len(sys.argv) - 1:])[:3]
server = robaxi.Server(name, port=int(port), http_port=int(http_port),
                       icon=pathlib.Path(__file__).with_name("robot.png"))

memory = server.memory
memory.add("Battery/Charge", 100.0, unit="%", description="Charge of the battery")
memory.add("Joint/HeadYaw/Position", 0.0, unit="rad")
memory.add("Audio/Volume", 60, unit="%", limits=(0, 100), on_write=print)

leds = server.module("KVLeds", "The lights of the face")


@leds.method
def rasta(duration: float) -> None:
    """Plays red, yellow and green for that many seconds"""
    print(f"rasta for {duration} s", flush=True)


head = server.add_camera("head", 160, 120, "grey", rate=10.0, description="Camera of the head")

with server:
    print(f"{name} listens on port {server.port}", flush=True)
    for step in range(sys.maxsize):
        yaw = math.sin(step / 20)
        memory.set_all({"Joint/HeadYaw/Position": yaw, "Battery/Charge": 100 - step / 1000 % 100})
        if head.watchers:
            row = bytes(int(128 + 120 * math.sin(yaw * 3 + column / 9)) for column in range(160))
            head.publish(row * 120)
        time.sleep(0.1)
