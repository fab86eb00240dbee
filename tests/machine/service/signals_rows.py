# SPDX-License-Identifier: Apache-2.0
"""How flashwatch ends: by each signal it handles, in each phase, and within which time; and why it does not start."""
import contextlib
import signal
import threading
import time
from functools import partial

from machine import CONFIGURATION, EXCEEDANCE, REPORT, RESPONSE_TIME_MS, Watched_machine, statistics
from someip_client import message

NEEDS_ETC = True
FEW = statistics({"alpha": (0, 1, 2, 0, 3, 4, 5, 6)})
SIGNALS = (signal.SIGTERM, signal.SIGINT, signal.SIGABRT)
SEARCHED = "debug FindService(\" persistency_statistics \")-> 0"
RUNNING, TERMINATING = (f"debug Application state: {state} reported with success" for state in (0, 1))
SHUTDOWN, FINISHED = "debug Shutdown will proceed", "debug Application finished"
LIMITS = "DATA info alpha year limits(5, 6) acc limits(5, 6) year in use(1)"
DATA = "DATA info alpha session(1, 2) total(3, 4) budget(2, 3)"
FAILURE = "error Exception: {} caught - application will terminate"
METHOD = "method get_KVS_statistics of orvel::persistency::statistics: "
NOT_FOUND = 'get_KVS_statistics: statistics service "persistency_statistics" was not found before the search ended'
NORMAL_END = [SHUTDOWN, LIMITS, DATA, TERMINATING, FINISHED]
FAILED_END = lambda text: [SHUTDOWN, "COMM info Withdrew", FAILURE.format(text)]
SLACK_S = 3  # for a machine that is busy

REFUSED = ('instance identifier "nobody" refused: neither a number from 1 to 65534 nor the name of an instance in the '
           'machine manifest')
# The configuration file, what is done to the manifest, and the error; the units know every other.
FAILURES = [
    ({"log_period": 1}, {}, "[json.exception.out_of_range.403] key 'pm_instance_id' not found"),
    ({**CONFIGURATION, "own_instance_id": "nobody"}, {}, REFUSED),
    ({**CONFIGURATION, "pm_instance_id": "nobody"}, {}, REFUSED),
    (CONFIGURATION, {"persistency": {}}, "persistency.root is missing")]


@contextlib.contextmanager
def running(programs, answer=FEW, is_offered=True, **configuration):
    """The machine and flashwatch; when the service is not offered, flashwatch as it searches."""
    with Watched_machine(programs, answer=answer) as machine:
        machine.configure("flashwatch", {**CONFIGURATION, **configuration})
        if is_offered:
            machine.offer()
        with machine.start(expect_ready=is_offered) as process:
            yield machine, process


def check_end(process, number, code, order):
    assert process.end(number) == code, process.text()
    text, at = process.text(), 0
    for each in order:
        at = text.find(each, at) + 1
        assert at, f"'{each}' does not follow in:\n{text}"
    assert text.count(TERMINATING) == text.count(FINISHED) == (code == 0) and text.count(SHUTDOWN) == 1, text


def during_the_search(programs, number):
    with running(programs, is_offered=False) as (_, process):
        process.await_text(SEARCHED)
        check_end(process, number, 1, [
            SEARCHED, "debug Find proxy operation interrupted", RUNNING, *FAILED_END(NOT_FOUND)])


def during_a_wait(programs, number):
    with running(programs) as (_, process):
        check_end(process, number, 0, [RUNNING, *NORMAL_END, "COMM info Withdrew"])


def during_a_call(programs, number):
    """A tester's call waits for the statistics, and the shutdown's call behind it."""
    with running(programs, None) as (machine, process), machine.client() as client:
        client.send(message(REPORT, 1))
        machine.node.await_requests(1)
        process.child.send_signal(number)
        process.await_text(SHUTDOWN)
        machine.answer = FEW
        machine.node.release()
        check_end(process, number, 0, NORMAL_END)  # a second signal changes nothing


def during_the_last_call(programs, answers):
    with running(programs, None) as (machine, process):
        started = time.monotonic()
        process.child.send_signal(signal.SIGTERM)
        machine.node.await_requests(1)
        if answers:
            machine.answer = FEW
            machine.node.release()
        check_end(process, signal.SIGINT, *((0, NORMAL_END) if answers else (1, FAILED_END(
            METHOD + f"no answer within {RESPONSE_TIME_MS} ms"))))
        assert time.monotonic() - started < RESPONSE_TIME_MS / 1000 + SLACK_S


def stopped_while_nothing_is_answered(programs, callers):
    """Callers queue for the statistics, each for the response time; the shutdown is the last of them."""
    with running(programs, None) as (machine, process):
        readers = [threading.Thread(target=machine.read, args=((REPORT, EXCEEDANCE)[each % 2],))
                   for each in range(callers)]
        for reader in readers:
            reader.start()
        machine.node.await_requests(1)
        started = time.monotonic()
        check_end(process, signal.SIGTERM, 1, FAILED_END(METHOD + f"no answer within {RESPONSE_TIME_MS} ms"))
        assert time.monotonic() - started < (callers + 1) * RESPONSE_TIME_MS / 1000 + SLACK_S
        for reader in readers:
            reader.join()


def without_statistics_at_the_end(programs):
    with running(programs) as (machine, process):
        machine.withdraw(silent=True)
        check_end(process, signal.SIGTERM, 1, FAILED_END(
            METHOD + f"cannot connect to {machine.network}101:30501: Connection refused"))


def with_less(programs, changes, missing):
    """What the configuration switches off."""
    with running(programs, **changes) as (_, process):
        check_end(process, signal.SIGTERM, 0, [RUNNING, *NORMAL_END])
        assert missing not in process.text(), process.text()


def fails(programs, configuration, changes, error):
    with Watched_machine(programs) as machine:
        machine.configure("flashwatch", configuration)
        machine.manifest.update(changes)
        with machine.start(expect_ready=False) as process:
            assert process.wait() == 1, process.text()
            if changes:
                error = f"machine manifest {process.directory.name}/machine.json: {error}"
            lines = [line.split(" ", 2)[2] for line in process.text().split("\n") if " error " in line]
            assert lines == ["COMM error " + REFUSED] * (error == REFUSED) + ["DFLT " + FAILURE.format(error)], lines
            assert "Application state" not in process.text() and FINISHED not in process.text()


def rows(programs):
    for test in (during_the_search, during_a_wait, during_a_call):
        for number in SIGNALS:
            yield f"{number.name} {test.__name__}", partial(test, programs, number)
    for answers in (True, False):
        yield f"during the last call, answered: {answers}", partial(during_the_last_call, programs, answers)
    yield "stopped in vain behind 4", partial(stopped_while_nothing_is_answered, programs, 4)
    yield "without statistics at the end", partial(without_statistics_at_the_end, programs)
    for row in (({"own_instance_id": ""}, "Offered"), ({"log_period": 0}, "will be used for periodic")):
        yield f"without {row[1]}", partial(with_less, programs, *row)
    for row in FAILURES:
        yield row[2], partial(fails, programs, *row)
