# SPDX-License-Identifier: Apache-2.0
"""A machine whose peers are restarted, flood, fill and leave it, a few times each; bench/soak --peers does it often.
The driver gives it an /etc of its own, for flashwatch's configuration."""
from functools import partial

from trials import TRIALS, await_rest
from whole_machine import WATCHED, Whole_machine

COUNTS = {"restarted": 20, "continued": 3, "requests": 300, "noise": 20, "connections": 1000}


def is_withstood(machine, trial, count):
    trial(machine, count)
    await_rest(machine)


def rows(programs):
    with Whole_machine(programs) as machine:
        for name, trial in TRIALS.items():
            count = next((number for word, number in COUNTS.items() if word in name), 1)
            yield name, partial(is_withstood, machine, trial, count)
        for name in WATCHED:
            yield f"{name} ends well", partial(machine.end, name)
