#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""What others make of this repository. Usage: installation_test.py REPOSITORY BUILD VERSION LIBRARY... TEST

installed: this build in a folder of its own; an application outside of this repository finds the platform there and
writes through it, and every program tells the version.
other: the service, built alone on another platform's package. The package holds the headers that docs/porting.md lists
and no others, so the list is complete; each is really included, so it is no longer than it has to be."""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
LIMIT_S = 900
COMPONENTS = ("dev", "service", "platform", "tester", "samples")
TOOLS = ("persistency_statistics", "diagnostic_manager", "flashwatch_read", "flashwatch_report", "sample_navigation",
         "sample_media", "sample_tripmeter")
HEADER_FOLDERS = ("platform/include", "flashwatch/stats/bindings", "flashwatch/diag/bindings")


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=LIMIT_S, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


def installed(place, _, build, version, *__):
    for component in COMPONENTS:
        run("cmake", "--install", build, "--prefix", place / "prefix", "--component", component)
    for tool in TOOLS:
        assert run(place / "prefix/bin" / tool, "--version") == f"{tool} {version}\n", tool
    run("cmake", "-S", HERE / "consumer", "-B", place / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={place}/prefix")
    run("cmake", "--build", place / "build")
    (place / "machine.json").write_text(json.dumps({
        "processes": {"consumer": {"address": "127.0.24.1", "application_id": "consumer"}},
        "persistency": {"root": str(place), "run_directory": str(place)}}))
    environment = dict(os.environ, ARA_MACHINE_MANIFEST=str(place / "machine.json"), ARA_PROCESS="")
    for start in (1, 2):
        assert f"start {start}\n" in run(place / "build/consumer", env=environment)
    assert (place / "consumer/starts.db").is_file()


def other(place, repository, _, __, *libraries):
    prefix, build = place / "prefix", place / "build"
    headers = re.findall(r"^\| `([a-z0-9_/]+\.h)` \|", pathlib.Path(repository, "docs/porting.md").read_text(), re.M)
    shutil.copytree(HERE / "vendor_platform", prefix / "lib/cmake/scripted_platform")
    for library in libraries:
        shutil.copy(library, prefix / "lib")
    for header in headers:
        found = [file for folder in HEADER_FOLDERS if (file := pathlib.Path(repository, folder, header)).is_file()]
        assert len(found) == 1, f"docs/porting.md lists {header}, found as {found}"
        (prefix / "include" / header).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(found[0], prefix / "include" / header)
    run("cmake", "-S", repository, "-B", build, "-G", "Ninja", "-DFLASHWATCH_PLATFORM=scripted_platform",
        f"-DCMAKE_PREFIX_PATH={prefix}", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS=-g0")
    run("cmake", "--build", build, "--target", "flashwatch")
    assert (build / "bin/flashwatch").is_file()
    included = run("ninja", "-C", build, "-t", "deps")
    unused = [header for header in headers if f"{prefix / 'include' / header}\n" not in included]
    assert headers and not unused, unused


with tempfile.TemporaryDirectory(prefix="installation-") as folder:
    {"installed": installed, "other": other}[sys.argv[-1]](pathlib.Path(folder), *sys.argv[1:-1])
