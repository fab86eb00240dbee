# SPDX-License-Identifier: Apache-2.0
"""Starts a program of the machine with a manifest of its own, and knows when it is ready."""
import json
import os
import pathlib
import signal
import socket
import subprocess
import tempfile

READY_LIMIT = 20  # seconds; sanitizers are slow
END_LIMIT = 20


class Process:
    """`name` is the process's entry in `manifest`. `expect_ready` False: the program is to refuse its manifest."""

    def __init__(self, program, name, manifest, expect_ready=True):
        self.directory = tempfile.TemporaryDirectory()
        path = pathlib.Path(self.directory.name)
        (path / "machine.json").write_text(json.dumps(manifest))
        self.log = path / "log"
        notify = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        notify.bind(str(path / "notify"))
        notify.settimeout(READY_LIMIT)
        environment = {**os.environ, "ARA_MACHINE_MANIFEST": str(path / "machine.json"), "ARA_PROCESS": name,
                       "NOTIFY_SOCKET": str(path / "notify")}
        with open(self.log, "wb") as log:
            self.child = subprocess.Popen([program], env=environment, stdout=log, stderr=log)
        if expect_ready:
            try:
                notify.recv(4096)
            except TimeoutError:
                self.child.kill()
                raise AssertionError(f"{name} was not ready: {self.text()}") from None
        notify.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.child.poll() is None:
            self.child.kill()
            self.child.wait()
        self.directory.cleanup()

    def end(self, by=signal.SIGTERM):
        """The exit code after the signal."""
        self.child.send_signal(by)
        return self.wait()

    def wait(self):
        return self.child.wait(END_LIMIT)

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.child.pid}/fd"))

    def text(self):
        return self.log.read_text(errors="replace")
