# SPDX-License-Identifier: Apache-2.0
"""How flashwatch ends: by each signal it handles, in each phase, and within which time."""
import signal
import threading
import time
from functools import partial

from machine import CONFIGURATION, EXCEEDANCE, REPORT, RESPONSE_TIME_MS, Watched_machine, statistics
from someip_client import message

NEEDS_ETC = True
FEW = {"alpha": (0, 1, 2, 0, 3, 4, 5, 6)}
SIGNALS = (signal.SIGTERM, signal.SIGINT, signal.SIGABRT)
SEARCHED = "debug FindService(\" persistency_statistics \")-> 0"
RUNNING, TERMINATING = (f"debug Application state: {state} reported with success" for state in (0, 1))
SHUTDOWN, FINISHED = "debug Shutdown will proceed", "debug Application finished"
LIMITS = "DATA info alpha year limits(5, 6) acc limits(5, 6) year in use(1)"
DATA = "DATA info alpha session(1, 2) total(3, 4) budget(2, 3)"
FAILURE = "error Exception: {} caught - application will terminate"
METHOD = "method get_KVS_statistics of orvel::persistency::statistics: "
NO_ANSWER = METHOD + f"no answer within {RESPONSE_TIME_MS} ms"
NOT_FOUND = 'get_KVS_statistics: statistics service "persistency_statistics" was not found before the search ended'
NORMAL_END = [SHUTDOWN, LIMITS, DATA, TERMINATING, FINISHED, "COMM info Withdrew"]
FAILED_END = lambda text: [SHUTDOWN, "COMM info Withdrew", FAILURE.format(text)]
SLACK_S = 3  # for a machine that is busy


def check_order(process, words):
    text, at = process.text(), 0
    for each in words:
        found = text.find(each, at)
        assert found >= 0, f"'{each}' does not follow in:\n{text}"
        at = found + len(each)


def check_end(process, number, code, order):
    assert process.end(number) == code, process.text()
    check_order(process, order)
    text = process.text()
    assert text.count(TERMINATING) == text.count(FINISHED) == (code == 0) and text.count(SHUTDOWN) == 1, text


def during_the_search(new_machine, number):
    with new_machine() as machine, machine.start(expect_ready=False) as process:
        process.await_text(SEARCHED)
        check_end(process, number, 1, [
            SEARCHED, "debug Find proxy operation interrupted", RUNNING, *FAILED_END(NOT_FOUND)])


def during_a_wait(new_machine, number):
    with new_machine(answer=statistics(FEW)) as machine:
        machine.offer()
        with machine.start() as process:
            check_end(process, number, 0, [RUNNING, *NORMAL_END])


def during_a_call(new_machine, number):
    """A tester's call waits for the statistics, and the shutdown's call behind it."""
    with new_machine() as machine:
        machine.offer()
        with machine.start() as process, machine.client() as client:
            client.send(message(REPORT, 1))
            machine.node.await_requests(1)
            process.child.send_signal(number)
            process.await_text(SHUTDOWN)
            machine.answer = statistics(FEW)
            machine.node.release()
            check_end(process, number, 0, NORMAL_END)  # a second signal changes nothing


def during_the_last_call(new_machine, answers):
    with new_machine() as machine:
        machine.offer()
        with machine.start() as process:
            started = time.monotonic()
            process.child.send_signal(signal.SIGTERM)
            machine.node.await_requests(1)
            if answers:
                machine.answer = statistics(FEW)
                machine.node.release()
            check_end(process, signal.SIGINT, *((0, NORMAL_END) if answers else (1, FAILED_END(NO_ANSWER))))
            assert time.monotonic() - started < RESPONSE_TIME_MS / 1000 + SLACK_S


def stopped_while_nothing_is_answered(new_machine, callers):
    """Callers queue for the statistics, each for the response time; the shutdown is the last of them."""
    with new_machine() as machine:
        machine.limits["response_time_ms"] = 400
        machine.offer()
        with machine.start() as process:
            readers = [threading.Thread(target=machine.read, args=((REPORT, EXCEEDANCE)[each % 2],))
                       for each in range(callers)]
            for reader in readers:
                reader.start()
            machine.node.await_requests(1)
            started = time.monotonic()
            check_end(process, signal.SIGTERM, 1, FAILED_END(METHOD + "no answer within 400 ms"))
            assert time.monotonic() - started < (callers + 1) * 0.4 + SLACK_S
            for reader in readers:
                reader.join()


def without_statistics_at_the_end(new_machine):
    with new_machine(answer=statistics(FEW)) as machine:
        machine.offer()
        with machine.start() as process:
            machine.withdraw(silent=True)
            check_end(process, signal.SIGTERM, 1, FAILED_END(
                METHOD + f"cannot connect to {machine.network}101:30501: Connection refused"))


def with_less(new_machine, changes, missing):
    """What the configuration switches off."""
    with new_machine(answer=statistics(FEW)) as machine:
        machine.configure("flashwatch", {**CONFIGURATION, **changes})
        machine.offer()
        with machine.start() as process:
            check_end(process, signal.SIGTERM, 0, [RUNNING, SHUTDOWN, LIMITS, DATA, TERMINATING, FINISHED])
            assert missing not in process.text(), process.text()


def rows(programs):
    new_machine = partial(Watched_machine, programs)
    for test in (during_the_search, during_a_wait, during_a_call):
        for number in SIGNALS:
            yield f"{number.name} {test.__name__}", partial(test, new_machine, number)
    for answers in (True, False):
        yield f"during the last call, answered: {answers}", partial(during_the_last_call, new_machine, answers)
    for callers in (1, 4):
        yield f"stopped in vain behind {callers}", partial(stopped_while_nothing_is_answered, new_machine, callers)
    yield "without statistics at the end", partial(without_statistics_at_the_end, new_machine)
    for name, *row in (("no diagnostics", {"own_instance_id": ""}, "Offered"),
                       ("no periodic logging", {"log_period": 0}, "will be used for periodic")):
        yield name, partial(with_less, new_machine, *row)
