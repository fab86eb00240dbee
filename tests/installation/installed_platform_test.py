#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Installs this build into a folder of its own. An application outside of this repository finds the platform there and
writes through it, and every program tells the version. Usage: installed_platform_test.py BUILD VERSION"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
LIMIT_S = 240
COMPONENTS = ("dev", "service", "platform", "tester", "samples")
TOOLS = ("persistency_statistics", "diagnostic_manager", "flashwatch_read", "flashwatch_report", "sample_navigation",
         "sample_media", "sample_tripmeter")
build, version = pathlib.Path(), ""


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=LIMIT_S, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


class InstalledPlatform(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="installed-")
        cls.addClassCleanup(folder.cleanup)
        cls.place = pathlib.Path(folder.name)
        for component in COMPONENTS:
            run("cmake", "--install", build, "--prefix", cls.place / "prefix", "--component", component)

    def test_carries_an_application_that_is_built_outside_of_this_repository(self):
        place = self.place
        for name in ("root", "run"):
            (place / name).mkdir()
        run("cmake", "-S", HERE / "consumer", "-B", place / "consumer", "-G", "Ninja",
            f"-DCMAKE_PREFIX_PATH={place / 'prefix'}")
        run("cmake", "--build", place / "consumer")
        (place / "machine.json").write_text(json.dumps({
            "processes": {"consumer": {"address": "127.0.24.1", "application_id": "consumer"}},
            "persistency": {"root": str(place / "root"), "run_directory": str(place / "run")}}))
        environment = dict(os.environ, ARA_MACHINE_MANIFEST=str(place / "machine.json"), ARA_PROCESS="")
        for start in (1, 2):
            self.assertIn(f"start {start}\n", run(place / "consumer" / "consumer", env=environment))
        self.assertTrue((place / "root" / "consumer" / "starts.db").is_file())

    def test_has_one_version(self):
        self.assertEqual({name: run(self.place / "prefix" / "bin" / name, "--version") for name in TOOLS},
                         {name: f"{name} {version}\n" for name in TOOLS})


if __name__ == "__main__":
    build, version = pathlib.Path(sys.argv[1]), sys.argv[2]
    unittest.main(argv=sys.argv[:1])
