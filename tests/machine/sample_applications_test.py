#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The sample applications as processes: when they report ready, how they end, and that a medium that takes nothing stops
their writing but not them. Usage: sample_applications_test.py DIRECTORY_OF_PROGRAMS"""
import json
import os
import pathlib
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

SAMPLES = {"sample_navigation": "navigation", "sample_media": "media", "sample_tripmeter": "tripmeter"}
LIMIT_S = 30
UNLIMITED = (resource.RLIM_INFINITY, resource.RLIM_INFINITY)
programs = pathlib.Path()


class SampleApplication(unittest.TestCase):
    def setUp(self):
        self.place = pathlib.Path(tempfile.mkdtemp(prefix="samples-"))
        self.addCleanup(shutil.rmtree, self.place)
        (self.place / "root").mkdir()
        (self.place / "run").mkdir()
        (self.place / "machine.json").write_text(json.dumps({
            "processes": {name: {"address": f"127.0.22.{number}", "application_id": application}
                          for number, (name, application) in enumerate(SAMPLES.items(), 1)},
            "persistency": {"root": str(self.place / "root"), "run_directory": str(self.place / "run")}}))
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(self.manager.close)
        self.manager.bind(str(self.place / "notify"))
        self.manager.settimeout(LIMIT_S)

    def start(self, name, file_size=resource.RLIM_INFINITY, manifest="machine.json"):
        def limit_files():
            resource.setrlimit(resource.RLIMIT_FSIZE, (file_size, resource.RLIM_INFINITY))

        environment = dict(os.environ, ARA_MACHINE_MANIFEST=str(self.place / manifest), ARA_PROCESS="",
                           NOTIFY_SOCKET=str(self.place / "notify"), DLT_PIPE_DIR=str(self.place))
        # SIGXFSZ stays ignored, as Python has it: a file at its limit is an error then.
        process = subprocess.Popen([programs / name], env=environment, stdout=subprocess.PIPE, text=True,
                                   preexec_fn=limit_files, restore_signals=False)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def expect_notification(self, beginning):
        self.assertTrue(self.manager.recv(256).startswith(beginning))

    def test_is_ready_after_its_first_sync_and_ends_within_a_second(self):
        for name, application in SAMPLES.items():
            for number in (signal.SIGTERM, signal.SIGINT):
                process = self.start(name)
                self.expect_notification(b"READY=1\n")
                self.assertTrue(list((self.place / "root" / application).glob("*.db")))
                process.send_signal(number)
                started = time.monotonic()
                self.assertEqual(process.wait(LIMIT_S), 0, name)
                self.assertLess(time.monotonic() - started, 1, name)
                self.expect_notification(b"STOPPING=1\n")

    def test_goes_on_when_the_medium_takes_nothing_and_writes_when_it_does_again(self):
        os.rename(self.place / "root", self.place / "elsewhere")
        without_root = self.start("sample_tripmeter")
        self.assertIn("cannot write:", without_root.stdout.readline())
        os.rename(self.place / "elsewhere", self.place / "root")
        with_full_disk = self.start("sample_navigation", file_size=1024)
        self.assertIn("cannot write:", with_full_disk.stdout.readline())
        resource.prlimit(with_full_disk.pid, resource.RLIMIT_FSIZE, UNLIMITED)
        for _ in range(2):
            self.expect_notification(b"READY=1\n")

    def test_ends_with_1_when_the_manifest_is_wrong(self):
        process = self.start("sample_media", manifest="absent.json")
        self.assertEqual(process.wait(LIMIT_S), 1)
        self.assertIn("absent.json cannot be opened", process.stdout.read())
        self.assertEqual(list((self.place / "root").iterdir()), [])


if __name__ == "__main__":
    programs = pathlib.Path(sys.argv.pop()).resolve()
    sys.exit(unittest.main())
