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
from functools import partial

from run import LIMIT_S, NETWORK, ROOT, Run

STATISTICS, WATCHER, MANAGER, READER = (
    "persistency_statistics", "flashwatch", "diagnostic_manager", "flashwatch_read")
SAMPLES = {"sample_navigation", "sample_media", "sample_tripmeter"}
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"] if os.geteuid() == 0 else []

# Who misbehaves and how, what is run, and what the user is told then. All others have to be ready within a limit.
FAULTS = json.loads(pathlib.Path(__file__).with_name("faults.json").read_text())


class Stand_ins(Run):
    def __init__(self):
        super().__init__("bin")
        (self.place / "bin").mkdir()
        for name in (STATISTICS, WATCHER, MANAGER, READER, *SAMPLES):
            shutil.copy(pathlib.Path(__file__).with_name("standin.py"), self.place / "bin" / name)
        (self.place / "bin/libkernel_timers.so").touch()  # ignored by the loader

    def start(self, *options, **how):
        return super().start(*options, STANDIN_EVENTS=str(self.place / "events"), **how)

    def start_and_wait(self):
        runner = self.start()
        self.await_line(runner, "The machine runs")
        return runner

    def assert_order(self):
        events = [line.split() for line in (self.place / "events").read_text(encoding="utf-8").splitlines()]
        started, ended = ([name for kind, name in events if kind == which] for which in ("start", "end"))
        assert (started[0], set(started[1:4]), started[4:]) == (STATISTICS, SAMPLES, [WATCHER, MANAGER]), started
        assert (ended[:2], set(ended[2:5]), ended[5:]) == ([WATCHER, MANAGER], SAMPLES, [STATISTICS]), ended


def once_starts_and_ends_everything_in_order(run):
    host_etc = sorted(os.listdir("/etc"))
    output = run.finish("--once")
    assert len(re.findall(rf"^\w+ ready: process \d+, {NETWORK}\d$", output, re.MULTILINE)) == 6, output
    assert output.count(" session(") == 4 and output.index("the tester's table") < output.index(" FLWT DATA info ")
    assert "\nrun: no report of this run: flashwatch_report is not in " in output, output
    run.assert_order()
    assert sorted(os.listdir("/etc")) == host_etc


def an_ordinary_user_may_run_it_where_the_system_has_user_namespaces(run):
    is_allowed = subprocess.run([*NOBODY, "unshare", "--user", "--map-root-user", "--mount", "true"], check=False,
                                capture_output=True).returncode == 0
    output = run.finish("--once", prefix=NOBODY, code=0 if is_allowed else 1)
    assert ("does not allow the user mounts" in output) == (not is_allowed), output


def fault(run, who, does, options, told, code=1):
    output = run.finish(*options, code=code, **{f"STANDIN_{who}": does})
    assert told in output, output


def a_second_machine_is_refused_and_a_signal_ends_the_first_in_order(number, run):
    with run.start_and_wait() as runner:
        for directory, complaint in (("machine", f"already, started by process {runner.pid}"),
                                     ("other", "in use: another machine runs on this host")):
            with run.start(directory=directory) as second:
                output, _ = second.communicate(timeout=LIMIT_S)
            assert second.returncode == 1 and complaint in output, output
        os.killpg(runner.pid, number)  # as a terminal sends it
        assert run.outcome(runner).count(" session(") == 4
    run.assert_order()


def the_kernel_ends_everything_when_the_runner_is_killed(run):
    with run.start_and_wait() as runner:
        watched = [os.pidfd_open(pid) for pid in run.processes_left() if pid != runner.pid]
        assert len(watched) >= 7
        runner.kill()
        for process in watched:
            assert select.select([process], [], [], LIMIT_S)[0], "a process outlives the runner"
            os.close(process)
        run.outcome(runner, -signal.SIGKILL)


def fresh_forgets_the_state_and_nothing_else_does(run):
    mark = run.place / "machine/state/mark"
    run.finish("--once")
    mark.touch()
    run.finish("--once")
    assert mark.exists()
    run.finish("--once", "--fresh")
    assert not mark.exists()
    manifest = json.loads((run.place / "machine/machine.json").read_text(encoding="utf-8"))
    assert manifest["persistency"]["root"] == str(run.place / "machine/state/per")


def packages_installed_for_two_architectures_are_not_installed_again(run):
    for name, script in (("dpkg", "echo amd64"), ("dpkg-query", "echo amd64 installed; echo arm64 installed"),
                         ("apt-get", "exit 1")):
        file = run.place / "bin" / name
        file.write_text(f"#!/bin/sh\n{script}\n")
        file.chmod(0o755)
    subprocess.run([ROOT / "scripts/install_packages", "run"], cwd=run.place, check=True,
                   env={**os.environ, "PATH": "bin:" + os.environ["PATH"]})


def rows(_):
    tests = {test.__name__: test for test in (
        once_starts_and_ends_everything_in_order, an_ordinary_user_may_run_it_where_the_system_has_user_namespaces,
        the_kernel_ends_everything_when_the_runner_is_killed, fresh_forgets_the_state_and_nothing_else_does,
        packages_installed_for_two_architectures_are_not_installed_again)}
    tests.update({str(list(row.values())): partial(fault, **row) for row in FAULTS})
    tests.update({f"{number.name} to the first of two": partial(
        a_second_machine_is_refused_and_a_signal_ends_the_first_in_order, number)
        for number in (signal.SIGTERM, signal.SIGINT)})
    for name, test in tests.items():
        with Stand_ins() as run:
            yield name, partial(test, run)
