# SPDX-License-Identifier: Apache-2.0
"""The filter of addresses, compared with a hash set of texts."""
from runner.figures import at_most, column, compare

TITLE = "Filter samples by address"


def run(session):
    results = session.in_turn(**{side: lambda side=side: session.benchmark("bench_filter", f"^{side}/")
                                 for side in ("filter", "set")})
    times = {side: {name.partition("/")[2]: column(rounds, lambda one: one[name]["ns"]) for name in rounds[0]}
             for side, rounds in results.items()}
    for count, ours in times["filter"].items():
        yield compare(f"{int(count):,} address" + ("es" if count != "1" else ""), "time of one sample", "ns", ours, "std::unordered_set<std::string>",
                      times["set"][count], at_most(1))
    yield compare("growth", "time with 10,000 addresses", "ns", times["filter"]["10000"], "ours, 1 address",
                  times["filter"]["1"], at_most(14))
