"""What the campaigns in Python have in common: options, figures and findings, as in Campaign.h."""
import argparse
import os
import random
import shutil
import sys
import tempfile
import time
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[1]


class Campaign:
    def __init__(self, name, meaning, rounds):
        parser = argparse.ArgumentParser(description=f'The campaign "{name}"')
        parser.add_argument("programs", type=Path, help="the folder of the built programs")
        parser.add_argument("--rounds", type=int, default=rounds, help=f"how many {meaning}")
        parser.add_argument("--seed", type=int, default=time.time_ns() % 1000000,
                            help="where its random numbers begin")
        parser.add_argument("--seconds", type=float, default=float("inf"),
                            help="when to stop, whatever the rounds")
        options = parser.parse_args()
        self.name, self.rounds, self.seed = name, options.rounds, options.seed
        self.programs = options.programs.resolve()
        self.das = self.programs / "das"
        self.random = random.Random(self.seed)
        self.figures, self.findings = {"seed": self.seed}, 0
        self.end_of_time = time.monotonic() + options.seconds
        self.place = Path(tempfile.mkdtemp(
            prefix=f"das-{name}-", dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None))

    def has_time(self):
        return time.monotonic() < self.end_of_time

    def count(self, figure, number=1):
        self.figures[figure] = self.figures.get(figure, 0) + number

    def highest(self, figure, value):
        self.figures[figure] = max(self.figures.get(figure, 0), value)

    def found(self, what):
        self.findings += 1
        print(f"{self.name}: found with --seed {self.seed}: {what}", file=sys.stderr, flush=True)

    def check(self, holds, what):
        if not holds:
            self.found(what)
        return holds

    def end(self):
        """Prints the figures and returns the exit status."""
        shutil.rmtree(self.place, ignore_errors=True)
        self.figures["findings"] = self.findings
        for name, value in self.figures.items():
            print(f"{self.name}: {name} {value}")
        return 0 if self.findings == 0 else 1
