#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""A store goes from one processor to the other and back: each reads what the other wrote, and writes on.
Usage: store_exchange_test.py NATIVE_PROGRAM EMULATOR EMULATED_PROGRAM"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile

LIMIT_S = 60


def main():
    native, emulated = sys.argv[1:2], sys.argv[2:4]
    for first, second in ((native, emulated), (emulated, native)):
        with tempfile.TemporaryDirectory(prefix="store-exchange-") as name:
            place = pathlib.Path(name)
            (place / "machine.json").write_text(json.dumps({
                "processes": {"exchange": {"address": "127.0.25.1", "application_id": "exchange"}},
                "persistency": {"root": name, "run_directory": name}}))
            environment = dict(os.environ, ARA_MACHINE_MANIFEST=str(place / "machine.json"), ARA_PROCESS="exchange")
            found = [subprocess.run([*program, side], env=environment, stdout=subprocess.PIPE, text=True,
                                    timeout=LIMIT_S, check=True).stdout
                     for program, side in ((first, "first"), (second, "second"), (first, "third"))]
            expected = ["", "first whole\n", "first whole\nsecond whole\n"]
            if found != expected:
                sys.exit(f"{first} and {second}: expected {expected}, found {found}")


main()
