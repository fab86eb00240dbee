# SPDX-License-Identifier: Apache-2.0
"""Plays a conversation between testers and the diagnostic manager, written as steps separated by semicolons:

  1 opens                 tester 1 connects (its logical address is 0E81, tester 2's 0E82, ...)
  1 is 0E85               from now on it uses another logical address
  1 activates [NN]        asks for routing activation (of a type)
  1 joins                 opens, activates, and hears that it is activated
  1 sends HEX / drips HEX as it stands / byte by byte
  1 asks HEX / all HEX    a UDS request to the entity / to all entities
  1 is alive              answers an alive check
  1 leaves / breaks off   closes / resets the connection
  1 hears WORDS           the next message; with "after N", no sooner than N ms after the step before
  1 finally hears WORDS   the next but for acknowledgements and pending responses
  1 reads HEX RESPONSE    asks for identifiers, and what it then finally hears
  1 awaits HEX RESPONSE   the same, again and again until it is heard
  udp sends HEX / hears WORDS
  udp awaits HEX WORDS    sends until an answer begins like that
  17F0 ...                what the service behind the identifier does from now on: a word of the machine's
"""
import time

from tester import EVERYBODY, LIMIT, Discoverer, Tester

TOLERANCE = 0.03  # seconds: a timer of the entity starts before the tester hears why


class Conversation:
    def __init__(self, machine):
        self.machine = machine
        self.testers = {}
        self.last = time.monotonic()
        self.udp = Discoverer(machine.address)

    def play(self, steps):
        for step in (s.strip() for s in steps.split(";")):
            who, what, *words = step.split()
            started = time.monotonic()
            if who == "udp":
                self._udp(what, words, step)
            elif len(who) == 4:
                self.machine.behave(who, what)
            else:
                self._tester(who, what, words, step)
            self.last = started
        for name, tester in self.testers.items():
            tester.socket.setblocking(False)
            try:
                rest = tester.buffered or tester.socket.recv(64)
            except OSError:
                rest = b""
            assert not rest, f"tester {name} hears more: {rest.hex()}"

    def close(self):
        for each in [*self.testers.values(), self.udp]:
            each.close()

    def _tester(self, name, what, words, step):
        if what in ("opens", "joins"):
            self.testers[name] = Tester(self.machine.address, 0x0E80 + int(name))
        tester = self.testers[name]
        data = bytes.fromhex("".join(words[words[:1] == ["all"]:])) if what in ("sends", "drips", "asks") else b""
        if what == "is":
            if words[0] == "alive":
                tester.send(bytes.fromhex(f"02FD000800000002{tester.logical:04X}"))
            else:
                tester.logical = int(words[0], 16)
        elif what in ("activates", "joins"):
            tester.activate(int(words[0], 16) if words else 0)
            if what == "joins":
                expect(tester.hear(), f"routing {tester.logical:04X} 10", step)
        elif what == "sends":
            tester.send(data)
        elif what == "drips":
            for i in range(len(data)):
                tester.send(data[i:i + 1])
        elif what == "asks":
            tester.ask(data, *[EVERYBODY] * (words[0] == "all"))
        elif what in ("leaves", "breaks"):
            tester.close(abruptly=what == "breaks")
            del self.testers[name]
        elif what in ("reads", "awaits"):
            identifiers = [int(words[0][i:i + 4], 16) for i in range(0, len(words[0]), 4)]
            heard = tester.read(identifiers)
            while what == "awaits" and heard != "uds " + words[1] and time.monotonic() < self.last + LIMIT:
                heard = tester.read(identifiers)
            expect(heard, "uds " + words[1], step)
        elif what == "hears":
            self._hears(tester, words, step)
        elif what == "finally":
            expect(tester.hear_final(), " ".join(words[1:]), step)

    def _hears(self, tester, words, step):
        at_least = 0.0
        if "after" in words:
            at_least = int(words[-1]) / 1000 - TOLERANCE
            words = words[:-2]
        expect(tester.hear(), " ".join(words), step)
        passed = time.monotonic() - self.last
        assert at_least <= passed < at_least + LIMIT, f"{step}: after {passed * 1000:.0f} ms"

    def _udp(self, what, words, step):
        if what == "hears":
            expect(self.udp.hear(), " ".join(words), step)
        elif what == "awaits":
            heard = ""
            while not heard.startswith(" ".join(words[1:])) and time.monotonic() < self.last + LIMIT:
                self.udp.send(bytes.fromhex(words[0]))
                heard = self.udp.hear()
            assert heard.startswith(" ".join(words[1:])), f"{step}: heard {heard}"
        else:
            self.udp.send(bytes.fromhex("".join(words)))


def expect(heard, expected, step):
    assert heard == expected, f"{step}: heard {heard}"
