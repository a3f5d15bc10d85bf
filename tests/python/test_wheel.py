"""The wheel: built without a network, installed into a folder, and used from there."""

import os
import shutil
import subprocess
import sys
import zipfile

import pytest

import robaxi
from conftest import PATIENCE, SOURCE

PROGRAM = f"""
import robaxi
with robaxi.Server("wheel", address="127.0.0.1", port=0, announce=False) as server:
    server.memory.add("Battery/Charge", 87.5)
    with robaxi.Robot("127.0.0.1", server.port, timeout={PATIENCE}) as robot:
        print(robaxi.__file__, robot.memory["Battery/Charge"])
"""


# The folder python as a separate project, which is configured in a moment.
PROJECT = f"""
cmake_minimum_required(VERSION 3.25)
project(Wheel VERSION 1.14 LANGUAGES NONE)
add_executable(protobuf::protoc IMPORTED)
set_target_properties(protobuf::protoc PROPERTIES IMPORTED_LOCATION {shutil.which("protoc")})
add_subdirectory(python)
"""


@pytest.fixture(scope="module")
def wheel(tmp_path_factory):
    folder = tmp_path_factory.mktemp("wheel")
    project, build = folder / "project", folder / "build"
    project.mkdir()
    for name in ("docs", "platform", "python"):
        (project / name).symlink_to(SOURCE / name)
    (project / "CMakeLists.txt").write_text(PROJECT)
    # As an earlier build has left it, and an earlier wheel.
    for stale in ("python/robaxi/_requests.py", "python/build/lib/robaxi/_requests.py"):
        (build / stale).parent.mkdir(parents=True)
        (build / stale).write_text("")
    for command in (["cmake", "-G", "Ninja", "-S", project, "-B", build],
                    ["cmake", "--build", build, "--target", "python_package"],
                    [sys.executable, "-m", "pip", "--disable-pip-version-check", "wheel", "--quiet",
                     "--no-build-isolation", "--no-deps", "--no-index", "-w", folder, build / "python"]):
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    [file] = folder.glob("robaxi-*-py3-none-any.whl")
    return file


def test_it_holds_the_package_and_its_stubs(wheel):
    names = set(zipfile.ZipFile(wheel).namelist())
    sources = SOURCE / "python/robaxi"
    own = {f"robaxi/{source.relative_to(sources)}"
           for source in [*sources.rglob("*.py"), sources / "py.typed"]}
    stubs = {f"robaxi/v1/{name}" for name in ("robaxi_pb2.py", "robaxi_pb2.pyi", "services.bin")}
    assert {name for name in names if ".dist-info/" not in name} == own | stubs
    metadata = zipfile.ZipFile(wheel).read(
        next(name for name in names if name.endswith("/METADATA"))).decode()
    assert "Requires-Python: >=3.9" in metadata
    required = [line for line in metadata.splitlines() if line.startswith("Requires-Dist: ")]
    assert [line.split()[1].partition(">")[0] for line in required] == ["grpcio", "protobuf"]


def test_it_works_where_it_is_installed(wheel, tmp_path):
    target = tmp_path / "installed"
    subprocess.run([sys.executable, "-m", "pip", "--disable-pip-version-check", "install",
                    "--quiet", "--no-deps", "--no-index", "--target", target, wheel], check=True)
    ended = subprocess.run([sys.executable, "-c", PROGRAM], capture_output=True, text=True,
                           check=True, timeout=PATIENCE, cwd=tmp_path,
                           env={**os.environ, "PYTHONPATH": str(target)})
    assert ended.stdout == f"{target}/robaxi/__init__.py 87.5\n"
    assert robaxi.__file__ != f"{target}/robaxi/__init__.py"
