# SPDX-License-Identifier: Apache-2.0
"""A client that joins when the values are already there."""
from runner.figures import at_most, column, compare

TITLE = "A late joiner waits until its listener has seen all values"
NOTES = """`TessivarClient::create` pauses for 50 ms after it has started its threads. The values arrive meanwhile, but the time
ends after the pause: therefore 1,000 values seem to take 50 ms.
"""


def joined(client, count):
    client.ask("join")
    seconds = client.ask("await", count=count)["seconds"]
    client.ask("leave")
    return seconds


def run(session):
    times = {}
    for count in (1000,) if session.quick else (1000, 10000, 100000):
        with session.programs_end():
            domains = session.domain(), session.domain()
            session.start("bench_ours", "device", domain=domains[0], instances=count).ask("prime")
            session.start("bench_engine", "writer", domain=domains[1], instances=count).ask("prime")
            ours = session.start("bench_ours", "client", domain=domains[0], late=1)
            engine = session.start("bench_engine", "reader", domain=domains[1], late=1)
            times[count] = session.in_turn(ours=lambda: joined(ours, count), engine=lambda: joined(engine, count))
        yield compare(f"{count:,} values", "time", "ms", column(times[count]["ours"], lambda one: one * 1000),
                      "bare engine", column(times[count]["engine"], lambda one: one * 1000), at_most(1))
    if 100000 in times:
        yield compare("growth", "time for 100,000 values", "ms",
                      column(times[100000]["ours"], lambda one: one * 1000), "ours, 10,000 values",
                      column(times[10000]["ours"], lambda one: one * 1000), at_most(10.5))
