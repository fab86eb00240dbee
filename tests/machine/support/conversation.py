# SPDX-License-Identifier: Apache-2.0
"""Plays the steps of testers, and leaves those of all others to somebody else. ../README.md says what they do."""
import contextlib
import socket
import time

from framed_stream import LIMIT
from tester import ENTITY, EVERYBODY, PORT, Datagrams, Tester

BROADCAST = "127.255.255.255"
TOLERANCE = 0.03  # seconds: a timer of the entity starts before the tester hears why


class Conversation(contextlib.AbstractContextManager):
    """`behave(who, what, *words)` is for those who are no testers."""

    def __init__(self, address, behave):
        self.address, self.behave = address, behave
        self.testers, self.datagrams = {}, {"udp": Datagrams()}
        self.last = time.monotonic()

    def __exit__(self, *_):
        for each in [*self.testers.values(), *self.datagrams.values()]:
            each.close()

    def play(self, script):
        for step in filter(str.strip, script.split(";")):
            who, what, *words = step.split()
            started = time.monotonic()
            try:
                if who == "ear" and what == "opens":
                    self.datagrams["ear"] = Datagrams((BROADCAST, PORT))
                elif who in ("udp", "ear"):
                    self._exchange(self.datagrams[who], what, words)
                elif len(who) == 1:
                    self._tester(who, what, words)
                else:
                    self.behave(who, what, *words)
            except (AssertionError, TimeoutError) as failure:
                raise AssertionError(f"{step.strip()}: {failure}") from None
            self.last = started
        for name, tester in self.testers.items():
            tester.socket.setblocking(False)
            with contextlib.suppress(OSError):
                rest = tester.buffered or tester.socket.recv(64)
                assert not rest, f"tester {name} hears more: {rest.hex()}"

    def _tester(self, name, what, words):
        if what in ("opens", "joins"):
            self.testers[name] = Tester(self.address, 0x0E80 + int(name))
        tester, text = self.testers[name], " ".join(words)
        if what == "joins":
            tester.join()
        elif what == "activates":
            tester.activate(int(text or "0", 16))
        elif text == "alive":
            tester.be_alive()
        elif what == "is":
            tester.logical = int(text, 16)
        elif what in ("sends", "drips"):
            data = bytes.fromhex(text)
            for part in [data] if what == "sends" else map(int.to_bytes, data):
                tester.send(part)
        elif what == "floods":
            flood = tester.diagnosis(bytes.fromhex(text)) * 64
            with contextlib.suppress(ConnectionError):
                while True:
                    tester.socket.sendall(flood)
            self.testers.pop(name).close()
        elif what == "asks":
            target = EVERYBODY if words[0] == "all" else ENTITY
            request, *answer = words[words[0] == "all":]
            tester.send(tester.diagnosis(bytes.fromhex(request), target))
            for heard in [f"ack {target:04X} {tester.logical:04X}"] * bool(answer) + ["uds " + each for each in answer]:
                if heard != "uds -":
                    self._expect(tester.hear, heard)
        elif what == "ends":
            tester.socket.shutdown(socket.SHUT_WR)
        elif what in ("leaves", "breaks"):
            self.testers.pop(name).close(abruptly=what == "breaks")
        elif what in ("reads", "awaits"):
            self._expect(lambda: tester.read(words[0]), "uds " + words[1], what == "awaits")
        elif what == "finally":
            self._expect(tester.hear_final, " ".join(words[1:]))
        elif what == "hears":
            text, _, at_least = text.partition(" after ")
            self._expect(tester.hear, text)
            assert time.monotonic() - self.last >= int(at_least or 0) / 1000 - TOLERANCE, "too soon"
        elif what != "opens":
            raise ValueError(what)

    def _exchange(self, datagrams, what, words):
        def ask():
            datagrams.send(words[0], self.address)
            return datagrams.hear()[:len(" ".join(words[1:]))]

        if what == "hears":
            self._expect(datagrams.hear, " ".join(words))
        elif what == "awaits":
            self._expect(ask, " ".join(words[1:]), True)
        else:
            datagrams.send("".join(words), BROADCAST if what == "broadcasts" else self.address)

    def _expect(self, hear, expected, again=False):
        heard = hear()
        while again and heard != expected and time.monotonic() < self.last + LIMIT:
            heard = hear()
        assert heard == expected, f"heard {heard}"
