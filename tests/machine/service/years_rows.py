# SPDX-License-Identifier: Apache-2.0
"""Restarts in later years, by a clock that stands still at a time of its own, and what the store holds then."""
import shutil
import sqlite3
import struct
import sysconfig
import tempfile
from datetime import datetime, timezone
from functools import partial

from machine import EXCEEDANCE, REPORT, Watched_machine, statistics

NEEDS_ETC = True
FAKETIME = f"/usr/lib/{sysconfig.get_config_var('MULTIARCH')}/faketime/libfaketime.so.1"
FIRST_USE = int(datetime(2027, 3, 1, tzinfo=timezone.utc).timestamp())
YEAR = 31556952
MOST = (1 << 64) - 1
SMALL, LARGE, ENDLESS = (10, 20), (100, 200), (MOST, MOST)

# One start after the other on the same store. When, in seconds since the first use, with which budget of a year; then
# what is stored (limits, years), the accumulated limits and years that are logged, and a warning.
STARTS = [
    ("first year", 0, SMALL, (0, 0, 1), (10, 20, 1), ""),
    ("same moment", 0, SMALL, (0, 0, 1), (10, 20, 1), ""),
    ("last second of the first year", YEAR - 1, SMALL, (0, 0, 1), (10, 20, 1), ""),
    ("first second of the second year", YEAR, SMALL, (10, 20, 2), (20, 40, 2), ""),
    ("within the second year", YEAR + 86400, SMALL, (10, 20, 2), (20, 40, 2), ""),
    ("third year, other budget", 2 * YEAR, LARGE, (110, 220, 3), (210, 420, 3), ""),
    ("sixth year, two left out", 5 * YEAR, LARGE, (410, 820, 6), (510, 1020, 6), ""),
    ("clock back by years", YEAR, LARGE, (410, 820, 6), (510, 1020, 6),
     "Persisted years in use: 6 will be used due to negative time difference"),
    ("clock before the first use", -1, LARGE, (410, 820, 6), (510, 1020, 6),
     f"Current time: {FIRST_USE - 1} is smaller than persisted time of first use: {FIRST_USE}"),
    ("clock in order again", 5 * YEAR + 1, LARGE, (410, 820, 6), (510, 1020, 6), ""),
    ("clock forward by decades", 40 * YEAR, SMALL, (760, 1520, 41), (770, 1540, 41), ""),
    ("clock forward by more seconds than 32 bits hold", 140 * YEAR, SMALL, (760, 1520, 41), (770, 1540, 41),
     "Persisted years in use: 41 will be used due to negative time difference"),
    ("and set right: what was counted stays", 6 * YEAR, SMALL, (760, 1520, 41), (770, 1540, 41),
     "Persisted years in use: 41 will be used due to negative time difference"),
    ("next year, endless budget", 41 * YEAR, ENDLESS, (MOST, MOST, 42), (MOST, MOST, 42),
     f"Max limit exceedance with values: 1520 and {MOST}"),
]


def record(machine, application):
    """The bytes stored under a key, read from a copy: the original stays as it is."""
    with tempfile.TemporaryDirectory() as scratch:
        for file in (machine.stores / "flashwatch").iterdir():
            shutil.copy(file, scratch)
        store = sqlite3.connect(f"{scratch}/flashwatch_BkupByEmBoot.db")
        found = store.execute("SELECT value FROM entries WHERE key=?", (application.encode(),)).fetchall()
        store.close()
    assert len(found) == 1, found
    kind, value = found[0][0][0], found[0][0][5:]  # a checksum stands between them
    assert kind == 1, "it is no binary value"
    return value


def traces(machine):
    """Everything by which a write to flashwatch's storage shows."""
    return {file: (file.stat().st_mtime_ns, file.stat().st_ino, file.read_bytes() if file.is_file() else None)
            for file in [machine.stores / "flashwatch", *(machine.stores / "flashwatch").iterdir()]}


def clock(machine, time):
    """The variables for a program whose clock stands still at that time."""
    stands = datetime.fromtimestamp(time, timezone.utc).strftime("%Y-%m-%d %H:%M:%S")
    return {**machine.preload(FAKETIME), "FAKETIME": stands, "FAKETIME_DONT_FAKE_MONOTONIC": "1", "TZ": "UTC"}


def start(machine, state, seconds, budget, stored, logged, warning):
    machine.answer = statistics({"alpha": (0, 0, 0, 0, 1, 0, *budget)})
    before = traces(machine) if state else None
    with machine.start(variables=clock(machine, FIRST_USE + seconds)) as process:
        report = machine.read(REPORT)
        assert process.end() == 0, process.text()
        text = process.text()
    assert record(machine, "alpha") == struct.pack("<qQQII", FIRST_USE, *stored, 0)
    assert (traces(machine) == before) == (state == stored), "written without need, or not"
    state[:] = stored
    line = "alpha year limits({}, {}) acc limits({}, {}) year in use({})".format(*budget, *logged)
    assert line in text and warning in text and (warning or " warn " not in text), text
    assert report[40:56] == f"{logged[0]:016x}", report


def fresh(new_machine, budgets, exceeded):
    """The first start of all, then a restart of the machine within the year."""
    with new_machine() as machine:
        machine.manifest["persistency"]["budgets"] = budgets
        for sample in ("sample_navigation", "sample_media", "sample_tripmeter"):
            with machine.start(sample) as process:
                process.end()
        assert own_session_writes(machine, exceeded) > 0, "what flashwatch wrote itself is not counted"
        before = traces(machine)
        shutil.rmtree(machine.scratch / "run")
        (machine.scratch / "run").mkdir()
        assert own_session_writes(machine, exceeded) == 0 and traces(machine) == before


def own_session_writes(machine, exceeded):
    with machine.start("persistency_statistics"), machine.start() as process:
        assert machine.read(EXCEEDANCE) == f"80/00 {exceeded:02x}"
        # Asked again: what the first readout wrote itself is in this report, with flashwatch as the first of four.
        report = bytes.fromhex(machine.read(REPORT)[6:].replace(" ", ""))
        assert process.end() == 0 and "Missing years in use" not in process.text(), process.text()
    assert report[4] == 4 and len(report) == 9 + 4 * 32 and report[9:17] == struct.pack(">Q", 0x1000)
    return struct.unpack_from(">Q", report, 33)[0]


def rows(programs):
    new_machine = partial(Watched_machine, programs)
    with new_machine() as machine:
        machine.offer()
        state = []
        for name, *row in STARTS:
            yield name, partial(start, machine, state, *row[:2], list(row[2]), *row[3:])
    plenty = {"soft": 1 << 30, "hard": 1 << 31}
    for name, budgets, exceeded in (("a fresh machine under budget", {"media": plenty}, 0),
                                    ("a fresh machine over budget", {"media": {"soft": 1, "hard": 2}}, 1)):
        yield name, partial(fresh, new_machine, budgets, exceeded)
