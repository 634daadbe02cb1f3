# SPDX-License-Identifier: Apache-2.0
"""Encoding and decoding of samples."""
from runner.figures import Row, at_least, at_most, column, compare
from runner.program import Failed

TITLE = "Encode and decode samples"
OPPONENTS = {"fastcdr": "Fast CDR", "engine": "the engine's coder"}


def speed(ns):
    """Returns samples in a microsecond."""
    return 1000 / ns


def run(session):
    sides = {name: lambda name=name: session.benchmark("bench_coders_" + name) for name in ("ours", *OPPONENTS)}
    results = session.in_turn(**sides)
    for name, first in results["ours"][0].items():
        other = results["fastcdr"][0][name]
        if (first.get("octets"), first.get("sum")) != (other.get("octets"), other.get("sum")):
            raise Failed(f"{name}: Fast CDR has other octets")
        rates = {side: column(results[side], lambda one: speed(one[name]["ns"])) for side in results}
        better = max(OPPONENTS, key=lambda side: sorted(rates[side])[session.rounds // 2])
        for side, opponent in OPPONENTS.items():
            yield compare(name, "samples in a microsecond", "", rates["ours"], opponent, rates[side],
                          at_least(2) if side == better else None)
        if name.startswith("decode"):
            yield Row(name, "allocations of one call", "", column(results["ours"], lambda one: one[name]["allocations"]),
                      goal=at_most(0))
