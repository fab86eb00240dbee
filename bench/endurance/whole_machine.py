# SPDX-License-Identifier: Apache-2.0
"""The machine with its own processes, as ./run brings it up, and what they hold of memory, descriptors and threads."""
import contextlib
import os
import pathlib
import re
import signal
import time
from typing import NamedTuple

from machine import Machine
from process import LIMIT
from reader import Failure, Figures, Reader

FLASHWATCH, STATISTICS, MANAGER = WATCHED = ("flashwatch", "persistency_statistics", "diagnostic_manager")
SAMPLES = ("sample_navigation", "sample_media", "sample_tripmeter")
CONFIGURATION = {"pm_instance_id": STATISTICS, "own_instance_id": "flashwatch_diagnostics", "log_period": 1}
LOG_BYTES = 1 << 16
# Bytes of log that libdlt keeps for a daemon that is slow or not there: few, so that memory is compared without them.
LOG_BUFFER = {"DLT_USER_BUFFER_MAX": "50000"}
RESPONSE_TIME_MS = 10000
INACTIVITY_MS = 20000  # instead of five minutes, as testers that vanished are waited for
PAUSE_S = 0.05
PATIENCE_S = 4


class Footprint(NamedTuple):
    kib: int
    descriptors: int
    threads: int

    @classmethod
    def of(cls, process):
        """The descriptor of the log daemon's pipe does not count: libdlt closes and opens it when the daemon is busy."""
        own = pathlib.Path(f"/proc/{process.child.pid}")
        status = (own / "status").read_text(encoding="ascii")
        kib, threads = (int(re.search(rf"^{name}:\s+(\d+)", status, re.M)[1]) for name in ("VmRSS", "Threads"))
        descriptors = 0
        for descriptor in (own / "fd").iterdir():
            with contextlib.suppress(FileNotFoundError):  # it was closed meanwhile
                descriptors += os.path.basename(os.readlink(descriptor)) != "dlt"
        return cls(kib, descriptors, threads)

    def is_back_at(self, before):
        return self.descriptors <= before.descriptors and self.threads <= before.threads


class Whole_machine(Machine):
    """`variables` come on top of every process's environment."""

    def __init__(self, programs, variables=None):
        super().__init__(programs)
        self.configure(CONFIGURATION)
        self.communication = self.manifest["communication"]
        self.communication["limits"]["response_time_ms"] = RESPONSE_TIME_MS
        self.manifest["diagnostics"]["timers"]["general_inactivity_ms"] = INACTIVITY_MS
        self.variables = {**LOG_BUFFER, **(variables or {})}
        self.processes = {}

    def __enter__(self):
        try:
            for name in (STATISTICS, *SAMPLES, FLASHWATCH, MANAGER):
                self.bring_up(name)
            self.await_read()
            self.at_rest = self.footprints()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes.values()):
            process.__exit__()
        super().__exit__()

    def bring_up(self, name):
        self.processes[name] = self.start(name, variables=self.variables, log_bytes=LOG_BYTES)

    def end(self, name, by=signal.SIGTERM):
        with self.processes.pop(name) as process:
            code = process.end(by)
            assert code == (0 if by == signal.SIGTERM else -by), f"{name} ended with {code}: {process.text()[-2000:]}"

    def restart(self, name, by=signal.SIGKILL):
        self.end(name, by)
        self.bring_up(name)

    def reader(self, logical=0x0E80, patience_s=PATIENCE_S):
        return Reader(self.address(MANAGER), logical, patience_s)

    def await_read(self):
        """Until a tester can read both identifiers."""
        end = time.monotonic() + LIMIT
        while True:
            try:
                with self.reader() as reader:
                    return reader.read_both(Figures())
            except Failure as failure:
                assert time.monotonic() < end, f"no read works any more: {failure}"
                time.sleep(PAUSE_S)

    def footprints(self):
        return {name: Footprint.of(self.processes[name]) for name in WATCHED}

    def await_rest(self, limit_s=LIMIT):
        """Until a read works, and descriptors and threads are back where they were at the start."""
        self.await_read()
        end = time.monotonic() + limit_s
        while not all((now := self.footprints())[name].is_back_at(self.at_rest[name]) for name in WATCHED):
            assert time.monotonic() < end, f"not back at {self.at_rest}: {now}"
            time.sleep(PAUSE_S)
        return now
