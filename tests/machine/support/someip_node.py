# SPDX-License-Identifier: Apache-2.0
"""A process of the machine that offers SOME/IP services, played by scapy: service discovery and TCP on one address."""
import selectors
import socket
import struct
import threading
import time

from scapy.config import conf

conf.ipv6_enabled = False
from scapy.contrib.automotive.someip import SD, SOMEIP, SDEntry_Service, SDOption_IP4_EndPoint  # noqa: E402
from scapy.packet import Raw  # noqa: E402

RESPONSE, ERROR = 0x80, 0x81
OFFER_PERIOD = 0.2  # seconds
SD_PORT = 30490


class Service:
    """One offered service. `behaviour` maps a request's payload to (message type, return code, payload), or to None:
    then nothing is answered until the node's `release`."""

    def __init__(self, service_id, port, behaviour):
        self.service_id, self.port, self.behaviour = service_id, port, behaviour
        self.requests = 0
        self.withheld = []


class Someip_node:
    def __init__(self, address, group, services):
        self.address, self.group, self.services = address, group, services
        self.session = 0
        self.selector = selectors.DefaultSelector()
        self.lock = threading.RLock()
        own = socket.inet_aton(address)
        self.unicast = self._open(socket.SOCK_DGRAM, (address, SD_PORT), self._discovered)
        self.unicast.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, own)
        multicast = self._open(socket.SOCK_DGRAM, (group, SD_PORT), self._discovered)
        multicast.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(group) + own)
        for service in services:
            self._open(socket.SOCK_STREAM, (address, service.port),
                       lambda listener, of=service: self._accept(listener, of)).listen(64)
        self.ends = threading.Event()
        self.thread = threading.Thread(target=self._run, daemon=True)
        self.thread.start()

    def end(self, silent=False):
        """Stops offering and closes everything; silent: without saying so, as a killed process does."""
        self.ends.set()
        self.thread.join(10)
        if not silent:
            self._offer(ttl=0)
        for key in list(self.selector.get_map().values()):
            key.fileobj.close()
        self.selector.close()

    def release(self):
        """Answers what was withheld, by today's behaviour."""
        with self.lock:
            for service in self.services:
                withheld, service.withheld = service.withheld, []
                for connection, request in withheld:
                    self._answer(connection, service, request)

    def _open(self, kind, address, handler):
        opened = socket.socket(socket.AF_INET, kind)
        opened.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        opened.bind(address)
        self.selector.register(opened, selectors.EVENT_READ, handler)
        return opened

    def _run(self):
        due = 0
        while not self.ends.is_set():
            if time.monotonic() >= due:
                self._offer()
                due = time.monotonic() + OFFER_PERIOD
            for key, _ in self.selector.select(OFFER_PERIOD / 4):
                with self.lock:
                    key.data(key.fileobj)

    def _offer(self, ttl=3):
        self.session += 1
        discovery = SD(flags=0xC0)
        discovery.set_entryArray([SDEntry_Service(type=1, index_1=index, n_opt_1=1, srv_id=service.service_id, inst_id=1,
                                                  major_ver=1, minor_ver=0, ttl=ttl)
                                  for index, service in enumerate(self.services)])
        discovery.set_optionArray([SDOption_IP4_EndPoint(addr=self.address, l4_proto=6, port=service.port)
                                   for service in self.services])
        header = SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1, session_id=self.session)
        self.unicast.sendto(bytes(header / discovery), (self.group, SD_PORT))

    def _discovered(self, ear):
        datagram, sender = ear.recvfrom(65536)
        message = SOMEIP(datagram)
        if sender[0] != self.address and SD in message and any(entry.type == 0 for entry in message[SD].entry_array):
            self._offer()

    def _accept(self, listener, service):
        connection, _ = listener.accept()
        buffered = bytearray()
        self.selector.register(connection, selectors.EVENT_READ, lambda s: self._receive(s, service, buffered))

    def _receive(self, connection, service, buffered):
        try:
            part = connection.recv(65536)
        except OSError:
            part = b""
        if not part:
            self.selector.unregister(connection)
            connection.close()
            return
        buffered += part
        while len(buffered) >= 16 and len(buffered) >= (size := 8 + struct.unpack_from(">I", buffered, 4)[0]):
            request, buffered[:] = SOMEIP(bytes(buffered[:size])), buffered[size:]
            service.requests += 1
            self._answer(connection, service, request)

    def _answer(self, connection, service, request):
        answer = service.behaviour(bytes(request.payload))
        if answer is None:
            service.withheld.append((connection, request))
            return
        kind, code, payload = answer
        header = SOMEIP(srv_id=request.srv_id, sub_id=0, method_id=request.method_id, client_id=request.client_id,
                        session_id=request.session_id, iface_ver=1, msg_type=kind, retcode=code)
        try:
            connection.sendall(bytes(header / Raw(payload)))
        except OSError:
            pass  # the reader went away
