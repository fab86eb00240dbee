# SPDX-License-Identifier: Apache-2.0
"""A machine of this test's own: addresses, manifest, storages, the /etc, and the services that scapy plays."""
import contextlib
import json
import os
import pathlib
import struct
import tempfile

from process import Process
from someip_client import Someip_client
from someip_node import RESPONSE

ROOT = pathlib.Path(__file__).resolve().parents[3]
STATISTICS, REPORT, EXCEEDANCE = 24577, 24592, 24594
PORTS = {STATISTICS: 30501, REPORT: 30510, EXCEEDANCE: 30511}
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # a disk takes its time over a thousand folders
SCIDS = {"mappings": [{"app_name": name, "scid": scid} for name, scid in (
    ("flashwatch", 0x1000), ("alpha", 0x1234), ("omega", 0xFFFFFFFFFFFFFFFF))]}


def text(characters):
    return sized(b"\xEF\xBB\xBF" + characters.encode() + b"\0")


def sized(data, off=0):
    return struct.pack(">I", len(data) + off) + data


def statistics(applications, crowd=0, record=0, entries=0, whole=0):
    """The answer for {name: eight numbers}, with a crowd of others, and length fields that are off."""
    pairs = b"".join(text(name) + sized(text(name) + struct.pack(">8Q", *numbers), record)
                     for name, numbers in [*applications.items(), *((f"app_{i:04}", [i] * 8) for i in range(crowd))])
    return RESPONSE, 0, sized(sized(pairs, entries), whole)


class Machine(contextlib.AbstractContextManager):
    def __init__(self, programs):
        self.programs = programs
        self.folder = tempfile.TemporaryDirectory(dir=MEMORY)
        self.scratch = pathlib.Path(self.folder.name)
        self.stores = self.scratch / "per"
        for name in ("per", "run"):
            (self.scratch / name).mkdir()
        self.manifest = json.loads((ROOT / "machine/etc/machine.json").read_text())
        self.manifest["persistency"].update(root=str(self.stores), run_directory=str(self.scratch / "run"))
        pid = os.getpid()
        self.network = f"127.{64 + (pid >> 8 & 0x3F)}.{pid & 0xFF}."
        for number, process in enumerate(self.manifest["processes"].values(), 1):
            process["address"] = self.network + str(number)
        communication = self.manifest["communication"]
        communication["discovery"].update(group=f"239.251.{pid >> 8 & 0xFF}.{pid & 0xFF}", port=30491)
        communication["limits"]["response_time_ms"] = 1500

    def __exit__(self, *_):
        self.folder.cleanup()

    @staticmethod
    def configure(configuration):
        """flashwatch's files: only one machine at a time has them in /etc."""
        for name, content in (("flashwatch", configuration), ("scid_mapping", SCIDS)):
            pathlib.Path(f"/etc/{name}.json").write_text(json.dumps(content))

    def address(self, name="flashwatch"):
        return self.manifest["processes"][name]["address"]

    def start(self, name="flashwatch", **options):
        return Process(str(self.programs / name), name, self.manifest, **options)

    def client(self, service=REPORT, process="flashwatch"):
        return Someip_client(self.address(process), PORTS[service])

    def read(self, service):
        with self.client(service) as client:
            return client.ask(service, 1)
