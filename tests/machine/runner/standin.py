#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Takes the place of one process of the machine, named as ARA_PROCESS says. STANDIN_<name> makes it misbehave."""
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys

NAME = os.environ["ARA_PROCESS"]
FAULT = os.environ.get(f"STANDIN_{NAME}", "")
APPLICATIONS = ("navigation", "media", "tripmeter", "flashwatch")
if NAME == "flashwatch_read":
    if FAULT == "cannot read":
        sys.exit("flashwatch_read: no answer")
    figures = [{"names": [name], "soft_limit": 7, "total_write": 9} for name in APPLICATIONS]
    print(json.dumps({"applications": figures}) if "--json" in sys.argv else "the tester's table")
    sys.exit(3)
MANIFEST = json.loads(pathlib.Path(os.environ["ARA_MACHINE_MANIFEST"]).read_text(encoding="utf-8"))
assert pathlib.Path("/etc/flashwatch.json").exists() and pathlib.Path("/etc/passwd").exists()

def note(event):
    with open(pathlib.Path(os.environ["STANDIN_EVENTS"]), "a", encoding="utf-8") as events:
        events.write(f"{event} {NAME}\n")


discovery = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
discovery.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
discovery.bind((MANIFEST["processes"][NAME]["address"], MANIFEST["communication"]["discovery"]["port"]))
note("start")
if FAULT == "leaves a child":
    subprocess.Popen(["sleep", "1000"], cwd=os.path.dirname(sys.argv[0]))  # pylint: disable=consider-using-with
if FAULT == "dies":
    sys.exit("cannot go on")
signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGTERM])
if FAULT != "never ready":
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.sendto(b"READY=1\nSTATUS=running", os.environ["NOTIFY_SOCKET"].replace("@", "\0", 1))
signal.sigwait([signal.SIGTERM])
note("end")
if NAME == "flashwatch":
    for application in APPLICATIONS:
        print(f"12:00 FLWT DATA info {application} year limits(1, 2) acc limits(1, 2) year in use(1)", flush=True)
        if FAULT != "forgets media" or application != "media":
            print(f"12:00 FLWT DATA info {application} session(1, 2) total(3, 4) budget(-1, 5)", flush=True)
sys.exit(5 if FAULT == "ends with 5" else 0)
