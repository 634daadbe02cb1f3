# SPDX-License-Identifier: Apache-2.0
"""The blocking setCommand, compared with beginSetCommand and a listener."""
from cases.request import PERCENTILES, ours
from runner.figures import at_most, column, compare

TITLE = "setCommand against beginSetCommand with a listener"


def run(session):
    with session.programs_end():
        client = ours(session)
        client.ask("match")
        client.ask("request", seconds=0.1)
        results = session.in_turn(
            ours=lambda: client.ask("request", seconds=session.seconds, wait=1),
            other=lambda: client.ask("request", seconds=session.seconds))
        for key, figure in PERCENTILES:
            yield compare("one request at a time", figure, "µs", column(results["ours"], lambda one: one[key]),
                          "beginSetCommand", column(results["other"], lambda one: one[key]),
                          at_most(1.1) if key == "p50_us" else None)
