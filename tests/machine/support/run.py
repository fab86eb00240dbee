# SPDX-License-Identifier: Apache-2.0
"""The machine's runner in a place of its own: its configuration, its addresses, and what it leaves behind."""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[3]
NETWORK = f"127.{100 + os.getpid() // 254 % 100}.{1 + os.getpid() % 254}."
DISCOVERY_PORT = 20000 + os.getpid() % 10000  # who hears no other machine's multicasts needs a port of its own
LIMIT_S = 60


class Run(contextlib.AbstractContextManager):
    def __init__(self, programs):
        self.place = pathlib.Path(tempfile.mkdtemp(prefix="machine, runner:"))
        self.place.chmod(0o777)  # for an ordinary user
        self.programs = programs
        for name, source in (("runner", "scripts/machine_runner"), ("etc", "machine/etc")):
            shutil.copytree(ROOT / source, self.place / name)
        file = self.place / "etc/machine.json"
        self.manifest = json.loads(file.read_text(encoding="utf-8").replace("127.0.20.", NETWORK))
        self.manifest["communication"]["discovery"]["port"] = DISCOVERY_PORT
        file.write_text(json.dumps(self.manifest), encoding="utf-8")

    def __exit__(self, *_):
        for pid in self.processes_left():
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)
        shutil.rmtree(self.place)

    def start(self, *options, prefix=(), directory="machine", **environment):
        command = [*prefix, "/usr/bin/python3", "-B", "runner", "--programs", self.programs, "--etc", "etc",
                   "--directory", directory, *options]
        return subprocess.Popen(command, cwd=self.place, env={**os.environ, **environment}, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, start_new_session=True)

    def finish(self, *options, code=0, **how):
        """The output of a run that ends by itself with that code and leaves nothing behind."""
        with self.start(*options, **how) as runner:
            return self.outcome(runner, code)

    def outcome(self, runner, code=0):
        output, _ = runner.communicate(timeout=LIMIT_S)
        assert runner.returncode == code, f"code {runner.returncode}: {output}"
        assert not self.processes_left(), output
        assert str(self.place) not in pathlib.Path("/proc/mounts").read_text(encoding="utf-8")
        return output

    @staticmethod
    def await_line(runner, words):
        while words not in (line := runner.stdout.readline()):
            assert line, f"'{words}' never came"
        return line

    def processes_left(self):
        left = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):  # it ended meanwhile
                if str(self.place) in os.readlink(process / "cwd") + (process / "cmdline").read_text(errors="replace"):
                    left.append(int(process.name))
        return left
