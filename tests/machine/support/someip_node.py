# SPDX-License-Identifier: Apache-2.0
"""A process of the machine that offers SOME/IP services, played by scapy: service discovery and TCP on one address."""
import contextlib
import select
import socket
import struct
import threading
import time

from scapy.config import conf

conf.ipv6_enabled = False
from scapy.contrib.automotive.someip import SD, SOMEIP, SDEntry_Service, SDOption_IP4_EndPoint  # noqa: E402
from scapy.packet import Raw  # noqa: E402

RESPONSE, ERROR = 0x80, 0x81
OFFER_PERIOD, LIMIT = 0.2, 30  # seconds


def find(service_id):
    """A datagram that asks discovery for any instance of a service."""
    search = SD(flags=0xC0)
    search.set_entryArray([SDEntry_Service(type=0, srv_id=service_id, inst_id=0xFFFF, major_ver=0xFF, minor_ver=0xFFFFFFFF,
                                           ttl=3)])
    return bytes(SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1, session_id=1) / search)


class Service:
    """One offered service. `behaviour` maps a request's payload to (message type, return code, payload), or to None:
    then nothing is answered until `release`. With a fourth value, a number, the connection is closed after so many
    bytes of the answer."""

    def __init__(self, service_id, port, behaviour):
        self.service_id, self.port, self.behaviour = service_id, port, behaviour
        self.requests, self.withheld = 0, []


class Someip_node:
    def __init__(self, address, group, services, sd_port=30490):
        self.address, self.services = address, services
        self.discovery, self.group = (address, sd_port), (group, sd_port)
        self.session, self.ends = 0, False
        self.changed = threading.Condition()
        own = socket.inet_aton(address)
        self.unicast, multicast = (self._bound(socket.SOCK_DGRAM, at) for at in (self.discovery, self.group))
        self.unicast.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, own)
        multicast.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(group) + own)
        self.ears, self.streams = [self.unicast, multicast], []
        for service in services:
            listener = self._bound(socket.SOCK_STREAM, (address, service.port))
            listener.listen(64)
            self._run(self._accept, listener, service)
        self.thread = self._run(self._discover)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self, silent=False):
        """Stops offering and closes everything; silent: without saying so, as a killed process does."""
        self.ends = True
        self.unicast.sendto(b"", self.discovery)
        self.thread.join(LIMIT)
        if not silent:
            self._offer(ttl=0)
        for each in self.streams:
            self._close(each)
        for each in self.ears:
            each.close()

    def release(self):
        """Answers what was withheld, by today's behaviour."""
        with self.changed:
            for service in self.services:
                withheld, service.withheld = service.withheld, []
                for connection, request in withheld:
                    self._answer(connection, service, request)

    def await_requests(self, count):
        """Until the services were asked that often, all together."""
        with self.changed:
            assert self.changed.wait_for(lambda: sum(each.requests for each in self.services) >= count, LIMIT)

    @staticmethod
    def _bound(kind, address):
        made = socket.socket(socket.AF_INET, kind)
        made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        made.bind(address)
        return made

    @staticmethod
    def _run(function, *arguments):
        thread = threading.Thread(target=function, args=arguments, daemon=True)
        thread.start()
        return thread

    @staticmethod
    def _close(stream):
        with contextlib.suppress(OSError):
            stream.shutdown(socket.SHUT_RDWR)  # wakes the thread that reads
        stream.close()

    def _discover(self):
        due = time.monotonic()
        while not self.ends:
            if time.monotonic() >= due:
                self._offer()
                due = time.monotonic() + OFFER_PERIOD
            for ear in select.select(self.ears, [], [], max(0, due - time.monotonic()))[0]:
                datagram, sender = ear.recvfrom(65536)
                if sender[0] != self.address and any(entry.type == 0 for entry in SOMEIP(datagram)[SD].entry_array):
                    self._offer()

    def _offer(self, ttl=3):
        self.session = self.session % 0xFFFF + 1
        discovery = SD(flags=0xC0)
        discovery.set_entryArray([SDEntry_Service(
            type=1, index_1=index, n_opt_1=1, srv_id=service.service_id, inst_id=1, major_ver=1, minor_ver=0, ttl=ttl)
            for index, service in enumerate(self.services)])
        discovery.set_optionArray([SDOption_IP4_EndPoint(addr=self.address, l4_proto=6, port=service.port)
                                   for service in self.services])
        header = SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1, session_id=self.session)
        self.unicast.sendto(bytes(header / discovery), self.group)

    def _accept(self, listener, service):
        self.streams.append(listener)
        with contextlib.suppress(OSError):  # it ends
            while True:
                connection, _ = listener.accept()
                self.streams.append(connection)
                self._run(self._serve, connection, service)

    def _serve(self, connection, service):
        with contextlib.suppress(OSError):
            while header := connection.recv(8, socket.MSG_WAITALL):
                rest = connection.recv(struct.unpack_from(">I", header, 4)[0], socket.MSG_WAITALL)
                with self.changed:
                    self._answer(connection, service, SOMEIP(header + rest))
                    service.requests += 1
                    self.changed.notify_all()
        self._close(connection)

    def _answer(self, connection, service, request):
        answer = service.behaviour(bytes(request.payload))
        if answer is None:
            service.withheld.append((connection, request))
            return
        kind, code, payload, *cut = answer
        header = SOMEIP(srv_id=request.srv_id, sub_id=0, method_id=request.method_id, client_id=request.client_id,
                        session_id=request.session_id, iface_ver=1, msg_type=kind, retcode=code)
        with contextlib.suppress(OSError):  # the reader went away
            connection.sendall(bytes(header / Raw(payload))[:cut[0] if cut else None])
        if cut:
            self._close(connection)
