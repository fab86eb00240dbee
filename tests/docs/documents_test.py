#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The documents against what they describe. Usage: documents_test.py REPOSITORY PROGRAMS"""
import json
import pathlib
import re
import sys
import unittest
from subprocess import check_output

ROOT, PROGRAMS = (pathlib.Path(each).resolve() for each in sys.argv[1:3])
DOCS = {path.name: path.read_text() for pattern in ("*.md", "docs/*.md") for path in ROOT.glob(pattern)}


def rows_of(text):
    return [line.strip("| ").split(" | ") for line in text.splitlines() if line.startswith("| `") or "| `" in line]


def literals_of(code):
    return [each.replace('\\"', '"').strip(" (,)") for each in re.findall(r'"((?:[^"\\]|\\.)*)"', code)]


def leaves_of(node, path, shared):
    node = {**shared.get(node.get("$ref", "").rpartition("/")[2], {}), **node}
    members = {**node.get("properties", {}), "*": node.get("additionalProperties")}
    inside = [leaves_of(each, path + [name], shared) for name, each in members.items() if isinstance(each, dict)]
    return sum(inside, []) or [(".".join(path), node)]


class Documents(unittest.TestCase):
    def test_links_resolve(self):
        for document in [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")]:
            for target in re.findall(r"\]\((?!https?:)([^)]+)\)", DOCS[document.name]):
                self.assertTrue((document.parent / target).exists(), f"{document.name}: {target}")
            self.assertIn(f"]({document.relative_to(ROOT)})", DOCS["README.md"] + "](README.md)")

    def test_configuration_has_the_members_of_the_manifest(self):
        schema = json.loads((ROOT / "machine/etc/machine.schema.json").read_text())
        leaves = dict(leaves_of(schema, [], schema["$defs"]))
        rows = {re.sub("<.*?>", "*", row[0][1:-1]): " ".join(row[1:]) for row in rows_of(DOCS["configuration.md"])}
        self.assertEqual({row for row in rows if row.split(".")[0] in schema["properties"] and "." in row}, set(leaves))
        for path, leaf in leaves.items():
            values = [leaf[bound] for bound in ("minimum", "maximum") if bound in leaf] + leaf.get("enum", [])
            for value in values + re.findall(r"Default:? (\S+?)[.,]?(?:\s|$)", leaf.get("description", "")):
                self.assertRegex(rows[path], rf"(?<!\w){re.escape(str(value))}(?!\w)", path)

    def test_logging_has_every_text(self):
        rows = [(row[len(row) // 4].strip("`"), row[0]) for row in rows_of(DOCS["logging.md"])]
        code = "\n".join(path.read_text() for path in (ROOT / "flashwatch").rglob("*.[ch]*"))
        sent = re.findall(r"^ *((?:[^\n]*\bLog(\w+)\(\) *<<|line <<|throw|log_entry\().*?);", code, re.M | re.S)
        self.assertGreater(len(sent), 50)
        for statement, level in sent:
            for texts in zip(literals_of(statement)) if " ? " in statement else [literals_of(statement)]:
                found = [known for line, known in rows if re.search(".*".join(map(re.escape, texts)), line)]
                self.assertTrue([1 for known in found if level.lower() in known], f"not documented: {level} {texts}")
        for piece in [piece.strip(' (,)"') for line, _ in rows for piece in re.split("<.*?>", line)]:
            self.assertTrue([1 for each in literals_of(code) if piece in each], f"nobody logs: {piece}")

    def test_the_example_decodes_to_what_is_said(self):
        example = DOCS["diagnostics.md"].partition("## Both records")[2].partition("\n## ")[0]
        rows = [(bytes.fromhex(row[0].strip("`")), row[1]) for row in rows_of(example)]
        record = bytes.fromhex("".join(re.findall("^    ([0-9A-F ]+)$", example, re.M)))
        self.assertEqual(record, b"".join(part for part, _ in rows))
        layout = json.loads((ROOT / "docs/diagnostics.json").read_text())["identifiers"][0]["entries"]
        report = record[6:]
        read = [int.from_bytes(report[at + field["offset"]:][:field["size"]], "big")
                for at in range(layout["offset"], len(report), layout["size"]) for field in layout["fields"]]
        self.assertEqual([int(re.search(r"\d+", said)[0]) for part, said in rows if len(part) == 8], read)
        self.assertEqual((report[0], record[3]), (len(read) // 4, any(map(int.__gt__, read[2::4], read[1::4]))))

    def test_texts_of_programs(self):
        shown = re.findall(r"^    \$ (\S+) (--\w+)\n((?:    .*\n|\n)+?)(?=\S|    \$)", "\n".join(DOCS.values()), re.M)
        self.assertGreater(len(shown), 2)
        for name, option, text in shown:
            program = ROOT / name if "/" in name else PROGRAMS / name
            self.assertEqual(text.replace("\n    ", "\n").strip(), check_output([program, option], text=True).strip())


unittest.main(argv=sys.argv[:1])
