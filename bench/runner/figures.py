# SPDX-License-Identifier: Apache-2.0
"""Figures of a benchmark: this library compared with something else on the same work."""
import dataclasses
import statistics

MEANING = {"<=": "at most", ">=": "at least"}


@dataclasses.dataclass
class Goal:
    sign: str  # "<=" or ">="
    value: float

    def met(self, value):
        return value <= self.value if self.sign == "<=" else value >= self.value

    def text(self):
        return f"{MEANING[self.sign]} {self.value:g}"


@dataclasses.dataclass
class Row:
    """One figure. `ours` and `other` have one value for each round; the ratio of a round is ours / other. Without an
    opponent, the goal is for the value itself."""
    work: str
    figure: str
    unit: str
    ours: list
    opponent: str = ""
    other: list = dataclasses.field(default_factory=list)
    goal: Goal = None

    def ratios(self):
        return [1.0 if ours == other else ours / other if other else float("inf")
                for ours, other in zip(self.ours, self.other)]

    def judged(self):
        """Returns the values to which the goal applies."""
        return self.ratios() if self.opponent else self.ours

    def met(self):
        """Returns None without a goal."""
        return self.goal.met(statistics.median(self.judged())) if self.goal else None

    def as_json(self):
        result = {"work": self.work, "figure": self.figure, "unit": self.unit, "ours": spread(self.ours)}
        if self.opponent:
            result |= {"opponent": self.opponent, "other": spread(self.other), "ratio": spread(self.ratios())}
        if self.goal:
            result |= {"goal": self.goal.text(), "met": self.met()}
        return result


def spread(values):
    return {"median": statistics.median(values), "lowest": min(values), "highest": max(values), "rounds": values}


def at_most(value):
    return Goal("<=", value)


def at_least(value):
    return Goal(">=", value)


def compare(work, figure, unit, ours, opponent, other, goal=None):
    """Returns a row from lists of values."""
    return Row(work, figure, unit, ours, opponent, other, goal)


def column(rounds, function):
    """Returns one value for each round."""
    return [function(one) for one in rounds]
