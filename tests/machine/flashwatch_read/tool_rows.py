# SPDX-License-Identifier: Apache-2.0
"""The tool as a person runs it, against a scripted entity: what it prints, what it returns, how it draws."""
import json
import os
import pathlib
import pty
import re
import shutil
import signal
import subprocess
import tempfile
from functools import partial

from entity import (ACTIVATE, ACTIVATED, ALIVE_ANSWER, ALIVE_CHECK, FLAG, READ_FLAG, READ_REPORT, REPORT, Entity,
                    acknowledgement, activation, figures, frame, negative, positive, record, uds)

HERE = pathlib.Path(__file__).parent
SOURCES = HERE.parents[2] / "machine/flashwatch_read"
KIB, MIB, TOP = 1024, 1024 * 1024, 2**64 - 1
NAMES = {"flashwatch": 4096, "navigation": 4660, "media": 22136, "tripmeter": 39321, "radio": 7, "tuner": 7,
         "persistency_statistics": 8, "evil\x1b[2J\u202ename": 9, "地図ナビゲーション表示装置": 10, "a\0b\n": 12,
         "\x7f\x9b": 13}
FLASHWATCH = (4096, 16 * MIB, 12345, 1234)
NAVIGATION = (4660, 8 * MIB, 7 * MIB + 900000, MIB)
MEDIA_OVER = (22136, 256 * KIB, 301000, 64 * KIB)
FIFTEEN = [(100 + i, 10 * MIB, i * 700000, i * 1000) for i in range(15)]
# 2^53 + 1 is the first integer that a binary64 number cannot hold.
HUGE = [(TOP, TOP, TOP, TOP), (1 << 63, 2**63 + 1, 2**53 + 1, 2**32 + 1), (5, 0, TOP, 2**31 + 1)]
AMOUNTS = [(1, MIB, amount, amount) for amount in (0, 1023, 1024, 10239, 10240, 102399, MIB - 1, MIB, 1 << 60, TOP)]
SHARES = [(1, *pair, 0) for pair in ((0, 0), (0, 1), (1000, 0), (1000, 1), (1000, 999), (1000, 1000), (1000, 1001),
                                     (1000, 9990), (1000, 9991), (TOP, TOP - 1), (TOP - 1, TOP), (1, TOP))]

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
    "too_few": (record(*FIFTEEN[:14], count=15), 0, [], 0),
    "flag_alone": (record(FLASHWATCH), 1, [], 3),
    "names": (record((7, MIB, 1, 0), (8, MIB, 2, 0), (9, MIB, 3, 0), (10, MIB, 4, 0), (0, 0, 0, 0), (0, MIB, 6, 0),
                     (11, MIB, 7, 0), (11, MIB, 8, 0), (12, MIB, 9, 0), (13, MIB, 10, 0)), 0, [], 0),
    "amounts": (record(*AMOUNTS), 1, [], 3),
    "shares": (record(*SHARES), 1, ["--bytes"], 3),
    "huge": (record(*HUGE), 1, [], 3),
    "huge_in_bytes": (record(*HUGE), 1, ["--bytes"], 3),
    "odd_mapping": (record(*((scid, MIB, 1, 0) for scid in (0, 1, 3, 7, 8, TOP))), 0,
                    ["--mapping", "odd_mapping.json"], 0),
    "no_mapping": (record(FLASHWATCH), 0, ["--mapping", "/nonexistent/names.json"], 0),
    "mapping_is_a_folder": (record(FLASHWATCH), 0, ["--mapping", "/"], 0),
    "mapping_without_end": (record(FLASHWATCH), 0, ["--mapping", "/dev/zero"], 0),
    "mapping_without_mappings": (record(FLASHWATCH), 0, ["--mapping", "list.json"], 0),
    "mapping_cut_off": (record(FLASHWATCH), 0, ["--mapping", "cut.json"], 0),
}
WIDE = ("huge", "huge_in_bytes", "shares")

PENDING = uds(b"\x7f\x22\x78")
UNRELATED = frame(0x4004, b"\1") + uds(b"\x62\x17\xf0\0", source=0x2002) + uds(b"\x7e\0") + ALIVE_CHECK
GOOD = positive(REPORT, record(FLASHWATCH))
END = (READ_FLAG, positive(FLAG, b"\0"))
# Ways to the same figures: the steps of a connection, and in how many bytes at a time the entity sends.
DETOURS = {
    "response pending": ([(READ_REPORT, acknowledgement() + PENDING * 3 + GOOD), END], 1 << 20),
    "unrelated messages": ([(READ_REPORT, UNRELATED), (ALIVE_ANSWER, GOOD), END], 1 << 20),
    "no acknowledgement": ([(READ_REPORT, uds(b"\x62" + REPORT + record(FLASHWATCH), version=3)), END], 1 << 20),
    **{f"in pieces of {piece}": ([(READ_REPORT, UNRELATED), (ALIVE_ANSWER, GOOD), END], piece) for piece in (1, 3, 9)},
}

READING, FLAG_READING = (f"reading data identifier 0x{each} of entity 0x1001: " for each in ("17F0", "17F2"))
ACTIVATING = "activating routing with entity 0x1001: "
# (steps of the connection, what stands on stderr)
FAILURES = [
    *(([(ACTIVATE, answer)], ACTIVATING + reason) for answer, reason in (
        (activation(0x00), "denied with 0x00, this tester address is not known to the entity"),
        (activation(0x7A), "denied with 0x7A, a code without a known meaning"),
        (activation(entity=0x1002), "entity 0x1002 answered to tester 0x0E80"),
        (frame(6, b"\x0e\x80"), "the answer is too short"),
        (frame(0, b"\x01"), "the entity refused a message with 0x01, unknown payload type"),
        (b"HTTP/1.1 400 Bad Request\r\n",
         "what answers is no DoIP entity (it sent 0x48 0x54 for a protocol version)"),
        (frame(6)[:4] + b"\0\1\0\1", "the entity announced a message of 65537 bytes, more than 65536"),
        (b"", "the entity closed the connection"), (None, "no answer within 200 ms"))),
    *((ACTIVATED + [(READ_REPORT, answer)], READING + reason) for answer, reason in (
        (negative(0x22), "negative response 0x22, conditions not correct (flashwatch may not be running)"),
        (negative(0x11), "negative response 0x11, service not supported "
                         "(flashwatch answers so when it cannot get the statistics)"),
        (negative(0x99), "negative response 0x99, a code without a known meaning"),
        (acknowledgement(3),
         "the entity did not accept the request: 0x03, unknown target address (is --entity-address right?)"),
        (acknowledgement() + PENDING * 12,
         "no final response among 12 answers, the last being response pending or for another service"),
        (uds(b"\x62\x17\xf2\0"), "the response is for something else"),
        (positive(REPORT, b""), "the record is empty, not even a count is in it"))),
    (ACTIVATED + figures(record(), 2), FLAG_READING + "the record is not one byte of 0 or 1"),
    (ACTIVATED + [(READ_REPORT, GOOD), (READ_FLAG, negative(0x31))],
     FLAG_READING + "negative response 0x31, request out of range (the machine does not know this identifier)"),
]
USAGE = [(["--port", "0"], "--port: '0' is not a number from 1 to 65535"),
         (["--tester-address", "0xE80x"], "--tester-address: '0xE80x' is not a number from 1 to 65535"),
         (["--timeout", "nan"], "--timeout: 'nan' is not a number of seconds from 0.1 to 86400"),
         (["--watch", "1e9"], "--watch: '1e9' is not a number of seconds from 0.1 to 86400"),
         (["--mapping"], "--mapping needs a value"),
         (["--colour"], "--colour is no option of this program, or is not whole"),
         (["--watch", "h", "b"], "more than one host: 'h' and 'b'")]


class Tool:
    def __init__(self, program, folder):
        self.program, self.folder = program, folder

    def finish(self, *arguments):
        done = subprocess.run([self.program, *arguments], capture_output=True, text=True, timeout=60, cwd=self.folder,
                              stdin=subprocess.DEVNULL)
        return done.stdout, done.stderr, done.returncode

    @staticmethod
    def options(entity, *more):
        # The tool reads options in any order, and the last of a kind wins.
        return ["--port", str(entity.port), "--mapping", "names.json", *more, "127.0.0.1"]

    def read(self, script, *options, piece=1 << 20):
        entity = Entity(script, piece=piece)
        output, errors, code = self.finish(*self.options(entity, *options))
        entity.join(30)
        assert entity.problem is None, entity.problem
        return output.replace(f"port {entity.port}", "port PORT"), errors, code

    def on_terminal(self, entity, options, environment, until="", stop=None):
        """What the tool writes to a terminal of 80 columns until `until` was seen, a signal sent, and it ended."""
        keeper, terminal = pty.openpty()
        with os.fdopen(keeper, "rb", buffering=0) as reader:
            process = subprocess.Popen([self.program, *self.options(entity, *options)], stdin=subprocess.DEVNULL,
                                       stdout=terminal, cwd=self.folder,
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


def same(heard, expected):
    assert heard == expected, f"\n{heard}\n{expected}"


def table(tool, name, data, exceeded, options, code):
    heard = tool.read(ACTIVATED + figures(data, exceeded), *options)
    same(heard, ((HERE / f"expected/{name}.txt").read_text(), "", code))
    assert name in WIDE or max(map(len, heard[0].splitlines())) <= 80


def detour(tool, steps, piece):
    straight, way = (json.loads(tool.read(ACTIVATED + each, "--json", piece=size)[0])["applications"]
                     for each, size in ((figures(record(FLASHWATCH), 0), 1 << 20), (steps, piece)))
    same(way, straight)


def failure(tool, steps, reason):
    timeout = "0.2" if steps[-1][1] is None else "10"
    same(tool.read(steps, "--timeout", timeout), ("", f"flashwatch_read: {reason}\n", 1))


def misuse(tool, arguments, reason):
    same(tool.finish(*arguments), ("", f"flashwatch_read: {reason} (see flashwatch_read --help)\n", 2))


def nobody_listens(tool):
    same(tool.finish("-p", "1", "127.0.0.99"),
         ("", "flashwatch_read: connecting to 127.0.0.99 port 1: Connection refused\n", 1))


def json_is_exact(tool):
    output, _, code = tool.read(ACTIVATED + figures(record(*HUGE, MEDIA_OVER), 1), "--json")
    document = json.loads(output)
    members = ("scid", "soft_limit", "total_write", "session_write", "left", "over_by", "exceeded")
    same([tuple(each[member] for member in members) for each in document["applications"]],
         [(scid, limit, total, session, max(0, limit - total), max(0, total - limit), total > limit)
          for scid, limit, total, session in (*HUGE, MEDIA_OVER)])
    same((document["budget_exceeded"], document["applications"][3]["names"], code), (True, ["media"], 3))


def colours(tool, environment, options, coloured):
    text, code = tool.on_terminal(Entity(ACTIVATED + figures(record(MEDIA_OVER), 1)), options, environment)
    same(("\x1b[1;31m" in text, "\x1b" in text, code), (coloured, coloured, 3))


def watch(tool):
    """It answers alive checks while it waits, survives a lost connection, and leaves the terminal as it was."""
    first, second = record((4660, MIB, 1000, 10)), record((4660, MIB, 5000, 20))
    report, (asked, flag) = figures(first, 0)
    entity = Entity(ACTIVATED + [report, (asked, flag + ALIVE_CHECK), (ALIVE_ANSWER, b"")], [(ACTIVATE, activation(1))],
                    ACTIVATED + figures(second, 0) + [(READ_REPORT, None)])
    text, code = tool.on_terminal(entity, ["--watch", "0.1"], {"NO_COLOR": ""}, r"NO READING.*4\.88 KiB", signal.SIGINT)
    assert "NO READING: activating routing with entity 0x1001: denied with 0x01" in text.replace("\x1b[K", ""), text
    assert re.search(r"navigation .*B/s +\d+ (s|m)", text) and text.startswith("\x1b[?1049h\x1b[?25l\x1b[H"), text
    after = text.split("\x1b[?25h\x1b[?1049l")[1]
    assert re.search(r"navigation +4660 +4\.88 KiB", after) and "\x1b" not in after, after
    assert code == 0 and (entity.problem or "got ").endswith("got "), entity.problem  # it may end before it asks


def options_are_told_the_same_everywhere(tool):
    helped, *others = (set(re.findall(r"--[a-z][a-z-]+", text)) for text in (
        tool.finish("--help")[0], (SOURCES / "flashwatch_read.1").read_text().replace("\\-", "-"),
        (SOURCES / "flashwatch_read.bash-completion").read_text()))
    same(others, [helped, helped])


def rows(programs):
    with tempfile.TemporaryDirectory() as folder:
        entries = [{"app_name": name, "scid": scid} for name, scid in NAMES.items()]
        for name, content in (("names", json.dumps({"mappings": entries})), ("list", "[]"), ("cut", "[")):
            (pathlib.Path(folder) / f"{name}.json").write_text(content)
        shutil.copy(HERE / "odd_mapping.json", folder)
        tool = Tool(programs / "flashwatch_read", folder)
        for name, row in TABLES.items():
            yield name, partial(table, tool, name, *row)
        for name, row in DETOURS.items():
            yield name, partial(detour, tool, *row)
        for steps, reason in FAILURES:
            yield reason, partial(failure, tool, steps, reason)
        for arguments, reason in USAGE:
            yield reason, partial(misuse, tool, arguments, reason)
        for row in (({}, [], True), ({"NO_COLOR": "1"}, [], False), ({"TERM": "dumb"}, [], False),
                    ({}, ["--json"], False)):
            yield f"colours: {row}", partial(colours, tool, *row)
        for test in (nobody_listens, json_is_exact, watch, options_are_told_the_same_everywhere):
            yield test.__name__, partial(test, tool)
