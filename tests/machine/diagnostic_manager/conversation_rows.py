# SPDX-License-Identifier: Apache-2.0
"""The diagnostic manager as a process, with scapy as its testers and as the services behind its identifiers."""
import contextlib
import itertools
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from functools import partial

from conversation import Conversation
from conversations import ENTRY, NOBODY, ROWS, TEXTS, VEHICLE, VIN
from machine import EXCEEDANCE, PORTS, REPORT, Machine
from someip_node import ERROR, RESPONSE, Service
from framed_stream import LIMIT
from tester import Discoverer, Tester

MANAGER = "diagnostic_manager"
BROADCAST = "127.255.255.255"
SETTINGS = {
    "gid": "02:00:00:00:00:02", "testers": 2,
    "activation_types": {"0": "open", "1": "authentication", "2": "tls", "3": "rejected", "4": "confirmation"},
    "limits": {"message_bytes": 256, "request_bytes": 40, "response_bytes": 2000, "receive_memory_bytes": 512,
               "outgoing_queue_bytes": 4096, "identifiers_per_request": 4, "pending_responses": 2},
    "timers": {"initial_inactivity_ms": 800, "general_inactivity_ms": 2500, "alive_check_ms": 400,
               "confirmation_ms": 400, "announce_wait_ms": 20, "announce_interval_ms": 100, "p2_ms": 50,
               "p2_star_ms": 1000, "s3_ms": 500, "linger_ms": 200}}
RECORDS = {"F186": "01", "F190": VIN.encode().hex().upper(), "17F0": "01" + ENTRY, "17F2": "01"}


def report(count, data):
    return RESPONSE, 0, b"\0\0\0\1" + bytes([count]) + len(data).to_bytes(4, "big") + data


def failure(code):
    return ERROR, 0x21, b"\0\0\0\1" + bytes([code])


BEHAVIOURS = {
    "17F0": {"answers": report(1, bytes.fromhex(ENTRY)), "empty": report(0, b""), "long": report(15, bytes(1920)),
             "longest": report(15, bytes(1996)), "longer": report(15, bytes(1997)), "garbles": (RESPONSE, 0, b"\1"),
             "fails": failure(0x11), "refuses": failure(0x22), "waits": failure(0x78), "hangs": None},
    "17F2": {"answers": (RESPONSE, 0, b"\1"), "fails": failure(0x11), "hangs": None},
}


class Manager_machine(Machine):
    """One diagnostic manager, and the services that it reads."""

    def __init__(self, programs, **changes):
        super().__init__(programs)
        self.limits["response_time_ms"] = 3000
        self.manifest["diagnostics"].update({**SETTINGS, **changes})
        self.words = {"17F0": ["answers"], "17F2": ["answers"]}

    def __enter__(self):
        self.behave("both", "comes")
        self.process = self.start(MANAGER)
        self.reset()
        self.at_rest = self.process.descriptors()
        return self

    def __exit__(self, *_):
        """A sanitizer's complaint shows in the exit code."""
        super().__exit__()
        with self.process as process:
            code = process.end() if process.child.poll() is None else process.child.returncode
            assert code == 0, f"exit code {code}: {process.text()[-4000:]}"

    def behave(self, which, word):
        """From now on, as the words say one after the other; the last of them stays."""
        if which == "manager":
            assert self.process.end() == 0
            return
        if which != "both":
            self.words[which] = word.split(",")
            if self.node:
                self.node.release()
            return
        self.withdraw(silent=word == "dies")
        if word == "comes":
            self.services = [Service(number, PORTS[number], partial(self.answer_of, name))
                             for name, number in (("17F0", REPORT), ("17F2", EXCEEDANCE))]
            self.node = self.played(101, self.services)

    def answer_of(self, which, _):
        words = self.words[which]
        return BEHAVIOURS[which][words.pop(0) if len(words) > 1 else words[0]]

    def reset(self):
        """As it was at the start: every service answers, and the connections of the row before are gone."""
        if not self.node:
            self.behave("both", "comes")
        for which in self.words:
            self.behave(which, "answers")
        for script in (NOBODY, "1 joins; 1 awaits 17F217F0 6217F20117F001" + ENTRY, NOBODY):
            self.play(script)

    def play(self, script):
        with Conversation(self.address(MANAGER), self.behave) as conversation:
            conversation.play(script)

    def play_row(self, script):
        self.reset()
        self.play(script.format(**TEXTS))

    def tester(self, logical=0x0E80):
        return Tester(self.address(MANAGER), logical)


def every_order(machine):
    orders = [order for count in range(1, 5) for order in itertools.permutations(sorted(RECORDS), count)]
    machine.play("1 joins" + "".join(
        f"; 1 reads {''.join(order)} 62{''.join(each + RECORDS[each] for each in order)}" for order in orders))


def a_tester_that_does_not_listen(machine):
    with machine.tester() as deaf, machine.tester(0x0E90) as other:
        for tester in (deaf, other):
            tester.join()
        flood = deaf.diagnosis(bytes.fromhex("22" + "F190" * 4)) * 64
        try:
            for _ in range(100000):
                deaf.socket.sendall(flood)
            raise AssertionError("the flood was never ended")
        except ConnectionError:
            assert other.read("F186") == "uds 62F18601"


def descriptors_come_back(machine):
    deadline = time.monotonic() + LIMIT
    while machine.process.descriptors() > machine.at_rest and time.monotonic() < deadline:
        machine.play(NOBODY)
    assert machine.process.descriptors() == machine.at_rest


def ends_while_a_service_hangs(machine):
    machine.play("1 joins; 17F0 hangs; 1 asks 2217F0 7F2278; manager ends; 1 finally hears closed")


def a_hundred_testers(machine):
    def use(number):
        with machine.tester(0x0E00 + number) as tester:
            tester.join()
            together.wait()
            return [tester.read("17F217F0") for _ in range(5)]

    together = threading.Barrier(100, timeout=LIMIT)
    with ThreadPoolExecutor(100) as pool:
        heard = sum(pool.map(use, range(100)), [])
    assert heard == ["uds 6217F20117F001" + ENTRY] * 500, set(heard)
    asked = sum(service.requests for service in machine.services)
    assert asked < 1000, f"testers who read together share answers, yet there were {asked} questions"


def announcements(programs):
    with Machine(programs) as machine, contextlib.closing(Discoverer((BROADCAST, 13400))) as ear, contextlib.closing(
            Discoverer()) as asker:
        machine.manifest["diagnostics"].update({**SETTINGS, "announce": True, "broadcast_address": BROADCAST})
        with machine.start(MANAGER):
            assert [ear.hear() for _ in range(3)] == [VEHICLE] * 3
            for request in ("02FE400100000000", "02FD400100000000"):  # nobody wants the refusal of the first
                asker.send(request, BROADCAST)
            assert asker.hear() == "status 1 0/2 256"


def strict(programs):
    with Machine(programs) as machine:
        machine.manifest["diagnostics"].update(read_needs_extended_session=True)
        with machine.start(MANAGER), Conversation(machine.address(MANAGER), None) as conversation:
            conversation.play("1 joins; 1 reads F186 7F227F; 1 asks all 22F186 -; 1 asks 1083 -; 1 reads F186 62F18603")


# What stands in the manifest, and the words of the refusal beside the member's name.
WRONG = [({"vin": "flashwatch0000001"}, ""), ({"eid": "02-00-00-00-00-01"}, ""), ({"logical_address": 4095}, ""),
         ({"address": "192.0.2.1"}, "192.0.2.1:13400"), ({"address": "127.0.0.1\0x"}, "must be an IPv4"),
         ({"testers": 0}, ""), ({"testers": 256}, ""), ({"tester_addresses": {"first": 3712, "last": 3711}}, ".last"),
         ({"activation_types": {"256": "open"}}, ".256"), ({"activation_types": {"0": "shut"}}, ".0"),
         ({"timers": {"p2_ms": 65536}}, ".p2_ms"),
         ({"timers": {"p3_ms": 1}}, "p3_ms"), ({"limits": {"outgoing_queue_bytes": 4000}}, "diagnostics.limits"),
         ({"report_instance": "nobody"}, "nobody")]


def refuses(programs, changes, words):
    machine = Machine(programs)
    machine.manifest["diagnostics"].update(changes)
    with machine, machine.start(MANAGER, expect_ready=False) as process:
        assert process.wait() == 1 and (words or [*changes][0]) in process.text(), process.text()


def rows(programs):
    with Manager_machine(programs) as machine:
        for name, script in ROWS.items():
            yield name, partial(machine.play_row, script)
        for test in (every_order, a_tester_that_does_not_listen, descriptors_come_back):
            yield test.__name__, partial(test, machine)
    with Manager_machine(programs, testers=100, limits={}, timers={}) as machine:
        yield "a service hangs for longer than the response time", partial(
            machine.play_row, "1 joins; 17F0 hangs; 1 asks 2217F0 7F2278; 1 finally hears uds 7F2210")
        machine.reset()
        for test in (a_hundred_testers, descriptors_come_back, ends_while_a_service_hangs):
            yield f"{test.__name__}, among many", partial(test, machine)
    yield "reads in the extended session only", partial(strict, programs)
    yield "announcements", partial(announcements, programs)
    for changes, words in WRONG:
        yield f"refuses {changes}", partial(refuses, programs, changes, words)
