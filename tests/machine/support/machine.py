# SPDX-License-Identifier: Apache-2.0
"""A machine of this test's own: addresses, manifest, storages, the /etc, and the services that scapy plays."""
import json
import os
import pathlib
import struct
import tempfile

from process import Process
from someip_client import Someip_client
from someip_node import RESPONSE, Service, Someip_node

ROOT = pathlib.Path(__file__).resolve().parents[3]
STATISTICS, REPORT, EXCEEDANCE = 24577, 24592, 24594
PORTS = {STATISTICS: 30501, REPORT: 30510, EXCEEDANCE: 30511}
RESPONSE_TIME_MS = 1500
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # a disk takes its time over a thousand folders
CONFIGURATION = {"pm_instance_id": "persistency_statistics", "own_instance_id": "flashwatch_diagnostics",
                 "log_period": 1}
SCIDS = {"mappings": [{"app_name": name, "scid": scid} for name, scid in (
    ("flashwatch", 0x1000), ("alpha", 0x1234), ("omega", 0xFFFFFFFFFFFFFFFF))]}


def text(characters):
    data = b"\xEF\xBB\xBF" + characters.encode() + b"\0"
    return struct.pack(">I", len(data)) + data


def sized(data, off=0):
    return struct.pack(">I", len(data) + off) + data


def statistics(applications, appended=b"", record=0, entries=0, whole=0):
    """The answer for {name: eight numbers}, with bytes appended to each record, and length fields that are off."""
    pairs = b"".join(text(name) + sized(text(name) + struct.pack(">8Q", *numbers) + appended, record)
                     for name, numbers in applications.items())
    return RESPONSE, 0, sized(sized(pairs, entries), whole)


class Machine:
    """`answer`: what the played statistics service answers as long as it is there; None: nothing."""

    def __init__(self, programs, answer=None):
        self.programs, self.answer, self.node = programs, answer, None
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
        self.discovery, self.limits = (self.manifest["communication"][name] for name in ("discovery", "limits"))
        self.discovery.update(group=f"239.251.{pid >> 8 & 0xFF}.{pid & 0xFF}", port=30491)
        self.limits["response_time_ms"] = RESPONSE_TIME_MS

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.withdraw()
        self.folder.cleanup()

    def address(self, name="flashwatch"):
        return self.manifest["processes"][name]["address"]

    def played(self, number, services):
        return Someip_node(self.network + str(number), self.discovery["group"], services, self.discovery["port"])

    def offer(self):
        """The statistics service comes."""
        self.node = self.played(101, [Service(STATISTICS, PORTS[STATISTICS], lambda _: self.answer)])

    def withdraw(self, silent=False):
        if self.node:
            self.node.end(silent)
            self.node = None

    def start(self, name="flashwatch", **options):
        return Process(str(self.programs / name), name, self.manifest, **options)

    def client(self, service=REPORT, process="flashwatch"):
        return Someip_client(self.address(process), PORTS[service])

    def read(self, service):
        with self.client(service) as client:
            return client.ask(service, 1)


class Watched_machine(Machine):
    """With flashwatch's files in /etc: only one at a time."""

    def __init__(self, *arguments, **options):
        super().__init__(*arguments, **options)
        self.configure("flashwatch", CONFIGURATION)
        self.configure("scid_mapping", SCIDS)

    @staticmethod
    def configure(name, content):
        pathlib.Path(f"/etc/{name}.json").write_text(json.dumps(content))

    @staticmethod
    def preload(library):
        """The environment for a program that is to have that library first."""
        sanitizer = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        return {"LD_PRELOAD": library, "ASAN_OPTIONS": sanitizer}
