# SPDX-License-Identifier: Apache-2.0
"""A machine with flashwatch on it: its addresses, its manifest, its /etc, and the statistics that scapy plays."""
import json
import os
import pathlib
import struct
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path[:0] = [str(ROOT / "tests/machine/support"), str(ROOT / "scripts/machine_runner")]
import surroundings  # noqa: E402
from process import Process  # noqa: E402
from someip_client import Someip_client  # noqa: E402
from someip_node import RESPONSE, Service, Someip_node  # noqa: E402

STATISTICS, REPORT, EXCEEDANCE = 24577, 24592, 24594
STATISTICS_PORT = 30501
RESPONSE_TIME_MS = 1500
ETC = pathlib.Path("/etc")
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


class Service_machine:
    """`answer`: what the statistics service answers as long as it is there; None: nothing. Only one at a time: there is
    one /etc."""

    def __init__(self, programs, scratch, answer=None):
        self.programs = programs
        self.scratch = pathlib.Path(tempfile.mkdtemp(dir=scratch))
        self.answer = answer
        self.node = None
        pid = os.getpid()
        self.network = f"127.{64 + (pid >> 8 & 0x3F)}.{pid & 0xFF}."
        self.manifest = json.loads((ROOT / "machine/etc/machine.json").read_text())
        for name in ("per", "run"):
            (self.scratch / name).mkdir()
        self.stores = self.scratch / "per"
        self.manifest["persistency"].update(root=str(self.stores), run_directory=str(self.scratch / "run"))
        for number, process in enumerate(self.manifest["processes"].values(), 1):
            process["address"] = self.network + str(number)
        self.communication = self.manifest["communication"]
        self.communication["discovery"].update(group=f"239.251.{pid >> 8 & 0xFF}.{pid & 0xFF}", port=30491)
        self.communication["limits"]["response_time_ms"] = RESPONSE_TIME_MS
        self.configure("flashwatch", CONFIGURATION)
        self.configure("scid_mapping", SCIDS)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.withdraw()

    def configure(self, name, content):
        """A file of /etc: an object, a text as it stands, or None for no file."""
        file = ETC / f"{name}.json"
        if content is None:
            file.unlink(missing_ok=True)
        else:
            file.write_text(content if isinstance(content, str) else json.dumps(content))

    def _node(self, number, services):
        discovery = self.communication["discovery"]
        return Someip_node(self.network + str(number), discovery["group"], services, discovery["port"])

    def offer(self):
        """The statistics service comes."""
        self.node = self._node(101, [Service(STATISTICS, STATISTICS_PORT, lambda _: self.answer)])

    def withdraw(self, silent=False):
        if self.node:
            self.node.end(silent)
            self.node = None

    def peer(self):
        """A node without services, to see who offers what."""
        return self._node(102, [])

    def start(self, name="flashwatch", **options):
        return Process(str(self.programs / name), name, self.manifest, **options)

    @staticmethod
    def preload(library):
        """The environment for a program that is to have that library first."""
        sanitizer = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        return {"LD_PRELOAD": library, "ASAN_OPTIONS": sanitizer}

    def client(self, service=REPORT):
        address = self.manifest["processes"]["flashwatch"]["address"]
        return Someip_client(address, {REPORT: 30510, EXCEEDANCE: 30511}[service])

    def read(self, service):
        with self.client(service) as client:
            return client.ask(service, 1)
