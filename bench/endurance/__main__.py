# SPDX-License-Identifier: Apache-2.0
"""The last step of bench/soak, which describes it: brings a machine up in the network namespace it is started in, and
wears it out."""
import argparse
import contextlib
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import traceback

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(1, str(ROOT / "tests/machine/support"))
subprocess.run(["ip", "link", "set", "lo", "up"], check=True)  # before scapy looks at it
from driver import own_etc  # noqa: E402
from machine import MEMORY  # noqa: E402; also lets the runner's modules be found
import dlt  # noqa: E402
import kernel  # noqa: E402
from crowd import TESTERS, Crowd  # noqa: E402
from trials import TRIALS, VANISHING, await_event, await_rest  # noqa: E402
from whole_machine import FLASHWATCH, MANAGER, STATISTICS, Whole_machine  # noqa: E402

WARM_UP_ROUNDS = 500
# A short stop is only waited for; after the long one flashwatch and testers have given up waiting.
STOPS_S = (1, 6)
RESPONSE_TIME_MS = 2500
CALM_S = 2  # in which no read may fail
MOST_GROWTH_KIB = 2048


@contextlib.contextmanager
def log_daemon(directory):
    """The environment of those who log there. It is not in our process group: to one that loses its terminal while a
    process of it is stopped, the kernel sends SIGHUP, and only this process would heed it."""
    directory.mkdir()
    port, settings = dlt.Port(), dlt.write_settings(directory)
    with subprocess.Popen(["dlt-daemon", "-c", settings, "-t", directory, "-p", str(port.number)], cwd=directory,
                          preexec_fn=kernel.kill_with_parent, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, start_new_session=True) as daemon:
        try:
            await_event(lambda: dlt.is_up(directory, port.number), "the log daemon")
            yield {"DLT_PIPE_DIR": str(directory)}
            assert daemon.poll() is None, "the log daemon ended"
        finally:
            daemon.terminate()


def stop_and_continue(machine, name, seconds):
    machine.processes[name].stop()
    time.sleep(seconds)
    machine.processes[name].child.send_signal(signal.SIGCONT)


def disturb(machine, number):
    way, whom = divmod(number, 2)
    name = (STATISTICS, MANAGER)[whom]
    (lambda: machine.restart(name, signal.SIGKILL), lambda: stop_and_continue(machine, name, STOPS_S[0]),
     lambda: machine.restart(name, signal.SIGTERM), lambda: stop_and_continue(machine, name, STOPS_S[1]))[way % 4]()


def footprints_at_rest(machine):
    """And whether it came to rest and can be read; what is wrong is printed."""
    try:
        return await_rest(machine), True
    except AssertionError as failure:
        print(f"soak: {failure}", flush=True)
        return machine.footprints(), False


def change(before, after):
    return f"{before:,}" if before == after else f"{before:,} → {after:,}"


def has_grown(before, after):
    return after[FLASHWATCH].kib > before[FLASHWATCH].kib + MOST_GROWTH_KIB


def soak(machine, minutes):
    with Crowd(machine) as crowd:
        crowd.await_rounds(WARM_UP_ROUNDS)
    before, was_fine = footprints_at_rest(machine)
    number, longest, started = 0, 0, time.monotonic()
    with Crowd(machine) as crowd:
        while time.monotonic() < started + 60 * minutes and not crowd.faults:
            crowd.disturbed = True
            disturb(machine, number)
            number, since = number + 1, time.monotonic()
            crowd.await_rounds(1)
            longest = max(longest, time.monotonic() - since)
            crowd.disturbed = False
            time.sleep(CALM_S)
    took = time.monotonic() - started
    after, is_fine = footprints_at_rest(machine)
    print(f"{took / 60:.1f} minutes, {TESTERS} testers: {2 * sum(crowd.rounds):,} reads done, "
          f"{crowd.failures.total():,} failed; {number:,} disturbances, at most {longest:.1f} s after one until every "
          "tester had read again\n\n| failed with | reads |\n|---|---|")
    for reason, count in crowd.failures.most_common():
        print(f"| {reason} | {count:,} |")
    print("\n| process | resident KiB | descriptors | threads |\n|---|---|---|---|")
    for name in before:
        print(f"| {name} | " + " | ".join(map(change, before[name], after[name])) + " |")
    print(*crowd.faults, sep="\n")
    return was_fine and is_fine and not crowd.faults and not has_grown(before, after)


def peers(machine, count):
    counts = {"requests": 20 * count, "listen": count // 20, "descriptors": count // 50, "vanish": 1}
    names = list(machine.at_rest)
    print(f"| trial | count | reads that worked | resident KiB of {', '.join(names)} | descriptors | threads | withstood |\n"
          "|---|---|---|---|---|---|---|", flush=True)
    all_fine = True
    for name, trial in {**TRIALS, **VANISHING}.items():
        times = max(1, next((number for word, number in counts.items() if word in name), count))
        before = machine.footprints()
        try:
            reads, is_fine = trial(machine, times), True
        except Exception:
            print(traceback.format_exc(), flush=True)
            reads, is_fine = 0, False
        after, is_back = footprints_at_rest(machine)
        is_fine = is_fine and is_back and not has_grown(machine.at_rest, after)
        cells = [", ".join(map(change, [before[each][field] for each in names], [after[each][field] for each in names]))
                 for field in range(3)]
        print(f"| {name} | {times:,} | {reads + is_back:,} | " + " | ".join(cells) + f" | {'yes' if is_fine else '**no**'} |",
              flush=True)
        all_fine = all_fine and is_fine
    return all_fine


def main(options):
    with own_etc(), tempfile.TemporaryDirectory(dir=MEMORY) as folder, \
            log_daemon(pathlib.Path(folder) / "dlt") as variables:
        machine = Whole_machine(options.programs, variables)
        if options.minutes is not None:
            machine.communication["limits"]["response_time_ms"] = RESPONSE_TIME_MS
        with machine:
            return 0 if (peers(machine, options.peers) if options.peers else soak(machine, options.minutes)) else 1


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--programs", type=pathlib.Path, required=True)
    parser.add_argument("--minutes", type=float)
    parser.add_argument("--peers", type=int)
    sys.exit(main(parser.parse_args()))
