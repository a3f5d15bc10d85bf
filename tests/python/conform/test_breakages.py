"""A robot that breaks a rule is found out by the check of that rule: one broken rule at a time."""

import concurrent.futures
import re

import pytest

import announcing_robot
import breakages
from breaking_proxy import Proxies
from conforming import WRITABLE, conform, place, results, results_at_once
from plain_and_tls import PlainAndTls
from robaxi.v1 import robaxi_pb2 as pb

AT_ONCE = 6


def fault_of(check, case, port, **environment):
    """Returns what is wrong with the report on a robot that breaks the rule, or None."""
    found = results(place(port), "--check", check, "--timeout", case.timeout, "--write", WRITABLE,
                    **environment)
    if [one["verdict"] for one in found] != ["failed"] or not re.search(case.text, found[0]["text"]):
        return f"{check}: expected '{case.text}', found " + \
            ", ".join(f"{one['verdict']}: {one['text']}" for one in found)
    return None


def require_found_out(robot, cases, **environment):
    proxies = Proxies(robot.port, {check: case.breakage for check, case in cases.items()})

    def faults_of(checks):
        return [fault_of(check, cases[check], proxies.ports[check], **environment)
                for check in checks]

    # Checks that write use the same key, so they run one after another.
    writing = [check for check in cases if check.startswith("values.write")]
    parts = [writing] + [[check] for check in cases if check not in writing]
    try:
        with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
            faults = [fault for part in pool.map(faults_of, parts) for fault in part]
    finally:
        proxies.close()
    faults = [fault for fault in faults if fault]
    assert not faults, "\n".join(faults)


@pytest.fixture
def robot(start_humanoid):
    return start_humanoid()


def test_session(robot):
    require_found_out(robot, breakages.SESSION)


def test_calls(robot):
    require_found_out(robot, breakages.CALLS)


def test_values(robot):
    require_found_out(robot, breakages.VALUES)


def test_subscriptions(robot):
    require_found_out(robot, breakages.SUBSCRIPTIONS)


def test_frames(robot):
    require_found_out(robot, breakages.CAMERAS)


def test_limits(robot):
    require_found_out(robot, breakages.LIMITS)


def test_resuming(robot):
    require_found_out(robot, breakages.RESUMING)


def test_security(start_humanoid, make_token):
    token = make_token(breakages.TOKEN)
    robot = start_humanoid(ROBAXI_SERVER_TOKEN=token, ROBAXI_SERVER_PLAIN_TOKEN="yes")
    require_found_out(robot, breakages.TOKENS, ROBAXI_TOKEN=token, ROBAXI_PLAIN_TOKEN="yes")


def test_tls(start_humanoid, make_certificate):
    """A robot that accepts TLS and plain connections on one port."""
    certificate = make_certificate("robot", "IP:127.0.0.1")
    with PlainAndTls(plain=start_humanoid().port,
                     tls=start_humanoid(**certificate.served).port) as port:
        [(check, case)] = breakages.TLS.items()
        assert fault_of(check, case, port, ROBAXI_TRUST=str(certificate.file)) is None


def test_an_unbroken_proxy(robot):
    """The proxies themselves break nothing."""
    proxies = Proxies(robot.port, {"none": breakages.Breakage()})
    try:
        found = results_at_once(place(proxies.ports["none"]), "--timeout", 60)
    finally:
        proxies.close()
    assert [one for one in found if one["verdict"] == "failed"] == []


def test_messages_without_end(robot):
    """A robot that sends without being asked does not keep a check waiting."""
    answer = pb.ServerBatch(messages=[pb.ServerMessage(module_list=pb.ModuleList(call_id=4711))])
    proxies = Proxies(robot.port, {"flood": breakages.Breakage(flood=answer)})
    try:
        found = results(place(proxies.ports["flood"]), "--check", "resuming.repeated")
    finally:
        proxies.close()
    assert [one["verdict"] for one in found] == ["passed"]


def test_each_check_has_a_breakage():
    broken = {*breakages.SESSION, *breakages.CALLS, *breakages.VALUES, *breakages.SUBSCRIPTIONS,
              *breakages.CAMERAS, *breakages.LIMITS, *breakages.RESUMING, *breakages.TOKENS,
              *breakages.TLS,
              *(case.check for case in announcing_robot.CASES.values() if case.text)}
    assert sorted(broken) == sorted(line.split()[0]
                                    for line in conform("--list").stdout.splitlines())
