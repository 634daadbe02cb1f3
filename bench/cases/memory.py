# SPDX-License-Identifier: Apache-2.0
"""The memory of values that are held."""
from runner.figures import at_most, column, compare

TITLE = "Memory of each value that is held"


def octets(session, count, source, sink, arrived):
    """Returns the octets of each value in the process that publishes and in the process that receives. The values of the
    application itself do not count: they exist before."""
    with session.programs_end():
        sink.ask("match")
        before = source.ask("memory"), sink.ask("memory")
        sink.ask("begin")
        source.ask("prime")
        arrived()
        after = source.ask("memory"), sink.ask("memory")
    return [(late["kib"] - early["kib"]) * 1024 / count for early, late in zip(before, after)]


def ours(session, count):
    domain = session.domain()
    source = session.start("bench_ours", "device", domain=domain, instances=count)
    sink = session.start("bench_ours", "client", domain=domain)
    return octets(session, count, source, sink, lambda: sink.ask("await", count=count))


def engine(session, count):
    domain = session.domain()
    source = session.start("bench_engine", "writer", domain=domain, instances=count)
    sink = session.start("bench_engine", "reader", domain=domain, keep=1)
    return octets(session, count, source, sink, lambda: source.ask("acknowledged"))


def run(session):
    for count in (5000,) if session.quick else (10000, 100000):
        results = session.in_turn(ours=lambda: ours(session, count), engine=lambda: engine(session, count))
        for i, side in enumerate(("device", "client")):
            yield compare(f"{count:,} values", f"{side}, octets of each value", "octets",
                          column(results["ours"], lambda one: one[i]), "bare engine",
                          column(results["engine"], lambda one: one[i]), at_most(1))
