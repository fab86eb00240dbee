# SPDX-License-Identifier: Apache-2.0
"""The machine: which processes it has, in which order they start and end, and what a run has to show."""
import os
import re
import shutil

import dlt
import surroundings
from errors import MachineError, StopRequested
from supervisor import Supervisor

SAMPLES = ("sample_navigation", "sample_media", "sample_tripmeter")
STATISTICS = "persistency_statistics"
WATCHER = "flashwatch"
# Needs not be there.
DIAGNOSTICS = "diagnostic_manager"

# The watcher's last statistics may wait for an answer until the communication's response time limit.
WATCHER_END_LIMIT_S = 60
END_LIMIT_S = 15

# What the watcher logs of one application, from the context on: level, application id, session and total.
DATA_LINE = re.compile(r"\bDATA\b \S+ (?P<application>.*) session\(\d+, \d+\) total\(\d+, \d+\)")


class Machine:
    """One run. `say` shows a line to the user."""

    def __init__(self, options, say):
        self._directory = options.directory
        self._programs = options.programs
        self._etc = options.etc
        self._ready_limit_s = options.ready_limit
        self._say = say
        self._applications_logged = set()
        self._supervisor = Supervisor(self._on_watcher_line)
        self._daemon = None
        self._started = {}
        self._environment = {}
        self._manifest = {}
        self._has_failed = False

    def request_stop(self):
        self._supervisor.request_stop()

    def run(self, once):
        """Returns the exit code. Whatever happens, no process is left."""
        try:
            self._start()
            if not once:
                self._say("The machine runs; Ctrl-C stops it.")
                self._supervisor.wait(lambda: False, "Ctrl-C")
        except StopRequested:
            pass
        except MachineError as error:
            self._fail(error)
        finally:
            try:
                self._stop()
            finally:
                self._supervisor.kill_all()
        self._check_findings(once)
        return 1 if self._has_failed else 0

    def _fail(self, text):
        self._has_failed = True
        self._say(f"run: {text}")

    def _start(self):
        names = [STATISTICS, *SAMPLES, WATCHER, DIAGNOSTICS]
        self._check_programs(names)
        file, self._manifest = surroundings.write_manifest(self._etc / "machine.json", self._directory)
        surroundings.check_addresses(self._manifest)
        surroundings.lay_over_etc([self._etc / "flashwatch.json", self._etc / "scid_mapping.json"],
                                  self._directory / "etc")
        self._environment = dict(os.environ, ARA_MACHINE_MANIFEST=str(file), DLT_PIPE_DIR=str(self._directory / "dlt"),
                                 NOTIFY_SOCKET=self._supervisor.notification_socket)
        self._start_daemon()
        self._start_and_wait([STATISTICS], "READY=1")
        self._start_and_wait(SAMPLES, "the first sync (READY=1)")
        self._start_and_wait([WATCHER], "READY=1")
        if self._is_built(DIAGNOSTICS):
            self._start_and_wait([DIAGNOSTICS], "READY=1")

    def _is_built(self, name):
        return os.access(self._programs / name, os.X_OK)

    def _check_programs(self, names):
        missing = [name for name in names if not self._is_built(name) and name != DIAGNOSTICS]
        if missing:
            raise MachineError(f"not in {self._programs}: {', '.join(missing)}")
        if shutil.which("dlt-daemon") is None:
            raise MachineError("dlt-daemon is not installed")

    def _start_daemon(self):
        directory = self._directory / "dlt"
        port = dlt.free_port()
        settings = dlt.write_settings(directory)
        self._daemon = self._supervisor.start(
            "dlt-daemon", ["dlt-daemon", "-c", str(settings), "-t", str(directory), "-p", str(port)],
            dict(os.environ), self._directory / "log/dlt-daemon.log", directory)
        self._supervisor.wait(lambda: dlt.is_up(directory, port), f"the DLT daemon's pipe and TCP port {port}",
                              self._ready_limit_s, poll=True)
        self._say(f"dlt-daemon ready: process {self._daemon.pid}, 127.0.0.1 TCP port {port}")

    def _start_and_wait(self, names, event):
        for name in names:
            self._started[name] = self._supervisor.start(
                name, [str(self._programs / name)], dict(self._environment, ARA_PROCESS=name),
                self._directory / f"log/{name}.log", piped=name == WATCHER)
        waiting = list(names)
        while waiting:
            self._supervisor.wait(lambda: any(self._started[name].is_ready for name in waiting),
                                  f"{event} of {', '.join(waiting)}; see {self._directory}/log", self._ready_limit_s)
            for name in [name for name in waiting if self._started[name].is_ready]:
                waiting.remove(name)
                address = self._manifest["processes"][name]["address"]
                self._say(f"{name} ready: process {self._started[name].pid}, {address}")

    def _stop(self):
        groups = [([WATCHER], WATCHER_END_LIMIT_S), ([DIAGNOSTICS], END_LIMIT_S), (SAMPLES, END_LIMIT_S),
                  ([STATISTICS], END_LIMIT_S)]
        for names, limit_s in groups:
            self._stop_group([self._started.get(name) for name in names], limit_s)
        self._stop_group([self._daemon], END_LIMIT_S)

    def _stop_group(self, processes, limit_s):
        for error in self._supervisor.stop(processes, limit_s):
            self._fail(error)

    def _on_watcher_line(self, line):
        self._say(line)
        found = DATA_LINE.search(line)
        if found:
            self._applications_logged.add(found["application"])

    def _check_findings(self, once):
        """What is wrong with a run that came to its end in order."""
        watcher = self._started.get(WATCHER)
        if watcher is None or not watcher.is_ready:
            if once and not self._has_failed:
                self._fail(f"stopped before {WATCHER} was ready")
            return
        if watcher.code != 0:
            self._fail(f"{WATCHER} {watcher.how_it_ended()}{watcher.last_lines()}")
        expected = {self._manifest["processes"][name]["application_id"] for name in (*SAMPLES, WATCHER)}
        missing = sorted(expected - self._applications_logged)
        if once and missing:
            self._fail(f"{WATCHER} logged no statistics of {', '.join(missing)}")
