#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The machine's runner with stand-ins for the programs: the order of starting and ending, what it makes of faults, and
that it leaves neither a process nor a file in /etc behind, whatever ends it."""
import json
import os
import pathlib
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
STATISTICS, WATCHER, MANAGER, READER = (
    "persistency_statistics", "flashwatch", "diagnostic_manager", "flashwatch_read")
SAMPLES = {"sample_navigation", "sample_media", "sample_tripmeter"}
LIMIT_S = 60
NETWORK = f"127.{100 + os.getpid() // 254 % 100}.{1 + os.getpid() % 254}."
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"] if os.geteuid() == 0 else []


class Runner(unittest.TestCase):
    def setUp(self):
        self.place = pathlib.Path(tempfile.mkdtemp(prefix="machine, runner:"))
        self.addCleanup(shutil.rmtree, self.place)
        self.addCleanup(self.kill_what_is_left)
        self.place.chmod(0o777)  # for the ordinary user
        shutil.copytree(ROOT / "scripts/machine_runner", self.place / "runner")
        (self.place / "bin").mkdir()
        for name in (STATISTICS, WATCHER, MANAGER, READER, *SAMPLES):
            shutil.copy(pathlib.Path(__file__).with_name("standin.py"), self.place / "bin" / name)
        (self.place / "bin/libkernel_timers.so").touch()  # ignored by the loader
        # Addresses of its own, so that a machine, or this test from another build, may run beside it.
        shutil.copytree(ROOT / "machine/etc", self.place / "etc")
        manifest = self.place / "etc/machine.json"
        manifest.write_text(manifest.read_text(encoding="utf-8").replace("127.0.20.", NETWORK), encoding="utf-8")

    def start(self, *options, prefix=(), directory="machine", **faults):
        environment = dict(os.environ, STANDIN_EVENTS=str(self.place / "events"))
        environment.update({f"STANDIN_{name}": fault for name, fault in faults.items()})
        command = [*prefix, "/usr/bin/python3", "-B", "runner", "--programs", "bin", "--etc", "etc", "--directory",
                   directory, *options]
        return subprocess.Popen(command, cwd=self.place, env=environment, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, start_new_session=True)

    def finish(self, *options, **faults):
        with self.start(*options, **faults) as runner:
            output, _ = runner.communicate(timeout=LIMIT_S)
        self.assert_nothing_left()
        return runner.returncode, output

    def start_and_wait(self, **faults):
        runner = self.start(**faults)
        self.addCleanup(runner.stdout.close)
        while "The machine runs" not in (line := runner.stdout.readline()):
            self.assertTrue(line, "the machine never ran")
        return runner

    def processes_left(self):
        left = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if str(self.place) in os.readlink(process / "cwd") or str(self.place) in (
                        process / "cmdline").read_text(encoding="utf-8"):
                    left.append(int(process.name))
            except OSError:
                pass  # it ended meanwhile
        return left

    def kill_what_is_left(self):
        for pid in self.processes_left():
            os.kill(pid, signal.SIGKILL)

    def assert_nothing_left(self):
        self.assertEqual(self.processes_left(), [])
        self.assertNotIn(str(self.place), pathlib.Path("/proc/mounts").read_text(encoding="utf-8"))

    def names_of(self, event):
        events = (self.place / "events").read_text(encoding="utf-8").splitlines()
        return [name for kind, name in map(str.split, events) if kind == event]

    def assert_order(self):
        started, ended = self.names_of("start"), self.names_of("end")
        self.assertEqual((started[0], set(started[1:4]), started[4:]), (STATISTICS, SAMPLES, [WATCHER, MANAGER]))
        self.assertEqual((ended[:2], set(ended[2:5]), ended[5:]), ([WATCHER, MANAGER], SAMPLES, [STATISTICS]))

    def test_once_starts_and_ends_everything_in_order(self):
        host_etc = sorted(os.listdir("/etc"))
        code, output = self.finish("--once")
        self.assertEqual(code, 0, output)
        self.assertEqual(len(re.findall(rf"^\w+ ready: process \d+, {NETWORK}\d$", output, re.MULTILINE)), 6, output)
        self.assertEqual(output.count(" session("), 4, output)
        self.assertLess(output.index("the tester's table"), output.index(" FLWT DATA info "))
        self.assert_order()
        self.assertEqual(sorted(os.listdir("/etc")), host_etc)

    def test_an_ordinary_user_may_run_it_where_the_system_has_user_namespaces(self):
        is_allowed = subprocess.run([*NOBODY, "unshare", "--user", "--map-root-user", "--mount", "true"], check=False,
                                    capture_output=True).returncode == 0
        code, output = self.finish("--once", prefix=NOBODY)
        self.assertEqual(code, 0 if is_allowed else 1, output)
        self.assertEqual("does not allow the user mounts" in output, not is_allowed, output)

    def test_a_fault_ends_the_run_with_1_and_is_named(self):
        for job, name, fault, complaint in (
                ("--once", WATCHER, "ends with 5", "run: flashwatch ended with code 5"),
                ("--once", WATCHER, "forgets media", "run: flashwatch logged no statistics of media"),
                ("--once", READER, "cannot read", "run: the table cannot be read: flashwatch_read ended with code 1: "
                                                  "flashwatch_read: no answer"),
                ("--once", "sample_media", "dies", "sample_media ended with code 1 while the machine waited for the "),
                ("--once", "sample_media", "dies", "    cannot go on"),
                ("--once", STATISTICS, "never ready", "run: waited 1 s in vain for READY=1 of persistency_statistics"),
                ("--years=2", WATCHER, "stays in year 1", "run: media should be in use for 2 years now"),
                ("--years=2", READER, "cannot read", "run: the figures cannot be read: flashwatch_read ended with ")):
            with self.subTest(name=name, fault=fault):
                limit = ("--ready-limit", "1") if fault in ("never ready", "cannot read") else ()
                code, output = self.finish(job, *limit, **{name: fault})
                self.assertEqual(code, 1, output)
                self.assertIn(complaint, output)

    def test_a_second_machine_is_refused_and_a_signal_ends_the_first_in_order(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            (self.place / "events").unlink(missing_ok=True)
            runner = self.start_and_wait()
            for directory, complaint in (("machine", f"already, started by process {runner.pid}"),
                                         ("other", "in use: another machine runs on this host")):
                with self.start(directory=directory) as second:
                    output, _ = second.communicate(timeout=LIMIT_S)
                self.assertEqual(second.returncode, 1)
                self.assertIn(complaint, output)
            os.killpg(runner.pid, number)  # as a terminal sends it
            output, _ = runner.communicate(timeout=LIMIT_S)
            self.assertEqual(runner.returncode, 0, output)
            self.assertEqual(output.count(" session("), 4, output)
            self.assert_order()
            self.assert_nothing_left()

    def test_what_a_process_leaves_behind_is_ended_too(self):
        code, output = self.finish("--once", sample_media="leaves a child")
        self.assertEqual(code, 0, output)

    def test_the_kernel_ends_everything_when_the_runner_is_killed(self):
        runner = self.start_and_wait()
        watched = [os.pidfd_open(pid) for pid in self.processes_left() if pid != runner.pid]
        self.assertGreaterEqual(len(watched), 7)
        runner.kill()
        runner.wait(LIMIT_S)
        for process in watched:
            self.assertTrue(select.select([process], [], [], LIMIT_S)[0], "a process outlives the runner")
            os.close(process)
        self.assert_nothing_left()

    def test_fresh_forgets_the_state_and_nothing_else_does(self):
        mark = self.place / "machine/state/mark"
        self.finish("--once")
        mark.touch()
        self.finish("--once")
        self.assertTrue(mark.exists())
        self.finish("--once", "--fresh")
        self.assertFalse(mark.exists())
        manifest = json.loads((self.place / "machine/machine.json").read_text(encoding="utf-8"))
        self.assertEqual(manifest["persistency"]["root"], str(self.place / "machine/state/per"))


if __name__ == "__main__":
    sys.exit(unittest.main())
