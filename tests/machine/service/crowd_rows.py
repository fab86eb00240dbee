# SPDX-License-Identifier: Apache-2.0
"""Machines with many applications, and with none."""
import shutil
import struct
from functools import partial

from machine import EXCEEDANCE, REPORT, Watched_machine, statistics

NEEDS_ETC = True
MOST = 1000
# Entries of a report: the counter of entries is a byte and starts again with every 256 applications.
ENTRIES_OF_256 = 15
DISCARDED = "Max stats report size = 15 reached - entry for application app_{:04} discarded"


def applications(count, exceeding=None):
    return {f"app_{i:04}": (0, i, 0, 0, 2000 if i == exceeding else i, 0, 1000, 2000) for i in range(count)}


def report(count):
    chosen = [i for i in range(count) if i % 256 < ENTRIES_OF_256]
    entries = b"".join(struct.pack(">4Q", 0, 1000, i, i) for i in chosen)
    return "80/00 " + (struct.pack(">IBI", 1, min(count % 256, ENTRIES_OF_256), len(entries)) + entries).hex()


def crowd(machine, process, count):
    machine.answer = statistics(applications(count))
    since = len(process.log)
    heard = machine.read(REPORT)
    assert heard == report(count), (count, heard)
    left_out = [i for i in range(count) if i % 256 >= ENTRIES_OF_256]
    if left_out:
        process.await_text(DISCARDED.format(left_out[-1]), since=since)
    assert process.text()[since:].count("discarded") == len(left_out)
    assert machine.read(EXCEEDANCE) == "80/00 00"
    if count:
        machine.answer = statistics(applications(count, exceeding=count - 1))
        assert machine.read(EXCEEDANCE) == "80/00 01"


def nobody_then_somebody(new_machine):
    """The first readout is of nobody; whoever comes later has no limits."""
    with new_machine(answer=statistics({})) as machine:
        machine.offer()
        with machine.start() as process:
            assert machine.read(REPORT) == report(0) and machine.read(EXCEEDANCE) == "80/00 00"
            assert " warn " not in process.text()
            machine.answer = statistics({"late": (0,) * 6 + (1, 2)})
            assert machine.read(EXCEEDANCE) == "80/00 00"
            process.await_text("Missing years in use and limits for application id: late")
            assert process.end() == 0


def real_storages(new_machine):
    with new_machine() as machine:
        machine.limits["response_time_ms"] = 20000
        with machine.start("sample_navigation") as process:
            process.end()
        for number in range(MOST - 2):  # with the sample and flashwatch itself
            shutil.copytree(machine.stores / "navigation", machine.stores / f"copy_{number:03}")
        with machine.start("persistency_statistics"), machine.start() as process:
            heard, expected = machine.read(REPORT), report(MOST)
            assert heard[:24] == expected[:24] and len(heard) == len(expected), heard[:40]
            assert machine.read(EXCEEDANCE) == "80/00 00" and process.end() == 0
        # The limits at the first readout, the figures at the last; the report's at another level.
        lines = [process.text().count(each) for each in ("DATA info copy_", "DATA debug copy_", "Missing years in use")]
        assert lines == [2 * (MOST - 2), MOST - 2, 0], lines


def rows(programs):
    new_machine = partial(Watched_machine, programs)
    with new_machine() as machine:
        machine.limits["response_time_ms"] = 20000
        machine.offer()
        with machine.start() as process:
            for count in (MOST, 15, 16, 255, 256, 257, 271, 272, 0):
                yield f"{count} applications", partial(crowd, machine, process, count)
    yield "nobody at first", partial(nobody_then_somebody, new_machine)
    yield f"{MOST} storages", partial(real_storages, new_machine)
