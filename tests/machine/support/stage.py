# SPDX-License-Identifier: Apache-2.0
"""Plays a JSON file of the machine's tests: the processes, their peers and their testers. ../README.md says what the
steps do."""
import contextlib
import json
import os
import re
import resource
import signal
import time
from functools import partial

from conversation import Conversation
from machine import EXCEEDANCE, PORTS, REPORT, STATISTICS, Machine, statistics
from process import LIMIT
from someip_node import Service, Someip_node
from two_hosts import INSIDE_OTHER, ip, two_hosts

PLAYED = {"statistics": STATISTICS, "17F0": REPORT, "17F2": EXCEEDANCE}
READ_BY = {"report": REPORT, "budget": EXCEEDANCE}


def answer_of(told, texts):
    """None, what statistics() takes, or as it is heard: TYPE/CODE PAYLOAD, and after how many bytes it breaks off."""
    if not isinstance(told, str):
        return told and statistics(**told)
    kind, code, payload, cut = re.fullmatch(r"(..)/(..) ?([0-9A-F]*)(?: cut (\d+))?", told.format(**texts)).groups()
    return int(kind, 16), int(code, 16), bytes.fromhex(payload), *([int(cut)] if cut else [])


def merged(document, changes):
    """The changes laid over the document; null takes a member away."""
    if not isinstance(changes, dict):
        return changes
    return {name: merged(document.get(name, {}), changes[name]) if name in changes else document[name]
            for name in {**document, **changes} if changes.get(name, "") is not None}


def fill_the_disk():
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)  # a file at its limit is an error then
    resource.setrlimit(resource.RLIMIT_FSIZE, (1024, resource.RLIM_INFINITY))


def preload(library):
    """The environment for a program that is to have that library first."""
    return {"LD_PRELOAD": library, "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"}


HOW = {  # the options of a start
    "": dict, "hastily": lambda: {"variables": preload(os.environ["SHORT_SLEEP"])},
    "on a full disk": lambda: {"expect_ready": False, "prepare": fill_the_disk},
    "in vain": lambda: {"expect_ready": False}, "elsewhere": lambda: {"inside": INSIDE_OTHER}}


class Stage(Machine):
    def __init__(self, programs, group):
        super().__init__(programs)
        self.group, self.node, self.processes, self.logged, self.streams = group, None, {}, {}, {}
        self.manifest = merged(self.manifest, group.get("manifest", {}))
        self.texts = {name: text[0] * text[1] if isinstance(text, list) else text
                      for name, text in group.get("texts", {}).items()}
        self.answers = {which: {word: answer_of(told, self.texts) for word, told in answers.items()}
                        for which, answers in group.get("answers", {}).items()}
        self.words = dict.fromkeys(self.answers, ["answers"])
        if "configuration" in group:
            self.configure(group["configuration"])

    def __exit__(self, *_):
        self.peers("vanish")
        for process in self.processes.values():
            process.__exit__()
        super().__exit__()

    def play(self, lines):
        with Conversation(self.address("diagnostic_manager"), self.do) as conversation:
            conversation.play(";".join(lines).format(NETWORK=self.network, **self.texts))

    def play_row(self, lines):
        self.play(self.group.get("before", []))
        self.logged = {name: [len(process.log)] * 2 for name, process in self.processes.items()}
        try:
            self.play(lines)
        finally:
            while self.streams:
                self.streams.popitem()[1].close()

    def do(self, who, what, *words):
        if who in PLAYED:
            self.played_service(who, what)
        elif who in READ_BY:
            self.reader(who, what, " ".join(words))
        elif who == "peers":
            self.peers(what)
        elif who == "cable":
            ip("link", "set", "cable", what)
        elif who == "stores" and what == "hold":
            assert list(self.stores.glob(*words)), f"they hold {[*self.stores.rglob('*')]}"
        elif who == "stores":
            names = self.stores, self.scratch / "elsewhere"
            os.rename(*(names if what == "vanish" else reversed(names)))
        else:
            self.process(who, what, words)

    def peers(self, what):
        if self.node:
            self.node.end()
            self.node = None
        if what == "come":
            services = [Service(PLAYED[which], PORTS[PLAYED[which]], partial(self.answer, which)) for which in self.answers]
            discovery = self.manifest["communication"]["discovery"]
            self.node = Someip_node(self.network + "101", discovery["group"], discovery["port"], services)

    def answer(self, which):
        words = self.words[which]
        return self.answers[which][words.pop(0) if len(words) > 1 else words[0]]

    def played_service(self, which, what):
        if what == "keeps":
            self.node.await_withheld()
            return
        self.words[which] = what.split(",")
        if self.node:
            self.node.release()

    def reader(self, who, what, text):
        end = time.monotonic() + LIMIT
        if what == "sends":
            if who not in self.streams:
                self.streams[who] = self.client(READ_BY[who])
            self.streams[who].send(bytes.fromhex(text))
        elif what == "hears":
            heard = self.streams[who].next_message().hex().upper() or "closed"
            assert heard == text.replace(" ", ""), f"heard {heard}"
        else:
            while not re.fullmatch(text.replace(" ", ""), heard := self.read(READ_BY[who]).replace(" ", ""), re.I):
                assert what == "awaits" and time.monotonic() < end, f"heard {heard}"

    def process(self, name, what, words):
        text, process = " ".join(words), self.processes.get(name)
        match what:
            case "starts":
                if process:
                    process.__exit__()
                process = self.processes[name] = self.start(name, **HOW[text]())
                self.logged[name] = [0, 0]
            case "ends":
                started = time.monotonic()
                code = process.end(signal.Signals[words[1]] if words[1:] else signal.SIGTERM)
                assert code == int(words[0]), f"code {code}: {process.text()[-4000:]}"
                assert "promptly" not in words or time.monotonic() - started < 1, "it took its time"
            case "refuses":
                code = process.wait()
                assert code == 1 and text in process.text(), f"code {code}: {process.text()}"
            case "has":
                resource.prlimit(process.child.pid, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY,) * 2)
            case "gets":
                process.child.send_signal(signal.Signals[text])
            case "stops":
                process.stop()
            case "tells":
                process.await_ready(text.encode())
            case "logs":
                self.logged[name][1] = process.await_text(text, self.logged[name][1])
            case "omits":
                assert text not in process.text()[self.logged[name][0]:], process.text()
            case "settles":
                self.at_rest = process.descriptors()
            case "rests":
                end = time.monotonic() + LIMIT
                while (count := process.descriptors()) > self.at_rest:
                    assert time.monotonic() < end, f"{count} descriptors, {self.at_rest} at rest"
                    os.sched_yield()
            case _:
                raise ValueError(what)


def rows(file, programs):
    for group in json.loads(file.read_text()):
        with two_hosts() if "hosts" in group else contextlib.nullcontext(), Stage(programs, group) as stage:
            stage.play(group.get("first", []))
            for name, lines in group["rows"].items():
                yield name, partial(stage.play_row, lines)
            if "last" in group:
                yield "the end", partial(stage.play, group["last"])
