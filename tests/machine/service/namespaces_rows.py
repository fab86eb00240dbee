# SPDX-License-Identifier: Apache-2.0
"""The statistics service and flashwatch in network namespaces of their own, joined by a cable: each is found by
discovery, asked over TCP, and missed when the cable is cut."""
import contextlib
import ctypes
import os
import subprocess
import time
from functools import partial

from driver import Skipped
from machine import PORTS, REPORT, Machine
from process import LIMIT
from someip_client import Someip_client

STATISTICS, FLASHWATCH = "persistency_statistics", "flashwatch"
CLONE_NEWNET = 0x40000000
READ, FAILED = "80/00 0000000101", "81/21 0000000111"  # one application: flashwatch itself
ENDS = {STATISTICS: "192.0.2.1", FLASHWATCH: "192.0.2.2"}
ID = os.getpid()
NAMESPACES = {name: f"flashwatch-{ID}-{number}" for number, name in enumerate(ENDS)}
LINKS = {name: f"fw{ID}-{number}" for number, name in enumerate(ENDS)}


def ip(*words):
    subprocess.run(["ip", *words], check=True, capture_output=True, text=True)


@contextlib.contextmanager
def two_hosts():
    with contextlib.ExitStack() as stack:
        try:
            for name in ENDS:
                ip("netns", "add", NAMESPACES[name])
                stack.callback(ip, "netns", "del", NAMESPACES[name])
            one, other = ENDS
            ip("link", "add", LINKS[one], "netns", NAMESPACES[one], "type", "veth",
               "peer", "name", LINKS[other], "netns", NAMESPACES[other])
        except (OSError, subprocess.CalledProcessError) as error:
            raise Skipped(f"network namespaces cannot be made here: {getattr(error, 'stderr', error)}") from None
        for name, address in ENDS.items():
            ip("-n", NAMESPACES[name], "address", "add", f"{address}/24", "dev", LINKS[name])
            for device in ("lo", LINKS[name]):
                ip("-n", NAMESPACES[name], "link", "set", device, "up")
        yield


def client():
    """At flashwatch's host. setns(2), which Python's library of Debian 12 does not have, is for this thread alone."""
    libc = ctypes.CDLL(None, use_errno=True)
    with open("/proc/thread-self/ns/net", "rb") as home, open(f"/run/netns/{NAMESPACES[FLASHWATCH]}", "rb") as host:
        for there in (host, home):
            assert libc.setns(there.fileno(), CLONE_NEWNET) == 0, os.strerror(ctypes.get_errno())
            if there is host:
                made = Someip_client(ENDS[FLASHWATCH], PORTS[REPORT])
    return made


def await_answer(beginning):
    end = time.monotonic() + LIMIT
    with client() as asker:
        while not (heard := asker.ask(REPORT, 1)).startswith(beginning):
            assert time.monotonic() < end, heard


def across_hosts(machine):
    machine.discovery.update(ttl_s=2)
    for name, address in ENDS.items():
        machine.manifest["processes"][name]["address"] = address
    start = lambda name: machine.start(name, inside=["nsenter", f"--net=/run/netns/{NAMESPACES[name]}"])
    cable = lambda state: ip("-n", NAMESPACES[STATISTICS], "link", "set", LINKS[STATISTICS], state)
    with two_hosts(), start(STATISTICS) as service, start(FLASHWATCH) as flashwatch:
        await_answer(READ)
        cable("down")
        await_answer(FAILED)
        cable("up")
        await_answer(READ)
        assert service.end() == 0, service.text()
        await_answer(FAILED)
        with start(STATISTICS):
            await_answer(READ)
            assert flashwatch.end() == 0, flashwatch.text()


def rows(programs):
    with Machine(programs) as machine:
        machine.configure()
        yield "across hosts", partial(across_hosts, machine)
