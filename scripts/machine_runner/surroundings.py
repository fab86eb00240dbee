# SPDX-License-Identifier: Apache-2.0
"""What the processes of the machine find around them: directories, manifest, /etc and free addresses."""
import contextlib
import errno
import fcntl
import json
import os
import shutil
import socket
import subprocess

import kernel
from errors import MachineError


def lock(directory):
    """Keeps a second run away from the directory for as long as the returned file is open."""
    directory.mkdir(parents=True, exist_ok=True)
    file = open(directory / "lock", "a+", encoding="ascii")  # pylint: disable=consider-using-with
    try:
        fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError as error:
        file.seek(0)
        holder = file.read().strip()
        raise MachineError(f"another machine runs from {directory} already, started by process {holder}") from error
    file.truncate(0)
    file.write(f"{os.getpid()}\n")
    file.flush()
    return file


def make_directories(directory, fresh):
    """state outlives a run, run is what a machine loses when it restarts, log is of the last run."""
    for name in ("log", "dlt") + (("state", "run") if fresh else ()):
        if (directory / name).exists():
            shutil.rmtree(directory / name)
    for name in ("state/per", "run/per", "log", "dlt", "etc"):
        (directory / name).mkdir(parents=True, exist_ok=True)


def write_manifest(sample, directory):
    """The sample manifest with its paths moved under the directory; returns its file and its content."""
    manifest = json.loads(sample.read_text(encoding="utf-8"))
    manifest["persistency"]["root"] = str(directory / "state/per")
    manifest["persistency"]["run_directory"] = str(directory / "run/per")
    file = directory / "machine.json"
    file.write_text(json.dumps(manifest, indent=2) + "\n", encoding="utf-8")
    return file, manifest


def check_addresses(manifest):
    """A node of another machine answers at the discovery port of its address."""
    port = manifest["communication"]["discovery"]["port"]
    for name, process in manifest["processes"].items():
        with contextlib.closing(socket.socket(socket.AF_INET, socket.SOCK_DGRAM)) as probe:
            try:
                probe.bind((process["address"], port))
            except OSError as error:
                cause = "is in use: another machine runs on this host" if error.errno == errno.EADDRINUSE else (
                    f"cannot be used: {error.strerror}")
                raise MachineError(f"{process['address']} UDP port {port}, wanted by {name}, {cause}") from error


def lay_over_etc(files, directory):
    """Makes the files appear in /etc for this process and its children only, until they end."""
    kernel.make_mounts_private()
    _mount("tmpfs", "tmpfs", directory)
    for name in ("upper", "work"):
        (directory / name).mkdir()
    for file in files:
        shutil.copy(file, directory / "upper")
    # Relative, because the option's own syntax gives a meaning to commas and colons.
    _mount("overlay", "overlay", "/etc", "lowerdir=/etc,upperdir=upper,workdir=work", directory)


def release_etc(directory):
    """Takes away what lay_over_etc laid, so that the directory can be removed."""
    for target in ("/etc", directory):
        subprocess.run(["umount", str(target)], check=True)


def _mount(kind, source, target, options="rw", directory=None):
    command = ["mount", "-t", kind, "-o", options, source, str(target)]
    result = subprocess.run(command, cwd=directory, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise MachineError(f"cannot mount {kind} on {target}: {result.stderr.strip()}")
