# SPDX-License-Identifier: Apache-2.0
"""Testers, played by scapy: what they hear of the diagnostic manager is told in words."""
import socket

from framed_stream import LIMIT, Framed_stream
from layers import DoIP, Raw

PORT = 13400
ENTITY, EVERYBODY = 0x1001, 0xE400
WORDS = {
    0x0000: "header nack {0.nack:02X}",
    0x0006: "routing {0.logical_address_tester:04X} {0.routing_activation_response:02X}",
    0x0004: "vehicle {vin} {0.logical_address:04X} {eid} {gid}", 0x0007: "alive?",
    0x4002: "status {0.node_type} {0.cur_open_sockets}/{0.max_open_sockets} {0.max_data_size}",
    0x4004: "power {0.diagnostic_power_mode}", 0x8001: "uds {uds}",
    0x8002: "ack {0.source_address:04X} {0.target_address:04X}",
    0x8003: "nack {0.source_address:04X} {0.target_address:04X} {0.nack_code:02X}"}


def describe(message):
    if not message:
        return "closed"
    doip = DoIP(message)
    assert message[0] ^ message[1] == 0xFF, message.hex()
    texts = {name: value.hex() for name, value in doip.fields.items() if name in ("eid", "gid")}
    return ("" if message[0] == 2 else f"v{message[0]} ") + WORDS[doip.payload_type].format(
        doip, vin=message[8:25].decode(errors="replace"), uds=message[12:].hex().upper(), **texts)


class Tester(Framed_stream):
    def __init__(self, address, logical):
        super().__init__(address, PORT)
        self.logical = logical

    def activate(self, kind=0):
        self.send(bytes(DoIP(payload_type=5, source_address=self.logical, activation_type=kind)))

    def be_alive(self):
        self.send(bytes(DoIP(payload_type=8, source_address=self.logical)))

    def join(self):
        self.activate()
        heard = self.hear()
        assert heard == f"routing {self.logical:04X} 10", heard

    def diagnosis(self, data, target=ENTITY):
        return bytes(DoIP(payload_type=0x8001, source_address=self.logical, target_address=target) / Raw(data))

    def hear(self):
        """The next message, or "closed"."""
        return describe(self.next_message())

    def hear_final(self):
        """The next message that is neither an acknowledgement nor a pending response."""
        while (heard := self.hear()).startswith("ack") or heard == "uds 7F2278":
            pass
        return heard

    def read(self, identifiers):
        """Identifiers are given as hexadecimal digits."""
        self.send(self.diagnosis(bytes.fromhex("22" + identifiers)))
        return self.hear_final()


class Datagrams:
    """The tester's side of discovery, hearing what comes to its `own` address."""

    def __init__(self, own=("127.0.0.1", 0)):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        for option in (socket.SO_REUSEADDR, socket.SO_BROADCAST):
            self.socket.setsockopt(socket.SOL_SOCKET, option, 1)
        self.socket.bind(own)
        self.socket.settimeout(LIMIT)
        self.close = self.socket.close

    def send(self, data, to):
        self.socket.sendto(bytes.fromhex(data), (to, PORT))

    def hear(self):
        return describe(self.socket.recv(65536))
