#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The schema accepts the sample manifest and refuses each broken one, except where a row says it cannot see the fault.
Usage: check_schema.py MACHINE_ETC BROKEN_MANIFESTS"""
import copy
import json
import pathlib
import sys

from jsonschema import Draft202012Validator


def patched(document, operations):
    """`document` after add, replace and remove operations as in RFC 6902, which name members of objects only."""
    document = copy.deepcopy(document)
    for operation in operations:
        *parents, name = operation["path"].split("/")[1:]
        target = document
        for parent in parents:
            target = target[parent]
        target.pop(name, None)
        if "value" in operation:
            target[name] = operation["value"]
    return document


def objects_of(schema):
    """Every part of the schema that describes an object."""
    if isinstance(schema, dict):
        if schema.get("type") == "object":
            yield schema
        for part in schema.values():
            yield from objects_of(part)


etc = pathlib.Path(sys.argv[1])
schema = json.loads((etc / "machine.schema.json").read_text())
sample = json.loads((etc / "machine.json").read_text())
Draft202012Validator.check_schema(schema)
validator = Draft202012Validator(schema)
faults = [f"machine.json is refused: {error.json_path}: {error.message}" for error in validator.iter_errors(sample)]
faults += [f"accepts unknown members: {part}" for part in objects_of(schema) if "additionalProperties" not in part]
for row in json.loads(pathlib.Path(sys.argv[2]).read_text()):
    if validator.is_valid(patched(sample, row["patch"])) == row.get("schema", True):
        faults.append(f"judged wrongly: {row['patch']}")
print("\n".join(faults) or "the schema holds")
sys.exit(1 if faults else 0)
