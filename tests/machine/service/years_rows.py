# SPDX-License-Identifier: Apache-2.0
"""Starts in later years, by a clock that stands still at a time of its own: what is logged, reported and stored then,
and after a power cut while a year's change is stored. Then a thousand real storages behind it."""
import json
import pathlib
import shutil
import sqlite3
import struct
import sysconfig
import tempfile
from datetime import datetime, timezone
from functools import partial

from machine import EXCEEDANCE, REPORT, statistics
from stage import Stage, preload

GROUP = {"configuration": {"pm_instance_id": "persistency_statistics", "own_instance_id": "flashwatch_diagnostics",
                           "log_period": 1}}
FAKETIME = f"/usr/lib/{sysconfig.get_config_var('MULTIARCH')}/faketime/libfaketime.so.1"
FIRST_USE = int(datetime(2027, 3, 1, tzinfo=timezone.utc).timestamp())
YEAR = 31556952
STORE = "flashwatch_BkupByEmBoot.db"
PIECE, SEAL = 16, 32  # bytes of the store's log: the power is cut after each piece; the seal is written last
MANY = 1000

# One start after the other on the same store. When, in years and seconds since the first use, with which budget of a
# year; then what is stored (limits, years), the accumulated limits that are logged, and a warning.
STARTS = json.loads(pathlib.Path(__file__).with_name("years.json").read_text())


def storage(stage):
    return {file.name: file.read_bytes() for file in (stage.stores / "flashwatch").iterdir()}


def record(stage):
    """The bytes stored for the application, read from a copy: the original stays as it is."""
    with tempfile.TemporaryDirectory() as scratch:
        shutil.copytree(stage.stores / "flashwatch", scratch, dirs_exist_ok=True)
        store = sqlite3.connect(f"{scratch}/{STORE}")
        [[value]] = store.execute("SELECT value FROM entries WHERE key=?", (b"alpha",))
        store.close()
    return value[5:]  # behind its type and checksum


def traces(stage):
    """Everything by which a write to flashwatch's storage shows."""
    folder = stage.stores / "flashwatch"
    return storage(stage), [(file.stat().st_mtime_ns, file.stat().st_ino) for file in (folder, *folder.iterdir())]


def start(stage, seconds, budget):
    """What flashwatch reports as the accumulated soft limit, and its log."""
    stage.answers["statistics"] = {"answers": statistics({"alpha": (0, 0, 0, 0, 1, 0, *budget)})}
    stands = datetime.fromtimestamp(FIRST_USE + seconds, timezone.utc).strftime("%Y-%m-%d %H:%M:%S")
    clock = {**preload(FAKETIME), "FAKETIME": stands, "FAKETIME_DONT_FAKE_MONOTONIC": "1", "TZ": "UTC"}
    with stage.start("flashwatch", variables=clock) as process:
        report = stage.read(REPORT)
        assert process.end() == 0, process.text()
        return int(report[40:56], 16), process.text()


def year(stage, after, budget, stored, limits, warning=""):
    before, writes = traces(stage), record(stage) != struct.pack("<qQQII", FIRST_USE, *stored, 0)
    reported, log = start(stage, after[0] * YEAR + after[1], budget)
    assert record(stage) == struct.pack("<qQQII", FIRST_USE, *stored, 0)
    assert (traces(stage) != before) == writes, "written without need, or not"
    line = "alpha year limits({}, {}) acc limits({}, {}) year in use({})".format(*budget, *limits, stored[2])
    assert line in log and warning in log and (warning or " warn " not in log), log
    assert reported == limits[0], reported


def cut(stage, before, after, written, limits, years):
    """The store's log with so much of the new bytes; the store itself does not change with a commit."""
    for name, content in {**before, STORE + "-wal": after[:written] + before[STORE + "-wal"][written:]}.items():
        (stage.stores / "flashwatch" / name).write_bytes(content)
    # The clock is back in the first year, where the second year's record tells itself from the first year's.
    reported, log = start(stage, 0, (10, 20))
    assert f"acc limits({limits[0]}, {limits[1]}) year in use({years})" in log and reported == limits[0], log


def changes_of_a_year(stage):
    """The rows of a power cut in the first change of a year."""
    start(stage, 0, (10, 20))
    before = storage(stage)
    start(stage, YEAR, (10, 20))
    after = storage(stage)
    assert before[STORE] == after[STORE]
    old, new = before[STORE + "-wal"], after[STORE + "-wal"]
    changed = [i for i, byte in enumerate(new) if i >= len(old) or byte != old[i]]
    first, end = changed[0], changed[-1] + 1
    for written in (*range(first, end, PIECE), end):
        outcome = ((20, 40), 2) if written >= end - SEAL else ((10, 20), 1)
        yield f"{written - first} of {end - first} bytes on the medium", partial(cut, stage, before, new, written, *outcome)
    for name, content in before.items():
        (stage.stores / "flashwatch" / name).write_bytes(content)


def many_storages(programs):
    """A fresh machine under budget, its own storage included."""
    with Stage(programs, GROUP) as stage:
        stage.manifest["communication"]["limits"]["response_time_ms"] = 20000
        with stage.start("sample_navigation") as process:
            process.end()
        for number in range(MANY - 2):  # with the sample and flashwatch itself
            shutil.copytree(stage.stores / "navigation", stage.stores / f"copy_{number:03}")
        with stage.start("persistency_statistics"), stage.start("flashwatch") as process:
            report = bytes.fromhex(stage.read(REPORT)[6:])
            assert report[:9] == struct.pack(">IBI", 1, 15, 60 * 32) and len(report) == 9 + 60 * 32, report[:9]
            assert stage.read(EXCEEDANCE) == "80/00 00" and process.end() == 0
        # The limits at the first readout, the figures at the last; the report's at another level.
        lines = [process.text().count(each) for each in ("DATA info copy_", "DATA debug copy_", "Missing years in use")]
        assert lines == [2 * (MANY - 2), MANY - 2, 0], lines


def rows(programs):
    with Stage(programs, {**GROUP, "answers": {"statistics": {}}}) as stage:
        stage.peers("come")
        yield from changes_of_a_year(stage)
        for name, row in STARTS.items():
            yield name, partial(year, stage, **row)
    yield f"{MANY} storages", partial(many_storages, programs)
