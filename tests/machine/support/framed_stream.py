# SPDX-License-Identifier: Apache-2.0
"""A TCP connection of which each message says in its bytes 4 to 7 how much follows, as those of SOME/IP and DoIP do."""
import contextlib
import socket
import struct

LIMIT = 20  # seconds for whatever is waited for


class Framed_stream(contextlib.AbstractContextManager):
    def __init__(self, address, port):
        self.buffered = b""
        self.socket = socket.create_connection((address, port), LIMIT)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def __exit__(self, *_):
        self.close()

    def close(self, abruptly=False):
        if abruptly:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()

    def send(self, data):
        with contextlib.suppress(ConnectionError):  # what has become of the connection is heard
            self.socket.sendall(data)

    def next_message(self):
        """No bytes when the connection was closed."""
        while len(self.buffered) < 8 or len(self.buffered) < 8 + struct.unpack_from(">I", self.buffered, 4)[0]:
            try:
                part = self.socket.recv(65536)
            except ConnectionError:
                part = b""
            if not part:
                return b""
            self.buffered += part
        size = 8 + struct.unpack_from(">I", self.buffered, 4)[0]
        message, self.buffered = self.buffered[:size], self.buffered[size:]
        return message
