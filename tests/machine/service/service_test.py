#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""flashwatch as a process, among peers that scapy plays.

  service_test.py PROGRAMS GROUP [WORD]   only the rows whose name holds WORD

A group is a module `GROUP_rows` with a function `rows(new_machine)` that yields each row's name and test.
"""
import importlib
import os
import pathlib
import sys
import tempfile
import time
import traceback

from service_machine import Service_machine, surroundings

MEMORY = "/dev/shm"  # a disk takes its time over a thousand folders


def passes(name, test):
    started = time.monotonic()
    try:
        test()
    except Exception:  # whatever went wrong belongs to this row
        print("FAILED", name, traceback.format_exc(), sep="\n", flush=True)
        return False
    print(f"ok     {name} ({time.monotonic() - started:.2f} s)", flush=True)
    return True


def main(programs, group, wanted=""):
    failed = 0
    with tempfile.TemporaryDirectory(dir=MEMORY if os.access(MEMORY, os.W_OK) else None) as scratch:
        etc = pathlib.Path(scratch) / "etc"
        etc.mkdir()
        surroundings.lay_over_etc([], etc)
        try:
            new_machine = lambda **options: Service_machine(pathlib.Path(programs).resolve(), scratch, **options)
            for name, test in importlib.import_module(f"{group}_rows").rows(new_machine):
                failed += wanted in name and not passes(name, test)
        finally:
            surroundings.release_etc(etc)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
