# SPDX-License-Identifier: Apache-2.0
"""This process on a network of its own, and another host's at the other end of a cable."""
import contextlib
import ctypes
import os
import subprocess

CLONE_NEWNET = 0x40000000  # unshare(2), which Python's library of Debian 12 does not have
OTHER = f"flashwatch-{os.getpid()}"
INSIDE_OTHER = ["nsenter", f"--net=/run/netns/{OTHER}"]


class Not_here(Exception):
    """Networks cannot be made."""


def ip(*words):
    subprocess.run(["ip", *words], check=True, capture_output=True)


@contextlib.contextmanager
def two_hosts():
    with contextlib.ExitStack() as stack:
        try:
            ip("netns", "add", OTHER)
            stack.callback(ip, "netns", "del", OTHER)
            if ctypes.CDLL(None, use_errno=True).unshare(CLONE_NEWNET) != 0:
                raise OSError(ctypes.get_errno(), "unshare")
            ip("link", "add", "cable", "type", "veth", "peer", "name", "cable", "netns", OTHER)
        except (OSError, subprocess.CalledProcessError) as error:
            raise Not_here(f"networks cannot be made here: {getattr(error, 'stderr', error)}") from None
        for host, address in (([], "192.0.2.1/24"), (["-n", OTHER], "192.0.2.2/24")):
            ip(*host, "address", "add", address, "dev", "cable")
            for device in ("lo", "cable"):
                ip(*host, "link", "set", device, "up")
        yield
