# SPDX-License-Identifier: Apache-2.0
"""The diagnostic manager as a process, with scapy as its testers and as the services behind its identifiers.

  end_to_end.py PROGRAM [WORD]   only the rows whose name holds WORD
"""
import contextlib
import itertools
import json
import pathlib
import socket
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
from conversation import Conversation  # noqa: E402
from process import Process  # noqa: E402
from someip_node import ERROR, RESPONSE, Service, Someip_node  # noqa: E402
from tester import LIMIT, Discoverer, Tester, read_request  # noqa: E402

HERE, SERVICES, GROUP = "127.0.31.3", "127.0.31.2", "224.224.224.131"
BROADCAST = "127.255.255.255"
VIN = "FLASHWATCH0000001"
VEHICLE = f"vehicle {VIN} 1001 020000000001 020000000002"
NOBODY = "udp awaits 02FD400100000000 status 1 0/"
ENTRY = "".join(f"{value:016X}" for value in (0x1234, 8388608, 1 << 53, 4096))
LIMITS = {"message_bytes": 256, "request_bytes": 40, "response_bytes": 2000, "receive_memory_bytes": 512,
          "outgoing_queue_bytes": 4096, "identifiers_per_request": 4, "pending_responses": 2}
TIMERS = {"initial_inactivity_ms": 800, "general_inactivity_ms": 2500, "alive_check_ms": 400, "confirmation_ms": 100,
          "announce_wait_ms": 20, "announce_interval_ms": 100, "p2_ms": 50, "p2_star_ms": 1000, "s3_ms": 500,
          "linger_ms": 200}
RECORDS = {"F186": "01", "F190": VIN.encode().hex().upper(), "17F0": "01" + ENTRY, "17F2": "01"}


def report(count, data):
    return RESPONSE, 0, b"\0\0\0\1" + bytes([count]) + len(data).to_bytes(4, "big") + data


BEHAVIOURS = {
    "17F0": {"answers": report(1, bytes.fromhex(ENTRY)), "empty": report(0, b""), "long": report(15, bytes(1920)),
             "longest": report(15, bytes(1996)), "longer": report(15, bytes(1997)), "garbles": (RESPONSE, 0, b"\1"),
             "fails": (ERROR, 0x21, b"\0\0\0\1\x11"), "refuses": (ERROR, 0x21, b"\0\0\0\1\x22"), "hangs": None},
    "17F2": {"answers": (RESPONSE, 0, b"\1"), "fails": (ERROR, 0x21, b"\0\0\0\1\x11"), "hangs": None},
}


def manifest(**changes):
    """The machine's own, with addresses and times of the test's."""
    made = json.loads((pathlib.Path(__file__).parents[3] / "machine/etc/machine.json").read_text())
    made["processes"]["diagnostic_manager"]["address"] = HERE
    made["communication"]["discovery"]["group"] = GROUP
    made["communication"]["limits"]["response_time_ms"] = 3000
    made["diagnostics"].update({"gid": "02:00:00:00:00:02", "testers": 2, "limits": LIMITS, "timers": TIMERS,
                                "activation_types": {"0": "open", "1": "authentication", "2": "tls", "3": "rejected",
                                                     "4": "confirmation"}})
    made["diagnostics"].update(changes)
    return made


class Machine:
    """One diagnostic manager, and the services that it reads."""

    address = HERE

    def __init__(self, **changes):
        self.words = {"17F0": "answers", "17F2": "answers"}
        self.node = None
        self.behave("both", "comes")
        self.process = Process(PROGRAM, "diagnostic_manager", manifest(**changes))
        self.reset()
        self.at_rest = self.process.descriptors()

    def behave(self, which, word):
        if word not in ("comes", "stops", "dies"):
            self.words[which] = word
            if self.node:
                self.node.release()
            return
        if self.node:
            self.node.end(silent=word == "dies")
        self.node = None
        if word == "comes":
            self.services = [Service(number, port, lambda _, of=name: BEHAVIOURS[of][self.words[of]])
                             for name, number, port in (("17F0", 24592, 30510), ("17F2", 24594, 30511))]
            self.node = Someip_node(SERVICES, GROUP, self.services)

    def reset(self):
        """As it was at the start: every service answers, and the connections of the row before are gone."""
        if not self.node:
            self.behave("both", "comes")
        for which in self.words:
            self.behave(which, "answers")
        for script in (NOBODY, "1 joins; 1 awaits 17F217F0 6217F20117F001" + ENTRY, NOBODY):
            self.play(script)

    def play(self, script):
        conversation = Conversation(self)
        try:
            conversation.play(script)
        finally:
            conversation.close()

    def close(self):
        """A sanitizer's complaint shows in the exit code."""
        if self.node:
            self.node.end()
        try:
            code = self.process.end() if self.process.child.poll() is None else self.process.child.returncode
            assert code == 0, f"exit code {code}: {self.process.text()[-4000:]}"
        finally:
            self.process.__exit__()


ROWS = {
    "discovery": """udp sends 02FD000100000000; udp hears {VEHICLE}; udp sends FF00000100000000; udp hears {VEHICLE}
        ; udp sends 03FC000100000000; udp hears {VEHICLE}
        ; udp sends 02FD000200000006020000000001; udp hears {VEHICLE}
        ; udp sends 02FD000200000006020000000009; udp sends 02FD0003 00000011{VINHEX}; udp hears {VEHICLE}""",
    "two messages in one datagram": """udp sends 02FD400300000000 02FD400100000000; udp hears power 1
        ; udp hears status 1 0/2 256""",
    "lying datagrams": """udp sends 02FD000200000007020000000001; udp hears header nack 04
        ; udp sends 02FD4001FFFFFFFF; udp hears header nack 02; udp sends 02FE400100000000; udp hears header nack 00
        ; udp sends 02FD999900000000; udp hears header nack 01; udp sends 02FD00; udp sends 02FD400300000000
        ; udp hears power 1""",
    "unknown tester": "1 opens; 1 is 0D00; 1 activates; 1 hears routing 0D00 00; 1 hears closed",
    "unsupported type": "1 opens; 1 activates E0; 1 hears routing 0E81 06; 1 hears closed",
    "TLS wanted": "1 opens; 1 activates 2; 1 hears routing 0E81 07; 1 hears closed",
    "authentication wanted": """1 opens; 1 activates 1; 1 hears routing 0E81 04; 1 activates
        ; 1 hears routing 0E81 10""",
    "confirmation": """1 opens; 1 activates 3; 1 hears routing 0E81 05; 1 hears closed; 2 opens; 2 activates 4
        ; 2 hears routing 0E82 11; 3 opens; 3 hears closed after 800; 2 asks 3E00; 2 hears ack 1001 0E82
        ; 2 hears uds 7E00""",
    "another address on the socket": "1 joins; 1 is 0E89; 1 activates; 1 hears routing 0E89 02; 1 hears closed",
    "the same address, alive": """1 joins; 2 opens; 2 is 0E81; 2 activates; 1 hears alive?; 1 is alive
        ; 2 hears routing 0E81 03; 2 hears closed; 1 reads F186 62F18601""",
    "the same address, silent": """1 joins; 2 opens; 2 is 0E81; 2 activates; 1 hears alive?; 1 hears closed after 400
        ; 2 hears routing 0E81 10; 2 reads F186 62F18601""",
    "the same address, vanished": "1 joins; 1 breaks off; 2 opens; 2 is 0E81; 2 activates; 2 hears routing 0E81 10",
    "one tester too many": """1 joins; 2 joins; 3 opens; 3 activates; 1 hears alive?; 1 is alive; 2 hears alive?
        ; 2 is alive; 3 hears routing 0E83 01; 3 hears closed; 1 reads F186 62F18601; 2 reads F186 62F18601""",
    "room by an alive check": """1 joins; 2 joins; 3 opens; 3 activates; 1 hears alive?; 2 hears alive?; 2 is alive
        ; 1 hears closed; 3 hears routing 0E83 10; 2 reads F186 62F18601""",
    "beyond the reserve socket": "1 joins; 2 joins; 3 opens; 4 opens; 4 hears closed; 1 reads F186 62F18601",
    "general inactivity": "1 joins; 1 hears closed after 2500",
    "diagnosis before activation": """1 opens; 1 asks 3E00; 1 hears nack 1001 0E81 02; 1 hears closed""",
    "diagnosis as somebody else": "1 joins; 1 is 0E89; 1 asks 3E00; 1 hears nack 1001 0E89 02; 1 hears closed",
    "unknown target, too much": """1 joins; 1 sends 02FD8001000000060E8110023E00; 1 hears nack 1002 0E81 03
        ; 1 asks 22{LONG}; 1 hears nack 1001 0E81 04; 1 asks 3E00; 1 hears ack 1001 0E81; 1 hears uds 7E00""",
    "headers": """1 joins; 2 joins; 2 sends 02FE800100000000; 2 hears header nack 00; 2 hears closed
        ; 3 opens; udp sends 02FD400100000000; udp hears status 1 2/2 256; 1 sends 02FD8001FFFFFFFF{ZEROS}
        ; 1 hears header nack 02; 1 leaves; 1 joins; 1 sends 02FD9999000000021234; 1 hears header nack 01
        ; 1 sends 02FD800100000101{ZEROS}; 1 hears header nack 02; 1 asks 3E00; 1 hears ack 1001 0E81; 1 hears uds 7E00
        ; 1 sends 02FD8001 00000003; 1 hears header nack 04; 1 hears closed""",
    "memory": """1 joins; 2 joins; 1 sends 02FD800100000100; 2 sends 02FD800100000100; 3 opens
        ; 3 sends 02FD0005000000070E83; 3 hears header nack 03""",
    "split": """1 opens; 1 drips 02FD0005000000070E810000000000; 1 hears routing 0E81 10
        ; 1 drips 02FD8001000000070E81100122F186; 1 hears ack 1001 0E81; 1 hears uds 62F18601""",
    "joined": """1 opens; 1 sends 02FD0005000000070E81000000000002FD8001000000070E81100122F18602FD8001000000060E8110013E00
        ; 1 hears routing 0E81 10; 1 hears ack 1001 0E81; 1 hears uds 62F18601; 1 hears ack 1001 0E81
        ; 1 hears uds 7E00""",
    "sessions": """1 joins; 1 asks 1003; 1 hears ack 1001 0E81; 1 hears uds 500300320064; 1 reads F186 62F18603
        ; 2 opens; 2 hears closed after 800; 1 reads F186 62F18601; 1 asks 1083; 1 hears ack 1001 0E81
        ; 1 asks 3E80; 1 hears ack 1001 0E81; 1 reads F186 62F18603; 1 leaves; 1 joins; 1 reads F186 62F18601""",
    "refusals": """1 joins; 1 asks 1002; 1 hears ack 1001 0E81; 1 hears uds 7F1012; 1 asks 10; 1 hears ack 1001 0E81
        ; 1 hears uds 7F1013; 1 asks 11; 1 hears ack 1001 0E81; 1 hears uds 7F1111; 1 asks 2217; 1 hears ack 1001 0E81
        ; 1 hears uds 7F2213; 1 reads 1234 7F2231; 1 reads 17F017F017F017F017F0 7F2213; 1 asks all 221234
        ; 1 hears ack E400 0E81; 1 asks all 3E01; 1 hears ack E400 0E81; 1 asks all 10; 1 hears ack E400 0E81
        ; 1 hears uds 7F1013""",
    "report alone, last, first, with unknown ones": """1 joins; 1 reads 17F0 6217F001{ENTRY}
        ; 1 reads 17F217F0 6217F20117F001{ENTRY}; 1 reads 17F017F2 6217F001{ENTRY}17F201
        ; 1 reads FFFF17F21234 6217F201; 1 reads 17F217F2 6217F20117F201""",
    "report lengths": """1 joins; 17F0 empty; 1 reads 17F0 6217F000; 17F0 long; 1 reads 17F0 6217F00F{LONGREPORT}
        ; 17F0 longest; 1 reads 17F0 6217F00F{LONGESTREPORT}; 17F0 longer; 1 reads 17F0 7F2214
        ; 1 reads 17F217F0 7F2214; 17F0 answers; 1 reads 17F0 6217F001{ENTRY}""",
    "a service fails": """1 joins; 17F0 fails; 1 reads 17F0 7F2211; 1 reads 17F217F0 7F2211; 1 reads 17F2 6217F201
        ; 17F0 refuses; 1 reads 17F0 7F2222; 17F0 garbles; 1 reads 17F0 7F2222; 17F0 answers
        ; 1 reads 17F0 6217F001{ENTRY}; 17F2 fails; 1 asks all 2217F2; 1 hears ack E400 0E81; 2 joins
        ; 2 reads 17F2 7F2211; 1 reads F186 62F18601""",
    "a service stops and comes back": """1 joins; 1 reads 17F0 6217F001{ENTRY}; both stops; 1 reads 17F0 7F2222
        ; 1 reads 17F2 7F2222; 1 reads F190F186 62F190{VINHEX}F18601; both comes; 1 awaits 17F0 6217F001{ENTRY}
        ; 1 reads 17F2 6217F201""",
    "a service dies and comes back": """1 joins; 1 reads 17F2 6217F201; both dies; 1 reads 17F2 7F2222; both comes
        ; 1 awaits 17F2 6217F201; 1 reads 17F0 6217F001{ENTRY}""",
    "a service hangs and recovers": """1 joins; 17F0 hangs; 1 asks 2217F0; 1 hears ack 1001 0E81
        ; 1 hears uds 7F2278 after 40; 1 asks 3E80; 1 hears ack 1001 0E81; 1 asks 22F186; 1 hears ack 1001 0E81
        ; 1 hears uds 7F2221; 1 hears uds 7F2278; 1 hears uds 7F2210 after 800
        ; 2 joins; 2 reads 17F2 6217F201; 2 asks all 2217F0; 2 hears ack E400 0E82; 2 hears uds 7F2278
        ; 17F0 fails; 2 finally hears uds 7F2211; 17F0 answers; 1 reads 17F0 6217F001{ENTRY}""",
    "a service dies while it is asked": """1 joins; 17F2 hangs; 1 asks 2217F2; 1 hears ack 1001 0E81
        ; 1 hears uds 7F2278; both dies; 1 finally hears uds 7F2222
        ; 17F2 answers; both comes; 1 awaits 17F2 6217F201""",
    "a tester goes while a service hangs": """1 joins; 17F0 hangs; 1 asks 2217F0; 1 hears ack 1001 0E81
        ; 1 hears uds 7F2278; 1 breaks off; 2 joins; 2 reads 17F2 6217F201; 17F0 answers
        ; 2 reads 17F0 6217F001{ENTRY}""",
}
TEXTS = {"VEHICLE": VEHICLE, "VINHEX": VIN.encode().hex().upper(), "ENTRY": ENTRY, "LONG": "1234" * 20,
         "ZEROS": "00" * 257, "LONGREPORT": "00" * 1920, "LONGESTREPORT": "00" * 1996}


def every_order(machine):
    orders = [order for count in range(1, 5) for order in itertools.permutations(sorted(RECORDS), count)]
    machine.play("1 joins" + "".join(
        f"; 1 reads {''.join(order)} 62{''.join(each + RECORDS[each] for each in order)}" for order in orders))


def a_crowd(machine):
    """More testers than places: none waits in vain, and the one who was there is served on."""
    first = Tester(HERE)
    first.join()
    crowd = [Tester(HERE, 0x0F00 + i) for i in range(100)]
    for tester in crowd:
        tester.activate()
    for tester in crowd:
        heard = tester.hear()
        assert heard == "closed" or heard[-2:] in ("10", "01"), heard
        first.be_alive()
        tester.close()
    heard = first.read([0xF186])
    while heard == "alive?":
        heard = first.hear_final()
    assert heard == "uds 62F18601", heard
    first.close()


def a_tester_that_does_not_listen(machine):
    deaf, other = Tester(HERE), Tester(HERE, 0x0E90)
    for tester in (deaf, other):
        tester.join()
    flood = deaf.diagnosis(read_request([0xF190] * 4)) * 64
    try:
        for _ in range(100000):
            deaf.socket.sendall(flood)
        raise AssertionError("the flood was never ended")
    except ConnectionError:
        assert other.read([0xF186]) == "uds 62F18601"
    for tester in (deaf, other):
        tester.close()


def descriptors_come_back(machine):
    deadline = time.monotonic() + LIMIT
    while machine.process.descriptors() > machine.at_rest and time.monotonic() < deadline:
        machine.play(NOBODY)
    assert machine.process.descriptors() == machine.at_rest


def a_hundred_testers(machine):
    testers = [Tester(HERE, 0x0E00 + i) for i in range(100)]
    heard = []

    def use(tester):
        tester.join()
        heard.extend(tester.read([0x17F2, 0x17F0]) for _ in range(5))

    threads = [threading.Thread(target=use, args=(tester,)) for tester in testers]
    for step in (threading.Thread.start, threading.Thread.join):
        for thread in threads:
            step(thread)
    for tester in testers:
        tester.close()
    assert heard == ["uds 6217F20117F001" + ENTRY] * 500, set(heard)
    asked = sum(service.requests for service in machine.services)
    assert asked < 1000, f"testers who read together share answers, yet there were {asked} questions"


def announcements(machine):
    ear, asker = Discoverer((BROADCAST, 13400)), Discoverer()
    with Process(PROGRAM, "diagnostic_manager",
                 manifest(address="127.0.31.4", announce=True, broadcast_address=BROADCAST)):
        assert [ear.hear() for _ in range(3)] == [VEHICLE] * 3
        asker.send("02FD400100000000", BROADCAST)
        assert asker.hear() == "status 1 0/2 256"
    ear.close()
    asker.close()


def ends_while_a_service_hangs(machine):
    tester = Tester(HERE)
    tester.join()
    machine.behave("17F0", "hangs")
    tester.send(tester.diagnosis(read_request([0x17F0])))
    assert [tester.hear(), tester.hear()] == ["ack 1001 0E80", "uds 7F2278"]
    assert machine.process.end() == 0
    assert tester.hear_final() == "closed"
    tester.close()


def refuses_to_start(machine):
    for changes, words in (({"testers": 0}, "diagnostics.testers"), ({"report_instance": "nobody"}, "nobody"),
                           ({"address": "192.0.2.1"}, "192.0.2.1:13400")):
        with Process(PROGRAM, "diagnostic_manager", manifest(**changes), expect_ready=False) as process:
            assert process.wait() == 1 and words in process.text(), process.text()


class Nothing:
    """For those who start their own."""

    def close(self):
        pass


def row(script):
    def play(machine):
        machine.reset()
        machine.play(script.format(**TEXTS))

    return play


def tests(*functions):
    return {function.__name__: function for function in functions}


GROUPS = [
    (Machine, {**{name: row(script) for name, script in ROWS.items()},
                         **tests(every_order, a_crowd, a_tester_that_does_not_listen, descriptors_come_back,
                                 ends_while_a_service_hangs)}),
    (lambda: Machine(testers=100, limits={}, timers={}), tests(a_hundred_testers, descriptors_come_back)),
    (Nothing, tests(announcements, refuses_to_start)),
]


def main(wanted):
    failed = 0
    for make, named in GROUPS:
        named = {name: test for name, test in named.items() if wanted in name}
        with contextlib.closing(make()) if named else contextlib.nullcontext() as machine:
            for name, test in named.items():
                try:
                    test(machine)
                    print("ok    ", name, flush=True)
                except Exception as failure:  # whatever went wrong belongs to this row
                    failed += 1
                    print("FAILED", name, repr(failure), flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    PROGRAM = sys.argv[1]
    sys.exit(main(sys.argv[2] if len(sys.argv) > 2 else ""))
