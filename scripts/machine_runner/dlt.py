# SPDX-License-Identifier: Apache-2.0
"""A DLT daemon of the machine's own, reachable from this host only."""
import contextlib
import pathlib
import socket

USUAL_PORT = 3490
SETTINGS = """\
SendContextRegistration = 1
ECUId = ECU1
SharedMemorySize = 100000
LoggingMode = 0
LoggingLevel = 4
TimeOutOnSend = 4
RingbufferMinSize = 500000
RingbufferMaxSize = 10000000
RingbufferStepSize = 500000
ControlSocketPath = control
PersistanceStoragePath = {directory}
BindAddress = ::ffff:127.0.0.1
UDPConnectionSetup = 0
ContextLogLevel = 6
"""


class Port:
    """The port of the daemon: the usual one, or any when that one is taken. Keep it while the daemon runs: of several
    runners only the one that holds the name of the usual port tries to have it."""

    def __init__(self):
        self._claim = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        with contextlib.closing(socket.socket()) as probe:
            probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            try:
                self._claim.bind(f"\0flashwatch-machine-dlt-{USUAL_PORT}")
                probe.bind(("127.0.0.1", USUAL_PORT))
            except OSError:
                probe.bind(("127.0.0.1", 0))
            self.number = probe.getsockname()[1]


def write_settings(directory):
    # The control socket is named relative to the working directory: the path of a socket is short.
    file = directory / "dlt.conf"
    file.write_text(SETTINGS.format(directory=directory), encoding="utf-8")
    return file


def is_up(directory, port):
    """Applications find the pipe, and readers the port."""
    if not pathlib.Path(directory / "dlt").is_fifo():
        return False
    with contextlib.closing(socket.socket()) as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0
