# SPDX-License-Identifier: Apache-2.0
"""Calls that Python's library of Debian 12 does not have."""
import ctypes
import os
import pathlib
import signal

from errors import MachineError

PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36
CLONE_NEWNS = 0x00020000
CLONE_NEWUSER = 0x10000000
MS_REC = 0x4000
MS_PRIVATE = 0x40000

_libc = ctypes.CDLL(None, use_errno=True)


def _check(result, what):
    if result != 0:
        raise OSError(ctypes.get_errno(), f"{what}: {os.strerror(ctypes.get_errno())}")


def kill_with_parent():
    """The kernel kills the calling process when its parent dies, however that dies. prctl(2)"""
    _check(_libc.prctl(PR_SET_PDEATHSIG, ctypes.c_ulong(signal.SIGKILL), 0, 0, 0), "prctl")


def inherit_orphans():
    """Processes that a descendant leaves behind become children of the calling one. prctl(2)"""
    _check(_libc.prctl(PR_SET_CHILD_SUBREAPER, ctypes.c_ulong(1), 0, 0, 0), "prctl")


def make_mounts_private():
    """From now on the calling process and its children mount for themselves alone. An ordinary user becomes user 0 of
    a user namespace for that. unshare(2), user_namespaces(7)"""
    user, group = os.geteuid(), os.getegid()
    try:
        _check(_libc.unshare(CLONE_NEWNS if user == 0 else CLONE_NEWNS | CLONE_NEWUSER), "unshare")
        if user != 0:
            for name, text in (("setgroups", "deny"), ("uid_map", f"0 {user} 1"), ("gid_map", f"0 {group} 1")):
                pathlib.Path(f"/proc/self/{name}").write_text(text, encoding="ascii")
        _check(_libc.mount(None, b"/", None, ctypes.c_ulong(MS_REC | MS_PRIVATE), None), "mount")
    except OSError as error:
        raise MachineError("this system does not allow the user mounts of its own (an ordinary user needs user "
                           f"namespaces, a container CAP_SYS_ADMIN): {error}") from error
