#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The statistics service as a process, asked by an independent stack. Arguments: the service, the manifest, a writer."""
import json
import os
import pathlib
import resource
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
from someip_client import Someip_client, describe, message  # noqa: E402

LIMIT_S = 20
SERVICE, MANIFEST, WRITER = sys.argv[1:4]
MANY = 1000
ADDRESS = f"127.{os.getpid() >> 8 & 0xFF}.{os.getpid() & 0xFF}."


class Machine:
    """A manifest and folders of its own, and the service running on them."""

    def __init__(self, folder, budget):
        self.folder, self.stores = folder, folder / "per"
        manifest = json.loads(pathlib.Path(MANIFEST).read_text())
        for name in ("per", "run"):
            (folder / name).mkdir()
        manifest["persistency"].update(root=str(self.stores), run_directory=str(folder / "run"), **budget)
        for number, process in enumerate(manifest["processes"].values(), 1):
            process["address"] = ADDRESS + str(number)
        manifest["communication"]["discovery"].update(group="239.250.1.1", port=20000 + os.getpid() % 10000)
        (folder / "machine.json").write_text(json.dumps(manifest))
        self.notify = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.notify.bind(str(folder / "notify"))
        self.notify.settimeout(LIMIT_S)
        self.environment = {**os.environ, "ARA_MACHINE_MANIFEST": str(folder / "machine.json"),
                            "NOTIFY_SOCKET": str(folder / "notify"), "DLT_PIPE_DIR": str(folder)}

    def start(self, program, **more):
        return subprocess.Popen([program], env=self.environment, stdout=subprocess.PIPE, text=True, **more)

    def wait_for(self, state):
        assert self.notify.recv(4096).decode().split("\n")[0] == state


def ask():
    """All statistics: a dictionary of the eight numbers of each application, in the order of the wire."""
    with Someip_client(ADDRESS + "1", 30501) as peer:
        peer.send(message(24577, 1, b"", session=9))
        data = peer.hear()
    assert describe(data).startswith("80/00") and data[10:12] == b"\0\x09", data[:40].hex()
    at, statistics = 24, {}
    assert struct.unpack_from(">II", data, 16) == (len(data) - 20, len(data) - 24)
    while at < len(data):
        size = struct.unpack_from(">I", data, at)[0]
        key = data[at + 7:at + 3 + size].decode()
        assert struct.unpack_from(">I", data, at + 4 + size)[0] == 4 + size + 64
        at += 8 + size
        assert data[at + 7:at + 3 + size].decode() == key
        statistics[key] = struct.unpack_from(">8Q", data, at + 4 + size)
        at += 4 + size + 64
    return statistics


def main(folder):
    machine = Machine(folder, {"default_budget": {"soft": 5, "hard": 6}, "budgets": {"copy_7": {"soft": 70, "hard": 71}}})
    with machine.start(WRITER) as writer:
        machine.wait_for("READY=1")
        writer.terminate()
    machine.wait_for("STOPPING=1")
    for number in range(MANY - 1):
        shutil.copytree(machine.stores / "navigation", machine.stores / f"copy_{number}")
    few = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))
    with machine.start(SERVICE, preexec_fn=few) as service:
        try:
            machine.wait_for("READY=1")
            answers = []
            askers = [threading.Thread(target=lambda: answers.append(ask())) for _ in range(8)]
            for asker in askers:
                asker.start()
            for asker in askers:
                asker.join()
            first = answers[0]
            assert len(answers) == 8 and all(answer == first for answer in answers)
            assert len(first) == MANY
            session, total = first["navigation"][0:3], first["navigation"][3:6]
            assert session == total and total[2] == 5 and total[1] > 0, first["navigation"]
            # Without counters there is what the store says: everything until its last commit.
            copy = first["copy_8"]
            assert copy[:4] == (0, 0, 0, 0) and 0 < copy[4] < total[1] and copy[5:] == (5, 5, 6), copy
            assert first["copy_7"] == (*copy[:6], 70, 71)

            shutil.rmtree(machine.stores / "copy_0")
            shutil.copytree(machine.stores / "navigation", machine.stores / "new")
            (machine.stores / "bad").mkdir()
            (machine.stores / "bad/store.db").write_bytes(b"no store at all" * 500)
            for _ in range(2):
                later = ask()
                assert set(later) == set(first) - {"copy_0"} | {"new", "bad"}
                assert later["bad"] == (0, 0, 0, 0, 0, 0, 5, 6) and later["new"] == copy
        finally:
            service.send_signal(signal.SIGTERM)
            machine.wait_for("STOPPING=1")
            log = service.communicate(timeout=LIMIT_S)[0]
    assert service.returncode == 0, log
    for text, count in (("any more: copy_0\n", 1), ("new storage: new\n", 1), ("bad/store.db", 1), ("finished\n", 1)):
        assert log.count(text) == count, f"'{text}' is not there {count} times in:\n{log}"


def a_wrong_manifest_ends_it(folder):
    machine = Machine(folder, {"default_budget": {"soft": 5}})
    with machine.start(SERVICE) as service:
        log = service.communicate(timeout=LIMIT_S)[0]
    assert service.returncode == 1 and log.count("\n") == 1, log
    assert "machine.json: persistency.default_budget.hard is missing" in log, log


if __name__ == "__main__":
    for row in (main, a_wrong_manifest_ends_it):
        # In memory where there is such a place: a disk takes its time over a thousand folders.
        with tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None) as scratch:
            row(pathlib.Path(scratch))
