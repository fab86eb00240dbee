# SPDX-License-Identifier: Apache-2.0
"""Brings up a machine around flashwatch; the last step of ./run, which describes the options."""
import argparse
import pathlib
import sys

import surroundings
from errors import MachineError
from machine import Machine

ROOT = pathlib.Path(__file__).resolve().parents[2]


def options_of(arguments):
    parser = argparse.ArgumentParser(prog="machine_runner", description=__doc__)
    parser.add_argument("--once", action="store_true", help="stop as soon as everything runs")
    parser.add_argument("--fresh", action="store_true", help="forget what earlier runs stored")
    parser.add_argument("--directory", type=pathlib.Path, default=ROOT / "build/machine", help="for state and logs")
    parser.add_argument("--programs", type=pathlib.Path, default=ROOT / "build/release/bin")
    parser.add_argument("--etc", type=pathlib.Path, default=ROOT / "machine/etc", help="the machine's configuration")
    parser.add_argument("--ready-limit", type=int, default=30, metavar="SECONDS", help="for each process to get ready")
    options = parser.parse_args(arguments)
    for name in ("directory", "programs", "etc"):
        setattr(options, name, getattr(options, name).resolve())
    return options


class Output:
    """Lines for the user. A reader that goes away asks for the machine's end."""

    def __init__(self):
        self.on_loss = lambda: None
        self._is_lost = False

    def say(self, line):
        if self._is_lost:
            return
        try:
            print(line, flush=True)
        except OSError:
            self._is_lost = True
            sys.stdout = open("/dev/null", "w", encoding="utf-8")  # pylint: disable=consider-using-with
            self.on_loss()


def main(arguments):
    options = options_of(arguments)
    output = Output()
    try:
        with surroundings.lock(options.directory):
            surroundings.make_directories(options.directory, options.fresh)
            machine = Machine(options, output.say)
            output.on_loss = machine.request_stop
            return machine.run(options.once)
    except (MachineError, OSError) as error:
        output.say(f"run: {error}")
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
