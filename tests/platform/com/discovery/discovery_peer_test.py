#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""An independent stack reads what a node says, and says things to it. Argument: the node's program."""
import os
import select
import socket
import subprocess
import sys
import time

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
        self.unicast = self.socket_on(PEER)
        self.unicast.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(PEER))
        self.group = self.socket_on(GROUP)
        self.group.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP,
                              socket.inet_aton(GROUP) + socket.inet_aton(PEER))
        self.sessions = {GROUP: 0, NODE: 0}
        self.node = subprocess.Popen([program, NODE, GROUP, str(PORT)], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.text = b""
        self.line("ready")

    @staticmethod
    def socket_on(address):
        made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        made.bind((address, PORT))
        return made

    def tell(self, command):
        self.node.stdin.write(command.encode() + b"\n")
        self.node.stdin.flush()

    def line(self, expected):
        """The next line of the node, whatever the time in between, is this one."""
        while b"\n" not in self.text:
            assert select.select([self.node.stdout], [], [], LIMIT_S)[0], f"no line came instead of '{expected}'"
            got = os.read(self.node.stdout.fileno(), 4096)
            assert got, f"the node ended instead of saying '{expected}'"
            self.text += got
        first, self.text = self.text.split(b"\n", 1)
        assert first.decode() == expected, f"'{first.decode()}' instead of '{expected}'"

    def send(self, to, entries, options=(), session=None):
        self.sessions[to] = self.sessions[to] + 1 if session is None else session
        sd = SD(flags=0xC0)
        sd.set_entryArray(list(entries))
        sd.set_optionArray(list(options))
        datagram = bytes(SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1,
                                session_id=self.sessions[to]) / sd)
        self.unicast.sendto(datagram, (to, PORT))
        return datagram

    def receive(self, path, kind, ttl=None):
        """The next message of the node on that path whose first entry is of that kind, decoded."""
        end = time.monotonic() + LIMIT_S
        while select.select([path], [], [], max(0, end - time.monotonic()))[0]:
            datagram, source = path.recvfrom(65536)
            if source != (NODE, PORT):
                continue
            message = SOMEIP(datagram)
            assert bytes(message) == datagram, "it does not rebuild to the same bytes"
            entry = message[SD].entry_array[0]
            if entry.type == kind and (ttl is None or entry.ttl == ttl):
                return message
        raise AssertionError(f"no entry of type {kind} came")


def find(service, instance=0xFFFF):
    return SDEntry_Service(type=0, srv_id=service, inst_id=instance, major_ver=0xFF, ttl=3, minor_ver=0xFFFFFFFF)


def offer(ttl=3):
    return SDEntry_Service(type=1, srv_id=OURS, inst_id=1, major_ver=1, ttl=ttl, minor_ver=0, n_opt_1=1)


OUR_ENDPOINT = SDOption_IP4_EndPoint(addr=PEER, l4_proto=6, port=4711)


def check(message, session=None, **entry_fields):
    head, sd = message[SOMEIP], message[SD]
    assert (head.srv_id, head.client_id, head.proto_ver, head.iface_ver, head.msg_type, head.retcode) == \
        (0xFFFF, 0, 1, 1, 2, 0)
    assert sd.flags == 0xC0, sd.flags
    assert session is None or head.session_id == session, head.session_id
    for name, value in entry_fields.items():
        assert getattr(sd.entry_array[0], name) == value, (name, getattr(sd.entry_array[0], name))


def offers_go_out(peer):
    peer.tell(f"offer {SERVED} 1 30509")
    peer.line(f"+ {SERVED} 1 {NODE}:30509")
    for session in (1, 2, 3):
        message = peer.receive(peer.group, 1)
        check(message, session=session, srv_id=SERVED, inst_id=1, major_ver=1, ttl=3, minor_ver=0, n_opt_1=1)
        option = message[SD].option_array[0]
        assert (option.addr, option.l4_proto, option.port) == (NODE, 6, 30509)


def finds_are_answered_by_unicast(peer):
    peer.send(GROUP, [find(SERVED + 1)])  # nobody's; an answer to it would come first
    peer.send(GROUP, [find(SERVED)])
    check(peer.receive(peer.unicast, 1), session=1, srv_id=SERVED)
    peer.send(NODE, [find(SERVED, instance=1)])
    check(peer.receive(peer.unicast, 1), session=2, srv_id=SERVED)


def subscriptions_are_refused(peer):
    peer.send(NODE, [SDEntry_EventGroup(type=6, srv_id=SERVED, inst_id=1, major_ver=1, ttl=3, eventgroup_id=7, cnt=2)])
    check(peer.receive(peer.unicast, 7), session=3, srv_id=SERVED, ttl=0, eventgroup_id=7, cnt=2)


def a_search_asks_and_takes_the_answer(peer):
    peer.tell(f"find {OURS} 65535 5000")
    check(peer.receive(peer.group, 0), srv_id=OURS, inst_id=0xFFFF, major_ver=1, minor_ver=0xFFFFFFFF)
    peer.send(NODE, [offer()], [OUR_ENDPOINT])
    peer.line(f"+ {OURS} 1 {PEER}:4711")
    peer.line("found 1")


def a_stop_offer_ends_it(peer):
    peer.send(GROUP, [offer(ttl=0)], [OUR_ENDPOINT])
    peer.line(f"- {OURS} 1")


def a_lifetime_ends_it(peer):
    peer.send(GROUP, [offer(ttl=1)], [OUR_ENDPOINT])
    peer.line(f"+ {OURS} 1 {PEER}:4711")
    peer.line(f"- {OURS} 1")


def a_restart_is_seen(peer):
    peer.send(GROUP, [offer()], [OUR_ENDPOINT])
    peer.line(f"+ {OURS} 1 {PEER}:4711")
    peer.send(GROUP, [find(SERVED)], session=1)
    peer.line(f"reboot {PEER}")
    peer.line(f"- {OURS} 1")


def damage_is_borne(peer):
    good = peer.send(NODE, [find(SERVED)])
    for size in range(len(good)):
        peer.unicast.sendto(good[:size], (NODE, PORT))
    for position in range(len(good)):
        peer.unicast.sendto(good[:position] + bytes([good[position] ^ 0xFF]) + good[position + 1:], (GROUP, PORT))
    peer.tell(f"withdraw {SERVED} 1")
    check(peer.receive(peer.group, 1, ttl=0), srv_id=SERVED, n_opt_1=1)


def main():
    peer = Peer(sys.argv[1])
    try:
        for row in (offers_go_out, finds_are_answered_by_unicast, subscriptions_are_refused,
                    a_search_asks_and_takes_the_answer, a_stop_offer_ends_it, a_lifetime_ends_it, a_restart_is_seen,
                    damage_is_borne):
            row(peer)
            print("ok", row.__name__, flush=True)
        peer.node.stdin.close()
        assert peer.node.wait(LIMIT_S) == 0
    finally:
        peer.node.kill()
        peer.node.wait()


if __name__ == "__main__":
    main()
