# SPDX-License-Identifier: Apache-2.0
"""The tool as a person runs it, against a scripted entity: what it prints, what it returns, how it draws."""
import json
import os
import pathlib
import pty
import re
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

from responder import (ACTIVATE, ALIVE_ANSWER, ALIVE_CHECK, READ_FLAG, READ_REPORT, Responder, ack, activated,
                       activation, figures, flag, frame, nack, negative, record, report, uds)

TOOL = sys.argv.pop(1)
EXPECTED = pathlib.Path(__file__).parent / "expected"
KIB, MIB, TOP = 1024, 1024 * 1024, 2**64 - 1

NAMES = {"flashwatch": 4096, "navigation": 4660, "media": 22136, "tripmeter": 39321, "radio": 7, "tuner": 7,
         "persistency_statistics": 8, "evil\x1b[2J\u202ename": 9, "地図ナビゲーション表示装置": 10}
FLASHWATCH = (4096, 16 * MIB, 12345, 1234)
NAVIGATION = (4660, 8 * MIB, 7 * MIB + 900000, MIB)
MEDIA_OVER = (22136, 256 * KIB, 301000, 64 * KIB)
FIFTEEN = [(100 + i, 10 * MIB, i * 700000, i * 1000) for i in range(15)]
# 2^53 + 1 is the first integer that a binary64 number cannot hold.
HUGE = [(TOP, TOP, TOP, TOP), (1 << 63, 2**63 + 1, 2**53 + 1, 2**32 + 1), (5, 0, TOP, 2**31 + 1)]

# name of the expected text: (record of 0x17F0, value of 0x17F2, options, exit code)
TABLES = {
    "ordinary": (record(FLASHWATCH, NAVIGATION, (39321, 16 * MIB, 16 * MIB, 5)), 0, [], 0),
    "empty": (record(), 0, [], 0),
    "full": (record(*FIFTEEN), 0, [], 0),
    "full_and_hidden_exceeded": (record(*FIFTEEN), 1, [], 3),
    "cut": (record(*FIFTEEN, FLASHWATCH, count=1), 0, [], 0),
    "cut_at_least": (record(*FIFTEEN, *FIFTEEN, count=15), 0, [], 0),
    "exceeded": (record(FLASHWATCH, MEDIA_OVER, NAVIGATION, (39321, 0, 1, 1)), 1, [], 3),
    "contradicting": (record(FLASHWATCH, MEDIA_OVER, count=9, tail=b"1234567"), 0, [], 3),
    "flag_alone": (record(FLASHWATCH), 1, [], 3),
    "names": (record((7, MIB, 1, 0), (8, MIB, 2, 0), (9, MIB, 3, 0), (10, MIB, 4, 0), (0, 0, 0, 0), (0, MIB, 6, 0),
                     (11, MIB, 7, 0), (11, MIB, 8, 0)), 0, [], 0),
    "huge": (record(*HUGE), 1, [], 3),
    "huge_in_bytes": (record(*HUGE), 1, ["--bytes"], 3),
    "no_mapping": (record(FLASHWATCH), 0, ["--mapping", "/nonexistent/names.json"], 0),
    "mapping_is_a_folder": (record(FLASHWATCH), 0, ["--mapping", "/"], 0),
}

PENDING = uds(b"\x7f\x22\x78")
UNRELATED = frame(0x4004, b"\1") + uds(b"\x62\x17\xf0\0", source=0x2002) + uds(b"\x7e\0") + ALIVE_CHECK
# Ways to the same ordinary figures: the steps of a connection.
DETOURS = {
    "response pending": [(READ_REPORT, ack() + PENDING * 3 + report(record(FLASHWATCH))), (READ_FLAG, flag(0))],
    "unrelated messages": [(READ_REPORT, UNRELATED), (ALIVE_ANSWER, report(record(FLASHWATCH))), (READ_FLAG, flag(0))],
    "no acknowledgement": [(READ_REPORT, uds(b"\x62\x17\xf0" + record(FLASHWATCH))), (READ_FLAG, flag(0))],
}

READING = "reading data identifier 0x17F0 of entity 0x1001: "
FLAG = "reading data identifier 0x17F2 of entity 0x1001: "
ACTIVATING = "activating routing with entity 0x1001: "
# (steps of the connection, what stands on stderr)
FAILURES = [
    *[([(ACTIVATE, activation(code))], f"{ACTIVATING}denied with 0x{code:02X}, {words}") for code, words in (
        (0x00, "this tester address is not known to the entity"),
        (0x01, "all of the entity's connections are taken by active testers"),
        (0x03, "this tester address is already active on another connection"),
        (0x11, "somebody has to confirm the activation in the vehicle first"),
        (0x7A, "a code without a known meaning"))],
    ([(ACTIVATE, activation(entity=0x1002))], ACTIVATING + "entity 0x1002 answered to tester 0x0E80"),
    ([(ACTIVATE, frame(6, b"\x0e\x80"))], ACTIVATING + "the answer is too short"),
    ([(ACTIVATE, frame(0, b"\x01"))], ACTIVATING + "the entity refused a message with 0x01, unknown payload type"),
    ([(ACTIVATE, b"HTTP/1.1 400 Bad Request\r\n")],
     ACTIVATING + "what answers is no DoIP entity (it sent 0x48 0x54 for a protocol version)"),
    ([(ACTIVATE, frame(6)[:4] + b"\xff\xff\xff\xff")],
     ACTIVATING + "the entity announced a message of 4294967295 bytes, more than 65536"),
    ([(ACTIVATE, b"")], ACTIVATING + "the entity closed the connection"),
    ([(ACTIVATE, None)], ACTIVATING + "no answer within 200 ms"),
    (activated() + [(READ_REPORT, negative(0x22))],
     READING + "negative response 0x22, conditions not correct (flashwatch may not be running)"),
    (activated() + [(READ_REPORT, negative(0x11))], READING + "negative response 0x11, service not supported "
     "(flashwatch answers so when it cannot get the statistics)"),
    (activated() + [(READ_REPORT, negative(0x99))], READING + "negative response 0x99, a code without a known meaning"),
    (activated() + [(READ_REPORT, nack(3))], READING + "the entity did not accept the request: 0x03, unknown target "
     "address (is --entity-address right?)"),
    (activated() + [(READ_REPORT, ack() + PENDING * 12)], READING + "no final response among 12 answers, the last being "
     "response pending or for another service"),
    (activated() + [(READ_REPORT, uds(b"\x62\x17\xf2\0"))], READING + "the response is for something else"),
    (activated() + [(READ_REPORT, report(b""))], READING + "the record is empty, not even a count is in it"),
    (activated() + figures(record(), 2), FLAG + "the record is not one byte of 0 or 1"),
    (activated() + [(READ_REPORT, report(record())), (READ_FLAG, negative(0x31))], FLAG + "negative response 0x31, "
     "request out of range (the machine does not know this identifier)"),
]

USAGE = [(["--port", "0"], "--port: '0' is not a number from 1 to 65535"),
         (["--port", "65536"], "--port: '65536' is not a number from 1 to 65535"),
         (["--tester-address", "0xE80x"], "--tester-address: '0xE80x' is not a number from 1 to 65535"),
         (["--timeout", "nan"], "--timeout: 'nan' is not a number of seconds from 0.1 to 86400"),
         (["--watch", "1e9"], "--watch: '1e9' is not a number of seconds from 0.1 to 86400"),
         (["--watch=x"], "--watch: 'x' is not a number of seconds from 0.1 to 86400"),
         (["--mapping"], "--mapping needs a value"),
         (["--colour"], "--colour is no option of this program, or is not whole"),
         (["a", "-j", "b"], "more than one host: 'a' and 'b'")]


class Tool(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        mapping = pathlib.Path(cls.folder.name) / "names.json"
        entries = [{"app_name": name, "scid": scid} for name, scid in NAMES.items()]
        mapping.write_text(json.dumps({"mappings": entries}))

    def start(self, *scripts):
        responder = Responder(*scripts)
        responder.start()
        return responder

    def command(self, responder, options=()):
        # The tool reads options in any order, and the last of a kind wins.
        return [TOOL, "--port", str(responder.port), "--mapping", "names.json", *options, "127.0.0.1"]

    def run_tool(self, *scripts, options=()):
        responder = self.start(*scripts)
        done = subprocess.run(self.command(responder, options), capture_output=True, text=True, timeout=60,
                              cwd=self.folder.name, stdin=subprocess.DEVNULL)
        responder.join(30)
        self.assertIsNone(responder.problem)
        return done, responder.port

    def on_terminal(self, responder, options, environment, until, stop=None):
        """What the tool writes to a terminal of 80 columns until `until` was seen, a signal sent, and it ended."""
        keeper, terminal = pty.openpty()
        with os.fdopen(keeper, "rb", buffering=0) as reader:
            process = subprocess.Popen(self.command(responder, options), stdout=terminal,
                                       cwd=self.folder.name, stdin=subprocess.DEVNULL,
                                       env={**os.environ, "TERM": "xterm", **environment})
            os.close(terminal)
            text = b""
            try:
                while part := reader.read(4096):
                    text += part
                    if stop and re.search(until, text.decode(errors="replace"), re.DOTALL):
                        process.send_signal(stop)
                        stop = None
            except OSError:
                pass  # the terminal's other end is closed
            return text.decode(), process.wait(30)

    def test_tables(self):
        for name, (data, exceeded, options, code) in TABLES.items():
            with self.subTest(name):
                done, port = self.run_tool(activated() + figures(data, exceeded), options=options)
                text = done.stdout.replace(f"port {port}", "port PORT")
                self.assertEqual((EXPECTED / f"{name}.txt").read_text(), text)
                self.assertEqual((done.returncode, done.stderr), (code, ""))
                if name not in ("huge", "huge_in_bytes"):
                    self.assertLessEqual(max(map(len, text.splitlines())), 80)

    def test_detours_lead_to_the_same_figures(self):
        direct, _ = self.run_tool(activated() + figures(record(FLASHWATCH), 0), options=["--json"])
        for name, steps in DETOURS.items():
            with self.subTest(name):
                done, _ = self.run_tool(activated() + steps, options=["--json"])
                self.assertEqual(json.loads(done.stdout)["applications"], json.loads(direct.stdout)["applications"])

    def test_failures_are_said_in_one_line(self):
        for steps, reason in FAILURES:
            with self.subTest(reason):
                timeout = "0.2" if steps[-1][1] is None else "10"
                done, _ = self.run_tool(steps, options=["--timeout", timeout])
                self.assertEqual((done.returncode, done.stdout, done.stderr), (1, "", f"flashwatch_read: {reason}\n"))

    def test_nobody_listens(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = taken.getsockname()[1]
        done = subprocess.run([TOOL, "-p", str(port), "127.0.0.1"], capture_output=True, text=True, timeout=30)
        self.assertEqual((done.returncode, done.stderr),
                         (1, f"flashwatch_read: connecting to 127.0.0.1 port {port}: Connection refused\n"))

    def test_wrong_command_lines(self):
        for arguments, reason in USAGE:
            with self.subTest(reason):
                done = subprocess.run([TOOL, *arguments], capture_output=True, text=True, timeout=30)
                self.assertEqual((done.returncode, done.stdout, done.stderr),
                                 (2, "", f"flashwatch_read: {reason} (see flashwatch_read --help)\n"))

    def test_json_is_exact(self):
        done, _ = self.run_tool(activated() + figures(record(*HUGE, MEDIA_OVER), 1), options=["--json"])
        document = json.loads(done.stdout)
        members = ("scid", "soft_limit", "total_write", "session_write")
        read = [tuple(each[member] for member in members) for each in document["applications"]]
        self.assertEqual(read, [*HUGE, MEDIA_OVER])
        for scid, limit, total, _ in read:
            each = next(each for each in document["applications"] if each["scid"] == scid)
            self.assertEqual(each["left"] - each["over_by"], limit - total)
            self.assertEqual(each["exceeded"], total > limit)
        self.assertEqual((document["budget_exceeded"], document["applications"][3]["names"]), (True, ["media"]))
        self.assertEqual(done.returncode, 3)

    def test_colours_only_on_a_terminal_that_wants_them(self):
        for environment, options, coloured in (({}, [], True), ({"NO_COLOR": "1"}, [], False),
                                               ({"TERM": "dumb"}, [], False), ({}, ["--json"], False)):
            with self.subTest(environment=environment, options=options):
                responder = self.start(activated() + figures(record(MEDIA_OVER), 1))
                text, code = self.on_terminal(responder, options, environment, "")
                self.assertEqual(("\x1b[1;31m" in text, "\x1b" in text, code), (coloured, coloured, 3))

    def test_watch_survives_a_lost_connection_and_restores_the_terminal(self):
        first, second = record((4660, MIB, 1000, 10)), record((4660, MIB, 5000, 20))
        responder = self.start(activated() + figures(first, 0), [(ACTIVATE, activation(1))],
                               activated() + figures(second, 0) + [(READ_REPORT, None)])
        text, code = self.on_terminal(responder, ["--watch", "0.1"], {"NO_COLOR": ""}, r"NO READING.*4\.88 KiB",
                                      signal.SIGINT)
        self.assertIn("NO READING: activating routing with entity 0x1001: denied with 0x01", text.replace("\x1b[K", ""))
        self.assertRegex(text, r"navigation .*B/s +\d+ (s|m)")
        self.assertTrue(text.startswith("\x1b[?1049h\x1b[?25l\x1b[H"))
        after = text[text.index("\x1b[?25h\x1b[?1049l"):]
        self.assertRegex(after, r"navigation +4660 +4\.88 KiB")
        self.assertNotIn("\x1b", after[len("\x1b[?25h\x1b[?1049l"):])
        self.assertEqual(code, 0)

    def test_options_are_told_the_same_everywhere(self):
        helped = set(re.findall(r"--[a-z-]+", subprocess.run([TOOL, "--help"], capture_output=True, text=True,
                                                              check=True).stdout))
        sources = pathlib.Path(__file__).parents[3] / "machine/flashwatch_read"
        manual = (sources / "flashwatch_read.1").read_text().replace("\\-", "-")
        completion = (sources / "flashwatch_read.bash-completion").read_text()
        self.assertEqual(helped, set(re.findall(r"--[a-z][a-z-]+", manual)))
        self.assertEqual(helped, set(re.findall(r"--[a-z][a-z-]+", completion)))


if __name__ == "__main__":
    unittest.main()
