#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The arrows between the floors and the rooms, read off the #include lines. Usage: check_includes.py REPOSITORY"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
PLATFORM = ("ara/", "tarn/", "orvel/", "halden/")  # platform/include and the bindings that a platform may replace
SYSTEM = re.compile(r"[a-z_]+|unistd\.h|nlohmann/.*|boost/optional\.hpp")  # C++'s own headers have no suffix
# What each room may use beside itself. The clock stands in app/ but is a room of its own.
CLOCK = ("flashwatch/app/time_wrapper.h", "flashwatch/app/time_wrapper_if.h")
ROOMS = {
    "config": (),
    "supervision": CLOCK,
    "stats": ("flashwatch/supervision/",) + CLOCK,
    "reporting": ("flashwatch/stats/",),
    "diag": ("flashwatch/config/", "flashwatch/reporting/", "flashwatch/stats/"),
    "app": ("flashwatch/",),
}


def service_may(path, bracket, name):
    room = path.parts[1]
    return SYSTEM.fullmatch(name) if bracket == "<" else name.startswith((f"flashwatch/{room}/", *ROOMS[room], *PLATFORM))


def platform_may(path, _, name):
    if name.startswith("boost/asio") and path.parts[1:3] != ("src", "com"):
        return False
    if path.parts[1] == "include" and name.startswith("platform/"):
        return False
    return not name.startswith(("flashwatch/", "machine/"))


def main():
    root = pathlib.Path(sys.argv[1])
    files, offences = 0, []
    for floor, may in (("flashwatch", service_may), ("platform", platform_may)):
        for file in sorted((root / floor).rglob("*.[ch]*")):
            files += 1
            path = file.relative_to(root)
            for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
                include = INCLUDE.match(line)
                if include and not may(path, *include.groups()):
                    offences.append(f"{path}:{number}: may not include {include[2]}")
    print("\n".join(offences) or f"{files} files keep to their floor and room")
    return 1 if offences or files == 0 else 0


sys.exit(main())
