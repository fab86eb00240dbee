#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The service, built alone on another platform's package. The package holds the headers that docs/porting.md lists and no
others, so the list is complete; each is really included, so it is no longer than it has to be.
Usage: other_platform_test.py REPOSITORY LIBRARY..."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
LIMIT_S = 900
HEADER_FOLDERS = ("platform/include", "flashwatch/stats/bindings", "flashwatch/diag/bindings")
repository, libraries = pathlib.Path(), []


def run(*command):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=LIMIT_S, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


def listed_headers():
    text = (repository / "docs" / "porting.md").read_text(encoding="utf-8")
    return re.findall(r"^\| `([a-z0-9_/]+\.h)` \|", text, re.MULTILINE)


def install(prefix):
    (prefix / "lib").mkdir(parents=True)
    for library in libraries:
        shutil.copy(library, prefix / "lib")
    package = prefix / "lib" / "cmake" / "scripted_platform"
    shutil.copytree(HERE / "vendor_platform", package)
    for header in listed_headers():
        found = [repository / folder / header for folder in HEADER_FOLDERS if (repository / folder / header).is_file()]
        assert len(found) == 1, f"docs/porting.md lists {header}, found as {found}"
        (prefix / "include" / header).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(found[0], prefix / "include" / header)


class OtherPlatform(unittest.TestCase):
    def test_carries_the_service_with_the_listed_headers(self):
        with tempfile.TemporaryDirectory(prefix="other-platform-") as name:
            place = pathlib.Path(name)
            prefix, build = place / "prefix", place / "build"
            install(prefix)
            run("cmake", "-S", repository, "-B", build, "-G", "Ninja", "-DFLASHWATCH_PLATFORM=scripted_platform",
                f"-DCMAKE_PREFIX_PATH={prefix}", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS=-g0")
            run("cmake", "--build", build, "--target", "flashwatch")
            self.assertTrue((build / "bin" / "flashwatch").is_file())
            included = run("ninja", "-C", build, "-t", "deps")
            unused = [header for header in listed_headers() if f"{prefix / 'include' / header}\n" not in included]
            self.assertEqual(unused, [])


if __name__ == "__main__":
    repository, libraries = pathlib.Path(sys.argv[1]), sys.argv[2:]
    unittest.main(argv=sys.argv[:1])
