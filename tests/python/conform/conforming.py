"""Runs `robaxi conform`."""

from __future__ import annotations

import concurrent.futures
import json
import os
import subprocess
from typing import Any, Dict, List

from conftest import BUILD

#: A float of the simulated robot that may be written.
WRITABLE = "Joint/HeadYaw/Stiffness"

GROUPS = ["session", "calls", "values", "subscriptions", "frames", "limits", "security",
          "resuming", "announcing"]


def conform(*words: Any, **environment: str) -> Any:
    """Returns the ended process."""
    return subprocess.run([str(BUILD / "bin/robaxi"), "conform", *map(str, words)],
                          env={**os.environ, **environment}, stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, check=False)


def results(*words: Any, **environment: str) -> List[Dict[str, str]]:
    """Returns one dict for each check."""
    ended = conform(*words, "--json", **environment)
    assert ended.stderr == "", ended.stderr
    found = [json.loads(line) for line in ended.stdout.splitlines()]
    assert ended.returncode == any(one["verdict"] == "failed" for one in found)
    return found


def results_at_once(*words: Any) -> List[Dict[str, str]]:
    """Runs all checks, those of each group in a process."""
    with concurrent.futures.ThreadPoolExecutor(len(GROUPS)) as pool:
        parts = pool.map(lambda group: results(*words, "--group", group), GROUPS)
    return [one for part in parts for one in part]


def names(found: List[Dict[str, str]], verdict: str) -> List[str]:
    return [one["check"] for one in found if one["verdict"] == verdict]


def place(port: int) -> str:
    return f"127.0.0.1:{port}"
