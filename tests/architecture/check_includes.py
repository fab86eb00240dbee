#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The arrows between the floors and the rooms, read off the #include lines. Usage: check_includes.py REPOSITORY"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
PLATFORM = ("ara/", "tarn/", "orvel/", "halden/")  # platform/include and the bindings that a platform may replace
STANDARD = set("""
    algorithm any array atomic bitset charconv chrono condition_variable csignal cstddef cstdint cstdlib cstring ctime
    deque exception filesystem fstream functional future initializer_list iomanip ios iosfwd iostream istream iterator
    limits list locale map memory mutex new numeric optional ostream queue set shared_mutex sstream stdexcept streambuf
    string string_view system_error thread tuple type_traits typeinfo unordered_map unordered_set utility variant vector
    unistd.h""".split())
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
    if bracket == '"':
        room = path.parts[1]
        own_floor = ("flashwatch/%s/" % room,) + tuple(ROOMS[room])
        return name.startswith(own_floor + PLATFORM)
    return name in STANDARD or name.startswith("nlohmann/") or name == "boost/optional.hpp"


def platform_may(path, bracket, name):
    if name.startswith("boost/asio") and path.parts[1:3] != ("src", "com"):
        return False
    if path.parts[1] == "include" and name.startswith("platform/"):
        return False
    return not name.startswith(("flashwatch/", "machine/"))


FLOORS = {"flashwatch": service_may, "platform": platform_may}


def main():
    root = pathlib.Path(sys.argv[1])
    offences = []
    files = 0
    for floor, may in FLOORS.items():
        for file in sorted((root / floor).rglob("*")):
            if file.suffix not in (".h", ".cpp"):
                continue
            files += 1
            path = file.relative_to(root)
            for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
                include = INCLUDE.match(line)
                if include and not may(path, *include.groups()):
                    offences.append("%s:%d: may not include %s" % (path, number, include.group(2)))
    print("\n".join(offences) or "%d files keep to their floor and room" % files)
    return 1 if offences or files == 0 else 0


sys.exit(main())
