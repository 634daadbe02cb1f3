# SPDX-License-Identifier: Apache-2.0
"""docs/performance.md, from the results and the notes of all benchmarks."""
import importlib
import json
import sys

from runner import plot, report

HEAD = """# Performance

`scripts/bench --write-docs` has written this page. Do not edit it.

Each figure compares this library with something else on the same work. The two sides are measured in turn in one run. A
ratio is this library's value divided by the other's, for each round; the table has the median and, in brackets, the
lowest and the highest ratio. Goals are for the median. A row without an opponent has a goal for the value itself.
`bench/` holds the programs, `scripts/bench NAME` repeats one of the tables.
"""

COLUMNS = ("work", "figure", "ours", "other", "against", "ratio", "goal", "")


def cells(row):
    work, figure, unit, ours, other, opponent, ratio, goal, verdict = report.cells(row)
    unit = f" {unit}" if unit else ""
    verdict = f"**{verdict.lower()}**" if verdict == "MISSED" else verdict
    return work, figure, ours + unit, other and other + unit, opponent, ratio, goal, verdict


def section(result):
    machine = result["machine"]
    versions = ", ".join(f"{name} {version}" for name, version in machine["versions"].items())
    lines = [
        f"## {result['title']}", "",
        f"`{result['command']}`: {result['rounds']} rounds of {result['seconds']:g} s, in {result['network']}, of the library of commit "
        f"{machine['commit']}, load {result['load']:.1f}. {machine['processors']} × {machine['processor']}, "
        f"{machine['memory']}, {machine['system']}. {versions}.", "",
        "| " + " | ".join(COLUMNS) + " |", "|" + "---|" * len(COLUMNS),
    ]
    lines += ["| " + " | ".join(cells(row)) + " |" for row in result["rows"]]
    return lines


def write(root, results, names):
    """Writes the page and its plots. Says which benchmarks have no results."""
    page = HEAD.splitlines()
    plots = root / "docs" / "performance"
    plots.mkdir(parents=True, exist_ok=True)
    missing = []
    for name in names:
        file = results / f"{name}.json"
        if not file.exists():
            missing.append(name)
            continue
        result = json.loads(file.read_text())
        page += ["", *section(result)]
        notes = getattr(importlib.import_module("cases." + name.replace("-", "_")), "NOTES", "")
        if notes:
            page += ["", notes.strip()]
        if plot.draw(plots / f"{name}.svg", result):
            page += ["", f"![The ratios of {name}](performance/{name}.svg)"]
    (root / "docs" / "performance.md").write_text("\n".join(page) + "\n")
    if missing:
        print(f"bench: docs/performance.md has no {', '.join(missing)}: run them first", file=sys.stderr)
