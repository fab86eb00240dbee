# SPDX-License-Identifier: Apache-2.0
"""What keeps flashwatch from starting: exit code 1, and one line that says why."""
from functools import partial

from machine import CONFIGURATION, Watched_machine

NEEDS_ETC = True
NO_FILE = None
JSON = "[json.exception."
REFUSED = ('instance identifier "nobody" refused: neither a number from 1 to 65534 nor the name of an instance in the '
           'machine manifest')
# The configuration file, what is done to the manifest, and the error.
FAILURES = {
    "no configuration": (NO_FILE, {}, "Json configuration file: /etc/flashwatch.json does not exist"),
    "no JSON": ("{", {}, "Invalid json configuration file: /etc/flashwatch.json"),
    "an empty file": ("", {}, "Invalid json configuration file: /etc/flashwatch.json"),
    "no pm_instance_id": ({"log_period": 1}, {}, JSON + "out_of_range.403] key 'pm_instance_id' not found"),
    "an empty pm_instance_id": ({**CONFIGURATION, "pm_instance_id": ""}, {},
                                "Empty pm_instance_id in configuration file"),
    "a pm_instance_id that is a number": ({**CONFIGURATION, "pm_instance_id": 1}, {},
                                          JSON + "type_error.302] type must be string, but is number"),
    "an unknown own_instance_id": ({**CONFIGURATION, "own_instance_id": "nobody"}, {}, REFUSED),
    "an unknown pm_instance_id": ({**CONFIGURATION, "pm_instance_id": "nobody"}, {}, REFUSED),
    "a manifest without flashwatch": (
        CONFIGURATION, {"processes": {}}, 'processes has no entry for process "flashwatch" (the value of ARA_PROCESS)'),
    "a manifest with a number for an object": (
        CONFIGURATION, {"communication": 7}, "communication must be an object, but is 7"),
    "a manifest without a root": (CONFIGURATION, {"persistency": {}}, "persistency.root is missing"),
}


def fails(new_machine, configuration, changes, error):
    with new_machine() as machine:
        machine.configure("flashwatch", configuration)
        machine.manifest.update(changes)
        with machine.start(expect_ready=False) as process:
            assert process.wait() == 1, process.text()
            if changes:
                error = f"machine manifest {process.directory.name}/machine.json: {error}"
            lines = [line.split(" ", 2)[2] for line in process.text().split("\n") if " error " in line]
            refused = ["COMM error " + REFUSED] if error == REFUSED else []
            assert lines == [*refused, f"DFLT error Exception: {error} caught - application will terminate"], lines
            assert "Application state" not in process.text() and "Application finished" not in process.text()


def rows(programs):
    new_machine = partial(Watched_machine, programs)
    for name, row in FAILURES.items():
        yield name, partial(fails, new_machine, *row)
