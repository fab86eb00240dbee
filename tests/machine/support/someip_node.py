# SPDX-License-Identifier: Apache-2.0
"""A process of the machine that offers SOME/IP services, played by scapy: service discovery and TCP on one address."""
import contextlib
import itertools
import socket
import struct
import threading

from layers import SD, SOMEIP, Raw, SDEntry_Service, SDOption_IP4_EndPoint

RESPONSE = 0x80
OFFER_PERIOD, LIMIT = 0.05, 30  # seconds; a search lasts longer than the period


def datagram(entries, options=(), session=1):
    discovery = SD(flags=0xC0)
    discovery.set_entryArray(entries)
    discovery.set_optionArray(list(options))
    header = SOMEIP(srv_id=0xFFFF, sub_id=1, event_id=0x100, msg_type=2, iface_ver=1, session_id=session)
    return bytes(header / discovery)


def find(service_id):
    """A datagram that asks discovery for any instance of a service."""
    return datagram([SDEntry_Service(type=0, srv_id=service_id, inst_id=0xFFFF, major_ver=0xFF, minor_ver=0xFFFFFFFF,
                                     ttl=3)])


class Service:
    """One offered service. `behaviour` gives (message type, return code, payload) for a request, or None: then nothing
    is answered until `release`. With a fourth value, a number, the connection is closed after so many bytes of the
    answer."""

    def __init__(self, service_id, port, behaviour):
        self.service_id, self.port, self.behaviour = service_id, port, behaviour
        self.withheld = []


class Someip_node:
    """Offers again and again, and looks at no datagram."""

    def __init__(self, address, group, sd_port, services):
        self.address, self.services, self.group = address, services, (group, sd_port)
        self.ends, self.streams = threading.Event(), []
        self.changed = threading.Condition()
        self.multicast = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.multicast.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.multicast.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(address))
        self.multicast.bind((address, sd_port))
        for service in services:
            self._run(self._accept, socket.create_server((address, service.port), backlog=64), service)
        self.thread = self._run(self._keep_offering)

    def end(self):
        """Closes everything without a word, as a killed process does."""
        self.ends.set()
        self.thread.join(LIMIT)
        for each in self.streams:
            self._close(each)
        self.multicast.close()

    def release(self):
        """Answers what was withheld, by today's behaviour."""
        with self.changed:
            for service in self.services:
                withheld, service.withheld = service.withheld, []
                for connection, request in withheld:
                    self._answer(connection, service, request)

    def await_withheld(self):
        """Until a request waits for its answer."""
        with self.changed:
            assert self.changed.wait_for(lambda: any(each.withheld for each in self.services), LIMIT)

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

    def _keep_offering(self):
        entries = [SDEntry_Service(type=1, index_1=index, n_opt_1=1, srv_id=service.service_id, inst_id=1, major_ver=1,
                                   minor_ver=0, ttl=3) for index, service in enumerate(self.services)]
        options = [SDOption_IP4_EndPoint(addr=self.address, l4_proto=6, port=each.port) for each in self.services]
        for session in itertools.cycle(range(1, 0x10000)):
            self.multicast.sendto(datagram(entries, options, session), self.group)
            if self.ends.wait(OFFER_PERIOD):
                return

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
                    self.changed.notify_all()
        self._close(connection)

    def _answer(self, connection, service, request):
        answer = service.behaviour()
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
