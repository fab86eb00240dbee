#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Whole processes that log, with a real DLT daemon, with none, and with standard outputs that do not behave.
Usage: log_process_test.py LOG_PROGRAM SECONDS_TO_END"""
import fcntl
import os
import pathlib
import re
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest

LIMIT = 20  # seconds for every wait
REMOTE, CONSOLE = 1, 4
A_LINE = b"a line of ordinary length"


class Program:
    """A running log_program. `mode` is InitLogging's."""

    def __init__(self, mode, directory, output=None, shell='exec "$0" "$@"'):
        self.commands, theirs = socket.socketpair()
        self.commands.settimeout(LIMIT)
        self.files = tempfile.TemporaryFile(), tempfile.TemporaryFile()
        self.child = subprocess.Popen(["sh", "-c", shell, sys.argv[1], str(mode)], stdin=theirs,
                                      stdout=output or self.files[0], stderr=self.files[1],
                                      env={**os.environ, "DLT_PIPE_DIR": str(directory)})
        theirs.close()

    def do(self, *commands):
        for command in commands:
            self.commands.sendall(command.encode() + b"\n")
            assert self.commands.recv(1), "it has gone"

    def finish(self):
        """Lets main return; what the program wrote to its own output."""
        self.commands.shutdown(socket.SHUT_WR)
        code = self.child.wait(LIMIT)
        assert code == 0, f"it ended with {code}: {self.text(1)}"
        return self.text(0)

    def text(self, file):
        self.files[file].seek(0)
        return self.files[file].read().decode()

    def close(self):
        self.child.kill()
        self.child.wait()
        for file in (self.commands, *self.files):
            file.close()


class Daemon:
    """A real DLT daemon of a test's own, on loopback."""

    def __init__(self, directory, context_level):
        with socket.create_server(("127.0.0.1", 0)) as probe:
            self.port = str(probe.getsockname()[1])
        (directory / "dlt.conf").write_text(
            "ECUId = ECU1\nSharedMemorySize = 100000\nSendContextRegistration = 1\nRingbufferMaxSize = 10000000\n"
            "LoggingMode = 3\nLoggingLevel = 6\nBindAddress = ::ffff:127.0.0.1\nUDPConnectionSetup = 0\n"
            f"ControlSocketPath = {directory}/control.sock\nPersistanceStoragePath = {directory}\n"
            f"ContextLogLevel = {context_level}\n")
        self.child = subprocess.Popen(["dlt-daemon", "-c", directory / "dlt.conf", "-t", directory, "-p", self.port],
                                      stderr=subprocess.PIPE)
        while b"Switched to buffer state" not in (line := self.child.stderr.readline()):
            assert line, "the daemon has gone"
        with socket.create_connection(("127.0.0.1", int(self.port)), LIMIT) as client:
            self.stream = client.makefile("rb")

    def messages(self, last=b"end"):
        """Context, level, number of arguments and payload of FLWT's messages up to the first with `last` in it. They
        have all optional header fields (type 0x3D), which makes 26 bytes of headers."""
        messages = []
        while not messages or last not in messages[-1][3]:
            header = self.stream.read(4)
            message = header + self.stream.read(header[2] * 256 + header[3] - 4)
            if message[0] == 0x3D and message[18:22] == b"FLWT":
                assert message[16] & 0x0F == 1, "a log message in verbose mode"
                messages.append((message[22:26], message[16] >> 4, message[17], message[26:]))
        return messages

    def stop(self):
        self.child.kill()
        self.child.wait()
        self.child.stderr.close()
        self.stream.close()


class ALoggingProcess(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="dlt-")
        self.addCleanup(scratch.cleanup)
        self.directory = pathlib.Path(scratch.name)

    def daemon(self, context_level=6):
        daemon = Daemon(self.directory, context_level)
        self.addCleanup(daemon.stop)
        return daemon

    def program(self, mode, *commands, **how):
        program = Program(mode, how.pop("directory", self.directory), **how)
        self.addCleanup(program.close)
        program.do(*commands)
        return program

    def test_gives_dlt_typed_arguments_and_the_console_one_line(self):
        daemon = self.daemon(4)
        program = self.program(REMOTE | CONSOLE, "types", "init 6")
        output = program.finish()
        pieces = ("11000000 01  21000000 FB  41000000 C8  21000000 41"  # boolean, 8 bits, a character is a number
                  "22000000 D4FE  42000000 60EA  23000000 F9FFFFFF  43000000 07000000"
                  "24000000 0000000000000080  44000000 FFFFFFFFFFFFFFFF  83000000 0000C03F  84000000 00000000000002C0"
                  "00820000 0200 6300  00820000 0600 61000A1BFF00  00820000 0300 C3A900  00820000 0100 00")  # UTF-8
        self.assertEqual(daemon.messages()[0], (b"DATA", 3, 16, bytes.fromhex(pieces)))
        lines = output.splitlines()
        self.assertRegex(lines[0], "Z FLWT DATA warn true -5 200 65 -300 60000 -7 7 -9223372036854775808 "
                         r"18446744073709551615 1\.5 -2\.25 c a\\x00\\n\\x1b\\xff é $")
        self.assertRegex(lines[-1], "Z FLWT DFLT info from a static destructor$")
        self.assertEqual((len(lines), program.text(1)), (3, ""))

    def test_keeps_a_fixed_number_of_records_until_it_is_initialised(self):
        daemon = self.daemon()
        output = self.program(REMOTE | CONSOLE, "lines 300", "init 5").finish()
        payloads = [payload for *_, payload in daemon.messages()]
        self.assertEqual(sum(A_LINE in payload for payload in payloads), 256)
        self.assertTrue(payloads[256].endswith(b"lost before the log was initialised:\0" + struct.pack("<IQ", 0x44, 44)))
        self.assertEqual(output.count("\n"), 256 + 3)

    def test_follows_the_level_that_the_daemon_sets_and_gives_its_own_to_a_new_daemon(self):
        """libdlt itself would take over the default level of a daemon that comes back."""
        daemon = self.daemon()
        program = self.program(REMOTE, "init 6")
        subprocess.run(["dlt-control", "-p", daemon.port, "-a", "FLWT", "-c", "DFLT", "-l", "2", "127.0.0.1"],
                       check=True, stdout=subprocess.DEVNULL, timeout=LIMIT)
        program.do("await-level 2", "say 1")
        daemon.stop()
        daemon = self.daemon(4)
        program.do("alarm", "await-level 6", "say 2")  # libdlt notices that a daemon has gone when it has to send
        program.finish()
        texts = b"".join(payload for *_, payload in daemon.messages())
        self.assertEqual((texts.count(b"alarm"), texts.count(b"say")), (1, 1))

    def test_reaches_a_daemon_that_comes_late(self):
        program = self.program(REMOTE, "init 6", "say 1")
        self.assertEqual(len(self.daemon(4).messages(b"say")), 1)
        program.finish()

    def test_ends_soon_without_a_daemon(self):
        program = self.program(REMOTE, "init 6", "lines 5000")
        start = time.monotonic()
        program.finish()
        self.assertLess(time.monotonic() - start, float(sys.argv[2]))
        self.assertIn("ara::log: no DLT daemon took the last", program.text(1))

    def test_loses_nothing_to_a_burst_or_to_a_daemon_that_is_slow_but_does_not_wait_for_one_that_hangs(self):
        """What the pipe to the daemon does not take waits in the library: for a while also after the end of main."""
        daemon = self.daemon()
        self.program(REMOTE, "init 6", "lines 5000").finish()
        self.assertEqual(len(daemon.messages()), 5001)
        slow = self.program(REMOTE, "init 6")
        daemon.child.send_signal(signal.SIGSTOP)
        slow.do("lines 3000")
        slow.commands.shutdown(socket.SHUT_WR)
        daemon.child.send_signal(signal.SIGCONT)
        slow.finish()
        self.assertEqual(len(daemon.messages()), 3001)
        hanging = self.program(REMOTE, "init 6")
        daemon.child.send_signal(signal.SIGSTOP)
        hanging.do("lines 3000")
        hanging.finish()
        self.assertIn("no DLT daemon took the last", hanging.text(1))

    def test_refuses_what_it_does_not_have_and_goes_on(self):
        program = self.program(CONSOLE | 0x12, "init 6", "init 6")
        self.assertIn("debug end\n", program.finish())
        self.assertRegex(program.text(1), r"^ara::log: log mode 0x12 \(kFile is 0x2\) is not available on this platform"
                         r".*\n.*\n.*InitLogging was called before; application id \"FLWT\" is not used\n$")
        program = self.program(REMOTE | CONSOLE, "init 6", directory=self.directory / "missing" / "directory")
        self.assertEqual(program.finish().count("\n"), 2)
        self.assertIn("ara::log: DLT cannot be used", program.text(1))

    def test_never_waits_for_a_full_output_and_leaves_its_flags_alone(self):
        """The other end does not read for a while; what was dropped meanwhile is told once there is room again."""
        for name, ends in (("pipe", os.pipe()), ("socket", [end.detach() for end in socket.socketpair()])):
            with self.subTest(name), open(ends[0], "rb", 0) as reader:
                with open(ends[1], "wb") as writer:
                    program = self.program(CONSOLE, "init 6", "lines 10000", output=writer)
                    self.assertEqual(fcntl.fcntl(writer, fcntl.F_GETFL) & os.O_NONBLOCK, 0)
                    output = reader.read(1 << 20)
                    program.do("say 1")
                    program.finish()
                output = (output + reader.read()).decode()
                dropped = [int(each) for each in re.findall(r" lines dropped here: (\d+)\n", output)]
                self.assertTrue(dropped)
                # All lines, the three at the end, and those about the dropped ones: a shorter one may still find room.
                self.assertEqual(output.count("\n") + sum(dropped), 10000 + 3 + len(dropped))
                self.assertIn("debug say 1\n", output)

    def test_survives_an_output_that_is_closed_or_that_nobody_will_ever_read(self):
        self.program(CONSOLE, "init 6", "lines 10", shell='exec "$0" "$@" >&-').finish()
        reader, writer = os.pipe()
        os.close(reader)
        with open(writer, "wb") as output:
            self.program(CONSOLE, "init 6", "lines 10", output=output).finish()

    def test_leaves_every_signal_to_the_main_thread(self):
        self.daemon()
        program = self.program(REMOTE | CONSOLE, "init 6", "lines 10")
        main = program.child.pid
        others = [task for task in pathlib.Path(f"/proc/{main}/task").iterdir() if task.name != str(main)]
        self.assertTrue(others, "no thread of libdlt")
        for task in others:
            blocked = int(re.search(r"SigBlk:\s*(\w+)", (task / "status").read_text())[1], 16)
            for number in (signal.SIGHUP, signal.SIGINT, signal.SIGABRT, signal.SIGALRM, signal.SIGTERM, signal.SIGCHLD):
                self.assertTrue(blocked >> (number - 1) & 1, number)


unittest.main(argv=sys.argv[:1])
