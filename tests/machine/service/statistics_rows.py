# SPDX-License-Identifier: Apache-2.0
"""Statistics services as they may be: newer, broken, slow, late, dying and coming back."""
import os
import signal
import time
from functools import partial

from machine import EXCEEDANCE, REPORT, RESPONSE_TIME_MS, Watched_machine, statistics
from someip_client import describe, message
from someip_node import ERROR, RESPONSE

NEEDS_ETC = True
FEW = {"alpha": (0, 1, 0, 0, 2, 0, 3, 4), "beta": (0,) * 8}
ENTRIES = "0000000000001234" "0000000000000003" "0000000000000002" "0000000000000001" + "00" * 32
READ = "80/00 00000001" "02" "00000040" + ENTRIES
FAILED = "81/21 0000000111"
METHOD = "method get_KVS_statistics of orvel::persistency::statistics: "
WARNING = "Failed to provide statistics due to exception: " + METHOD
EMPTY = "80/00 00000001" "00" "00000000"

MALFORMED = "answered with a malformed message: "
GOOD = statistics(FEW)[2]
TOO_SMALL = MALFORMED + "Violation of [PRS_SOMEIP_00900]: Record length given by sender is too small."
SMALLER = MALFORMED + "Violation of [PRS_SOMEIP_00900]: Record length provided by sender is smaller than expected."
BEYOND = MALFORMED + "Read beyond the end of the data buffer"
INVALID_END = MALFORMED + "Deserialization calculated invalid end position."
RECORD = 4 + 4 + 4 + len("alpha") + 4  # where the first record's length stands

# What is answered to every call of a row: flashwatch's answer, and the reason in its log.
ANSWERS = [
    ("appended members", statistics(FEW, appended=b"new members"), READ, None),
    ("bytes behind all", (RESPONSE, 0, GOOD + b"more"), READ, None),
    ("an empty map", statistics({}), EMPTY, None),
    ("a record longer than the rest", statistics(FEW, record=1 << 20), FAILED, INVALID_END),
    ("a record shorter by one", statistics(FEW, record=-1), FAILED, TOO_SMALL),
    ("a record of no bytes", (RESPONSE, 0, GOOD[:RECORD] + bytes(4) + GOOD[RECORD + 4:]), FAILED, SMALLER),
    ("a map longer than the answer", statistics(FEW, entries=1), FAILED, INVALID_END),
    ("a map shorter by one", statistics(FEW, entries=-1), FAILED, TOO_SMALL),
    ("an answer longer than it is", statistics(FEW, whole=1), FAILED, INVALID_END),
    ("an answer shorter by one", statistics(FEW, whole=-1), FAILED, TOO_SMALL),
    ("no payload", (RESPONSE, 0, b""), FAILED, BEYOND),
    ("an error of SOME/IP", (ERROR, 3, b""), FAILED, "answered with return code 3 of SOME/IP"),
    ("an error that nobody declared", (ERROR, 0x25, b""), FAILED, "answered with application error 6"),
    *((f"the connection ends after {count} bytes", (*statistics(FEW), count), FAILED,
       "the connection to 127.")
      for count in (0, 3, 15, 16, 20, 200)),
    ("nothing", None, FAILED, f"no answer within {RESPONSE_TIME_MS} ms"),
    ("after all that, the truth", statistics(FEW), READ, None),
]


def answers(machine, process, answer, expected, reason):
    machine.answer = answer
    since = len(process.log)
    heard = machine.read(REPORT)
    assert heard == expected, (heard, expected)
    heard = machine.read(EXCEEDANCE)
    if reason:
        process.await_text(WARNING + reason, since=since)
        process.await_text("Failed to provide budget due to exception: " + METHOD + reason, since=since)
        assert heard == FAILED, heard
    else:
        assert heard == "80/00 00" and "Failed" not in process.text()[since:], heard


def await_read(machine, expected):
    end = time.monotonic() + 20
    while (heard := machine.read(REPORT)) != expected:
        assert time.monotonic() < end, heard


def stops_and_dies(machine):
    machine.discovery["ttl_s"] = 60  # who is stopped stays on offer
    with machine.start("persistency_statistics") as service, machine.start() as process:
        signals = service.child.send_signal
        machine.read(REPORT)  # writes the first year of use, which the next one counts
        read = machine.read(REPORT)
        assert read.startswith("80/00 0000000101"), read
        service.stop()
        assert machine.read(REPORT) == FAILED
        process.await_text(WARNING + f"no answer within {RESPONSE_TIME_MS} ms")
        signals(signal.SIGCONT)
        await_read(machine, read)  # and not the late answer
        service.stop()
        with machine.client() as client:
            client.send(message(REPORT, 1))
            signals(signal.SIGKILL)
            assert describe(client.next_message()) == FAILED
        assert machine.read(REPORT) == FAILED
        with machine.start("persistency_statistics") as second:
            await_read(machine, read)
            assert second.end() == 0 and machine.read(REPORT) == FAILED
        with machine.start("persistency_statistics"):
            await_read(machine, read)
            assert process.end() == 0, process.text()


def rows(programs):
    new_machine = partial(Watched_machine, programs)
    with new_machine() as machine:
        machine.offer()
        with machine.start() as process:
            for name, *row in ANSWERS:
                yield name, partial(answers, machine, process, *row)
    with new_machine() as machine:
        yield "the real service stops, dies, ends and comes back", partial(stops_and_dies, machine)
    yield "offered late", partial(offered_late, new_machine)
    yield "periodic", partial(periodic, new_machine)


def offered_late(new_machine):
    with new_machine(answer=statistics(FEW)) as machine, machine.start(expect_ready=False) as process:
        process.await_text('FindService(" persistency_statistics ")-> 0', 2)
        machine.offer()
        process.await_ready()
        assert machine.read(REPORT) == READ
        assert process.end() == 0
        finds = [line[-1] for line in process.text().split("\n") if "FindService(" in line]
        assert finds == ["0", "0", "1"], finds


def periodic(new_machine):
    """A failing cycle is a warning; the next one logs again."""
    with new_machine(answer=statistics(FEW, record=-1)) as machine:
        machine.offer()
        with machine.start(variables=machine.preload(os.environ["SHORT_SLEEP"])) as process:
            process.await_text("Runtime exception caught at statistics readout: " + METHOD + TOO_SMALL)
            machine.answer = None
            process.await_text(METHOD + f"no answer within {RESPONSE_TIME_MS} ms err code: 6")
            machine.answer = statistics(FEW)
            process.await_text("DATA info alpha session(1, 0) total(2, 0) budget(1, 2)", 2)
            assert process.end() == 0, process.text()
            assert "year limits" not in process.text(), "the first cycle uses up the only time that limits are logged"
