# SPDX-License-Identifier: Apache-2.0
"""One process of the machine."""
import os
import signal
import subprocess

import kernel
from errors import MachineError

TAIL_LINES = 10
TAIL_BYTES = 8192


def _die_with(parent):
    """In the child: the kernel kills it when the runner dies, even when the runner is killed itself."""
    kernel.kill_with_parent()
    if os.getppid() != parent:
        os._exit(1)


class Process:
    """A child with a session of its own, so that Ctrl-C reaches the runner alone, which then stops all in order.

    Its output goes to the file `log`; with `piped` its standard output goes to the pipe `output` instead. Unless it
    `may_end`, its end is a fault until it is asked for.
    """

    def __init__(self, name, argv, environment, log, directory=None, piped=False, may_end=False):
        self.name = name
        self.log = log
        self.is_ready = False
        self.may_end = may_end
        parent = os.getpid()
        with open(log, "wb"):
            pass
        with open(log, "ab") as sink:  # others may add to it
            try:
                self._child = subprocess.Popen(
                    argv, env=environment, cwd=directory, stdin=subprocess.DEVNULL,
                    stdout=subprocess.PIPE if piped else sink, stderr=sink, bufsize=0,
                    start_new_session=True, preexec_fn=lambda: _die_with(parent))
            except OSError as error:
                raise MachineError(f"cannot start {name} ({argv[0]}): {error.strerror}") from error
        self.output = self._child.stdout
        self.end_descriptor = os.pidfd_open(self.pid)

    @property
    def pid(self):
        return self._child.pid

    @property
    def code(self):
        """The exit code, negative for a signal; None while the process runs."""
        return self._child.returncode

    def reap(self):
        self._child.wait()

    def stop(self):
        """Asks it to end."""
        self.may_end = True
        if self.code is None:
            self._child.send_signal(signal.SIGTERM)

    def kill(self):
        """Ends it and all that it started."""
        self.may_end = True
        if self.code is None:
            os.killpg(self.pid, signal.SIGKILL)
            self.reap()

    def how_it_ended(self):
        if self.code >= 0:
            return f"ended with code {self.code}"
        return f"was ended by {signal.Signals(-self.code).name}"

    def last_lines(self):
        """The end of its log, for an error: empty, or indented lines with one that names the log first."""
        with open(self.log, "rb") as log:
            log.seek(max(0, os.fstat(log.fileno()).st_size - TAIL_BYTES))
            lines = log.read().decode(errors="replace").splitlines()[-TAIL_LINES:]
        return "".join(f"\n    {line}" for line in [f"{self.log}:", *lines])
