# SPDX-License-Identifier: Apache-2.0
"""What a run does with the machine."""
from errors import StopRequested


def once(machine):
    """Everything once."""
    machine.start()
    machine.show_table()
    machine.stop()
    machine.check_log()
    machine.leave_report()


def until_asked_to_stop(machine, say):
    try:
        machine.start()
        machine.show_table()
        say(f"To read it again: {machine.how_to_read()}")
        say("The machine runs; Ctrl-C stops it.")
        machine.wait_for_request_to_stop()
    except StopRequested:
        machine.stop()
        machine.leave_report()


def years(machine, count, clock_of, say):
    """One start, reading and stop in each of `count` years. `clock_of(year)` is the environment of the first and so on.
    Shows how budgets and years of use grow; years of use that do not are a failure."""
    width = max(len("Application"), *map(len, machine.applications))
    say(f"Year  {'Application':{width}}  Years in use  Soft limit (bytes)  Written in total (bytes)")
    for year in range(1, count + 1):
        machine.start(clock_of(year))
        figures = machine.read_figures()
        machine.stop()
        for name in machine.applications:
            in_use = machine.years_in_use.get(name)
            limit, written = (f"{figures[name][key]:,}" if name in figures else "?"
                              for key in ("soft_limit", "total_write"))
            say(f"{year:>4}  {name:{width}}  {in_use or '?':>12}  {limit:>18}  {written:>24}")
            if in_use != year:
                machine.fail(f"{name} should be in use for {year} years now")
            if name not in figures:
                machine.fail(f"the tester sees nothing of {name}")
    machine.leave_report()
