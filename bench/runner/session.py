# SPDX-License-Identifier: Apache-2.0
"""What a benchmark uses to start its programs and to measure in turn."""
import contextlib
import json
import subprocess

from runner.program import PATIENCE, Failed, Program


class Session:
    """`quick`: the shortest run that executes everything. `rounds`, `seconds`: how often and how long to measure."""

    def __init__(self, programs, folder, quick, rounds, seconds):
        self.programs, self.folder, self.quick = programs, folder, quick
        self.rounds = 1 if quick else rounds
        self.seconds = 0.05 if quick else seconds
        self.numbers = iter(range(20, 220))
        self.running = []

    def domain(self):
        """Returns a DDS domain that nobody else uses."""
        return next(self.numbers)

    def start(self, program, *words, environment=None, **options):
        """Starts a program with words and NAME=VALUE options."""
        arguments = [str(self.programs / program), *words, *(f"{name}={value}" for name, value in options.items())]
        self.running.append(Program(arguments, environment))
        return self.running[-1]

    def benchmark(self, program, pattern="."):
        """Runs measurements of a program of Google Benchmark. Returns, by name, its CPU time "ns" and its counters."""
        command = [str(self.programs / program), "--benchmark_format=json", f"--benchmark_filter={pattern}",
                   f"--benchmark_min_time={self.seconds / 10}"]
        try:
            run = subprocess.run(command, capture_output=True, text=True, timeout=PATIENCE)
            results = json.loads(run.stdout)["benchmarks"]
        except (OSError, ValueError, KeyError, subprocess.TimeoutExpired) as error:
            raise Failed(f"{program}: {error}") from error
        for one in results:
            if "error_message" in one:
                raise Failed(f"{program}: {one['name']}: {one['error_message']}")
        if run.returncode != 0 or not results:
            raise Failed(f"{program}: code {run.returncode}, {len(results)} measurements: {run.stderr.strip()}")
        return {one["name"]: {**one, "ns": one["cpu_time"]} for one in results}

    def stop(self):
        """Ends all programs, the last one first."""
        failure = None
        while self.running:
            try:
                self.running.pop().close()
            except Failed as error:
                failure = error
        if failure:
            raise failure

    @contextlib.contextmanager
    def programs_end(self):
        """Ends all programs at the end of the block, also after a failure."""
        try:
            yield
        except BaseException:
            with contextlib.suppress(Failed):  # the first failure is the reason
                self.stop()
            raise
        self.stop()

    def in_turn(self, **sides):
        """Calls each side once in each round. Returns the lists of their results, by name."""
        results = {name: [] for name in sides}
        for _ in range(self.rounds):
            for name, side in sides.items():
                results[name].append(side())
        return results
