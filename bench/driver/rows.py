# SPDX-License-Identifier: Apache-2.0
"""The rows of the table: each function measures some and yields them."""
import contextlib
import os
import pathlib
import statistics
import time

from figures import Row, Rounds, Unmeasurable, time_text
from machine import ADDRESSES, APPLICATIONS, FLOOR_PORT, Tester, echo_peers, floor_peer

SAME, SPLIT = "same core", "split cores"
ROUNDS, CALLS = 60, 200
IN_FLIGHT, CALLS_OF_ONE_STREAM = 16, 3200
# The floor is linear. What grew with n log n would have a ratio 1.33 times as great at 10,000 as at 1,000, what grew with
# the square one 10 times as great; the rest is for the caches.
LINEAR_GROWTH = 1.3
REST_S = 60
READS = 10_000
STARTS = 15


def placements():
    """Processors by placement: the first for clients, the second for servers."""
    processors = sorted(os.sched_getaffinity(0))
    yield SAME, (processors[0], processors[0])
    if len(processors) > 1:
        yield SPLIT, (processors[0], processors[1])


def exchange(machine):
    for placement, (near, far) in placements():
        with machine.server("floor_server", ADDRESSES["floor_1"], FLOOR_PORT, processor=far), \
                machine.server("bench_service", APPLICATIONS, processor=far):
            for size in (5, 489):
                rounds = Rounds(machine.measure("exchange_cost", 1, ROUNDS, CALLS, processor=near, text=echo_peers(size)))
                yield rounds.row(f"raw client to our skeleton, {size} B", placement, "skeleton", "tcp",
                                 1.15 if placement == SAME else 1.05)
                yield rounds.row(f"our proxy to our skeleton, {size} B", placement, "proxy", "tcp",
                                 2.0 if placement == SAME else 1.3)
            rounds = Rounds(machine.measure("exchange_cost", IN_FLIGHT, ROUNDS, CALLS_OF_ONE_STREAM, processor=near,
                                            text=echo_peers(489)))
            for name, floor, what in (("skeleton", "tcp", "raw client to our skeleton"),
                                      ("proxy", "tcp_singly", "our proxy to our skeleton")):
                yield rounds.throughput_row(f"{what}, {IN_FLIGHT} in flight, 489 B", placement, name, floor, 0.7,
                                            CALLS_OF_ONE_STREAM)


def get_stats(machine):
    for placement, (near, far) in placements():
        beside_floor = {}
        for applications, rounds, calls in ((15, ROUNDS, 400), (1000, 40, 40), (10_000, 20, 10)):
            with machine.server("floor_server", ADDRESSES["floor_1"], FLOOR_PORT, processor=far), \
                    machine.server("bench_service", applications, processor=far):
                found = Rounds(machine.measure("get_stats_cost", ADDRESSES["floor_1"], FLOOR_PORT, applications, rounds,
                                               calls, processor=near))
            yield found.row(f"get_stats of {applications:,} applications", placement, "get_stats", "bare_stats", 1.3)
            beside_floor[applications] = statistics.median(found.ratios("get_stats", "bare_stats"))
            if placement == SAME:
                yield found.row(f"deserializing the statistics of {applications:,}", placement, "deserialize", "copy",
                                1.5)
        growth = beside_floor[10_000] / beside_floor[1000]
        yield Row("get_stats of 10,000 applications beside 1,000: how the ratio grows", placement,
                  f"{beside_floor[10_000]:.2f}", f"{beside_floor[1000]:.2f}", f"{growth:.2f}",
                  f"≤ {LINEAR_GROWTH} (linear)", growth <= LINEAR_GROWTH, {"ratio": growth})


@contextlib.contextmanager
def diagnosed(machine, watcher, near=None, far=None):
    """A whole machine; the processors alternate on the way from the tester to the statistics."""
    machine.lay_over_etc()
    with machine.log_daemon(), machine.server("bench_service", APPLICATIONS, processor=far), \
            machine.service(watcher, near, "flashwatch") as watching, \
            machine.service("diagnostic_manager", far):
        yield watching, Tester(ADDRESSES["diagnostic_manager"])


def diagnosis(machine):
    for watcher, logged, limits in (("flashwatch_at_warnings", "warnings logged", {SAME: 2.2, SPLIT: 1.5}),
                                    ("flashwatch", "everything logged", {})):
        for placement, (near, far) in placements():
            with machine.server("floor_server", ADDRESSES["floor_3"], FLOOR_PORT, processor=far), \
                    machine.server("floor_server", ADDRESSES["floor_2"], FLOOR_PORT, ADDRESSES["floor_3"],
                                   processor=near), \
                    machine.server("floor_server", ADDRESSES["floor_1"], FLOOR_PORT, ADDRESSES["floor_2"],
                                   processor=far), \
                    diagnosed(machine, watcher, near, far) as (_, tester):
                peers = floor_peer("hops", len(tester.READ_17F0), tester.answer_size) + tester.peer("doip")
                rounds = Rounds(machine.measure("exchange_cost", 1, ROUNDS, 50, processor=near, text=peers))
            yield rounds.row(f"0x17F0 through DoIP, {APPLICATIONS} applications, {logged}", placement, "doip", "hops",
                             limits.get(placement))


def log(machine):
    _, (processor, _) = next(placements())
    with machine.log_daemon():
        rounds = Rounds(machine.measure("log_cost", ROUNDS, 100, processor=processor))
    more = (rounds.median("lines_below") - rounds.median("branches")) / 1000
    yield Row("a log line below the level", SAME, f"{rounds.median('lines_below') / 1000:.2f} ns",
              f"{rounds.median('branches') / 1000:.2f} ns", f"+{more:.2f} ns", "≤ 5 ns", more <= 5, {"more_ns": more})
    yield rounds.row("a log line to DLT, 8 pieces", SAME, "line", "libdlt", 1.2)


def store(machine):
    rounds = Rounds(machine.measure("store_cost", machine.directory / "plain.db", ROUNDS))
    for records, what in ((1, "one update"), (15, "15 records")):
        yield rounds.row(f"SyncToStorage of {what}", "", f"store_{records}", f"sqlite_{records}", 1.1)
        ours, floor = (rounds.median(f"bytes_{name}_{records}") for name in ("store", "sqlite"))
        if floor == 0:
            raise Unmeasurable(f"{machine.directory} is on no medium, or its file system does not count")
        ratio = ours / floor
        yield Row(f"bytes written for {what}", "", f"{ours:,.0f}", f"{floor:,.0f}", f"{ratio:.3f}", "≤ 1.0",
                  ratio <= 1.01, {"ratio": ratio})


def start(machine):
    machine.lay_over_etc()
    took = {"flashwatch": [], "ready_at_main": []}
    with machine.server("bench_service", APPLICATIONS):
        for _ in range(STARTS):
            for program, times in took.items():
                with machine.service(program, name="flashwatch") as process:
                    times.append(process.took * 1e9)
    more = [a - b for a, b in zip(*took.values())]
    median = statistics.median(more)
    yield Row("process start to offered services", "", *(f"{time_text(statistics.median(times))} "
                                                         f"({time_text(max(times))})" for times in took.values()),
              f"+{time_text(median)}", "≤ 15 ms more", median <= 15e6, {"more_ns": median})


def own_threads(pid):
    """The threads of a process without those of libdlt."""
    tasks = [task for task in pathlib.Path(f"/proc/{pid}/task").iterdir()
             if not (task / "comm").read_text(encoding="ascii").startswith("dlt_")]
    return tasks


def status(path, *names):
    fields = dict(line.split(":", 1) for line in (path / "status").read_text(encoding="ascii").splitlines())
    return sum(int(fields[name].split()[0]) for name in names)


def switches(pid):
    return sum(status(task, "voluntary_ctxt_switches", "nonvoluntary_ctxt_switches") for task in own_threads(pid))


def rest(machine):
    with diagnosed(machine, "flashwatch") as (process, tester):
        time.sleep(2 * 5)  # the threads that starting needed have gone, and the repetitions of the offers are over
        threads, before = len(own_threads(process.pid)), switches(process.pid)
        time.sleep(REST_S)
        a_minute = (switches(process.pid) - before) * 60 / REST_S
        yield Row("flashwatch at rest: threads", "", str(threads), "", "", "≤ 3", threads <= 3, {"threads": threads})
        yield Row("flashwatch at rest: context switches a minute", "", f"{a_minute:.0f}", "", "", "≤ 100",
                  a_minute <= 100, {"switches": a_minute})
    for watcher, logged, most_kib in (("flashwatch_at_warnings", "warnings logged", 0),
                                      ("flashwatch", "everything logged", None)):
        kib = []
        with diagnosed(machine, watcher) as (process, tester):
            for _ in range(4):
                machine.measure("exchange_cost", 1, 9, READS // 10, text=tester.peer("doip"))
                kib.append(status(pathlib.Path(f"/proc/{process.pid}"), "VmRSS"))
        yield Row(f"resident after {READS:,} reads, {logged}", "", f"{kib[0] / 1024:.1f} MiB", "", "", "≤ 8 MB",
                  kib[0] * 1024 <= 8_000_000, {"kib": kib[0]})
        # A worker that joins because a reading took its time touches its stack and its part of the heap, once.
        growth = statistics.median(later - earlier for earlier, later in zip(kib, kib[1:]))
        yield Row(f"its growth by {READS:,} more, three times, {logged}", "", f"{growth} KiB", "", "",
                  "" if most_kib is None else "0", None if most_kib is None else growth <= most_kib, {"kib": growth})


def restart(machine):
    def files():
        return {file: (file.stat().st_mtime_ns, file.stat().st_size)
                for file in pathlib.Path(machine.directory / "per").rglob("*")}

    machine.lay_over_etc()
    seen = []
    with machine.server("bench_service", APPLICATIONS):
        for _ in range(2):
            with machine.service("flashwatch"):
                pass
            seen.append(files())
    if not seen[0]:
        raise Unmeasurable("the first start stored nothing")
    changed = {file for file in seen[0].keys() | seen[1].keys() if seen[0].get(file) != seen[1].get(file)}
    written = sum(file.stat().st_size for file in changed if file.exists())
    yield Row("restart in the same year: bytes in files written to", "", str(written), "", "", "0", not changed,
              {"bytes": written})


ALL = {function.__name__: function
       for function in (exchange, get_stats, diagnosis, log, store, start, rest, restart)}
