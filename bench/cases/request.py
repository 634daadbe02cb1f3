# SPDX-License-Identifier: Apache-2.0
"""Requests and replies between two processes."""
from runner.figures import at_most, column, compare

TITLE = "Request and reply between two processes"
NOTES = """The engine's receive thread hands each sample to a thread of the library, which calls the application: two switches of
threads more than with listeners of the bare engine. A listener may send and may be slow. On the receive thread it would
hold up acknowledgments and leases of the whole participant. `perf` shows no single expensive function: about 17 % of the
time is spent in switches of tasks, 7.5 % in wake-ups, the rest is spread.
"""
PERCENTILES = (("p50_us", "p50"), ("p99_us", "p99"), ("p999_us", "p99.9"))
LISTENERS = {"p50_us": at_most(1.15), "p99_us": at_most(1.3)}


def ours(session):
    domain = session.domain()
    session.start("bench_ours", "device", domain=domain)
    return session.start("bench_ours", "client", domain=domain)


def engine(session, wait):
    domain = session.domain()
    session.start("bench_engine", "server", domain=domain, wait=wait)
    return session.start("bench_engine", "asker", domain=domain, wait=wait)


def fast_dds(session):
    domain = session.domain()
    session.start("bench_fastdds", "server", domain=domain)
    return session.start("bench_fastdds", "asker", domain=domain)


def sockets(session):
    session.start("bench_sockets", "server", port=7000)
    return session.start("bench_sockets", "asker", port=7000)


def measured(session, askers, outstanding):
    return session.in_turn(**{
        name: lambda asker=asker: asker.ask("request", seconds=session.seconds, outstanding=outstanding)
        for name, asker in askers.items()})


def run(session):
    opponents = {"listeners": "bare engine, listeners", "wait_sets": "bare engine, wait sets",
                 "fast": "Fast DDS", "udp": "UDP sockets"}
    with session.programs_end():
        askers = {"ours": ours(session), "listeners": engine(session, 0), "wait_sets": engine(session, 1),
                  "fast": fast_dds(session), "udp": sockets(session)}
        for asker in askers.values():
            asker.ask("match")
        for asker in askers.values():
            asker.ask("request", seconds=0.1)  # the first ones wait for heartbeats
        one = measured(session, askers, 1)
        for name, opponent in opponents.items():
            for key, figure in PERCENTILES:
                yield compare("one request at a time", figure, "µs", column(one["ours"], lambda x: x[key]), opponent,
                              column(one[name], lambda x: x[key]), LISTENERS.get(key) if name == "listeners" else None)
        many = measured(session, askers, 100)
        for name, opponent in opponents.items():
            rates = {side: column(many[side], lambda x: x["requests"] / x["seconds"]) for side in ("ours", name)}
            yield compare("100 outstanding", "replies", "1/s", rates["ours"], opponent, rates[name])
