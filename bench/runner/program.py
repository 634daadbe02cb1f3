# SPDX-License-Identifier: Apache-2.0
"""A benchmark program: answers each command, which is one line, with one line of JSON."""
import json
import os
import selectors
import subprocess

PATIENCE = 90  # seconds for one answer


class Failed(Exception):
    """A benchmark did not run."""


class Program:
    def __init__(self, arguments, environment=None):
        self.name = " ".join([os.path.basename(arguments[0]), *arguments[1:]])
        self.rest = b""
        try:
            self.process = subprocess.Popen(arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                            env={**os.environ, **(environment or {})})
        except OSError as error:
            raise Failed(f"{self.name}: {error.strerror}") from error
        self.selector = selectors.DefaultSelector()
        self.selector.register(self.process.stdout, selectors.EVENT_READ)
        try:
            self.answer("start")
        except Failed:
            self.close()
            raise

    def answer(self, command):
        while b"\n" not in self.rest:
            if not self.selector.select(PATIENCE):
                raise Failed(f"{self.name}: no answer to \"{command}\" within {PATIENCE} s")
            octets = os.read(self.process.stdout.fileno(), 65536)
            if not octets:
                raise Failed(f"{self.name}: ended during \"{command}\" with code {self.process.wait()}")
            self.rest += octets
        line, _, self.rest = self.rest.partition(b"\n")
        try:
            result = json.loads(line)
        except ValueError as error:
            raise Failed(f"{self.name}: not an answer to \"{command}\": {line.decode(errors='replace')}") from error
        if "error" in result:
            raise Failed(f"{self.name}: {result['error']}")
        return result

    def ask(self, command, **options):
        """Returns the answer to a command with options."""
        line = " ".join([command, *(f"{name}={value}" for name, value in options.items())])
        try:
            self.process.stdin.write(line.encode() + b"\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            pass  # the end of its output says why
        return self.answer(line)

    def close(self):
        """Ends the program. Raises Failed if it does not end with success."""
        if self.process.poll() is None:
            try:
                self.process.stdin.close()
            except BrokenPipeError:
                pass
            try:
                self.process.wait(20)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.selector.close()
        self.process.stdout.close()
        if self.process.returncode != 0:
            raise Failed(f"{self.name}: ended with code {self.process.returncode}")
