# SPDX-License-Identifier: Apache-2.0
"""Testers, played by scapy: what they hear of the diagnostic manager is told in words."""
import socket
import struct

from scapy.config import conf

conf.ipv6_enabled = False
from scapy.contrib.automotive.doip import DoIP  # noqa: E402
from scapy.contrib.automotive.uds import UDS, UDS_RDBI  # noqa: E402
from scapy.packet import Raw  # noqa: E402

LIMIT = 10  # seconds for whatever is waited for
ENTITY, EVERYBODY = 0x1001, 0xE400


def describe(message):
    doip = DoIP(message)
    assert message[0] ^ message[1] == 0xFF, message.hex()
    return ("" if message[0] == 2 else f"v{message[0]} ") + {
        0x8001: lambda: "uds " + message[12:].hex().upper(),
        0x0000: lambda: f"header nack {doip.nack:02X}",
        0x0004: lambda: f"vehicle {doip.vin.decode()} {doip.logical_address:04X} {doip.eid.hex()} {doip.gid.hex()}",
        0x0006: lambda: f"routing {doip.logical_address_tester:04X} {doip.routing_activation_response:02X}",
        0x0007: lambda: "alive?",
        0x4002: lambda: f"status {doip.node_type} {doip.cur_open_sockets}/{doip.max_open_sockets} {doip.max_data_size}",
        0x4004: lambda: f"power {doip.diagnostic_power_mode}",
        0x8002: lambda: f"ack {doip.source_address:04X} {doip.target_address:04X}",
        0x8003: lambda: f"nack {doip.source_address:04X} {doip.target_address:04X} {doip.nack_code:02X}",
    }[doip.payload_type]()


def read_request(identifiers):
    return bytes(UDS() / UDS_RDBI(identifiers=identifiers))


class Tester:
    def __init__(self, address, logical=0x0E80):
        self.logical, self.buffered = logical, b""
        self.socket = socket.create_connection((address, 13400), LIMIT)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def close(self, abruptly=False):
        if abruptly:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()

    def send(self, data):
        try:
            self.socket.sendall(data)
        except OSError:
            pass  # what has become of the connection is heard

    def activate(self, kind=0):
        self.send(bytes(DoIP(payload_type=5, source_address=self.logical, activation_type=kind)))

    def join(self):
        self.activate()
        heard = self.hear()
        assert heard == f"routing {self.logical:04X} 10", heard

    def diagnosis(self, data, target=ENTITY):
        return bytes(DoIP(payload_type=0x8001, source_address=self.logical, target_address=target) / Raw(data))

    def be_alive(self):
        self.send(bytes.fromhex(f"02FD000800000002{self.logical:04X}"))

    def hear(self):
        """The next message, "closed", or "nothing"."""
        while len(self.buffered) < 8 or len(self.buffered) < 8 + struct.unpack_from(">I", self.buffered, 4)[0]:
            try:
                part = self.socket.recv(65536)
            except ConnectionError:
                part = b""
            except TimeoutError:
                return "nothing"
            if not part:
                return "closed"
            self.buffered += part
        size = 8 + struct.unpack_from(">I", self.buffered, 4)[0]
        message, self.buffered = self.buffered[:size], self.buffered[size:]
        return describe(message)

    def hear_final(self):
        """The next message that is neither an acknowledgement nor a pending response."""
        while (heard := self.hear()).startswith("ack") or heard == "uds 7F2278":
            pass
        return heard

    def read(self, identifiers):
        self.send(self.diagnosis(read_request(identifiers)))
        return self.hear_final()


class Discoverer:
    """The tester's side of discovery, hearing what comes to its `own` address."""

    def __init__(self, own=("127.0.0.1", 0)):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        for option in (socket.SO_REUSEADDR, socket.SO_BROADCAST):
            self.socket.setsockopt(socket.SOL_SOCKET, option, 1)
        self.socket.bind(own)
        self.socket.settimeout(LIMIT)

    def send(self, data, to):
        self.socket.sendto(bytes.fromhex(data), (to, 13400))

    def hear(self):
        try:
            return describe(self.socket.recv(65536))
        except TimeoutError:
            return "nothing"

    def close(self):
        self.socket.close()
