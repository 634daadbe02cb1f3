# SPDX-License-Identifier: Apache-2.0
"""One device and several clients."""
from runner.figures import at_most, column, compare

TITLE = "One device and several clients"
RATE = 1000  # values a second
INSTANCES = 100


class Group:
    def __init__(self, source, sinks):
        self.source, self.sinks = source, sinks
        for sink in sinks:
            sink.ask("match")

    def run(self, **options):
        for sink in self.sinks:
            sink.ask("begin")
        sent = self.source.ask("publish", **options)
        received = [sink.ask("end") for sink in self.sinks]
        return {"cpu": sum(one["cpu_us"] for one in received) / sum(one["received"] for one in received),
                "source_cpu": sent["cpu_us"] / sent["sent"]}


def run(session):
    for count in (2,) if session.quick else (1, 2, 4, 8, 16):
        with session.programs_end():
            groups = {}
            for name, source, sink in (("ours", "device", "client"), ("engine", "writer", "reader")):
                domain = session.domain()
                groups[name] = Group(
                    session.start("bench_" + name, source, domain=domain, instances=INSTANCES),
                    [session.start("bench_" + name, sink, domain=domain) for _ in range(count)])
            results = session.in_turn(**{
                name: lambda group=group: group.run(seconds=max(session.seconds, 0.1), rate=RATE)
                for name, group in groups.items()})
        for key, figure, unit in (("source_cpu", "device CPU per sent value", "µs"),
                                  ("cpu", "client CPU per received value", "µs")):
            yield compare(f"{count} client" + ("s" if count > 1 else ""), figure, unit,
                          column(results["ours"], lambda one: one[key]), "bare engine",
                          column(results["engine"], lambda one: one[key]), at_most(1.05))
