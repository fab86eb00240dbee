# SPDX-License-Identifier: Apache-2.0
"""Both data identifiers on the wire: what is answered, and what is not."""
import contextlib
from functools import partial

from machine import EXCEEDANCE, REPORT, Watched_machine, statistics
from someip_client import describe, message

NEEDS_ETC = True
PARALLEL = 20  # of each identifier
FEW = {"alpha": (1, 0x0102, 3, 4, 0x0807060504030201, 6, 0x1112131415161718, 1 << 63),
       "no scid": (7, 8, 9, 10, 11, 12, 1000, 2000), "omega": (0,) * 8}
ENTRIES = ("0000000000001234" "1112131415161718" "0807060504030201" "0000000000000102"
           "0000000000000000" "00000000000003e8" "000000000000000b" "0000000000000008"
           "ffffffffffffffff" "0000000000000000" "0000000000000000" "0000000000000000")
ASKED = "80/00 00000001" "03" "00000060" + ENTRIES
META_INFO = bytes.fromhex("00000014" "00000006EFBBBF6B6B00" "00000006EFBBBF767600")

# What is sent to the report's port, and what comes back: type/return code and payload of every answer.
# The next answer after these is that to a proper request.
MESSAGES = {
    "read": (message(REPORT, 1), [ASKED]),
    "cancel": (message(REPORT, 0), ["80/00"]),
    "read with meta information": (message(REPORT, 1, META_INFO), [ASKED]),
    "bytes behind the argument": (message(REPORT, 1, bytes(4) + b"more"), [ASKED]),
    "a request with a return code": (message(REPORT, 0, code=1), ["80/00"]),
    "no argument": (message(REPORT, 1, b""), ["81/09"]),
    "an argument cut off": (message(REPORT, 1, META_INFO[:-1]), ["81/09"]),
    # The checks in their order: each message fails the one it is named after, and all that come later.
    "protocol version": (message(0x7000, 7, b"", version=2, interface=2), ["81/07"]),
    "service": (message(EXCEEDANCE, 7, b"", interface=2), ["81/02"]),
    "interface version": (message(REPORT, 7, b"", interface=2), ["81/08"]),
    "method": (message(REPORT, 7, b""), ["81/03"]),
    "wrong, but with a return code": (message(0x7000, 1, code=1), []),
    "an event's id": (message(REPORT, 0x8001), []),
    **{f"message type {kind:02X}": (message(REPORT, 1, kind=kind), []) for kind in (0x01, 0x02, 0x20, 0x80, 0xFF)},
    "magic cookie": (bytes.fromhex("FFFF000000000008DEADBEEF01010100") + message(REPORT, 0), ["80/00"]),
    "two in one segment": (message(REPORT, 0) + message(REPORT, 1), ["80/00", ASKED]),
    **{f"length {length}": (message(REPORT, 1, length=length), ["closed"]) for length in (0, 7, 0x7FFFFFFF)},
}


def converse(machine, sent, expected, piece=1 << 20):
    with machine.client() as client:
        for at in range(0, len(sent), piece):
            client.send(sent[at:at + piece])
        heard = [client.next_message() for _ in expected]
        for data in filter(None, heard):
            request = sent[16:] if sent[:2] == b"\xFF\xFF" else sent
            assert data[:2] + data[8:12] + data[13:14] == request[:2] + request[8:12] + request[13:14], data.hex()
        # Calls run beside each other, so answers may change places.
        heard = sorted(describe(data) for data in heard)
        assert heard == sorted(expected), (heard, expected)
        if "closed" not in heard:
            assert client.ask(REPORT, 0, session=8) == "80/00"


# One after the other, with the same flashwatch: the first readout fixes the limits.
EXCEEDANCES = [
    ("nobody", {}, "80/00 00"),
    ("equal to the limit", {"no scid": (0, 0, 0, 0, 1000, 0, 1000, 2000)}, "80/00 00"),
    ("one above", {"no scid": (0, 0, 0, 0, 1001, 0, 1000, 2000)}, "80/00 01"),
    ("one that came later and wrote nothing", {"new": (0, 0, 0, 0, 0, 0, 1000, 2000)}, "80/00 00"),
    ("one that came later and wrote", {"new": (0, 0, 0, 0, 1, 0, 1000, 2000)}, "80/00 01"),
]


def exceedance(machine, changes, expected):
    machine.answer = statistics({**FEW, **changes})
    heard = machine.read(EXCEEDANCE)
    assert heard == expected, (heard, expected)
    with machine.client(EXCEEDANCE) as client:
        assert client.ask(EXCEEDANCE, 0) == "80/00"


def in_parallel(machine):
    """Many more calls than there are threads, while the statistics take their time: each is answered once."""
    machine.answer, asked = None, machine.node.services[0].requests
    with contextlib.ExitStack() as stack:
        clients = [(service, stack.enter_context(machine.client(service)))
                   for service in (REPORT, EXCEEDANCE) * PARALLEL]
        for service, client in clients:
            client.send(message(service, 1))
        machine.node.await_requests(asked + 1)
        machine.answer = statistics(FEW)
        machine.node.release()
        for service, client in clients:
            heard = describe(client.next_message())
            assert heard == (ASKED if service == REPORT else "80/00 00"), (service, heard)
            assert client.ask(service, 0, session=8) == "80/00"


def rows(programs):
    with Watched_machine(programs, answer=statistics(FEW)) as machine:
        machine.offer()
        with machine.start():
            for name, row in MESSAGES.items():
                yield name, partial(converse, machine, *row)
            yield "in parallel", partial(in_parallel, machine)
            yield "byte by byte", partial(converse, machine, *MESSAGES["two in one segment"], piece=1)
            for name, *row in EXCEEDANCES:
                yield "budget: " + name, partial(exceedance, machine, *row)
