# SPDX-License-Identifier: Apache-2.0
"""The table and the JSON file of a benchmark."""
import json

from runner import machine


def number(value):
    if value == 0 or value in (float("inf"), float("-inf")):
        return f"{value:g}"
    if abs(value) >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}"


def ratio(row):
    if "ratio" not in row:
        return ""
    values = row["ratio"]
    return f"{values['median']:.2f} ({values['lowest']:.2f}–{values['highest']:.2f})"


def verdict(row):
    return "" if "met" not in row else "met" if row["met"] else "MISSED"


HEADS = ("work", "figure", "unit", "ours", "other", "against", "ratio (spread)", "goal", "")


def cells(row):
    """Returns the texts of one row, in the order of HEADS."""
    return (row["work"], row["figure"], row["unit"], number(row["ours"]["median"]),
            number(row["other"]["median"]) if "other" in row else "", row.get("opponent", ""), ratio(row),
            row.get("goal", ""), verdict(row))


def table(result):
    """Returns the lines of the table for the terminal."""
    lines = [HEADS, *(cells(row) for row in result["rows"])]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADS))]
    return ["  ".join(text.ljust(width) for text, width in zip(line, widths)).rstrip() for line in lines]


def write(path, result):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps(result, indent=1, ensure_ascii=False) + "\n")


def collect(name, title, rows, session, root, network, command):
    """Returns everything that is known about one run of a benchmark."""
    return {
        "name": name, "title": title, "command": command, "network": network, "quick": session.quick,
        "rounds": session.rounds, "seconds": session.seconds, "load": machine.load(),
        "machine": machine.describe(root), "rows": [row.as_json() for row in rows],
    }
