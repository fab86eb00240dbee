# SPDX-License-Identifier: Apache-2.0
"""A DoIP entity that follows a script: it plays the machine for the tool's tests."""
import socket
import struct
import threading

ENTITY, TESTER = 0x1001, 0x0E80


def frame(kind, payload=b"", version=2):
    return struct.pack(">BBHI", version, version ^ 0xFF, kind, len(payload)) + payload


def activation(code=0x10, tester=TESTER, entity=ENTITY):
    return frame(6, struct.pack(">HHBI", tester, entity, code, 0))


def ack():
    return frame(0x8002, struct.pack(">HHB", ENTITY, TESTER, 0))


def nack(code):
    return frame(0x8003, struct.pack(">HHB", ENTITY, TESTER, code))


def uds(data, source=ENTITY, target=TESTER):
    return frame(0x8001, struct.pack(">HH", source, target) + data)


def negative(code):
    return ack() + uds(bytes((0x7F, 0x22, code)))


def record(*entries, count=None, tail=b""):
    """The record of 0x17F0; an entry is (scid, soft limit, total, session)."""
    counted = min(len(entries) % 256, 15) if count is None else count
    return bytes((counted,)) + b"".join(struct.pack(">4Q", *entry) for entry in entries) + tail


def report(data):
    return ack() + uds(b"\x62\x17\xf0" + data)


def flag(value):
    return ack() + uds(b"\x62\x17\xf2" + bytes((value,)))


ALIVE_CHECK = frame(7)
ALIVE_ANSWER = frame(8, struct.pack(">H", TESTER))
ACTIVATE = frame(5, struct.pack(">HBI", TESTER, 0, 0))
READ_REPORT = frame(0x8001, struct.pack(">HH", TESTER, ENTITY) + b"\x22\x17\xf0")
READ_FLAG = frame(0x8001, struct.pack(">HH", TESTER, ENTITY) + b"\x22\x17\xf2")


def figures(data, exceeded):
    """The steps of a reading that goes well; a connection's script begins with `activated`."""
    return [(READ_REPORT, report(data)), (READ_FLAG, flag(exceeded))]


def activated():
    return [(ACTIVATE, activation())]


class Responder(threading.Thread):
    """Serves one scripted connection after the other. A script is a list of steps (bytes to expect, bytes to answer),
    and the connection ends with it. The answer None keeps silent until the tester leaves."""

    def __init__(self, *scripts):
        super().__init__(daemon=True)
        self.scripts = scripts
        self.problem = None
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(20)
        self.port = self.listener.getsockname()[1]

    def run(self):
        try:
            for script in self.scripts:
                connection, _ = self.listener.accept()
                with connection:
                    connection.settimeout(20)
                    self.serve(connection, script)
        except OSError as error:
            self.problem = repr(error)
        finally:
            self.listener.close()

    def serve(self, connection, script):
        for expected, answer in script:
            received = b""
            while len(received) < len(expected):
                part = connection.recv(len(expected) - len(received))
                if not part:
                    break
                received += part
            if received != expected:
                self.problem = f"expected {expected.hex(' ')}, got {received.hex(' ')}"
                return
            if answer is None:
                while connection.recv(4096):
                    pass
                return
            connection.sendall(answer)
