# SPDX-License-Identifier: Apache-2.0
"""Brings up a machine around flashwatch; the last step of ./run, which describes the options."""
import argparse
import pathlib
import sys

import faketime
import jobs
import surroundings
from errors import MachineError
from machine import Machine

ROOT = pathlib.Path(__file__).resolve().parents[2]


def number_of_years(text):
    if not text.isdecimal() or not 1 <= int(text) <= faketime.MAX_YEARS:
        raise argparse.ArgumentTypeError(f"'{text}' is no number from 1 to {faketime.MAX_YEARS}")
    return int(text)


def options_of(arguments):
    parser = argparse.ArgumentParser(prog="machine_runner", description=__doc__)
    job = parser.add_mutually_exclusive_group()
    job.add_argument("--once", action="store_true", help="stop as soon as everything runs and the table is read")
    job.add_argument("--years", type=number_of_years, metavar="N", help="start, read and stop in each of N years")
    parser.add_argument("--fresh", action="store_true", help="forget what earlier runs stored")
    parser.add_argument("--directory", type=pathlib.Path, default=ROOT / "build/machine", help="for state and logs")
    parser.add_argument("--programs", type=pathlib.Path, default=ROOT / "build/release/bin")
    parser.add_argument("--etc", type=pathlib.Path, default=ROOT / "machine/etc", help="the machine's configuration")
    parser.add_argument("--ready-limit", type=int, default=30, metavar="SECONDS", help="for each process to get ready")
    options = parser.parse_args(arguments)
    for name in ("directory", "programs", "etc"):
        setattr(options, name, getattr(options, name).resolve())
    if options.years:
        options.directory /= "years"
        options.fresh = True
    return options


def job_of(options, say):
    if options.years:
        return lambda machine: jobs.years(
            machine, options.years, lambda year: faketime.clock_of(year, options.programs), say)
    return jobs.once if options.once else lambda machine: jobs.until_asked_to_stop(machine, say)


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
            machine = Machine(options, output.say, show=(lambda line: None) if options.years else output.say)
            output.on_loss = machine.request_stop
            return machine.run(job_of(options, output.say))
    except (MachineError, OSError) as error:
        output.say(f"run: {error}")
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
