# SPDX-License-Identifier: Apache-2.0
"""The DLT log of a run as a file, and the page that shows it."""
import os
import select
import shutil
import subprocess
import time

RECEIVER = "dlt-receive"
REPORTER = "flashwatch_report"
STATISTICS = "session("  # once in each line of statistics, on standard output as in DLT
LAST_LINES_LIMIT_S = 5
POLL_S = 0.05
END_LIMIT_S = 15
PAGE_LIMIT_S = 60


class Recording:
    """Between start and stop, which may come several times, it stores what the DLT daemon passes on."""

    def __init__(self, supervisor, directory, programs, port):
        self._supervisor = supervisor
        self._programs = programs
        self._port = port
        self._part = directory / "log/received.dlt"
        self._log = directory / "log/flashwatch.dlt"
        self._receiver_log = directory / f"log/{RECEIVER}.log"
        self._page = directory / "report.html"
        self._receiver = None
        self._lines = 0  # of statistics, since the start
        self._lost = 0
        self._fault = ""
        self._page.unlink(missing_ok=True)  # of an earlier run
        if shutil.which(RECEIVER) is None:
            self._fault = f"{RECEIVER} is not installed"
        elif not os.access(programs / REPORTER, os.X_OK):
            self._fault = f"{REPORTER} is not in {programs}"

    def start(self, environment):
        """The environment sets the clock, which gives each message its time."""
        self._lines = 0
        if not self._fault:
            self._part.touch()
            self._receiver = self._supervisor.start(
                RECEIVER, [RECEIVER, "-o", str(self._part), "-p", str(self._port), "127.0.0.1"], environment,
                self._receiver_log, self._programs, may_end=True)

    def on_watcher_line(self, line):
        self._lines += line.count(STATISTICS)

    def stop(self):
        """Waits for the last lines, which come later than on standard output. Returns errors."""
        receiver, self._receiver = self._receiver, None
        if receiver is None:
            return []
        end = time.monotonic() + LAST_LINES_LIMIT_S
        while (missing := self._lines - self._part.read_bytes().count(STATISTICS.encode())) > 0:
            if receiver.code is not None or time.monotonic() >= end:
                self._lost += missing
                break
            if select.select([receiver.end_descriptor], [], [], POLL_S)[0]:  # none will come
                end = 0
        errors = self._supervisor.stop([receiver], END_LIMIT_S)
        with open(self._part, "rb") as part, open(self._log, "ab") as log:
            shutil.copyfileobj(part, log)
        self._part.unlink()
        return errors

    def make_page(self):
        """A line for the user: where the page is, or why there is none."""
        if not self._fault:
            try:
                done = subprocess.run([self._programs / REPORTER, self._log, self._page], capture_output=True, text=True,
                                      timeout=PAGE_LIMIT_S, check=False)
                self._fault = "" if done.returncode == 0 else done.stderr.strip() or f"{REPORTER}: {done.returncode}"
            except (OSError, subprocess.TimeoutExpired) as error:
                self._fault = str(error)
        lost = f" ({self._lost} lines of statistics did not arrive, see {self._receiver_log})" if self._lost else ""
        if self._fault:
            return f"run: no report of this run: {self._fault}{lost}"
        return f"The report of this run: {self._page}{lost}"
