# SPDX-License-Identifier: Apache-2.0
"""A router with many ports and routes, and a controller that joins before or after it publishes them."""
from runner.figures import at_most, compare

TITLE = "A router's state reaches a controller"
LEVELS, ROUTES_OF_A_PORT = 4, 8  # as in bench/common/load.h


class Side:
    def __init__(self, session, program, ports, **options):
        self.samples = ports * (2 * LEVELS + ROUTES_OF_A_PORT)
        domain = session.domain()
        self.router = session.start(program, "router", domain=domain, ports=ports, **options)
        self.controller = session.start(program, "controller", domain=domain)

    def early(self):
        """The controller is there. It has seen nothing yet, or the same state as before."""
        self.controller.ask("join")
        if self.published:
            self.controller.ask("await", count=self.samples)
        self.controller.ask("begin")
        self.router.ask("prime")
        self.published = True
        return self.left()

    def late(self):
        self.controller.ask("join")
        return self.left()

    def left(self):
        milliseconds = self.controller.ask("await", count=self.samples)["seconds"] * 1000
        self.controller.ask("leave")
        return milliseconds

    published = False


def run(session):
    ports = 100 if session.quick else 2000
    with session.programs_end():
        sides = {"ours": Side(session, "bench_ours", ports), "engine": Side(session, "bench_engine", ports, batched=1)}
        work = f"4 × {ports:,} × {ports:,}, {ROUTES_OF_A_PORT * ports:,} routes"
        for when in ("early", "late"):
            results = session.in_turn(**{name: getattr(side, when) for name, side in sides.items()})
            yield compare(f"{work}, {when} controller", "time until it has seen all", "ms", results["ours"], "bare engine",
                          results["engine"], at_most(1.1))
