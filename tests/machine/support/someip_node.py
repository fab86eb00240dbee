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
OFFER_LIMIT = 30


class Service:
    """One offered service. `behaviour` maps a request's payload to (message type, return code, payload), or to None:
    then nothing is answered until `release`. With a fourth value, a number, the connection is closed after so many
    bytes of the answer."""

    def __init__(self, service_id, port, behaviour):
        self.service_id, self.port, self.behaviour = service_id, port, behaviour
        self.requests = 0
        self.withheld = []


class Someip_node:
    def __init__(self, address, group, services, sd_port=30490):
        self.address, self.group, self.services, self.sd_port = address, group, services, sd_port
        self.session = 0
        self.offers = {}  # of others: (address, port) by service
        self.heard = threading.Condition()
        self.selector = selectors.DefaultSelector()
        self.sockets = []
        self._open_discovery()
        for service in services:
            listener = self._socket(socket.SOCK_STREAM, (address, service.port))
            listener.listen(64)
            self._watch(listener, lambda s, of=service: self._accept(s, of))
        self.wake, waker = socket.socketpair()
        self._watch(waker, lambda s: s.recv(1))
        self.ends = self.silent = False
        self.lock = threading.RLock()
        self.thread = threading.Thread(target=self._run, daemon=True)
        self.thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self, silent=False):
        """Stops offering and closes everything; silent: without saying so, as a killed process does."""
        self.silent = silent
        self.ends = True
        self.wake.send(b"x")
        self.thread.join(10)
        for each in self.sockets:
            each.close()
        self.wake.close()

    def release(self):
        """Answers what was withheld, by today's behaviour."""
        with self.lock:
            for service in self.services:
                for connection, request in service.withheld:
                    self._answer(connection, service, request)
                service.withheld = []

    def await_offer(self, service_id, present=True):
        """Asks for a service; its address and port when somebody offers it. Not `present`: until nobody does."""
        if present:
            self._say([SDEntry_Service(type=0, srv_id=service_id, inst_id=0xFFFF, major_ver=0xFF, ttl=3,
                                       minor_ver=0xFFFFFFFF)], [], (self.group, self.sd_port))
        with self.heard:
            assert self.heard.wait_for(lambda: (service_id in self.offers) == present, OFFER_LIMIT), self.offers
            return self.offers.get(service_id)

    def await_requests(self, count):
        """Until the services were asked that often, all together."""
        with self.heard:
            assert self.heard.wait_for(lambda: sum(each.requests for each in self.services) >= count, OFFER_LIMIT)

    def _socket(self, kind, address):
        made = socket.socket(socket.AF_INET, kind)
        made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        made.bind(address)
        return made

    def _watch(self, watched, handler):
        watched.setblocking(False)
        self.sockets.append(watched)
        self.selector.register(watched, selectors.EVENT_READ, handler)

    def _open_discovery(self):
        own = socket.inet_aton(self.address)
        self.unicast = self._socket(socket.SOCK_DGRAM, (self.address, self.sd_port))
        self.unicast.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, own)
        multicast = self._socket(socket.SOCK_DGRAM, (self.group, self.sd_port))
        multicast.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(self.group) + own)
        for each in (self.unicast, multicast):
            self._watch(each, self._discovered)

    def _run(self):
        due = time.monotonic()
        while not self.ends:
            if time.monotonic() >= due:
                if self.services:
                    self._offer((self.group, self.sd_port))
                due = time.monotonic() + OFFER_PERIOD
            for key, _ in self.selector.select(max(0, due - time.monotonic())):
                with self.lock:
                    key.data(key.fileobj)
        if not self.silent and self.services:
            self._offer((self.group, self.sd_port), ttl=0)

    def _offer(self, to, ttl=3):
        entries, options = [], []
        for index, service in enumerate(self.services):
            entries.append(SDEntry_Service(type=1, index_1=index, n_opt_1=1, srv_id=service.service_id, inst_id=1,
                                           major_ver=1, minor_ver=0, ttl=ttl))
            options.append(SDOption_IP4_EndPoint(addr=self.address, l4_proto=6, port=service.port))
        self._say(entries, options, to)

    def _say(self, entries, options, to):
        # Multicast and each peer have session counters of their own; answers by multicast need only one.
        self.session = self.session % 0xFFFF + 1
        discovery = SD(flags=0xC0)
        discovery.set_entryArray(entries)
        discovery.set_optionArray(options)
        header = SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1, session_id=self.session)
        self.unicast.sendto(bytes(header / discovery), to)

    def _discovered(self, ear):
        datagram, sender = ear.recvfrom(65536)
        message = SOMEIP(datagram)
        if sender[0] == self.address or SD not in message:
            return
        if self.services and any(entry.type == 0 for entry in message[SD].entry_array):
            self._offer((self.group, self.sd_port))
        with self.heard:
            for entry in message[SD].entry_array:
                if entry.type == 1 and entry.ttl:
                    option = message[SD].option_array[entry.index_1]
                    self.offers[entry.srv_id] = (option.addr, option.port)
                elif entry.type == 1:
                    self.offers.pop(entry.srv_id, None)
            self.heard.notify_all()

    def _accept(self, listener, service):
        connection, _ = listener.accept()
        buffered = bytearray()
        self._watch(connection, lambda s: self._receive(s, service, buffered))

    def _receive(self, connection, service, buffered):
        try:
            part = connection.recv(65536)
        except OSError:
            part = b""
        if not part:
            self._close(connection)
            return
        buffered += part
        while len(buffered) >= 16:
            size = 8 + struct.unpack_from(">I", buffered, 4)[0]
            if len(buffered) < size:
                return
            request, buffered[:] = SOMEIP(bytes(buffered[:size])), buffered[size:]
            self._answer(connection, service, request)
            with self.heard:
                service.requests += 1
                self.heard.notify_all()
            if connection.fileno() < 0:
                return

    def _close(self, connection):
        self.selector.unregister(connection)
        self.sockets.remove(connection)
        connection.close()

    def _answer(self, connection, service, request):
        answer = service.behaviour(bytes(request.payload))
        if answer is None:
            service.withheld.append((connection, request))
            return
        kind, code, payload, *cut = answer
        header = SOMEIP(srv_id=request.srv_id, sub_id=0, method_id=request.method_id, client_id=request.client_id,
                        session_id=request.session_id, iface_ver=1, msg_type=kind, retcode=code)
        try:
            connection.sendall(bytes(header / Raw(payload))[:cut[0] if cut else None])
            if cut:
                self._close(connection)
        except OSError:
            pass  # the reader went away
