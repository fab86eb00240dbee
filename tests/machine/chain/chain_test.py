#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The whole way from an application's SetValue and SyncToStorage to the tester's table, on a machine of real processes.
Usage: chain_test.py DIRECTORY_OF_PROGRAMS"""
import contextlib
import json
import os
import pathlib
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
NETWORK = f"127.{30 + os.getpid() // 254 % 60}.{1 + os.getpid() % 254}."
DISCOVERY_PORT = 20000 + os.getpid() % 10000  # who hears no other machine's multicasts needs a port of its own
LIMIT_S = 60
COVER_BYTES, COVERS, VALUES_A_SYNC = 24 * 1024, 12, 4  # what sample_media writes before it rests
BUDGET_EXCEEDED = 3
COUNTERS = struct.Struct("=11Q")  # of one storage: mark, id, base, start and run; each of read, write, setvalue
programs = pathlib.Path()


class Chain(unittest.TestCase):
    def setUp(self):
        self.place = pathlib.Path(tempfile.mkdtemp(prefix="chain-"))
        self.addCleanup(shutil.rmtree, self.place)
        shutil.copytree(ROOT / "machine/etc", self.place / "etc")
        file = self.place / "etc/machine.json"
        self.manifest = json.loads(file.read_text(encoding="utf-8").replace("127.0.20.", NETWORK))
        self.manifest["communication"]["discovery"]["port"] = DISCOVERY_PORT
        file.write_text(json.dumps(self.manifest), encoding="utf-8")

    @contextlib.contextmanager
    def runner(self, *options):
        command = ["/usr/bin/python3", "-B", ROOT / "scripts/machine_runner", "--programs", programs, "--etc",
                   self.place / "etc", "--directory", self.place / "machine", *options]
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) as process:
            try:
                yield process
            finally:
                process.kill()  # the machine ends with it

    def finish(self, *options):
        with self.runner(*options) as runner:
            output, _ = runner.communicate(timeout=LIMIT_S)
        self.assertEqual(runner.returncode, 0, output)
        return output

    def read(self, *options):
        diagnostics = self.manifest["processes"]["diagnostic_manager"]["address"]
        return [programs / "flashwatch_read", "--mapping", self.place / "etc/scid_mapping.json", *options, diagnostics]

    def counters_of(self, application):
        """Session writes, total writes and SetValue calls, as the application itself counts them."""
        [file] = (self.place / "machine/run/per" / application).glob("*.counters")
        words = COUNTERS.unpack(file.read_bytes())
        base, start, run = words[2:5], words[5:8], words[8:11]
        return run[1] - start[1], base[1] + run[1], base[2] + run[2]

    def figures_after_the_last_cover(self):
        """The first reading for which media rests since the reading before."""
        with subprocess.Popen(self.read("--json", "--watch", "0.2"), stdout=subprocess.PIPE, text=True) as tool:
            end = time.monotonic() + LIMIT_S
            rests = False
            try:
                while select.select([tool.stdout], [], [], max(0, end - time.monotonic()))[0]:
                    applications = json.loads(tool.stdout.readline())["applications"]
                    before, rests = rests, self.counters_of("media")[2] == COVERS * VALUES_A_SYNC
                    if before:
                        return {application["names"][0]: application for application in applications}
            finally:
                tool.terminate()
        raise AssertionError("media never came to rest")

    def assert_figures(self, figures, media_process):
        for name in ("media", "tripmeter", "flashwatch"):  # navigation may write between the two readings
            session, total, _ = self.counters_of(name)
            budgets = self.manifest["persistency"]
            limit = budgets["budgets"].get(name, budgets["default_budget"])["soft"]
            seen = figures[name]
            self.assertEqual([seen[key] for key in ("session_write", "total_write", "soft_limit", "left", "over_by")],
                             [session, total, limit, max(0, limit - total), max(0, total - limit)], name)
        io = dict(re.findall(r"(\w+): (\d+)", pathlib.Path(f"/proc/{media_process}/io").read_text("ascii")))
        written = figures["media"]["session_write"]
        self.assertGreaterEqual(written, COVERS * COVER_BYTES)
        self.assertLessEqual(written, int(io["wchar"]))  # the kernel's count of all that the process wrote, logs too
        self.assertGreater(written, 0.9 * int(io["wchar"]))

    def test_what_an_application_syncs_is_what_the_tester_sees(self):
        with self.runner() as runner:
            output = ""
            while "The machine runs" not in output:
                self.assertTrue(line := runner.stdout.readline(), output)
                output += line
            figures = self.figures_after_the_last_cover()
            self.assert_figures(figures, re.search(r"sample_media ready: process (\d+)", output)[1])
            table = subprocess.run(self.read(), stdout=subprocess.PIPE, text=True, check=False, timeout=LIMIT_S)
            self.assertEqual(table.returncode, BUDGET_EXCEEDED, table.stdout)
            self.assertRegex(table.stdout, r"\nmedia .* EXCEEDED\n")
            runner.send_signal(signal.SIGINT)
            rest, _ = runner.communicate(timeout=LIMIT_S)
        self.assertEqual(runner.returncode, 0, rest)
        session, total = figures["media"]["session_write"], figures["media"]["total_write"]
        calls = COVERS * VALUES_A_SYNC
        self.assertIn(f"DATA info media session({session}, {calls}) total({total}, {calls})", rest)

        _, total, _ = self.counters_of("media")  # closing the storage writes a little more
        next_time = self.finish("--once")
        self.assertRegex(next_time, r"\nApplication +SCID (?s:.*)\nmedia .* EXCEEDED\n(?s:.*)\n"
                                    r"flashwatch ended with code 0\n$")
        logged = re.search(r" info media session\((\d+), \d+\) total\((\d+), ", next_time)
        session, total_now = map(int, logged.groups())
        self.assertGreater(session, COVER_BYTES)
        self.assertEqual(total_now, total + session)

    def test_budgets_grow_year_by_year(self):
        rows = re.findall(r"^ +(\d) +(\w+) +(\d) +([\d,]+) +([\d,]+)$", self.finish("--years", "3"), re.MULTILINE)
        self.assertEqual(len(rows), 12, rows)
        written_before = dict.fromkeys((row[1] for row in rows), 0)
        for year, name, in_use, limit, written in rows:
            budgets = self.manifest["persistency"]
            budget = budgets["budgets"].get(name, budgets["default_budget"])["soft"]
            self.assertEqual((in_use, int(limit.replace(",", ""))), (year, int(year) * budget), name)
            self.assertGreater(int(written.replace(",", "")), written_before[name], name)
            written_before[name] = int(written.replace(",", ""))


if __name__ == "__main__":
    programs = pathlib.Path(sys.argv.pop()).resolve()
    sys.exit(unittest.main())
