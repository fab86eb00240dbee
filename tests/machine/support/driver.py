#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the rows of a file and tells which fail.

  driver.py FILE PROGRAMS [WORD]   only the rows whose name holds WORD

The file is JSON (see ../README.md), or has a function `rows(programs)` that yields each row's name and test. Where it
configures flashwatch, it runs with an /etc of its own laid over the host's.
"""
import contextlib
import importlib
import pathlib
import sys
import tempfile
import time
import traceback
from functools import partial

import stage
from machine import MEMORY  # also lets the runner's modules be found
from two_hosts import Not_here
import surroundings

SKIPPED = 77  # as ctest is told


@contextlib.contextmanager
def own_etc():
    with tempfile.TemporaryDirectory(dir=MEMORY) as etc:
        surroundings.lay_over_etc([], pathlib.Path(etc))
        try:
            yield
        finally:
            surroundings.release_etc(pathlib.Path(etc))


def passes(name, test):
    started = time.monotonic()
    try:
        test()
    except Exception:  # whatever went wrong belongs to this row
        print("FAILED", name, traceback.format_exc(), sep="\n", flush=True)
        return False
    print(f"ok     {name} ({time.monotonic() - started:.2f} s)", flush=True)
    return True


def main(file, programs, wanted=""):
    file = pathlib.Path(file).resolve()
    sys.path.append(str(file.parent))
    rows = partial(stage.rows, file) if file.suffix == ".json" else importlib.import_module(file.stem).rows
    failed = 0
    try:
        with own_etc() if "configuration" in file.read_text() else contextlib.nullcontext():
            for name, test in rows(pathlib.Path(programs).resolve()):
                failed += wanted in name and not passes(name, test)
    except Not_here as reason:
        print("skipped:", reason)
        return SKIPPED
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
