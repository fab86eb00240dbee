# SPDX-License-Identifier: Apache-2.0
"""A tester that reads without end, and believes nothing that it hears."""
import struct

from tester import ENTITY, Tester

REPORT, EXCEEDANCE = "17F0", "17F2"
ACTIVATED, ALIVE_CHECK, DIAGNOSIS, ACKNOWLEDGED = 0x0006, 0x0007, 0x8001, 0x8002
PENDING = 0x78
LATE = "No answer in time"
# flashwatch does not answer, cannot get the statistics, is not there
PASSING_RESPONSES = (0x10, 0x11, 0x22)


class Failure(Exception):
    """A read failed as it may while a process is restarted; the reason."""


class Refusal(Failure):
    """By a negative response: the connection can be used on."""


class Figures:
    """What one tester has read so far."""

    def __init__(self):
        self.report, self.exceeded = [], b"\0"

    def add(self, report, exceeded):
        """Checks that all is whole, of the same applications with the same limits, and nothing below what it was."""
        assert len(report) == 1 + 32 * report[0] and len(exceeded) == 1, (report.hex(), exceeded.hex())
        before, self.report = self.report, list(struct.iter_unpack(">4Q", report[1:]))
        assert self.report and all(session <= total for _, _, total, session in self.report), self.report
        for old, new in zip(before or self.report, self.report, strict=True):
            assert old[:2] == new[:2] and old[2] <= new[2] and old[3] <= new[3], (before, self.report)
        assert self.exceeded <= exceeded <= b"\1", (self.exceeded, exceeded)
        self.exceeded = exceeded


class Reader(Tester):
    def __init__(self, address, logical, patience_s):
        try:
            super().__init__(address, logical)
        except (ConnectionError, TimeoutError) as error:
            raise Failure(error.strerror or LATE) from None
        try:
            self.socket.settimeout(patience_s)
            self.requests = {each: self.diagnosis(bytes.fromhex("22" + each)) for each in (REPORT, EXCEEDANCE)}
            self.activate()
            kind, content = self._hear()
            assert kind == ACTIVATED and content[:4] == struct.pack(">HH", logical, ENTITY), (kind, content.hex())
            if content[4] != 0x10:
                raise Failure(f"Routing activation refused, {content[4]:02X}")
        except BaseException:
            self.close()
            raise

    def read_both(self, figures):
        figures.add(self._record(REPORT), self._record(EXCEEDANCE))

    def _record(self, identifier):
        try:
            self.send(self.requests[identifier])
        except TimeoutError:
            raise Failure(LATE) from None
        while True:
            kind, content = self._hear()
            if kind == ALIVE_CHECK:
                self.be_alive()
                continue
            assert kind in (DIAGNOSIS, ACKNOWLEDGED), (kind, content.hex())
            assert content[:4] == struct.pack(">HH", ENTITY, self.logical), content.hex()
            if kind == ACKNOWLEDGED:
                assert content[4] == 0, content.hex()
                continue
            answer = content[4:]
            if answer[0] == 0x7F:
                assert len(answer) == 3 and answer[1] == 0x22, answer.hex()
                if answer[2] == PENDING:
                    continue
                assert answer[2] in PASSING_RESPONSES, answer.hex()
                raise Refusal(f"Negative response {answer[2]:02X}")
            assert answer[:3] == bytes.fromhex("62" + identifier), answer.hex()
            return answer[3:]

    def _hear(self):
        """Payload type and payload."""
        try:
            message = self.next_message()
        except TimeoutError:
            raise Failure(LATE) from None
        if not message:
            raise Failure("Connection lost")
        assert message[:2] == b"\x02\xFD", message.hex()
        return struct.unpack_from(">H", message, 2)[0], message[8:]
