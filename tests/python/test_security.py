"""TLS, token and settings of the package's client, compared with the C++ library."""

import os
import re
import subprocess

import pytest

import robaxi
from conftest import BUILD, PATIENCE
from robaxi import Access, Cause, Settings


@pytest.fixture(autouse=True)
def environment(monkeypatch):
    for variable in [name for name in os.environ if name.startswith("ROBAXI_")]:
        monkeypatch.delenv(variable)


def reaching(**access):
    return Settings(access=Access(**access))


def refusal(port, settings):
    with pytest.raises(robaxi.Error) as raised:
        robaxi.Robot("127.0.0.1", port, timeout=PATIENCE, settings=settings)
    return raised.value


def test_calls_values_and_tokens_travel_in_tls(start_echo, connect, make_certificate, make_token):
    certificate = make_certificate("robot", "IP:127.0.0.1")
    token = make_token("a secret")
    echo = start_echo(ROBAXI_SERVER_TOKEN=token, **certificate.served)
    robot = connect(echo.port, settings=reaching(tls=True, trust=str(certificate.file),
                                                 token=token))
    assert robot.call("Echo", "echo", "in secret") == "in secret"
    with robot.values("Memory").watch(rate=100) as changes:
        assert next(changes).key == "counter"


def test_the_environment_is_read(start_echo, connect, make_certificate, monkeypatch):
    certificate = make_certificate("robot", "IP:127.0.0.1")
    echo = start_echo(**certificate.served)
    monkeypatch.setenv("ROBAXI_TRUST", str(certificate.file))
    assert connect(echo.port).call("Echo", "echo", 1) == 1


def test_a_certificate_must_be_for_the_address_or_the_name(start_echo, connect, make_certificate):
    certificate = make_certificate("marvin", "DNS:marvin.local")
    echo = start_echo(**certificate.served)
    trusting = {"tls": True, "trust": str(certificate.file)}
    error = refusal(echo.port, reaching(**trusting))
    assert error.cause == Cause.NOT_TRUSTED
    assert "for another name than 127.0.0.1" in str(error)
    named = reaching(name="marvin.local", **trusting)
    assert connect(echo.port, settings=named).call("Echo", "echo", 1) == 1


def test_there_is_no_falling_back(start_echo, make_certificate):
    certificate = make_certificate("robot", "IP:127.0.0.1")
    echo = start_echo(**certificate.served)
    error = refusal(echo.port, Settings())
    assert error.cause == Cause.NOT_AUTHORISED
    assert "speaks TLS only" in str(error)
    other = make_certificate("other", "IP:127.0.0.1")
    error = refusal(echo.port, reaching(tls=True, trust=str(other.file)))
    assert error.cause == Cause.NOT_TRUSTED
    assert "not signed by a trusted one" in str(error)
    error = refusal(start_echo().port, reaching(tls=True, trust=str(certificate.file)))
    assert error.cause == Cause.NOT_TRUSTED
    assert "does not use TLS" in str(error)


def test_only_those_who_know_the_token_are_let_in(start_echo, connect, make_token):
    token = make_token("a secret")
    echo = start_echo(ROBAXI_SERVER_TOKEN=token, ROBAXI_SERVER_PLAIN_TOKEN="yes")
    error = refusal(echo.port, Settings())
    assert error.cause == Cause.NOT_AUTHORISED
    assert "it requires a token" in str(error)
    assert "not sent over a connection without TLS" in str(refusal(echo.port,
                                                                   reaching(token=token)))
    error = refusal(echo.port, reaching(token=make_token("a guess"), plain_token=True))
    assert "the token is not the right one" in str(error)
    knowing = reaching(token=token, plain_token=True)
    assert connect(echo.port, settings=knowing).call("Echo", "echo", 1) == 1


def test_a_token_file_is_its_owners(start_echo, tmp_path):
    file = tmp_path / "token"
    echo = start_echo()
    for content, mode, what in [("a secret", 0o644, "chmod 600"), ("", 0o600, "one line"),
                                ("two\nlines", 0o600, "one line"), ("x" * 1025, 0o600, "one line")]:
        file.write_text(content)
        file.chmod(mode)
        error = refusal(echo.port, reaching(token=str(file), plain_token=True))
        assert error.cause == Cause.INVALID_ARGUMENT
        assert what in str(error)


CONFIGURATION = """; for brokers that listen
[server]
certificate = robot.pem
key = /keys/robot-key.pem
token = ~/token
plain-token = yes

# for reaching every robot
[robot:127.0.0.1]
tls = no
[robot: ::1]
name=marvin
[robots]
trust = ca.pem
  token = token
[limits]
message = 65536
sessions-of-address = 3
loss = 500
"""


def test_the_users_file_is_read(tmp_path, monkeypatch):
    folder = tmp_path / "Quorvane Robotics"
    folder.mkdir()
    (folder / "robaxi.conf").write_text(CONFIGURATION)
    monkeypatch.setenv("XDG_CONFIG_HOME", str(tmp_path))
    monkeypatch.setenv("HOME", "/home/somebody")
    settings = Settings.load()
    assert settings.server.certificate == str(folder / "robot.pem")
    assert settings.server.key == "/keys/robot-key.pem"
    assert settings.server.token == "/home/somebody/token"
    assert settings.server.plain_token
    assert settings.access == Access(tls=True, trust=str(folder / "ca.pem"),
                                     token=str(folder / "token"))
    assert not settings.access_to("127.0.0.1", 9559).tls
    assert settings.access_to("127.0.0.1", 9559).trust == settings.access.trust
    assert settings.access_to("::1", 9559).name == "marvin"
    assert settings.access_to("10.0.0.1", 9559) is settings.access
    assert (settings.limits.message, settings.limits.sessions_of_address) == (65536, 3)
    assert (settings.limits.heartbeat, settings.limits.loss) == (250, 500)
    monkeypatch.setenv("ROBAXI_TLS", "no")
    monkeypatch.setenv("ROBAXI_LIMIT_CAMERAS", "7")
    settings = Settings.load()
    assert not settings.access.tls
    assert settings.limits.cameras == 7


@pytest.mark.parametrize("content", [
    "", CONFIGURATION, "[robots\n", "[nobody]\n", "[server]\nport = 1\n", "tls = no\n",
    "[robots]\ntls = perhaps\n", "[robots]\ntls = yes\n", "[limits]\nmessage = 1\n",
    "[limits]\nmessage = -1\n", "[limits]\nloss = 100\n", "[robots]\nname\n",
    "[robots]\nname = a\nname = b\n", "[robots]\n[robots]\n",
    "[robots]\nname = a\n[robots]\nname = b\n", "[nobody]\nname = a\n", "[robot:a]\ntls = yes\n",
    "[limits]\nheartbeat = 20.5\n",
])
def test_files_are_judged_as_by_the_library(tmp_path, monkeypatch, content):
    """The same files are refused, with the same line in the message."""
    file = tmp_path / "robaxi.conf"
    file.write_text(content)
    monkeypatch.setenv("ROBAXI_CONFIG", str(file))
    tool = subprocess.run([BUILD / "bin/robaxi", "ping", "127.0.0.1:1"], capture_output=True,
                          text=True, check=False)
    try:
        Settings.load()
        ours = ""
    except robaxi.Error as error:
        assert error.cause == Cause.INVALID_ARGUMENT
        ours = str(error)
    nothing_listens = 4
    assert bool(ours) == (tool.returncode != nothing_listens), (ours, tool.stderr)
    assert re.findall(r"line \d+", ours) == re.findall(r"line \d+", tool.stderr), (ours,
                                                                                   tool.stderr)


@pytest.mark.parametrize("variable, value", [
    ("ROBAXI_TLS", "1"), ("ROBAXI_HEARTBEAT", "0"), ("ROBAXI_LIMIT_FRAME", "many"),
    ("ROBAXI_CONFIG", "/nowhere/robaxi.conf"), ("ROBAXI_PLAIN_TOKEN", ""),
])
def test_variables_are_judged_as_by_the_library(monkeypatch, variable, value):
    monkeypatch.setenv(variable, value)
    with pytest.raises(robaxi.Error, match=variable if variable != "ROBAXI_CONFIG" else value):
        Settings.load()
    tool = subprocess.run([BUILD / "bin/robaxi", "ping", "127.0.0.1:1"], capture_output=True,
                          text=True, check=False)
    assert tool.returncode == 2, tool.stderr
