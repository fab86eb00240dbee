#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The report on small DLT files: figures, order, escaping, what it makes of damage, and that it needs no network."""
import json
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest

START, DAY = 1_700_000_000, 86400  # 2023-11-14 22:13:20 UTC


def message(day, texts, order=">", application="FLWT", context="DATA"):
    payload = b"".join(struct.pack(order + "IH", 0x8200, len(text.encode()) + 1) + text.encode() + b"\0" for text in texts)
    flags = 0x37 if order == ">" else 0x35  # version 1, timestamp, ECU, extended header
    headers = struct.pack("<4sII4s", b"DLT\1", START + day * DAY, 0, b"ECU1") + struct.pack(
        ">BBH4sIBB", flags, 0, 22 + len(payload), b"ECU1", 0, 0x41, len(texts))
    return headers + application.encode() + context.encode() + payload


def reading(day, name, written, soft, hard, **options):
    return message(day, [name, f"session({written}, 1)", f"total({written}, 1)",
                         f"budget({soft - written}, {hard - written})"], **options)


class Report(unittest.TestCase):
    def make(self, *content):
        with tempfile.TemporaryDirectory() as place:
            log, page = pathlib.Path(place, "log.dlt"), pathlib.Path(place, "page.html")
            log.write_bytes(b"".join(content))
            result = subprocess.run([sys.argv[-1], log, page], capture_output=True, text=True, timeout=60, check=False)
            self.assertEqual(page.exists(), result.returncode == 0, result.stderr)
            return result.stderr, page.read_text(encoding="utf-8") if page.exists() else ""

    def test_figures_and_order(self):
        told = json.loads(pathlib.Path(__file__).with_name("report.json").read_text())
        errors, page = self.make(*(message(**row) if "texts" in row else reading(**row) for row in told["log"]))
        self.assertEqual(errors, "")
        self.assertEqual([*map(list, re.findall(r"<h2>(\w+) <b class=\"(\w+)\"", page))], told["order"])
        cards = {card.split()[0]: re.findall(r"<dd>(.*?)</dd>", card) for card in page.split("<h2>")[1:]}
        # The map reaches its limits 12.5 and 37.5 days after the 10th.
        self.assertEqual({name: cards[name] for name in told["figures"]}, told["figures"])

    def test_texts_from_outside_are_escaped_and_nothing_is_loaded(self):
        _, page = self.make(reading(0, "<script>&\"'", 1, 2, 3))
        self.assertIn("&lt;script&gt;&amp;&quot;&#x27;", page)
        self.assertNotRegex(page, r"<script|(src|href)=|url\(|@import|https?:")

    def test_damage_is_named_and_the_rest_is_read(self):
        whole = reading(0, "whole", 1, 2, 3)
        broken = reading(0, "broken", 1, 2, 3)
        liar, arguments = (broken[:at] + b"\xff\xff" + broken[at + 2:] for at in (18, 42))
        for content, complaint in ((b"noise", "5 bytes at offset"), (broken[:40], "the message at offset"),
                                   (broken[:18], "the message at offset"), (liar, "the message at offset"),
                                   (arguments, "damaged arguments")):
            for parts in ((whole, content), (whole, content, whole)):
                errors, page = self.make(*parts)
                self.assertIn(complaint, errors)
                self.assertIn("<h2>whole ", page)
                self.assertIn("damaged places", page)

    def test_a_file_without_statistics_gives_no_page(self):
        for content, complaint in ((b"", "is empty"), (b"PK\3\4", "no DLT file"),
                                   (reading(0, "x", 1, 1, 1, application="ELSE"), "no statistics"),
                                   *((reading(0, "map", 1, 2, 3)[:size], "it ") for size in range(9, 80, 9))):
            errors, _ = self.make(content)
            self.assertIn(complaint, errors)


unittest.main(argv=sys.argv[:1])
