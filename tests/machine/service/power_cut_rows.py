# SPDX-License-Identifier: Apache-2.0
"""The power fails while flashwatch writes a year's change: it goes on from the records before or after it."""
import shutil
from functools import partial

from machine import REPORT, Watched_machine, statistics
from years_rows import FIRST_USE, YEAR, clock

NEEDS_ETC = True
STORE = "flashwatch_BkupByEmBoot.db"
BUDGET = (10, 20)
PIECE = 16  # bytes of what the change wrote; the power is cut after each
SEAL = 32  # bytes behind the records, written when all is done
BEFORE, AFTER = (10, 20, 1), (20, 40, 2)  # accumulated limits and years, at the time of the first use


def start(machine, seconds):
    """What is reported and logged by a start at that time: accumulated limits and years."""
    machine.answer = statistics({"alpha": (0, 0, 0, 0, 1, 0, *BUDGET)})
    with machine.start(variables=clock(machine, FIRST_USE + seconds)) as process:
        report = machine.read(REPORT)
        assert process.end() == 0, process.text()
        text = process.text()
    for soft, hard, years in (BEFORE, AFTER):
        if f"acc limits({soft}, {hard}) year in use({years})" in text:
            assert report[40:56] == f"{soft:016x}", report
            return soft, hard, years
    raise AssertionError(text)


def cut(machine, before, after, written, expected):
    """The log of the store with so much of the new bytes; the store itself does not change with a commit."""
    for name, content in before.items():
        (machine.stores / "flashwatch" / name).write_bytes(content)
    old, new = before[STORE + "-wal"], after[STORE + "-wal"]
    (machine.stores / "flashwatch" / (STORE + "-wal")).write_bytes(new[:written] + old[written:])
    shutil.rmtree(machine.scratch / "run")
    (machine.scratch / "run").mkdir()
    # The clock is back in the first year, as there the second year's record tells itself from the first year's.
    assert start(machine, 0) == expected


def rows(programs):
    with Watched_machine(programs) as machine:
        machine.offer()
        stored = lambda: {file.name: file.read_bytes() for file in (machine.stores / "flashwatch").iterdir()}
        assert start(machine, 0) == BEFORE
        before = stored()
        assert start(machine, YEAR) == AFTER
        after = stored()
        assert before[STORE] == after[STORE]
        old, new = (each[STORE + "-wal"] for each in (before, after))
        changed = [i for i, byte in enumerate(new) if i >= len(old) or byte != old[i]]
        first, end = changed[0], changed[-1] + 1
        for written in (*range(first, end, PIECE), end):
            yield (f"{written - first} of {end - first} bytes on the medium",
                   partial(cut, machine, before, after, written, AFTER if written >= end - SEAL else BEFORE))
