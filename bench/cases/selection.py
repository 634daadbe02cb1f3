# SPDX-License-Identifier: Apache-2.0
"""A client that wants one unit of many."""
from cases.publish import Pair
from runner import network
from runner.figures import at_most, column, compare

TITLE = "A client wants one unit of many"
NOTES = """The engine filters samples in the reader's process only, so each value travels to each client. A client that wants
little still receives and looks at all values.
"""
RATE = 20000  # values a second


class Watched(Pair):
    """The client receives nothing of most units, so figures are for each sent value."""

    def run(self, **options):
        before = network.loopback_octets()
        self.sink.ask("begin")
        sent = self.source.ask("publish", **options)
        received = self.sink.ask("end")
        return {"cpu": received["cpu_us"] / sent["sent"], "source_cpu": sent["cpu_us"] / sent["sent"],
                "octets": (network.loopback_octets() - before) / sent["sent"]}


def run(session):
    units = 10 if session.quick else 1000
    with session.programs_end():
        pairs = {}
        for name, options in (("one", {"units": 1}), ("all", {})):
            domain = session.domain()
            pairs[name] = Watched(session.start("bench_ours", "device", domain=domain, instances=units * 100),
                                  session.start("bench_ours", "client", domain=domain, **options))
        results = session.in_turn(**{
            name: lambda pair=pair: pair.run(seconds=session.seconds, rate=RATE) for name, pair in pairs.items()})
    for key, figure, unit, goal in (("cpu", "client CPU per sent value", "µs", at_most(0.02)),
                                    ("octets", "traffic per sent value", "octets", at_most(0.02)),
                                    ("source_cpu", "device CPU per sent value", "µs", None)):
        yield compare(f"1 of {units:,} units", figure, unit, column(results["one"], lambda one: one[key]),
                      "ours, no interest", column(results["all"], lambda one: one[key]), goal)
