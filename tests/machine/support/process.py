# SPDX-License-Identifier: Apache-2.0
"""Starts a program of the machine with a manifest of its own, and knows when it is ready."""
import contextlib
import json
import os
import pathlib
import signal
import socket
import subprocess
import tempfile
import sys
import threading

sys.path.append(str(pathlib.Path(__file__).resolve().parents[3] / "scripts/machine_runner"))
import kernel  # noqa: E402

LIMIT = 30  # seconds for whatever is waited for; sanitizers are slow
PIPE_BYTES = 1 << 20  # the programs do not wait for a reader of their log


class Process(contextlib.AbstractContextManager):
    """`name` is the process's entry in `manifest`. `expect_ready` False: the program is to refuse its manifest, or gets
    ready later. `variables` come on top of the environment, `prepare` is called in the new process, and `inside` is a
    command that executes the program. Of a log that goes on and on only the last `log_bytes` are kept."""

    def __init__(self, program, name, manifest, expect_ready=True, variables=None, prepare=None, inside=(),
                 log_bytes=sys.maxsize):
        self.directory = tempfile.TemporaryDirectory()
        path = pathlib.Path(self.directory.name)
        (path / "machine.json").write_text(json.dumps(manifest))
        self.notify = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.notify.bind(str(path / "notify"))
        self.notify.settimeout(LIMIT)
        environment = {**os.environ, "ARA_MACHINE_MANIFEST": str(path / "machine.json"), "ARA_PROCESS": name,
                       "NOTIFY_SOCKET": str(path / "notify"), "DLT_PIPE_DIR": str(path), **(variables or {})}
        self.log, self.log_bytes = b"", log_bytes
        self.changed = threading.Condition()
        self.child = subprocess.Popen(
            [*inside, program], env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, bufsize=0,
            pipesize=PIPE_BYTES, stderr=subprocess.STDOUT,
            preexec_fn=lambda: [kernel.kill_with_parent(), prepare and prepare()])
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()
        if expect_ready:
            self.await_ready()

    def _read(self):
        while part := self.child.stdout.read(65536):
            with self.changed:
                self.log = (self.log + part)[-self.log_bytes:]
                self.changed.notify_all()

    def await_ready(self, state=b"READY=1"):
        told = b""
        with contextlib.suppress(TimeoutError):
            told = self.notify.recv(4096)
        if state not in told:
            self.end(signal.SIGKILL)
            raise AssertionError(f"it did not tell {state}: {self.text()}")

    def __exit__(self, *_):
        if self.child.poll() is None:
            self.end(signal.SIGKILL)
        self.child.stdout.close()
        self.notify.close()
        self.directory.cleanup()

    def end(self, by=signal.SIGTERM):
        """The exit code after the signal."""
        self.child.send_signal(by)
        return self.wait()

    def stop(self):
        """Returns when every thread of it has stopped."""
        self.child.send_signal(signal.SIGSTOP)
        os.waitid(os.P_PID, self.child.pid, os.WSTOPPED)

    def wait(self):
        code = self.child.wait(LIMIT)
        self.reader.join(LIMIT)
        return code

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.child.pid}/fd"))

    def text(self):
        return self.log.decode(errors="replace")

    def await_text(self, words, since=0):
        """Where the words end that the log holds from an earlier length of it on."""
        with self.changed:
            assert self.changed.wait_for(lambda: self.log.find(words.encode(), since) >= 0, LIMIT), (
                f"'{words}' is not in: {self.text()[since:]}")
            return self.log.find(words.encode(), since) + len(words.encode())
