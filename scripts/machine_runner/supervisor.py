# SPDX-License-Identifier: Apache-2.0
"""Starts, watches and stops processes: everything the runner waits for comes in here, in one thread."""
import os
import pathlib
import selectors
import signal
import socket
import struct
import time

import kernel
from errors import MachineError, StopRequested
from process import Process

STOP_SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
CREDENTIALS = struct.Struct("iII")  # process, user, group: struct ucred, unix(7)
MAX_DATAGRAM_BYTES = 4096
MAX_READ_BYTES = 65536
MAX_LINE_BYTES = 65536
POLL_S = 0.02


class Supervisor:
    """Processes, their notifications (sd_notify(3), told apart by the sender's process id), one process's output lines,
    and the signals that ask for the end."""

    def __init__(self, on_line):
        self._on_line = on_line
        self._partial_line = b""
        self._processes = []
        self._stop_signals = 0
        kernel.inherit_orphans()
        self._selector = selectors.DefaultSelector()
        self._notifications = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._notifications.setsockopt(socket.SOL_SOCKET, socket.SO_PASSCRED, 1)
        self._notifications.bind(f"\0flashwatch-machine-{os.getpid()}-{os.urandom(8).hex()}")
        self._notifications.setblocking(False)
        self._register(self._notifications, self._read_notifications)
        self._wake_up, wake_up_end = os.pipe()
        for end in (self._wake_up, wake_up_end):
            os.set_blocking(end, False)
        self._register(self._wake_up, self._count_stop_signals)
        signal.set_wakeup_fd(wake_up_end)
        for number in STOP_SIGNALS:
            signal.signal(number, lambda *_: None)

    @property
    def notification_socket(self):
        """The value for NOTIFY_SOCKET."""
        return self._notifications.getsockname().replace(b"\0", b"@").decode()

    def start(self, *arguments, **options):
        process = Process(*arguments, **options)
        self._processes.append(process)
        self._register(process.end_descriptor, lambda: self._reap(process))
        if process.output is not None:
            os.set_blocking(process.output.fileno(), False)
            self._register(process.output, lambda: self._read_output(process))
        return process

    def wait(self, condition, what, limit_s=None, poll=False):
        """Lets things happen until `condition()`. MachineError when that takes longer than the limit or a process ends
        unasked, StopRequested at a signal. `poll`: the condition may come true without any event."""
        end = None if limit_s is None else time.monotonic() + limit_s
        while not condition():
            if self._stop_signals:
                raise StopRequested
            for process in self._processes:
                if process.code is not None and not process.may_end:
                    raise MachineError(f"{process.name} {process.how_it_ended()} while the machine waited for {what}"
                                       + process.last_lines())
            if not self._let_happen(end, poll):
                raise MachineError(f"waited {limit_s} s in vain for {what}")

    def stop(self, processes, limit_s):
        """Ends the processes by SIGTERM and waits for them; returns errors. Those that outlast the limit, and all when
        another signal arrives meanwhile, are killed."""
        processes = [process for process in processes if process is not None]
        signals_before = self._stop_signals
        end = time.monotonic() + limit_s
        for process in processes:
            process.stop()
        cause = f"it did not end within {limit_s} s of SIGTERM"
        while any(process.code is None or process.output for process in processes):
            if self._stop_signals > max(signals_before, 1):
                cause = "a second signal came before it had ended"
                break
            if not self._let_happen(end):
                break
        errors = []
        for process in processes:
            if process.code is None:
                process.kill()
                errors.append(f"{process.name} was killed, because {cause}{process.last_lines()}")
            self._close_output(process)
        return errors

    def kill_all(self):
        """Leaves nothing behind: the processes, and what they may have left to the runner as their heir."""
        for process in self._processes:
            process.kill()
        children = pathlib.Path(f"/proc/self/task/{os.getpid()}/children")
        while pids := [int(pid) for pid in children.read_text(encoding="ascii").split()]:
            for pid in pids:
                os.kill(pid, signal.SIGKILL)
                os.waitpid(pid, 0)

    def request_stop(self):
        self._stop_signals += 1

    def _register(self, source, action):
        self._selector.register(source, selectors.EVENT_READ, action)

    def _let_happen(self, end, poll=False):
        """Handles the events that are there or come next; false when `end` has passed."""
        left = None if end is None else end - time.monotonic()
        if left is not None and left <= 0:
            return False
        if poll:
            left = POLL_S if left is None else min(POLL_S, left)
        for key, _ in self._selector.select(left):
            key.data()
        return True

    def _read_notifications(self):
        data, ancillary, _, _ = self._notifications.recvmsg(MAX_DATAGRAM_BYTES, socket.CMSG_SPACE(CREDENTIALS.size))
        senders = [CREDENTIALS.unpack(content)[0] for _, kind, content in ancillary if kind == socket.SCM_CREDENTIALS]
        if b"READY=1" in data.split(b"\n"):
            for process in self._processes:
                process.is_ready |= process.pid in senders

    def _count_stop_signals(self):
        self._stop_signals += len(os.read(self._wake_up, MAX_DATAGRAM_BYTES))

    def _reap(self, process):
        process.reap()
        self._selector.unregister(process.end_descriptor)
        os.close(process.end_descriptor)

    def _read_output(self, process):
        data = os.read(process.output.fileno(), MAX_READ_BYTES)
        *lines, self._partial_line = (self._partial_line + data).split(b"\n")
        if not data or len(self._partial_line) > MAX_LINE_BYTES:
            lines.append(self._partial_line)
            self._partial_line = b""
        for line in filter(None, lines):
            self._on_line(line.decode(errors="replace"))
        if not data:
            self._close_output(process)

    def _close_output(self, process):
        if process.output is not None:
            self._selector.unregister(process.output)
            process.output.close()
            process.output = None
