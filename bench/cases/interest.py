# SPDX-License-Identifier: Apache-2.0
"""A client registers interest in one more unit."""
from runner import network
from runner.figures import at_most, column, compare

TITLE = "Interest in one more unit, with many values followed"
NOTES = """The engine filters samples in the reader's process only. For a wider filter a second reader gets the whole history of
the topic, and drops what the filter refuses. Values that the client already holds are not decoded or reported again.
"""
VALUES_OF_A_UNIT = 100
FEW = 1  # units


def one_more(client, unit):
    """Returns the time until the unit's values have arrived, and the octets on the network."""
    client.ask("begin")
    before = network.loopback_octets()
    client.ask("interest", unit=unit)
    seconds = client.ask("await", count=VALUES_OF_A_UNIT)["seconds"]
    octets = network.loopback_octets() - before
    client.ask("forget", unit=unit)
    client.ask("end")
    return {"ms": seconds * 1000, "octets": octets}


def run(session):
    many = 20 if session.quick else 1000
    with session.programs_end():
        clients = {}  # with the number of their units, which is the number of the next unit
        for name, units in (("few", FEW), ("many", many)):
            domain = session.domain()
            session.start("bench_ours", "device", domain=domain, instances=(units + 1) * VALUES_OF_A_UNIT).ask("prime")
            client = session.start("bench_ours", "client", domain=domain, late=1, units=units)
            client.ask("join")
            client.ask("await", count=units * VALUES_OF_A_UNIT)
            client.ask("end")
            clients[name] = client, units
        results = session.in_turn(**{
            name: lambda known=known: one_more(*known) for name, known in clients.items()})
    for key, figure, unit in (("ms", "time until its values are there", "ms"), ("octets", "traffic", "octets")):
        yield compare(f"{many * VALUES_OF_A_UNIT:,} followed values", figure, unit,
                      column(results["many"], lambda one: one[key]),
                      f"ours, {FEW * VALUES_OF_A_UNIT} followed values", column(results["few"], lambda one: one[key]),
                      at_most(2))
