# SPDX-License-Identifier: Apache-2.0
"""A tester, the diagnostic manager, flashwatch and the statistics service: what is heard when one of them fails."""
import signal
from functools import partial

from conversation import Conversation
from crowd_rows import applications, report
from machine import REPORT, Watched_machine, statistics
from someip_node import ERROR

NEEDS_ETC = True
P2_MS, P2_STAR_MS = 400, 1000
ANSWERS = {"answers": statistics({"alpha": (0, 1, 0, 0, 2, 0, 3, 4)}), "crowds": statistics(applications(300)),
           "fails": (ERROR, 3, b""), "hangs": None}
TEXTS = {"ALPHA": "6217F001" + "000000000000123400000000000000030000000000000002" + "0000000000000001",
         "CROWD": report(300)[14:16].upper() + report(300)[24:].upper(),
         "HANGS": "1 asks 2217F0 -; 1 hears uds 7F2278 after 320; 1 hears uds 7F2278 after 800; "
                  "1 hears uds 7F2210 after 800"}

# One after the other, with the same diagnostic manager.
ROWS = {
    "flashwatch is absent": "1 joins; 1 reads 17F0 7F2222; 1 reads 17F2 7F2222; 1 asks all 2217F0 7F2222",
    "it comes": "flashwatch starts; 1 joins; 1 awaits 17F0 {ALPHA}; 1 awaits 17F2 6217F200",
    "it ends": "1 joins; flashwatch ends; 1 reads 17F0 7F2222; 1 reads 17F2 7F2222; 1 reads F186 62F18601",
    "it comes back": "1 joins; flashwatch starts; 1 awaits 17F0 {ALPHA}",
    "it is stopped": "1 joins; flashwatch stops; {HANGS}; 2 joins; 2 reads F186 62F18601",
    "it is continued": "flashwatch continues; 1 joins; 1 awaits 17F0 {ALPHA}",
    "it is stopped and continued while it is asked": """1 joins; flashwatch stops; 1 asks 2217F0 7F2278
        ; flashwatch continues; 1 finally hears uds {ALPHA}""",
    "it is killed": "1 joins; flashwatch dies; 1 reads 17F0 7F2222; 1 reads 17F2 7F2222",
    "it is restarted": "1 joins; flashwatch starts; 1 awaits 17F0 {ALPHA}",
    "it is killed while it is asked": """1 joins; statistics hangs; 1 asks 2217F0 7F2278; flashwatch dies
        ; 1 finally hears uds 7F2222; statistics answers; flashwatch starts; 1 awaits 17F0 {ALPHA}""",
    "the statistics fail": """1 joins; statistics fails; 1 reads 17F0 7F2211; 1 reads 17F2 7F2211; 1 asks all 2217F0 -
        ; 2 joins; 2 reads 17F0 7F2211; 1 reads F186 62F18601""",
    "the statistics fail late": """1 joins; statistics hangs; 1 asks all 2217F0 7F2278; statistics fails
        ; 1 finally hears uds 7F2211""",
    "several testers at once": """statistics hangs; 1 joins; 2 joins; 3 joins; 4 joins; 1 asks 2217F0 -; 2 asks 2217F0 -
        ; 3 asks 2217F2 -; 4 asks 2217F0 -; statistics answers; 1 finally hears uds {ALPHA}
        ; 2 finally hears uds {ALPHA}; 3 finally hears uds 6217F200; 4 finally hears uds {ALPHA}""",
    "over 256 applications": """flashwatch ends; statistics crowds; flashwatch starts; 1 joins
        ; 1 awaits 17F0 6217F0{CROWD}; 1 reads 17F217F0 6217F20017F0{CROWD}""",
}


class Diagnosed_machine(Watched_machine):
    flashwatch = None

    def behave(self, who, word):
        if who == "statistics":
            self.answer = ANSWERS[word]
            self.node.release()
        elif word == "starts":
            self.flashwatch = self.start()
        elif word in ("ends", "dies"):
            number = signal.SIGTERM if word == "ends" else signal.SIGKILL
            with self.flashwatch as process:
                assert process.end(number) == (0 if word == "ends" else -number), process.text()
        elif word == "stops":
            self.flashwatch.stop()
        else:
            self.flashwatch.child.send_signal(signal.SIGCONT)

    def play(self, script):
        self.answer = ANSWERS["answers"]
        with Conversation(self.address("diagnostic_manager"), self.behave) as conversation:
            conversation.play(script.format(**TEXTS))

    def __exit__(self, *_):
        if self.flashwatch:
            self.flashwatch.__exit__()
        super().__exit__()


def rows(programs):
    with Diagnosed_machine(programs) as machine:
        machine.discovery["ttl_s"] = 60  # who is stopped stays on offer
        machine.limits["response_time_ms"] = 10000
        machine.manifest["diagnostics"]["timers"] = {"p2_ms": P2_MS, "p2_star_ms": P2_STAR_MS}
        machine.manifest["diagnostics"]["limits"]["pending_responses"] = 2
        machine.offer()
        with machine.start("diagnostic_manager") as manager:
            for name, script in ROWS.items():
                yield name, partial(machine.play, script)
            yield "nothing is broken at the end", lambda: manager.end() == 0 or 1 / 0
