# SPDX-License-Identifier: Apache-2.0
"""A DoIP entity that follows a script: it plays the machine for the tool's tests."""
import re
import socket
import struct
from concurrent.futures import ThreadPoolExecutor

REQUESTS = {"activate": "02FD000500000007 0E800000000000", "17F0": "02FD800100000007 0E8010012217F0",
            "17F2": "02FD800100000007 0E8010012217F2", "alive": "02FD000800000002 0E80"}


def said(text):
    """The bytes of messages separated by semicolons: "TYPE PAYLOAD", in another version "vN TYPE PAYLOAD", "raw BYTES"."""
    def message(words):
        version, kind, payload = re.fullmatch(r"(?:v(\d) )?(raw|....) ?(.*)", words).groups()
        payload, version = bytes.fromhex(payload), int(version or 2)
        header = b"" if kind == "raw" else struct.pack(">BBHI", version, version ^ 0xFF, int(kind, 16), len(payload))
        return header + payload

    return b"".join(map(message, filter(None, map(str.strip, text.split(";")))))


class Entity:
    """Serves one scripted connection after the other, and sends in pieces of so many bytes. A script is a list of steps
    "REQUEST: what is said then", and the connection ends with it. "silence" lasts until the tester leaves. `served` is
    when that is done, or what went wrong."""

    def __init__(self, *scripts, piece=1 << 20):
        self.piece, self.listener = piece, socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(20)
        self.port = self.listener.getsockname()[1]
        self.served = ThreadPoolExecutor(1).submit(self.serve, scripts)

    def serve(self, scripts):
        with self.listener:
            for script in scripts:
                connection, _ = self.listener.accept()
                with connection:
                    connection.settimeout(20)
                    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                    for request, _, answer in (step.partition(":") for step in script):
                        self.answer(connection, bytes.fromhex(REQUESTS[request]), answer)

    def answer(self, connection, request, answer):
        received = connection.recv(len(request), socket.MSG_WAITALL)
        assert received == request, f"expected {request.hex(' ')}, got {received.hex(' ')}"
        while "silence" in answer and connection.recv(4096):
            pass
        spoken = b"" if "silence" in answer else said(answer)
        for at in range(0, len(spoken), self.piece):
            connection.sendall(spoken[at:at + self.piece])
