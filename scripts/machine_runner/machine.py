# SPDX-License-Identifier: Apache-2.0
"""The machine: which processes it has, in which order they start and end, and what flashwatch says of them."""
import json
import os
import re
import shlex
import shutil
import time

import dlt
import surroundings
from errors import MachineError, StopRequested
from recording import Recording
from supervisor import Supervisor

SAMPLES = ("sample_navigation", "sample_media", "sample_tripmeter")
STATISTICS = "persistency_statistics"
WATCHER = "flashwatch"
DIAGNOSTICS = "diagnostic_manager"
READER = "flashwatch_read"
READ_LIMIT_S = 5
READ_PAUSE_S = 0.1
READER_HAS_READ = (0, 3)  # its exit codes; 3: a budget is exceeded

# The watcher's last statistics may wait for an answer until the communication's response time limit.
WATCHER_END_LIMIT_S = 60
END_LIMIT_S = 15

# What the watcher logs of one application, from the context and the level on; readings are logged at another level.
DATA_LINE = re.compile(r"\bDATA info (?P<application>.*) session\(\d+, \d+\) total\(\d+, \d+\)")
YEARS_LINE = re.compile(r"\bDATA info (?P<application>.*) year limits\(.*\) year in use\((?P<years>\d+)\)")


class Machine:
    """`say` shows a line to the user whatever happens, `show` one of the machine's course or the watcher's log."""

    def __init__(self, options, say, show):
        self._directory = options.directory
        self._programs = options.programs
        self._etc = options.etc
        self._ready_limit_s = options.ready_limit
        self._say = say
        self._show = show
        self._applications_logged = set()
        self._years = {}
        self._supervisor = Supervisor(self._on_watcher_line)
        self._daemon = None
        self._recording = None
        self._port = dlt.Port()
        self._started = {}
        self._environment = {}
        self._manifest = {}
        self._has_failed = False

    def request_stop(self):
        self._supervisor.request_stop()

    def run(self, job):
        """Lets `job(self)` start and stop the machine. Returns the exit code. Whatever happens, no process is left."""
        try:
            self._prepare()
            job(self)
        except StopRequested:
            self.fail("asked to stop before it was done")
        except MachineError as error:
            self.fail(error)
        finally:
            try:
                self.stop()
                self._stop_group([self._daemon], END_LIMIT_S)
            finally:
                self._supervisor.kill_all()
        return 1 if self._has_failed else 0

    def fail(self, text):
        self._has_failed = True
        self._say(f"run: {text}")

    @property
    def applications(self):
        """The ids of those that write."""
        return sorted(self._manifest["processes"][name]["application_id"] for name in (*SAMPLES, WATCHER))

    @property
    def years_in_use(self):
        """What the watcher has logged of it since it was started: years by application id."""
        return dict(self._years)

    def start(self, clock=None):
        """Returns when every process is ready. `clock` is the environment that sets the machine's clock."""
        self._applications_logged.clear()
        self._years.clear()
        self._environment.update(clock or {})
        self._recording.start(dict(os.environ, **(clock or {})))
        self._start_and_wait([STATISTICS], "READY=1")
        self._start_and_wait(SAMPLES, "the first sync (READY=1)")
        self._start_and_wait([WATCHER], "READY=1")
        self._start_and_wait([DIAGNOSTICS], "READY=1")

    def wait_for_request_to_stop(self):
        self._supervisor.wait(lambda: False, "Ctrl-C")

    def show_table(self):
        """As the tester sees it. A table that cannot be read is a failure, but no reason to stop."""
        code, lines = self._read()
        if code in READER_HAS_READ:
            for line in ("", *lines, ""):
                self._show(line)
        else:
            self.fail(f"the table cannot be read: {READER} ended with code {code}: {' '.join(lines)}")

    def read_figures(self):
        """The tester's figures of each application, by its name."""
        code, lines = self._read("--json")
        if code not in READER_HAS_READ:
            raise MachineError(f"the figures cannot be read: {READER} ended with code {code}: {' '.join(lines)}")
        applications = json.loads(lines[0])["applications"]
        return {name: application for application in applications for name in application["names"]}

    def reader_command(self):
        diagnostics = self._manifest["diagnostics"]
        port = ["--port", str(diagnostics["port"])] if "port" in diagnostics else []
        return [str(self._programs / READER), *port, "--entity-address", str(diagnostics["logical_address"]),
                "--mapping", str(self._etc / "scid_mapping.json"), self._manifest["processes"][DIAGNOSTICS]["address"]]

    def how_to_read(self):
        """For a shell."""
        return shlex.join(self.reader_command())

    def stop(self):
        watcher = self._started.get(WATCHER)
        groups = [([WATCHER], WATCHER_END_LIMIT_S), ([DIAGNOSTICS], END_LIMIT_S), (SAMPLES, END_LIMIT_S),
                  ([STATISTICS], END_LIMIT_S)]
        for names, limit_s in groups:
            self._stop_group([self._started.get(name) for name in names], limit_s)
        self._started = {}
        for error in self._recording.stop() if self._recording is not None else []:
            self.fail(error)
        if watcher is not None and watcher.is_ready:
            if watcher.code == 0:
                self._show(f"{WATCHER} {watcher.how_it_ended()}")
            else:
                self.fail(f"{WATCHER} {watcher.how_it_ended()}{watcher.last_lines()}")

    def check_log(self):
        """Every application has to have been in the watcher's log since the start."""
        missing = sorted(set(self.applications) - self._applications_logged)
        if missing:
            self.fail(f"{WATCHER} logged no statistics of {', '.join(missing)}")

    def leave_report(self):
        self._say(self._recording.make_page())

    def _prepare(self):
        """What stays while the machine starts and stops."""
        self._check_programs([STATISTICS, *SAMPLES, WATCHER, DIAGNOSTICS, READER])
        file, self._manifest = surroundings.write_manifest(self._etc / "machine.json", self._directory)
        surroundings.check_addresses(self._manifest)
        surroundings.lay_over_etc([self._etc / "flashwatch.json", self._etc / "scid_mapping.json"],
                                  self._directory / "etc")
        self._environment = dict(os.environ, ARA_MACHINE_MANIFEST=str(file), DLT_PIPE_DIR=str(self._directory / "dlt"),
                                 NOTIFY_SOCKET=self._supervisor.notification_socket)
        self._start_daemon()

    def _check_programs(self, names):
        missing = [name for name in names if not os.access(self._programs / name, os.X_OK)]
        if missing:
            raise MachineError(f"not in {self._programs}: {', '.join(missing)}")
        if shutil.which("dlt-daemon") is None:
            raise MachineError("dlt-daemon is not installed")

    def _start_daemon(self):
        directory = self._directory / "dlt"
        port = self._port.number
        settings = dlt.write_settings(directory)
        self._daemon = self._supervisor.start(
            "dlt-daemon", ["dlt-daemon", "-c", str(settings), "-t", str(directory), "-p", str(port)],
            dict(os.environ), self._directory / "log/dlt-daemon.log", directory)
        self._supervisor.wait(lambda: dlt.is_up(directory, port), f"the DLT daemon's pipe and TCP port {port}",
                              self._ready_limit_s, poll=True)
        self._show(f"dlt-daemon ready: process {self._daemon.pid}, 127.0.0.1 TCP port {port}")
        self._recording = Recording(self._supervisor, self._directory, self._programs, port)

    def _start_and_wait(self, names, event):
        for name in names:
            self._started[name] = self._supervisor.start(
                name, [str(self._programs / name)], dict(self._environment, ARA_PROCESS=name),
                self._directory / f"log/{name}.log", self._programs, piped=name == WATCHER)
        waiting = list(names)
        while waiting:
            self._supervisor.wait(lambda: any(self._started[name].is_ready for name in waiting),
                                  f"{event} of {', '.join(waiting)}; see {self._directory}/log", self._ready_limit_s)
            for name in [name for name in waiting if self._started[name].is_ready]:
                waiting.remove(name)
                address = self._manifest["processes"][name]["address"]
                self._show(f"{name} ready: process {self._started[name].pid}, {address}")

    def _read(self, *options):
        """The reader's exit code and output; of several attempts when the first come to nothing, because the
        diagnostic manager may not have heard of the watcher's services yet."""
        end = time.monotonic() + min(READ_LIMIT_S, self._ready_limit_s)
        while True:
            code, lines = self._read_once(*options)
            pause = time.monotonic() + READ_PAUSE_S
            if code in READER_HAS_READ or pause >= end:
                return code, lines
            self._supervisor.wait(lambda: time.monotonic() >= pause, f"the next start of {READER}", poll=True)

    def _read_once(self, *options):
        reader = self._supervisor.start(READER, [*self.reader_command(), *options],
                                        dict(os.environ, ARA_PROCESS=READER), self._directory / f"log/{READER}.log",
                                        may_end=True)
        self._supervisor.wait(lambda: reader.code is not None, f"the end of {READER}", self._ready_limit_s)
        return reader.code, reader.log.read_text(encoding="utf-8", errors="replace").splitlines()

    def _stop_group(self, processes, limit_s):
        for error in self._supervisor.stop(processes, limit_s):
            self.fail(error)

    def _on_watcher_line(self, line):
        self._show(line)
        self._recording.on_watcher_line(line)
        with open(self._directory / f"log/{WATCHER}.log", "a", encoding="utf-8") as log:
            log.write(line + "\n")
        if found := DATA_LINE.search(line):
            self._applications_logged.add(found["application"])
        elif found := YEARS_LINE.search(line):
            self._years[found["application"]] = int(found["years"])
