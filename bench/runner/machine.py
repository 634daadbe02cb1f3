# SPDX-License-Identifier: Apache-2.0
"""The machine and the versions with which figures were measured."""
import os
import platform
import re
import subprocess

PACKAGES = {"Cyclone DDS": "cyclonedds-dev", "Fast CDR": "libfastcdr-dev", "Google Benchmark": "libbenchmark-dev"}


def output(*command, folder=None):
    run = subprocess.run(command, cwd=folder, capture_output=True, text=True)
    return run.stdout.strip() if run.returncode == 0 else ""


def first(pattern, path):
    with open(path) as file:
        found = re.search(pattern, file.read(), re.MULTILINE)
    return found.group(1) if found else "unknown"


def describe(root):
    library = ("--", "tessivar", "qos", "cmake")
    commit = output("git", "log", "-1", "--format=%h", *library, folder=root)
    changed = output("git", "status", "--porcelain", *library, folder=root)
    versions = {name: output("dpkg-query", "-W", "-f", "${Version}", package) for name, package in PACKAGES.items()}
    versions["GCC"] = output("g++", "-dumpfullversion")
    return {
        "processor": first(r"^model name\s*: (.*)$", "/proc/cpuinfo"),
        "processors": os.cpu_count(),
        "memory": f"{int(first(r'^MemTotal: *([0-9]+) kB', '/proc/meminfo')) / 2 ** 20:.0f} GiB",
        "system": f"{first(r'^PRETTY_NAME=.(.*).$', '/etc/os-release')}, Linux {platform.release()}",
        "commit": commit + (" with changes" if changed else ""),
        "versions": {name: version for name, version in versions.items() if version},
    }


def load():
    return os.getloadavg()[0]
