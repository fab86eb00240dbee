# SPDX-License-Identifier: Apache-2.0
"""The whole way from an application's SetValue and SyncToStorage to the tester's table, on a real machine."""
import contextlib
import json
import os
import pathlib
import re
import select
import signal
import struct
import subprocess
import time
from functools import partial

from run import LIMIT_S, Run

COVER_BYTES, COVERS, VALUES_A_SYNC = 24 * 1024, 12, 4  # what sample_media writes before it rests
CALLS = COVERS * VALUES_A_SYNC
BUDGET_EXCEEDED = 3
COUNTERS = struct.Struct("=11Q")  # of one storage: mark, id, base, start and run; each of read, write, setvalue


class Chain(Run):
    def read(self, *options):
        diagnostics = self.manifest["processes"]["diagnostic_manager"]["address"]
        return [self.programs / "flashwatch_read", "--mapping", self.place / "etc/scid_mapping.json", *options,
                diagnostics]

    def soft_limit(self, name):
        budgets = self.manifest["persistency"]
        return budgets["budgets"].get(name, budgets["default_budget"])["soft"]

    def counters_of(self, application):
        """Session writes, total writes and SetValue calls, as the application itself counts them."""
        [file] = (self.place / "machine/run/per" / application).glob("*.counters")
        words = COUNTERS.unpack(file.read_bytes())
        base, start, run = words[2:5], words[5:8], words[8:11]
        return run[1] - start[1], base[1] + run[1], base[2] + run[2]

    def writes_of_media(self, process):
        """What it counts for its session, and the kernel for the process: logs and a sanitizer's own too."""
        session = self.counters_of("media")[0]
        while True:
            io = pathlib.Path(f"/proc/{process}/io").read_text(encoding="ascii")
            before, session = session, self.counters_of("media")[0]
            if before == session:  # it wrote nothing meanwhile
                return session, int(re.search(r"wchar: (\d+)", io)[1])

    def sockets_open_to_others(self):
        """Those of the machine's processes whose own address is neither of this computer nor of the discovery group."""
        def is_own(socket):
            process = pathlib.Path("/proc") / socket.split("pid=")[-1].split(",")[0]
            with contextlib.suppress(OSError):  # of another user, or it ended meanwhile
                return str(self.place) in (process / "environ").read_text(errors="replace") + os.readlink(process / "cwd")

        listed = subprocess.run(["ss", "-Hlntup"], stdout=subprocess.PIPE, text=True, check=True).stdout
        own = [socket for socket in listed.splitlines() if is_own(socket)]
        assert {"dlt-daemon", "flashwatch"} <= {socket.split('"')[1] for socket in own}, own
        return [socket for socket in own if not re.match(r"(127\.|\[::ffff:127\.|224\.224\.224\.245:)", socket.split()[4])]

    def figures_after_the_last_cover(self):
        """The first reading for which media rests since the reading before."""
        with subprocess.Popen(self.read("--json", "--watch", "0.2"), stdout=subprocess.PIPE, text=True) as tool:
            end, rests = time.monotonic() + LIMIT_S, False
            try:
                while select.select([tool.stdout], [], [], max(0, end - time.monotonic()))[0]:
                    applications = json.loads(tool.stdout.readline())["applications"]
                    before, rests = rests, self.counters_of("media")[2] == CALLS
                    if before:
                        return {application["names"][0]: application for application in applications}
            finally:
                tool.terminate()
        raise AssertionError("media never came to rest")


def figures_of(machine):
    """Brings the machine up until media rests, and compares everybody's figures; media's as the tester sees them."""
    with machine.start() as runner:
        media = machine.await_line(runner, "sample_media ready: process ").split()[3].strip(",")
        first, kernel_first = machine.writes_of_media(media)
        machine.await_line(runner, "The machine runs")
        assert not (found := machine.sockets_open_to_others()), found
        figures = machine.figures_after_the_last_cover()
        for name in ("media", "tripmeter", "flashwatch"):  # navigation may write between the two readings
            session, total, _ = machine.counters_of(name)
            limit, seen = machine.soft_limit(name), figures[name]
            seen = [seen[key] for key in ("session_write", "total_write", "soft_limit", "left", "over_by")]
            assert seen == [session, total, limit, max(0, limit - total), max(0, total - limit)], (name, seen, session)
        last, kernel_last = machine.writes_of_media(media)
        assert COVERS * COVER_BYTES <= last <= kernel_last, (last, kernel_last)
        # A sanitizer's run-time writes when a process starts, so the shares are those of a process that runs.
        assert last - first > 0.95 * (kernel_last - kernel_first), (first, last, kernel_first, kernel_last)
        table = subprocess.run(machine.read(), stdout=subprocess.PIPE, text=True, check=False, timeout=LIMIT_S)
        assert table.returncode == BUDGET_EXCEEDED and re.search(r"\nmedia .* EXCEEDED\n", table.stdout), table.stdout
        runner.send_signal(signal.SIGINT)
        return figures["media"]["session_write"], figures["media"]["total_write"], machine.outcome(runner)


def what_an_application_syncs_is_what_the_tester_sees(machine):
    session, total, output = figures_of(machine)
    assert f"DATA info media session({session}, {CALLS}) total({total}, {CALLS})" in output, output

    _, total, _ = machine.counters_of("media")  # closing the storage writes a little more
    next_time = machine.finish("--once")
    assert re.search(r"\nApplication +SCID (?s:.*)\nmedia .* EXCEEDED\n(?s:.*)\nflashwatch ended with code 0\n"
                     r"The report of this run: .*/report\.html\n$", next_time), next_time
    assert 'media <b class="soft">' in (machine.place / "machine/report.html").read_text(encoding="utf-8")
    logged = re.search(r" info media session\((\d+), \d+\) total\((\d+), ", next_time)
    session, total_now = map(int, logged.groups())
    assert session > COVER_BYTES and total_now == total + session, (session, total, total_now)


def budgets_grow_year_by_year(machine):
    rows_shown = re.findall(r"^ +(\d) +(\w+) +(\d) +([\d,]+) +([\d,]+)$", machine.finish("--years", "3"), re.MULTILINE)
    assert len(rows_shown) == 12, rows_shown
    before = {}
    for year, name, in_use, *numbers in rows_shown:
        limit, written = (int(number.replace(",", "")) for number in numbers)
        assert (in_use, limit) == (year, int(year) * machine.soft_limit(name)), (name, year, in_use, limit)
        assert written > before.get(name, 0), (name, year)
        before[name] = written
    page = (machine.place / "machine/years/report.html").read_text(encoding="utf-8")
    assert page.count("<dt>Years of use</dt><dd>3<") == 4 and "a day, over 732 days<" in page, page


def rows(programs):
    for test in (what_an_application_syncs_is_what_the_tester_sees, budgets_grow_year_by_year):
        with Chain(programs) as machine:
            yield test.__name__, partial(test, machine)
