# SPDX-License-Identifier: Apache-2.0
"""One who asks SOME/IP services over TCP: what it hears is told in words."""
from framed_stream import Framed_stream
from layers import SOMEIP, Raw

NO_META_INFO = bytes(4)


def message(service, method, payload=NO_META_INFO):
    return bytes(SOMEIP(srv_id=service, sub_id=method >> 15, method_id=method & 0x7FFF, client_id=0x0102, session_id=7,
                        iface_ver=1) / Raw(payload))


def describe(data):
    """Type/return code and payload, or "closed"."""
    if not data:
        return "closed"
    answer = SOMEIP(data)
    assert answer.proto_ver == 1, data.hex()
    return f"{answer.msg_type:02X}/{answer.retcode:02X} {data[16:].hex()}".rstrip()


class Someip_client(Framed_stream):
    def ask(self, service, method):
        self.send(message(service, method))
        return describe(self.next_message())
