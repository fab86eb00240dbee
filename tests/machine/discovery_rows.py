# SPDX-License-Identifier: Apache-2.0
"""Service discovery as an independent stack sees it: what two processes of the machine say, and how they answer it.
The driver gives it an /etc of its own, for flashwatch's configuration."""
import socket
from functools import partial

from machine import PORTS, STATISTICS, Machine
from process import LIMIT
from someip_node import SD, SOMEIP, find
from scapy.contrib.automotive.someip import SDEntry_EventGroup

NAME = "persistency_statistics"
FIND, OFFER, SUBSCRIBE, SUBSCRIBE_ANSWER = 0, 1, 6, 7


def bound(address):
    made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    made.settimeout(LIMIT)
    made.bind(address)
    return made


def subscribe(**fields):
    subscription = SD(flags=0xC0)
    subscription.set_entryArray([SDEntry_EventGroup(type=SUBSCRIBE, ttl=3, **fields)])
    return bytes(SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1, session_id=1) / subscription)


def hear(path, source, kind, session=None, **fields):
    """The next message from there whose first entry is of that kind; it is as it should be."""
    while True:
        datagram, sender = path.recvfrom(65536)
        message = SOMEIP(datagram)
        if sender == source and message[SD].entry_array[0].type == kind:
            break
    assert bytes(message) == datagram, "it does not rebuild to the same bytes"
    head, discovery = message[SOMEIP], message[SD]
    assert (head.srv_id, head.client_id, head.proto_ver, head.iface_ver, head.msg_type, head.retcode,
            discovery.flags) == (0xFFFF, 0, 1, 1, 2, 0, 0xC0)
    assert session is None or head.session_id == session, head.session_id
    heard = {name: getattr(discovery.entry_array[0], name) for name in fields}
    assert heard == fields, heard
    return discovery


def a_service(machine, peer, group, place):
    offered = {"srv_id": STATISTICS, "inst_id": 1, "major_ver": 1, "minor_ver": 0, "n_opt_1": 1}
    own = (machine.address(NAME), place[1])
    with machine.start(NAME) as service:
        for session in (1, 2, 3):
            [option] = hear(group, own, OFFER, session, ttl=3, **offered).option_array
            assert (option.addr, option.l4_proto, option.port) == (own[0], 6, PORTS[STATISTICS])
        peer.sendto(find(STATISTICS + 1), place)  # nobody's; an answer to it would come first
        peer.sendto(find(STATISTICS), place)
        hear(peer, own, OFFER, 1, **offered)
        peer.sendto(find(STATISTICS), own)
        hear(peer, own, OFFER, 2, **offered)
        asked = {"srv_id": STATISTICS, "inst_id": 1, "major_ver": 1, "eventgroup_id": 7, "cnt": 2}
        peer.sendto(subscribe(**asked), own)
        hear(peer, own, SUBSCRIBE_ANSWER, 3, ttl=0, **asked)
        assert service.end() == 0, service.text()
        while hear(group, own, OFFER, **offered).entry_array[0].ttl:
            pass


def a_client(machine, _, group, place):
    machine.configure({"pm_instance_id": NAME, "own_instance_id": "flashwatch_diagnostics", "log_period": 1})
    own = (machine.address(), place[1])
    with machine.start(expect_ready=False):
        hear(group, own, FIND, srv_id=STATISTICS, inst_id=1, major_ver=1, minor_ver=0xFFFFFFFF)


def rows(programs):
    with Machine(programs) as machine:
        discovery = machine.manifest["communication"]["discovery"]
        place, address = (discovery["group"], discovery["port"]), machine.network + "150"
        with bound((address, place[1])) as peer, bound(place) as group:
            peer.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(address))
            group.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP,
                             socket.inet_aton(place[0]) + socket.inet_aton(address))
            for test in (a_service, a_client):
                yield test.__name__, partial(test, machine, peer, group, place)
