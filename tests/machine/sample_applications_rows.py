# SPDX-License-Identifier: Apache-2.0
"""The sample applications as processes: when they report ready, how they end, and that a medium that takes nothing
stops their writing but not them."""
import os
import resource
import signal
import time
from functools import partial

from machine import Machine

SAMPLES = {"sample_navigation": "navigation", "sample_media": "media", "sample_tripmeter": "tripmeter"}
UNLIMITED = (resource.RLIM_INFINITY, resource.RLIM_INFINITY)


def ready_after_the_first_sync_and_ends_within_a_second(programs, name, number):
    with Machine(programs) as machine, machine.start(name) as process:
        assert list((machine.stores / SAMPLES[name]).glob("*.db"))
        started = time.monotonic()
        assert process.end(number) == 0, process.text()
        assert time.monotonic() - started < 1
        process.await_ready(b"STOPPING=1")


def without_a_root(programs):
    with Machine(programs) as machine:
        os.rename(machine.stores, machine.scratch / "elsewhere")
        with machine.start("sample_tripmeter", expect_ready=False) as process:
            process.await_text("cannot write:")
            os.rename(machine.scratch / "elsewhere", machine.stores)
            process.await_ready()


def on_a_full_disk(programs):
    def fill():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)  # a file at its limit is an error then
        resource.setrlimit(resource.RLIMIT_FSIZE, (1024, resource.RLIM_INFINITY))

    with Machine(programs) as machine:
        with machine.start("sample_navigation", expect_ready=False, prepare=fill) as process:
            process.await_text("cannot write:")
            resource.prlimit(process.child.pid, resource.RLIMIT_FSIZE, UNLIMITED)
            process.await_ready()


def wrong_manifest(programs):
    with Machine(programs) as machine:
        del machine.manifest["persistency"]["root"]
        with machine.start("sample_media", expect_ready=False) as process:
            assert process.wait() == 1 and "persistency.root is missing" in process.text(), process.text()


def rows(programs):
    for name in SAMPLES:
        for number in (signal.SIGTERM, signal.SIGINT):
            yield f"{name}, {number.name}", partial(
                ready_after_the_first_sync_and_ends_within_a_second, programs, name, number)
    for test in (without_a_root, on_a_full_disk, wrong_manifest):
        yield test.__name__, partial(test, programs)
