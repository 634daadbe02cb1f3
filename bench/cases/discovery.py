# SPDX-License-Identifier: Apache-2.0
"""Several participants discover each other, and are then idle."""
import time

from runner import network
from runner.figures import at_most, column, compare

TITLE = "Participants discover each other"


def gather(crowd, idle):
    """Returns the time until all know all, and the packets a second of `idle` seconds afterwards."""
    seconds = crowd.ask("join")["seconds"]
    time.sleep(idle)  # the packets of the discovery
    before = network.loopback_packets()
    time.sleep(idle)
    packets = (network.loopback_packets() - before) / idle
    crowd.ask("leave")
    return {"ms": seconds * 1000, "packets": packets}


def run(session):
    idle = 0.2 if session.quick else 1.5  # about two periods of announcements
    for count in (2,) if session.quick else (2, 8, 32):
        with session.programs_end():
            crowds = {name: session.start("bench_" + name, "crowd", domain=session.domain(), count=count)
                      for name in ("ours", "engine")}
            results = session.in_turn(**{
                name: lambda crowd=crowd: gather(crowd, idle) for name, crowd in crowds.items()})
        for key, figure, unit in (("ms", "time until all know all", "ms"), ("packets", "packets when idle", "1/s")):
            yield compare(f"{count} participants", figure, unit, column(results["ours"], lambda one: one[key]),
                          "bare engine", column(results["engine"], lambda one: one[key]), at_most(1.05))
