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


def acknowledgement(code=None):
    """Positive, or negative with a code."""
    return frame(0x8002 if code is None else 0x8003, struct.pack(">HHB", ENTITY, TESTER, code or 0))


def uds(data, source=ENTITY, version=2):
    return frame(0x8001, struct.pack(">HH", source, TESTER) + data, version)


def positive(identifier, data):
    return acknowledgement() + uds(b"\x62" + identifier + data)


def negative(code):
    return acknowledgement() + uds(bytes((0x7F, 0x22, code)))


def record(*entries, count=None, tail=b""):
    """The record of 0x17F0; an entry is (scid, soft limit, total, session)."""
    counted = min(len(entries) % 256, 15) if count is None else count
    return bytes((counted,)) + b"".join(struct.pack(">4Q", *entry) for entry in entries) + tail


REPORT, FLAG = b"\x17\xf0", b"\x17\xf2"
ALIVE_CHECK, ALIVE_ANSWER = frame(7), frame(8, struct.pack(">H", TESTER))
ACTIVATE = frame(5, struct.pack(">HBI", TESTER, 0, 0))
READ_REPORT, READ_FLAG = (frame(0x8001, struct.pack(">HH", TESTER, ENTITY) + b"\x22" + identifier)
                          for identifier in (REPORT, FLAG))
ACTIVATED = [(ACTIVATE, activation())]


def figures(data, exceeded):
    """The steps of a reading that goes well; a connection's script begins with ACTIVATED."""
    return [(READ_REPORT, positive(REPORT, data)), (READ_FLAG, positive(FLAG, bytes((exceeded,))))]


class Entity(threading.Thread):
    """Serves one scripted connection after the other, and sends in pieces of so many bytes. A script is a list of steps
    (bytes to expect, bytes to answer), and the connection ends with it. The answer None keeps silent until the tester
    leaves."""

    def __init__(self, *scripts, piece=1 << 20):
        super().__init__(daemon=True)
        self.scripts, self.piece, self.problem = scripts, piece, None
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(20)
        self.port = self.listener.getsockname()[1]
        self.start()

    def run(self):
        try:
            for script in self.scripts:
                connection, _ = self.listener.accept()
                with connection:
                    connection.settimeout(20)
                    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                    self.serve(connection, script)
        except OSError as error:
            self.problem = repr(error)
        finally:
            self.listener.close()

    def serve(self, connection, script):
        for expected, answer in script:
            received = connection.recv(len(expected), socket.MSG_WAITALL)
            if received != expected:
                self.problem = f"expected {expected.hex(' ')}, got {received.hex(' ')}"
                return
            while answer is None and connection.recv(4096):
                pass
            for at in range(0, len(answer or b""), self.piece):
                connection.sendall(answer[at:at + self.piece])
