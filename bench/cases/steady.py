# SPDX-License-Identifier: Apache-2.0
"""A steady flow of changes, with few and with many values held."""
from cases.publish import ours
from runner.figures import at_most, column, compare

TITLE = "1,000 changes a second, with many values held"
FEW, MANY = 1000, 100000


def run(session):
    many = 10000 if session.quick else MANY
    with session.programs_end():
        pairs = {"few": ours(session, FEW), "many": ours(session, many)}
        for pair, count in zip(pairs.values(), (FEW, many)):
            pair.sink.ask("begin")
            pair.source.ask("prime")
            pair.sink.ask("await", count=count)
        results = session.in_turn(**{
            name: lambda pair=pair: pair.run(seconds=max(session.seconds, 0.1), rate=1000)
            for name, pair in pairs.items()})
    for key, figure in (("cpu", "client CPU per change"), ("source_cpu", "device CPU per change")):
        yield compare(f"{many:,} values", figure, "µs", column(results["many"], lambda one: one[key]),
                      f"ours, {FEW:,} values", column(results["few"], lambda one: one[key]), at_most(1.1))
