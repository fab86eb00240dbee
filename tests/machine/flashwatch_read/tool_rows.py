# SPDX-License-Identifier: Apache-2.0
"""The tool as a person runs it, against a scripted entity: what it prints, what it returns, how it draws. The rows are
in tool.json, the tables in expected/."""
import json
import os
import pathlib
import pty
import re
import shutil
import signal
import struct
import subprocess
import tempfile
from functools import partial

from entity import Entity

HERE = pathlib.Path(__file__).parent
SOURCES = HERE.parents[2] / "machine/flashwatch_read"
TOLD = json.loads((HERE / "tool.json").read_text())


def told(steps):
    return [step.format(**TOLD["texts"]) for step in steps]


def reading(entries, count=None, tail="", flag=0):
    """The steps of a reading that goes well. An entry is (SCID, soft limit, total, session), or a name for several."""
    rows = sum((TOLD["entries"][each] if isinstance(each, str) else [each] for each in entries), [])
    counted = min(len(rows) % 256, 15) if count is None else count
    record = bytes([counted]) + b"".join(struct.pack(">4Q", *row) for row in rows)
    return told(["activate: {ACTIVATED}", f"17F0: {{ACK}}; {{UDS}} 6217F0 {record.hex()}{tail}",
                 f"17F2: {{ACK}}; {{UDS}} 6217F2 {flag:02X}"])


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
        entity.served.result(30)
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


def table(tool, name, options=(), code=0, **figures):
    same(tool.read(reading(**figures), *options), ((HERE / f"expected/{name}.txt").read_text(), "", code))


def detour(tool, _, steps, piece=1 << 20):
    expected = (HERE / "expected/detour.txt").read_text()
    same(tool.read(told(["activate: {ACTIVATED}", *steps]), piece=piece), (expected, "", 0))


def failure(tool, reason, steps):
    timeout = "0.2" if "silence" in steps[-1] else "10"
    same(tool.read(told(steps), "--timeout", timeout), ("", f"flashwatch_read: {reason}\n", 1))


def alone(tool, reason, code, arguments):
    same(tool.finish(*arguments), ("", f"flashwatch_read: {reason}\n", code))


def terminal(tool, _, environment=None, options=(), coloured=False):
    text, code = tool.on_terminal(Entity(reading(["media"], flag=1)), options, environment or {})
    same(("\x1b[1;31m" in text, "\x1b" in text, code), (coloured, coloured, 3))


def watch(tool):
    """It answers alive checks while it waits, survives a lost connection, and leaves the terminal as it was."""
    first, second = (reading([(4660, 1 << 20, total, 10)]) for total in (1000, 5000))
    entity = Entity([*first[:2], first[2] + "; 0007", "alive:"], ["activate: 0006 0E801001 01 00000000"],
                    [*second, "17F0: silence"])
    text, code = tool.on_terminal(entity, ["--watch", "0.1"], {"NO_COLOR": ""}, r"NO READING.*4\.88 KiB", signal.SIGINT)
    assert "NO READING: activating routing with entity 0x1001: denied with 0x01" in text.replace("\x1b[K", ""), text
    assert re.search(r"navigation .*B/s +\d+ (s|m)", text) and text.startswith("\x1b[?1049h\x1b[?25l\x1b[H"), text
    after = text.split("\x1b[?25h\x1b[?1049l")[1]
    assert re.search(r"navigation +4660 +4\.88 KiB", after) and "\x1b" not in after, after
    problem = entity.served.exception(30)
    assert code == 0 and str(problem or "got ").endswith("got "), problem  # it may end before it asks


def options_are_told_the_same_everywhere(tool):
    helped, *others = (set(re.findall(r"--[a-z][a-z-]+", text)) for text in (
        tool.finish("--help")[0], (SOURCES / "flashwatch_read.1").read_text().replace("\\-", "-"),
        (SOURCES / "flashwatch_read.bash-completion").read_text()))
    same(others, [helped, helped])


def rows(programs):
    with tempfile.TemporaryDirectory() as folder:
        for name, content in (("names", json.dumps(TOLD["mapping"])), ("list", "[]"), ("cut", "[")):
            (pathlib.Path(folder) / f"{name}.json").write_text(content)
        shutil.copy(HERE / "odd_mapping.json", folder)
        tool = Tool(programs / "flashwatch_read", folder)
        for kind, play in (("tables", table), ("detours", detour), ("failures", failure), ("alone", alone),
                           ("terminals", terminal)):
            for name, row in TOLD[kind].items():
                yield name, partial(play, tool, name, **row)
        for test in (watch, options_are_told_the_same_everywhere):
            yield test.__name__, partial(test, tool)
