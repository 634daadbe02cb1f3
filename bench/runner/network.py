# SPDX-License-Identifier: Apache-2.0
"""A network of its own for the benchmarks."""
import fcntl
import os
import shutil
import socket
import struct
import subprocess
import sys

MARK = "TESSIVAR_BENCH_NETWORK"  # set in a process that has its own network
SIOCSIFFLAGS, IFF_UP, IFF_RUNNING = 0x8914, 0x1, 0x40


def enter():
    """Starts this program again in a network namespace with only a loopback interface. If the system does not permit
    namespaces, returns, and the machine's loopback interface is used."""
    if MARK in os.environ:
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
            fcntl.ioctl(any_socket, SIOCSIFFLAGS, struct.pack("16sh", b"lo", IFF_UP | IFF_RUNNING))
        return
    for options in (["--net"], ["--net", "--map-root-user"]):
        command = ["unshare", *options]
        if shutil.which("unshare") and subprocess.run([*command, "true"], capture_output=True).returncode == 0:
            os.environ[MARK] = "1"
            sys.stdout.flush()
            os.execvp("unshare", [*command, sys.executable, *sys.argv])


def name():
    return "a network namespace of its own" if MARK in os.environ else "the machine's loopback interface"


def loopback_octets():
    """Returns the octets that the loopback interface has carried up to now."""
    return loopback(0)


def loopback_packets():
    return loopback(1)


def loopback(column):
    with open("/proc/net/dev") as lines:
        for line in lines:
            interface, _, numbers = line.partition(":")
            if interface.strip() == "lo":
                return int(numbers.split()[column])
    raise OSError("/proc/net/dev has no line for lo")
