# SPDX-License-Identifier: Apache-2.0
"""The machine that is measured: its manifest, and its processes, each on the processor that it is given."""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

from figures import Unmeasurable

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "scripts/machine_runner"))
import dlt  # noqa: E402
import kernel  # noqa: E402
import surroundings  # noqa: E402
from errors import MachineError  # noqa: E402

BUILD = ROOT / "build/release"
NETWORK = "127.0.33."
ADDRESSES = {name: NETWORK + str(number) for number, name in enumerate(
    ("persistency_statistics", "flashwatch", "diagnostic_manager", "bench_service", "client", "floor_1", "floor_2",
     "floor_3"), 1)}
FLOOR_PORT, ECHO_PORT, ECHO_SERVICE, DOIP_PORT = 30598, 30599, 0x6FFF, 13400
READY_LIMIT_S = 20
MEASURING_LIMIT_S = 120
CYCLE_MS = 2000
APPLICATIONS = 15


class Machine:
    """`directory` is for everything that the processes write, but for the counters of their storages, which belong in
    memory."""

    def __init__(self, directory):
        self.directory = pathlib.Path(directory)
        for name in ("per", "dlt", "etc"):
            (self.directory / name).mkdir()
        self._memory = tempfile.TemporaryDirectory(dir="/dev/shm", prefix="flashwatch-bench-")
        manifest = json.loads((ROOT / "machine/etc/machine.json").read_text(encoding="utf-8"))
        manifest["processes"] = {name: {"address": address, "application_id": name}
                                 for name, address in ADDRESSES.items()}
        manifest["persistency"].update(root=str(self.directory / "per"), run_directory=self._memory.name)
        communication = manifest["communication"]
        communication["discovery"].update(port=30497, cyclic_offer_delay_ms=CYCLE_MS, ttl_s=6)
        communication["services"]["bench::Echo"] = {
            "service_id": ECHO_SERVICE, "major_version": 1, "minor_version": 0, "methods": {"echo": 1},
            "string_encoding": "utf8_bom", "instances": {"echo": {"id": 1, "port": ECHO_PORT}}}
        (self.directory / "machine.json").write_text(json.dumps(manifest), encoding="utf-8")
        self.environment = dict(os.environ, ARA_MACHINE_MANIFEST=str(self.directory / "machine.json"),
                                DLT_PIPE_DIR=str(self.directory / "dlt"))
        self._has_etc = False

    def lay_over_etc(self):
        """The service's configuration, for this process and its children only."""
        if not self._has_etc:
            mapping = self.directory / "scid_mapping.json"
            mapping.write_text(json.dumps({"mappings": [{"app_name": f"vehicle_application_{number:05}", "scid": number + 1}
                                                        for number in range(APPLICATIONS)]}), encoding="utf-8")
            try:
                surroundings.lay_over_etc([ROOT / "machine/etc/flashwatch.json", mapping], self.directory / "etc")
            except MachineError as error:
                raise Unmeasurable(str(error)) from error
            self._has_etc = True

    def close(self):
        if self._has_etc:
            surroundings.release_etc(self.directory / "etc")
        self._memory.cleanup()

    def command(self, program, *arguments):
        folder = "bin" if (BUILD / "bin" / program).exists() else "bench"
        return [str(BUILD / folder / program), *map(str, arguments)]

    def measure(self, program, *arguments, processor=None, text="", name="client"):
        """What a program prints that measures."""
        done = subprocess.run(self.command(program, *arguments), input=text, text=True, capture_output=True,
                              env={**self.environment, "ARA_PROCESS": name}, preexec_fn=pinned_to(processor),
                              timeout=MEASURING_LIMIT_S, check=False)
        if done.returncode != 0:
            raise Unmeasurable(done.stderr.strip() or f"{program} ended with {done.returncode}")
        return done.stdout

    @contextlib.contextmanager
    def server(self, program, *arguments, processor=None, name=None):
        """One that says "ready" and runs until it is ended."""
        process = subprocess.Popen(self.command(program, *arguments), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   env={**self.environment, "ARA_PROCESS": name or program}, text=True,
                                   preexec_fn=pinned_to(processor))
        try:
            if process.stdout.readline() != "ready\n":
                raise Unmeasurable(f"{program} did not start")
            yield process
        finally:
            process.kill()
            process.communicate()

    @contextlib.contextmanager
    def service(self, program, processor=None, name=None):
        """One that says READY=1 to its service manager and ends by SIGTERM. Yields it, with the seconds from its start
        to that as `took`."""
        with notification_socket(self.directory) as (path, ready):
            environment = {**self.environment, "ARA_PROCESS": name or program, "NOTIFY_SOCKET": path}
            started = time.monotonic()
            process = subprocess.Popen(self.command(program), env=environment, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                       preexec_fn=pinned_to(processor))
            try:
                try:
                    while b"READY=1" not in ready.recv(4096):
                        pass
                except TimeoutError as error:
                    raise Unmeasurable(f"{program} was not ready within {READY_LIMIT_S} s") from error
                process.took = time.monotonic() - started
                yield process
            finally:
                process.send_signal(signal.SIGTERM)
                try:
                    process.wait(READY_LIMIT_S)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()

    @contextlib.contextmanager
    def log_daemon(self):
        if shutil.which("dlt-daemon") is None:
            raise Unmeasurable("dlt-daemon is not installed")
        directory, port = self.directory / "dlt", dlt.Port()
        settings = dlt.write_settings(directory)
        daemon = subprocess.Popen(["dlt-daemon", "-c", settings, "-t", directory, "-p", str(port.number)], cwd=directory,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            wait_until(lambda: dlt.is_up(directory, port.number), "the DLT daemon")
            yield daemon
        finally:
            daemon.terminate()
            daemon.wait()


def pinned_to(processor):
    def prepare():
        kernel.kill_with_parent()
        if processor is not None:
            os.sched_setaffinity(0, {processor})
    return prepare


@contextlib.contextmanager
def notification_socket(directory):
    path = tempfile.mktemp(prefix="notify-", dir=directory)
    with contextlib.closing(socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)) as ready:
        ready.bind(path)
        ready.settimeout(READY_LIMIT_S)
        try:
            yield path, ready
        finally:
            os.unlink(path)


def wait_until(condition, what):
    end = time.monotonic() + READY_LIMIT_S
    while not condition():
        if time.monotonic() > end:
            raise Unmeasurable(f"waited {READY_LIMIT_S} s in vain for {what}")
        time.sleep(0.02)


class Tester:
    """Its bytes, and how many it hears for them."""

    ACTIVATION = bytes.fromhex("02FD0005000000070E800000000000")
    READ_17F0 = bytes.fromhex("02FD8001000000070E8010012217F0")
    DIAGNOSTIC_MESSAGE = 0x8001

    def __init__(self, address):
        with socket.create_connection((address, DOIP_PORT), READY_LIMIT_S) as connection:
            self._heard = connection.makefile("rb")
            connection.sendall(self.ACTIVATION)
            self.activation_size = self._hear()[1]
            wait_until(lambda: self._reads(connection), "a positive answer to 0x17F0")

    def _hear(self):
        header = self._heard.read(8)
        kind, size = struct.unpack(">HI", header[2:])
        content = self._heard.read(size)
        return kind, len(header) + size, content

    def _reads(self, connection):
        connection.sendall(self.READ_17F0)
        self.answer_size = 0
        while True:
            kind, size, content = self._hear()
            self.answer_size += size
            if kind == self.DIAGNOSTIC_MESSAGE:
                return content[4:7] == bytes.fromhex("6217F0")

    def peer(self, name):
        return (f"{name} raw {ADDRESSES['diagnostic_manager']} {DOIP_PORT} {self.ACTIVATION.hex()} "
                f"{self.activation_size} {self.READ_17F0.hex()} {self.answer_size}\n")


def floor_peer(name, request_size, answer_size, kind="raw"):
    greeting = struct.pack(">II", request_size, answer_size) + bytes(answer_size)
    return (f"{name} {kind} {ADDRESSES['floor_1']} {FLOOR_PORT} {greeting.hex()} 0 {bytes(request_size).hex()} "
            f"{answer_size}\n")


def echo_peers(size):
    """The floor, our skeleton with a raw client, our proxy; `size` is that of the payload with its length field."""
    length = size - 4
    header = struct.pack(">HHIHHBBBB", ECHO_SERVICE, 1, 8 + size, 1, 1, 1, 1, 0, 0)
    request = header + struct.pack(">I", length) + bytes(length)
    return (floor_peer("tcp", len(request), len(request))
            + floor_peer("tcp_singly", len(request), len(request), "raw_singly")
            + f"skeleton raw {ADDRESSES['bench_service']} {ECHO_PORT} - 0 {request.hex()} {len(request)}\n"
            + f"proxy proxy {length}\n")
