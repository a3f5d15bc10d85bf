"""A robot that breaks a rule of the announcement is found out by its check. In lab/run."""

import concurrent.futures
import pathlib
import re
import sys

from announcing_robot import CASES, IPV6_HOST
from conforming import names, results
from conftest import PATIENCE, eventually, lab

ROBOT = pathlib.Path(__file__).with_name("announcing_robot.py")
AT_ONCE = 3
IPV6 = "fd77::2"


def report(name):
    """Returns the report of a case's check, or None if its announcement has not arrived."""
    case = CASES[name]
    place = f"[{IPV6}]:9559" if case.host else f"{name}.local:9559"
    [found] = results(place, "--check", case.check, "--timeout", PATIENCE)
    return found if found["verdict"] != "skipped" else None


def fault_of(name):
    """Returns the difference between a report and what is expected, or None."""
    found = eventually(lambda: report(name))
    text = CASES[name].text
    if found["verdict"] != ("failed" if text else "passed") or not re.search(text, found["text"]):
        return f"{name}: expected '{text}', found {found}"
    return None


def give_ipv6(host, address):
    lab("exec", host, "--", "ip", "-6", "address", "add", f"{address}/64", "dev", "eth0", "nodad")


def test_announcing():
    for name in CASES:
        lab("add", name, "--", sys.executable, str(ROBOT), name)
    # No daemon has addresses of that name, so a computer finds this one with its resolver.
    give_ipv6("observer", "fd77::1")
    give_ipv6("address", IPV6)
    with open("/etc/hosts", "a", encoding="ascii") as hosts:  # of the lab
        hosts.write(f"{IPV6} {IPV6_HOST}\n")
    for name in CASES:
        eventually(lambda: lab("output", name).count("Established") == 2)
    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        faults = [fault for fault in pool.map(fault_of, CASES) if fault]
    assert not faults, "\n".join(faults)
    # One fault is one failure: what cannot be checked without an icon is skipped.
    expected = (["announcing.icon"], ["announcing.icon-with-one-slash", "announcing.icon-format",
                                      "announcing.icon-bytes", "announcing.icon-pixels"])

    def failed_and_skipped():
        found = results("icon.local:9559", "--group", "announcing", "--timeout", PATIENCE)
        return names(found, "failed"), names(found, "skipped")

    # All are skipped until the announcement has arrived.
    eventually(lambda: failed_and_skipped() == expected)
