# SPDX-License-Identifier: Apache-2.0
"""Testers that read as fast as they can."""
import collections
import contextlib
import threading
import time
import traceback

from process import LIMIT
from reader import Failure, Figures, Refusal

TESTERS = 4
PAUSE_AFTER_FAILURE_S = 0.02


class Crowd:
    """Testers that read both identifiers again and again. `disturbed`: a read may fail."""

    def __init__(self, machine):
        self.machine, self.disturbed, self.ends = machine, False, False
        self.rounds, self.failures, self.faults = [0] * TESTERS, collections.Counter(), []
        self.changed = threading.Condition()
        self.threads = [threading.Thread(target=self._be_tester, args=[number]) for number in range(TESTERS)]

    def __enter__(self):
        for thread in self.threads:
            thread.start()
        return self

    def __exit__(self, *_):
        self.ends = True
        for thread in self.threads:
            thread.join()

    def await_rounds(self, count):
        """Until every tester has begun and ended so many."""
        with self.changed:
            goals = [done + count + 1 for done in self.rounds]
            if not self.changed.wait_for(lambda: self.faults or all(map(int.__ge__, self.rounds, goals)), LIMIT):
                self.faults.append(f"not every tester could read within {LIMIT} s")

    def _be_tester(self, number):
        figures = Figures()
        with contextlib.ExitStack() as connection:
            tester = None
            while not self.ends:
                disturbed, failure, fault = self.disturbed, None, None
                try:
                    tester = tester or connection.enter_context(self.machine.reader(0x0E80 + number))
                    tester.read_both(figures)
                except Failure as known:
                    failure = known
                    if not disturbed and not self.disturbed:
                        fault = f"{known}, while nothing was disturbed"
                except Exception:  # whatever went wrong is told at the end
                    fault = traceback.format_exc()
                if fault or failure and not isinstance(failure, Refusal):
                    connection.close()
                    tester = None
                self._count(number, failure, fault and f"tester {number}: {fault}")
                if fault:
                    return
                if failure:
                    time.sleep(PAUSE_AFTER_FAILURE_S)

    def _count(self, number, failure, fault):
        with self.changed:
            if failure:
                self.failures[str(failure)] += 1
            if fault:
                self.faults.append(fault)
            if not failure and not fault:
                self.rounds[number] += 1
            self.changed.notify_all()
