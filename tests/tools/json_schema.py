#!/usr/bin/env python3
"""Checks lines of JSON against a definition of the schema of robaxi --json.

    json_schema.py DEFINITION <LINES

prints what does not match and ends with 1 then, or if there is no line.
"""

import json
import pathlib
import sys

import jsonschema

SCHEMA = json.loads(
    (pathlib.Path(__file__).parents[2] / "tools/robaxi/robaxi.schema.json").read_text())


def definitions():
    return SCHEMA["$defs"].keys()


def mismatches(definition, text):
    """Returns a sentence for each error of the lines."""
    validator = jsonschema.Draft202012Validator({
        "$schema": SCHEMA["$schema"], "$ref": f"#/$defs/{definition.replace(' ', '%20')}",
        "$defs": SCHEMA["$defs"]})
    lines = text.splitlines()
    if not lines:
        return ["no line of JSON"]
    return [f"{line}: {error.json_path}: {error.message}"
            for line in lines for error in validator.iter_errors(json.loads(line))]


if __name__ == "__main__":
    found = mismatches(sys.argv[1], sys.stdin.read())
    print("\n".join(found))
    sys.exit(1 if found else 0)
