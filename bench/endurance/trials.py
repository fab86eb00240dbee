# SPDX-License-Identifier: Apache-2.0
"""What peers may do to a machine. Each trial has a count of its own kind, and returns how many reads worked in it."""
import contextlib
import os
import random
import resource
import select
import signal
import socket
import struct
import subprocess
import time
from concurrent.futures import ThreadPoolExecutor
from functools import partial

from framed_stream import Framed_stream
from machine import EXCEEDANCE, PORTS, REPORT
from machine import STATISTICS as STATISTICS_SERVICE
from process import LIMIT
from someip_client import message
from someip_node import find
from tester import ENTITY, PORT, Tester
from whole_machine import FLASHWATCH, MANAGER, PAUSE_S, STATISTICS, WATCHED

ACTIVATION = bytes.fromhex("02FD0005000000070E800000000000")
DOIP_READ = struct.pack(">HHIHH", 0x02FD, 0x8001, 7, 0x0E80, ENTITY) + bytes.fromhex("22F186")
IDENTIFICATION = bytes.fromhex("02FD000100000000")
# Where each process listens for connections; what a peer may say first, and ask then.
DOORS = {FLASHWATCH: [(PORTS[service], b"", message(service, 1)) for service in (REPORT, EXCEEDANCE)],
         STATISTICS: [(PORTS[STATISTICS_SERVICE], b"", message(STATISTICS_SERVICE, 1, b""))],
         MANAGER: [(PORT, ACTIVATION, DOIP_READ)]}
PIECE = 1 << 14
SILENT_PEERS = 16
SPARE_DESCRIPTORS = 4  # for a moment, connecting takes as many; and the manager takes no more connections than 5
PEERS_OF_AN_EXHAUSTED = 100
GHOST = "198.51.100.1"
VANISHED_LIMIT_S = 60  # a peer is given up after 30


def doors(machine):
    return [(machine.address(name), *door) for name in WATCHED for door in DOORS[name]]


def datagram_doors(machine):
    """Each with a datagram that is answered there."""
    group, port = (machine.communication["discovery"][name] for name in ("group", "port"))
    return [((machine.address(name), port), find(REPORT)) for name in WATCHED] + [
        ((group, port), find(REPORT)), ((machine.address(MANAGER), PORT), IDENTIFICATION)]


def await_event(condition, what):
    end = time.monotonic() + LIMIT
    while not condition():
        assert time.monotonic() < end, f"waited {LIMIT} s for {what}"
        time.sleep(PAUSE_S)


def restarted(name, machine, count):
    for _ in range(count):
        machine.restart(name)
        machine.await_read()
    return count


def stopped(name, machine, count):
    """Each time a tester asks meanwhile, and is answered when it is continued."""
    process = machine.processes[name]
    with Tester(machine.address(MANAGER), 0x0E80) as tester:
        tester.join()
        for _ in range(count):
            process.stop()
            tester.send(tester.diagnosis(bytes.fromhex("2217F0")))
            if name == STATISTICS:
                heard = [tester.hear(), tester.hear()]
                assert heard[1] == "uds 7F2278", heard
            process.child.send_signal(signal.SIGCONT)
            heard = tester.hear_final()
            assert heard.startswith("uds 6217F0"), heard
    return count


def say(address, port, text):
    """Sends it all, as far as it is taken, and returns all that is heard."""
    heard = b""
    with contextlib.suppress(ConnectionError), socket.create_connection((address, port), LIMIT) as peer:
        peer.setblocking(False)
        left, watched = memoryview(text), select.poll()
        watched.register(peer, select.POLLIN | select.POLLOUT)
        while ready := watched.poll(LIMIT * 1000):
            if ready[0][1] & select.POLLIN:
                part = peer.recv(PIECE)
                if not part:
                    return heard
                heard += part
            if ready[0][1] & select.POLLOUT and left:
                left = left[peer.send(left):]
                if not left:
                    peer.shutdown(socket.SHUT_WR)
                    watched.modify(peer, select.POLLIN)
        raise AssertionError(f"{address}:{port} neither takes nor says anything")
    return heard


def answers_in(data):
    """How many messages of SOME/IP."""
    count, at = 0, 0
    while at < len(data):
        count, at = count + 1, at + 8 + struct.unpack_from(">I", data, at + 4)[0]
    return count


def await_rest(machine):
    """Until newcomers are answered at every place, so that nobody stands before them, and all is as it was at first."""
    for address, port, first, request in doors(machine):
        await_event(lambda: say(address, port, first + request), f"an answer at {address}:{port}")
    return machine.await_rest()


def flooded(machine, count):
    """With so many valid requests at each place where a process listens."""
    with contextlib.closing(socket.socket(socket.AF_INET, socket.SOCK_DGRAM)) as sender, ThreadPoolExecutor() as pool:
        floods = {port: pool.submit(say, address, port, first + request * count)
                  for address, port, first, request in doors(machine)}
        sender.bind((machine.network + "150", 0))
        for place, datagram in datagram_doors(machine):
            for _ in range(count):
                sender.sendto(datagram, place)
        heard = {port: flood.result() for port, flood in floods.items()}
    heard.pop(PORT)  # a tester that asks before it is answered may be closed
    answers = {port: answers_in(data) for port, data in heard.items()}
    assert set(answers.values()) == {count}, answers
    return 0


def garbled(machine, count):
    """With so many pieces of noise at each place, every second one behind a beginning that is right."""
    noise = random.Random(count)
    with contextlib.closing(socket.socket(socket.AF_INET, socket.SOCK_DGRAM)) as sender:
        sender.bind((machine.network + "150", 0))
        for number in range(count):
            for address, port, first, request in doors(machine):
                beginning = first + request[:noise.randrange(len(request))] if number % 2 else b""
                say(address, port, beginning + noise.randbytes(noise.randrange(1, PIECE)))
            for place, datagram in datagram_doors(machine):
                beginning = datagram[:noise.randrange(len(datagram))] if number % 2 else b""
                sender.sendto(beginning + noise.randbytes(noise.randrange(1, 1400)), place)
    return 0


def ended_by_others(streams, count):
    """Waits until the other side has ended so many."""
    with contextlib.closing(select.epoll()) as watched:
        by_number = {stream.socket.fileno(): stream for stream in streams}
        for number in by_number:
            watched.register(number, select.EPOLLIN | select.EPOLLRDHUP)
        ended, end = 0, time.monotonic() + LIMIT
        while ended < count:
            assert time.monotonic() < end, f"{ended} of {len(streams)} connections were refused, not {count}"
            for number, _ in watched.poll(1):
                data = b"refused"
                with contextlib.suppress(ConnectionError):
                    data = by_number[number].socket.recv(PIECE)
                if data in (b"", b"refused"):
                    watched.unregister(number)
                    ended += 1


def crowded(machine, count):
    """So many connections at once at each place, each with a request begun."""
    most = machine.communication["limits"]["connections"]
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (min(hard, max(soft, count + 512)), hard))
    for address, port, first, request in doors(machine):
        with contextlib.ExitStack() as stack:
            streams = [stack.enter_context(Framed_stream(address, port)) for _ in range(count)]
            for stream in streams:
                stream.send((first + request)[:-1])
            ended_by_others(streams, count - most)
    resource.setrlimit(resource.RLIMIT_NOFILE, (soft, hard))
    return 0


def not_heard(machine, count):
    """So many times at each place: peers that ask until nothing is taken any more, hear nothing, and break off."""
    for _ in range(count):
        for address, port, first, request in doors(machine):
            with contextlib.ExitStack() as stack:
                for _ in range(SILENT_PEERS):
                    stream = stack.enter_context(Framed_stream(address, port))
                    stack.callback(stream.close, abruptly=True)
                    stream.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
                    stream.send(first)
                    stream.socket.setblocking(False)
                    with contextlib.suppress(BlockingIOError):
                        for _ in range(1000):
                            stream.send(request * 64)
    return 0


def exhausted(name, machine, count):
    """So many times: no descriptor is left, as peers hold them all. They leave, and reads work within the same limit."""
    process = machine.processes[name]
    pid = process.child.pid
    descriptors = lambda: set(map(int, os.listdir(f"/proc/{pid}/fd")))
    for _ in range(count):
        await_rest(machine)
        used = descriptors()
        free = [number for number in range(len(used) + SPARE_DESCRIPTORS + 1) if number not in used]
        limit = free[SPARE_DESCRIPTORS]
        with contextlib.ExitStack() as until_read:
            limits = resource.prlimit(pid, resource.RLIMIT_NOFILE)
            until_read.callback(resource.prlimit, pid, resource.RLIMIT_NOFILE, limits)
            resource.prlimit(pid, resource.RLIMIT_NOFILE, (limit, limits[1]))
            with contextlib.ExitStack() as stack:
                for number in range(PEERS_OF_AN_EXHAUSTED):
                    port, *_ = DOORS[name][number % len(DOORS[name])]
                    stack.enter_context(Framed_stream(machine.address(name), port))
                await_event(lambda: descriptors().issuperset(range(limit)), f"{name} to use its {limit} descriptors")
                if name == FLASHWATCH:
                    machine.restart(STATISTICS)  # now it cannot connect to it
            machine.await_read()
    return count


def vanished(machine, count):
    """So many times peers at every place, and testers at all of the manager's, are gone without a word. Needs a network
    of its own: their address is taken away."""
    device = ["dev", "lo"]
    for _ in range(count):
        subprocess.run(["ip", "address", "add", GHOST + "/32", *device], check=True)
        with contextlib.ExitStack() as stack:
            for number in range(SILENT_PEERS):
                for address, port, first, request in doors(machine):
                    stream = stack.enter_context(socket.create_connection((address, port), LIMIT, (GHOST, 0)))
                    stream.sendall(first.replace(b"\x0E\x80", bytes([0x0E, number])) + request[:-1])
            subprocess.run(["ip", "address", "del", GHOST + "/32", *device], check=True)
        machine.await_rest(VANISHED_LIMIT_S)
    return count


TRIALS = {
    "statistics service killed and restarted": partial(restarted, STATISTICS),
    "diagnostic manager killed and restarted": partial(restarted, MANAGER),
    "statistics service stopped and continued": partial(stopped, STATISTICS),
    "diagnostic manager stopped and continued": partial(stopped, MANAGER),
    "valid requests, at every socket": flooded,
    "pieces of noise, at every socket": garbled,
    "connections at once, at every TCP port": crowded,
    "peers that ask and do not listen": not_heard,
    "flashwatch without descriptors": partial(exhausted, FLASHWATCH),
    "statistics service without descriptors": partial(exhausted, STATISTICS),
    "diagnostic manager without descriptors": partial(exhausted, MANAGER),
}
# Needs a network of its own, and its time.
VANISHING = {"peers that vanish": vanished}
