# SPDX-License-Identifier: Apache-2.0
"""Publishing to a listener in another process."""
from runner.figures import at_least, at_most, column, compare
from runner.program import Failed

TITLE = "Publish to a listener in another process"
NOTES = """The library calls listeners on a thread of its own, the bare engine on its receive thread. A wake-up of that thread costs
about 20 µs of CPU. At full rate one wake-up serves many values; at 5,000 values a second it serves few. A longer time to
gather values would lower this cost, but delay the values.
"""
RATES = (5000, 20000)  # values a second


class Pair:
    """A process that publishes and a process that receives."""

    def __init__(self, source, sink):
        self.source, self.sink = source, sink
        sink.ask("match")

    def run(self, **options):
        self.sink.ask("begin")
        sent = self.source.ask("publish", **options)
        received = self.sink.ask("end")
        if received["received"] == 0:
            raise Failed(f"{self.sink.name}: no sample was received")
        return {
            "sent": sent["sent"] / sent["seconds"],
            "received": received["received"] / sent["seconds"],
            "part": received["received"] / sent["sent"],
            "source_cpu": sent["cpu_us"] / sent["sent"],
            "cpu": received["cpu_us"] / received["received"],
            "switches": received["switches"] / received["received"],
        }


def ours(session, instances, batched=False):
    options = {"domain": session.domain()}
    if batched:
        options |= {"profiles": 1, "environment": {"NDDS_QOS_PROFILES": str(session.folder / "profiles/batched.xml")}}
    return Pair(session.start("bench_ours", "device", instances=instances, **options),
                session.start("bench_ours", "client", **options))


def engine(session, instances, batched=False):
    domain = session.domain()
    return Pair(session.start("bench_engine", "writer", domain=domain, instances=instances, batched=int(batched)),
                session.start("bench_engine", "reader", domain=domain))


def fast_dds(session, instances):
    domain = session.domain()
    return Pair(session.start("bench_fastdds", "writer", domain=domain, instances=instances),
                session.start("bench_fastdds", "reader", domain=domain))


def rows(results, work, ours_name, other_name, opponent, figures):
    for name, figure, unit, goal in figures:
        yield compare(work, figure, unit, column(results[ours_name], lambda one: one[name]), opponent,
                      column(results[other_name], lambda one: one[name]), goal)


FULL_SPEED = (
    ("sent", "sent", "1/s", at_least(0.97)),
    ("received", "received", "1/s", at_least(0.97)),
    ("cpu", "client CPU per received value", "µs", at_most(1.2)),
    ("switches", "client context switches per received value", "", at_most(1.2)),
)
BATCHED = (("sent", "sent", "1/s", at_least(3)), ("received", "received", "1/s", at_least(3)))
AHEAD = (("received", "received", "1/s", at_least(1)), ("cpu", "client CPU per received value", "µs", at_most(1)))
PLAIN = (("sent", "sent", "1/s", None), ("received", "received", "1/s", None))
PACED = (
    ("part", "received part", "", at_least(0.97)),
    ("cpu", "client CPU per received value", "µs", at_most(1.2)),
    ("switches", "client context switches per received value", "", at_most(1.2)),
    ("source_cpu", "device CPU per sent value", "µs", at_most(1.2)),
)


def run(session):
    for instances in (100,) if session.quick else (1, 100, 10000):
        work = f"{instances:,} instance" + ("s" if instances > 1 else "")
        with session.programs_end():
            pairs = {"ours": ours(session, instances), "engine": engine(session, instances),
                     "fast": fast_dds(session, instances),
                     "ours_batched": ours(session, instances, True), "engine_batched": engine(session, instances, True)}
            results = session.in_turn(**{
                name: lambda pair=pair: pair.run(seconds=session.seconds) for name, pair in pairs.items()})
            yield from rows(results, work, "ours", "engine", "bare engine", FULL_SPEED)
            yield from rows(results, work, "ours", "fast", "Fast DDS", AHEAD)
            yield from rows(results, work + ", batched", "ours_batched", "ours", "ours, unbatched", BATCHED)
            yield from rows(results, work + ", batched", "ours_batched", "engine_batched", "bare engine, batched", PLAIN)
            for rate in RATES:
                paced = session.in_turn(**{
                    name: lambda pair=pairs[name]: pair.run(seconds=session.seconds, rate=rate)
                    for name in ("ours", "engine")})
                yield from rows(paced, f"{work}, {rate:,} a second", "ours", "engine", "bare engine", PACED)
