# SPDX-License-Identifier: Apache-2.0
"""A tester, played by scapy: what it hears of the diagnostic manager is told in words."""
import socket
import struct

from scapy.config import conf

conf.ipv6_enabled = False
from scapy.contrib.automotive.doip import DoIP  # noqa: E402
from scapy.contrib.automotive.uds import UDS, UDS_RDBI  # noqa: E402
from scapy.packet import Raw  # noqa: E402

LIMIT = 10  # seconds for whatever is waited for
ENTITY, EVERYBODY = 0x1001, 0xE400


def activation(address, kind=0, version=2):
    return bytes(DoIP(protocol_version=version, inverse_version=version ^ 0xFF, payload_type=5,
                      source_address=address, activation_type=kind))


def diagnosis(address, target, data):
    return bytes(DoIP(payload_type=0x8001, source_address=address, target_address=target) / Raw(data))


def read_request(identifiers):
    return bytes(UDS() / UDS_RDBI(identifiers=identifiers))


def describe(message):
    doip = DoIP(message)
    if doip.payload_type == 0x8001:
        return "uds " + message[12:].hex().upper()
    return {
        0x0000: lambda: f"header nack {doip.nack:02X}",
        0x0004: lambda: f"vehicle {doip.vin.decode()} {doip.logical_address:04X} {doip.eid.hex()} {doip.gid.hex()}",
        0x0006: lambda: f"routing {doip.logical_address_tester:04X} {doip.routing_activation_response:02X}",
        0x0007: lambda: "alive?",
        0x4002: lambda: f"status {doip.node_type} {doip.cur_open_sockets}/{doip.max_open_sockets} {doip.max_data_size}",
        0x4004: lambda: f"power {doip.diagnostic_power_mode}",
        0x8002: lambda: f"ack {doip.source_address:04X} {doip.target_address:04X}",
        0x8003: lambda: f"nack {doip.source_address:04X} {doip.target_address:04X} {doip.nack_code:02X}",
    }[doip.payload_type]()


class Tester:
    def __init__(self, address, logical=0x0E80):
        self.logical = logical
        self.buffered = b""
        self.version = 2
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
        self.send(activation(self.logical, kind))

    def ask(self, data, target=ENTITY):
        self.send(diagnosis(self.logical, target, data))

    def hear(self):
        """The next message, or "closed"."""
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
        self.version = message[0]
        return describe(message)

    def read(self, identifiers):
        self.ask(read_request(identifiers))
        return self.hear_final()

    def hear_final(self):
        """The next message that is neither an acknowledgement nor a pending response."""
        while True:
            heard = self.hear()
            if not heard.startswith("ack") and heard != "uds 7F2278":
                return heard


class Discoverer:
    """The tester's side of discovery."""

    def __init__(self, entity, own=("127.0.0.1", 0)):
        self.entity = entity
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
        self.socket.bind(own)
        self.socket.settimeout(LIMIT)

    def send(self, data, to=None):
        self.socket.sendto(data, (to or self.entity, 13400))

    def hear(self):
        try:
            return describe(self.socket.recv(65536))
        except TimeoutError:
            return "nothing"

    def close(self):
        self.socket.close()
