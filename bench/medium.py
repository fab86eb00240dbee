# SPDX-License-Identifier: Apache-2.0
"""A file system whose writes to the device are counted, and the programs that the measurements run on it."""
import json
import os
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
SECTOR = 512


def run(*command, cwd=None):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, cwd=cwd).stdout


def built(program):
    """Its path, after building it as it is shipped."""
    run("cmake", "--preset", "release", cwd=ROOT)
    run("cmake", "--build", "--preset", "release", "--target", program, cwd=ROOT)
    return ROOT / "build/release/bin" / program


class Medium:
    """A fresh ext4 file system in a loop device."""

    def __init__(self, work):
        if os.geteuid() != 0:
            sys.exit("loop devices and mounts need root")
        # Never an image again: the kernel may hold a loop device a little longer than its user.
        self.folder = tempfile.mkdtemp(dir=work)
        self.image = os.path.join(self.folder, "image")
        self.path = os.path.join(self.folder, "mount")
        os.mkdir(self.path)
        with open(self.image, "wb") as file:
            file.truncate(64 << 20)
        # Nothing may be left for the kernel to initialise in the background.
        run("mkfs.ext4", "-q", "-b", "4096", "-E", "lazy_itable_init=0,lazy_journal_init=0,nodiscard", self.image)
        self.device = run("losetup", "-f", "--show", self.image).strip()
        try:
            run("mount", self.device, self.path)
        except subprocess.CalledProcessError:
            run("losetup", "-d", self.device)
            raise

    def written(self):
        with open(f"/sys/block/{os.path.basename(self.device)}/stat", encoding="ascii") as file:
            return int(file.read().split()[6]) * SECTOR

    def settle(self):
        run("sync", "-f", self.path)
        return self.written()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        run("umount", self.path)
        run("losetup", "-d", self.device)
        os.remove(self.image)


class Stepper:
    """A process that has its storage on a medium, says "ready" after each step and waits for a line before the next."""

    def __init__(self, medium, program, *arguments):
        root, run_directory = os.path.join(medium.path, "root"), tempfile.mkdtemp(dir=medium.folder)
        os.makedirs(root, exist_ok=True)
        manifest = os.path.join(run_directory, "machine.json")
        with open(manifest, "w", encoding="ascii") as file:
            json.dump({"processes": {"steps": {"address": "127.0.20.99", "application_id": "steps"}},
                       "persistency": {"root": root, "run_directory": run_directory,
                                       "default_budget": {"soft": 1, "hard": 2}}}, file)
        environment = dict(os.environ, ARA_MACHINE_MANIFEST=manifest, ARA_PROCESS="steps")
        self.process = subprocess.Popen([program, *map(str, arguments)], env=environment, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.wait()

    def wait(self):
        if self.process.stdout.readline() != "ready\n":
            sys.exit("the program failed")

    def go(self):
        self.process.stdin.write("\n")
        self.process.stdin.flush()
        self.wait()

    def close(self):
        self.process.communicate("\n")
        if self.process.returncode != 0:
            sys.exit("the program failed")
