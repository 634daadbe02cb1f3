# SPDX-License-Identifier: Apache-2.0
"""The memory and the threads of a process that does nothing on the bus."""
from runner.figures import Row, at_most, column, compare

TITLE = "An idle client and an idle device"


def idle(session, *words):
    with session.programs_end():
        return session.start(*words, domain=session.domain()).ask("memory")


def run(session):
    results = session.in_turn(client=lambda: idle(session, "bench_ours", "client"),
                              device=lambda: idle(session, "bench_ours", "device"),
                              engine=lambda: idle(session, "bench_engine", "participant"))
    engine = results.pop("engine")
    for name, ours in results.items():
        yield compare("idle " + name, "memory of its own", "KiB", column(ours, lambda one: one["kib"]), "bare participant",
                      column(engine, lambda one: one["kib"]), at_most(1.2))
        yield Row("idle " + name, "threads more than a bare participant", "",
                  [one["threads"] - other["threads"] for one, other in zip(ours, engine)], goal=at_most(3))
