#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""An independent stack reads what a node says, and says things to it. Argument: the node's program."""
import os
import socket
import subprocess
import sys

from scapy.contrib.automotive.someip import (SD, SOMEIP, SDEntry_EventGroup, SDEntry_Service, SDOption_IP4_EndPoint)

LIMIT_S = 10
PID = os.getpid()
NODE = f"127.{PID >> 8 & 0xFF}.{PID & 0xFF}.1"
PEER = f"127.{PID >> 8 & 0xFF}.{PID & 0xFF}.2"
GROUP = f"239.254.{PID >> 8 & 0xFF}.{PID & 0xFF}"
PORT = 20000 + PID % 10000
SERVED, OURS = 0x6001, 0x6022


class Peer:
    """The other end: two sockets as a stack has them, session numbers of its own, and the node's output lines."""

    def __init__(self, program):
        self.unicast, self.group = (self.socket_on(address) for address in (PEER, GROUP))
        self.unicast.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(PEER))
        self.group.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP,
                              socket.inet_aton(GROUP) + socket.inet_aton(PEER))
        self.sessions = {GROUP: 0, NODE: 0}
        self.node = subprocess.Popen([program, NODE, GROUP, str(PORT)], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     bufsize=0)
        self.line("ready")

    @staticmethod
    def socket_on(address):
        made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        made.settimeout(LIMIT_S)
        made.bind((address, PORT))
        return made

    def tell(self, command):
        self.node.stdin.write(command.encode() + b"\n")

    def line(self, expected):
        """The next line of the node is this one; the test's limit bounds the wait."""
        heard = self.node.stdout.readline().decode().rstrip("\n")
        assert heard == expected, f"'{heard}' instead of '{expected}'"

    def send(self, to, entries, options=(), session=None):
        self.sessions[to] = self.sessions[to] + 1 if session is None else session
        sd = SD(flags=0xC0)
        sd.set_entryArray(list(entries))
        sd.set_optionArray(list(options))
        head = SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1, session_id=self.sessions[to])
        self.unicast.sendto(bytes(head / sd), (to, PORT))

    def receive(self, path, kind, session=None, **entry_fields):
        """The node's next message on that path whose first entry is of that kind; it is as it should be."""
        while True:
            datagram, source = path.recvfrom(65536)
            message = SOMEIP(datagram)
            if source == (NODE, PORT) and message[SD].entry_array[0].type == kind:
                break
        assert bytes(message) == datagram, "it does not rebuild to the same bytes"
        head, sd = message[SOMEIP], message[SD]
        assert (head.srv_id, head.client_id, head.proto_ver, head.iface_ver, head.msg_type, head.retcode, sd.flags) == \
            (0xFFFF, 0, 1, 1, 2, 0, 0xC0)
        assert session is None or head.session_id == session, head.session_id
        for name, value in entry_fields.items():
            assert getattr(sd.entry_array[0], name) == value, (name, getattr(sd.entry_array[0], name))
        return sd


def find(service, instance=0xFFFF):
    return SDEntry_Service(type=0, srv_id=service, inst_id=instance, major_ver=0xFF, ttl=3, minor_ver=0xFFFFFFFF)


def offer(ttl=3):
    """The peer's own offer: entries and options."""
    return ([SDEntry_Service(type=1, srv_id=OURS, inst_id=1, major_ver=1, ttl=ttl, minor_ver=0, n_opt_1=1)],
            [SDOption_IP4_EndPoint(addr=PEER, l4_proto=6, port=4711)])


def offers_go_out(peer):
    peer.tell(f"offer {SERVED} 1 30509")
    peer.line(f"+ {SERVED} {NODE}:30509")
    for session in (1, 2, 3):
        option = peer.receive(peer.group, 1, session, srv_id=SERVED, inst_id=1, major_ver=1, ttl=3, minor_ver=0,
                              n_opt_1=1).option_array[0]
        assert (option.addr, option.l4_proto, option.port) == (NODE, 6, 30509)


def finds_are_answered_by_unicast(peer):
    peer.send(GROUP, [find(SERVED + 1)])  # nobody's; an answer to it would come first
    peer.send(GROUP, [find(SERVED)])
    peer.receive(peer.unicast, 1, session=1, srv_id=SERVED)
    peer.send(NODE, [find(SERVED, instance=1)])
    peer.receive(peer.unicast, 1, session=2, srv_id=SERVED)


def subscriptions_are_refused(peer):
    peer.send(NODE, [SDEntry_EventGroup(type=6, srv_id=SERVED, inst_id=1, major_ver=1, ttl=3, eventgroup_id=7, cnt=2)])
    peer.receive(peer.unicast, 7, session=3, srv_id=SERVED, ttl=0, eventgroup_id=7, cnt=2)


def a_search_asks_and_takes_the_answer(peer):
    peer.tell(f"find {OURS} 65535 5000")
    peer.receive(peer.group, 0, srv_id=OURS, inst_id=0xFFFF, major_ver=1, minor_ver=0xFFFFFFFF)
    peer.send(NODE, *offer())
    peer.line(f"+ {OURS} {PEER}:4711")
    peer.line("found 1")


def a_lifetime_and_a_restart_end_offers(peer):
    peer.send(GROUP, *offer(ttl=1))
    peer.line(f"- {OURS}")
    peer.send(GROUP, *offer())
    peer.line(f"+ {OURS} {PEER}:4711")
    peer.send(GROUP, [find(SERVED)], session=1)
    peer.line(f"reboot {PEER}")
    peer.line(f"- {OURS}")


def an_end_is_announced(peer):
    peer.node.stdin.close()
    while peer.receive(peer.group, 1, srv_id=SERVED, n_opt_1=1).entry_array[0].ttl:
        pass
    assert peer.node.wait(LIMIT_S) == 0


def main():
    peer = Peer(sys.argv[1])
    try:
        for row in (offers_go_out, finds_are_answered_by_unicast, subscriptions_are_refused,
                    a_search_asks_and_takes_the_answer, a_lifetime_and_a_restart_end_offers, an_end_is_announced):
            row(peer)
            print("ok", row.__name__, flush=True)
    finally:
        peer.node.kill()
        peer.node.wait()


if __name__ == "__main__":
    main()
