#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The documents against what they describe. Usage: documents_test.py REPOSITORY PROGRAMS"""
import json
import pathlib
import re
import subprocess
import sys
import unittest

ROOT, PROGRAMS = map(pathlib.Path, sys.argv[1:3])
DOCUMENTS = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")])


def text_of(name):
    return (ROOT / name).read_text(encoding="utf-8")


def rows_of(text):
    return [[cell.strip() for cell in line.strip("| ").split(" | ")] for line in text.splitlines() if line[:2] == "| "]


def literals_of(code):
    return [re.sub(r'\\(.)', r"\1", each).strip(" (,)") for each in re.findall(r'"((?:[^"\\]|\\.)*)"', code)]


def leaves_of(schema, path, root):
    schema = {**schema, **root["$defs"].get(schema.get("$ref", "").rpartition("/")[2], {}), **schema}
    members = dict(schema.get("properties", {}))
    if isinstance(schema.get("additionalProperties"), dict):
        members["*"] = schema["additionalProperties"]
    inside = [leaf for name, each in members.items() for leaf in leaves_of(each, f"{path}.{name}".lstrip("."), root)]
    return inside or [(path, schema)]


class Documents(unittest.TestCase):
    def test_links_resolve(self):
        for document in DOCUMENTS:
            for target, anchor in re.findall(r"\]\((?!https?:)([^)#\s]*)#?([^)]*)\)", document.read_text(encoding="utf-8")):
                with self.subTest(document=document.name, target=target):
                    there = (document.parent / target).resolve() if target else document
                    self.assertTrue(there.exists())
                    headings = re.findall(r"^#+ (.*)", there.read_text(encoding="utf-8"), re.M) if anchor else []
                    slugs = [re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings]
                    self.assertIn(anchor, [*slugs, ""])

    def test_every_document_is_named_in_the_readme(self):
        for document in ROOT.glob("docs/*.md"):
            self.assertIn(f"](docs/{document.name})", text_of("README.md"))

    def test_configuration_has_the_members_of_the_manifest(self):
        rows = {re.sub("<.*?>", "*", row[0].strip("`")): row for row in rows_of(text_of("docs/configuration.md"))
                if re.match("`(processes|persistency|health|communication|diagnostics)[.]", row[0])}
        schema = json.loads(text_of("machine/etc/machine.schema.json"))
        leaves = dict(leaves_of(schema, "", schema))
        self.assertEqual(set(rows), set(leaves))
        for path, leaf in leaves.items():
            default = re.findall(r"Default:? (\S+?)[.,]?(?:\s|$)", leaf.get("description", ""))
            for value in [leaf[bound] for bound in ("minimum", "maximum") if bound in leaf] + leaf.get("enum", []) + default:
                self.assertRegex(" ".join(rows[path][1:]), rf"(?<!\w){re.escape(str(value))}(?!\w)", path)

    def test_logging_has_every_text(self):
        rows = [row for row in rows_of(text_of("docs/logging.md")) if "`" in row[0] + row[1]]
        lines = [(re.sub("[`]", "", row[1 if len(row) == 4 else 0]), row[0]) for row in rows]
        code = "\n".join(path.read_text(encoding="utf-8") for path in sorted((ROOT / "flashwatch").rglob("*.[ch]*")))
        sent = re.findall(r"^ *((?:[^\n]*\bLog(\w+)\(\) *<<|line <<|throw|log_entry\().*?);", code, re.M | re.S)
        self.assertGreater(len(sent), 40)
        for statement, level in sent:
            parts = literals_of(statement)
            for choice in [[part] for part in parts] if " ? " in statement else [parts]:
                found = [line for line, known in lines if re.search(".*".join(map(re.escape, choice)), line)
                         and (not level or level.lower() in known)]
                self.assertTrue(found, f"not in logging.md: {level} {choice}")
        known = literals_of(code)
        for piece in [piece.strip(' (,)"') for line, _ in lines for piece in re.split("<.*?>", line)]:
            self.assertTrue(any(piece in each for each in known), f"nobody logs: {piece}")

    def test_the_bytes_of_the_diagnostic_example(self):
        document = text_of("docs/diagnostics.md").partition("## Both records")[2].partition("\n## ")[0]
        table = [row for row in rows_of(document) if row[0][0] == "`"]
        record = bytes.fromhex("".join(re.findall(r"^    ([0-9A-F ]+)$", document, re.M)))
        self.assertEqual(record, bytes.fromhex("".join(row[0].strip("`") for row in table)))
        said = [int(re.search(r"\d+", row[1])[0]) for row in table if len(row[0]) == 25]
        exceedance = record[3:4]
        report = record[record.index(b"\x17\xf0") + 2:]
        layout = json.loads(text_of("docs/diagnostics.json"))["identifiers"][0]["entries"]
        read = [int.from_bytes(report[at + field["offset"]:][:field["size"]], "big")
                for at in range(layout["offset"], len(report), layout["size"]) for field in layout["fields"]]
        self.assertEqual(said, read)
        self.assertEqual(report[0], len(read) // len(layout["fields"]))
        self.assertEqual(exceedance[0], any(total > soft for soft, total in zip(read[1::4], read[2::4])))

    def test_texts_of_programs(self):
        shown = [(document.name, command, text) for document in DOCUMENTS for command, text in re.findall(
            r"^    \$ (\S+ --(?:help|version))\n((?:    .*\n|\n)+)", document.read_text(encoding="utf-8"), re.M)]
        self.assertTrue(shown)
        for document, command, text in shown:
            name, option = command.split()
            program = ROOT / name if name.startswith("./") else PROGRAMS / name
            output = subprocess.run([program, option], capture_output=True, text=True, timeout=20, check=True).stdout
            self.assertEqual(re.sub("^    ", "", text, flags=re.M).strip(), output.strip(), document)


unittest.main(argv=sys.argv[:1])
