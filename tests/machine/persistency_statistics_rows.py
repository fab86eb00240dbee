# SPDX-License-Identifier: Apache-2.0
"""The statistics service as a process, asked by an independent stack."""
import re
import resource
import shutil
import struct
from concurrent.futures import ThreadPoolExecutor
from functools import partial

from machine import STATISTICS, Machine
from someip_client import describe, message

NAME = "persistency_statistics"
MANY, ASKERS = 1000, 8
BUDGETS = {"default_budget": {"soft": 5, "hard": 6}, "budgets": {"copy_7": {"soft": 70, "hard": 71}}}
RUN_AT, GREAT = 64, ((1 << 64) - 1, 1 << 63, (1 << 53) + 1)  # what ran, in a file of counters: read, write, setvalue
NO_TEXT = b"\xFF".decode(errors="surrogateescape")  # a file's name, but no id of an application


def answer(machine):
    with machine.client(STATISTICS, NAME) as peer:
        peer.send(message(STATISTICS, 1, b""))
        return peer.next_message()


def ask(machine):
    """All statistics: the eight numbers of each application, in the order of the wire."""
    data = answer(machine)
    assert describe(data).startswith("80/00"), data[:40].hex()
    # key, length of the record, length of its id, which is the same text, and the numbers
    found = re.findall(rb"\xEF\xBB\xBF([^\0]+)\0.{8}\xEF\xBB\xBF\1\0(.{64})", data, re.DOTALL)
    return {key.decode(): struct.unpack(">8Q", numbers) for key, numbers in found}


def many_storages(programs):
    with Machine(programs) as machine:
        machine.manifest["persistency"].update(BUDGETS)
        with machine.start("sample_navigation") as writer:
            writer.end()
        [counters] = (machine.scratch / "run/navigation").glob("*.counters")
        content = counters.read_bytes()
        counters.write_bytes(content[:RUN_AT] + struct.pack("=3Q", *GREAT))
        copy_to = lambda name: shutil.copytree(machine.stores / "navigation", machine.stores / name)
        for number in range(MANY - 1):
            copy_to(f"copy_{number}")
        few = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))
        with machine.start(NAME, prepare=few) as service, ThreadPoolExecutor(ASKERS) as pool:
            first, *others = pool.map(lambda _: ask(machine), range(ASKERS))
            assert len(first) == MANY and all(other == first for other in others)
            assert first["navigation"][:6] == GREAT * 2, first["navigation"]
            # Without counters there is what the store says: everything until its last commit.
            copy = first["copy_8"]
            assert copy[:4] == (0, 0, 0, 0) and copy[4] > 0 and copy[5:] == (5, 5, 6), copy
            assert first["copy_7"] == (*copy[:6], 70, 71)

            shutil.rmtree(machine.stores / "copy_0")
            for name in ("new", NO_TEXT):
                copy_to(name)
            (machine.stores / "copy_9/store.db").write_bytes(b"who has been looked into is not read again")
            (machine.stores / "bad").mkdir()
            (machine.stores / "bad/store.db").write_bytes(b"no store at all" * 500)
            for _ in range(2):
                later = ask(machine)
                assert set(later) == set(first) - {"copy_0"} | {"new", "bad"}, set(later) ^ set(first)
                assert later["bad"] == (0, 0, 0, 0, 0, 0, 5, 6) and later["new"] == later["copy_9"] == copy

            away = machine.stores.rename(machine.scratch / "away")
            for _ in range(2):
                refused = describe(answer(machine))
                assert refused.startswith("81/01"), refused  # and not: no applications
            away.rename(machine.stores)
            assert ask(machine) == later
            assert service.end() == 0, service.text()
        for words in ("storages cannot be read:", "any more: copy_0\n", "new storage: new\n", "bad/store.db", "finished\n"):
            assert service.text().count(words) == 1, f"'{words}' is not there once in:\n{service.text()}"


def rows(programs):
    yield f"{MANY} storages", partial(many_storages, programs)
