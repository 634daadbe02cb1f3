# SPDX-License-Identifier: Apache-2.0
"""The plot of a benchmark: the ratios of all its rows, with their spread and their goals, drawn by gnuplot."""
import subprocess

from runner.program import Failed

SCRIPT = """
set terminal svg size 1100,{height} dynamic font "sans,12" background "white"
set output "{path}"
set label "{title}" at screen 0.5, screen 1 center offset 0, -1
set tmargin 3
set xlabel "ours / other: median, lowest, highest"
set arrow from 1, graph 0 to 1, graph 1 nohead linecolor rgb "gray"
set logscale x
set xrange [{low}:{high}]
set yrange [{rows}-0.5:-0.5]
set grid x
set key outside below
set lmargin {margin}
set ytics ({labels})
$ratios << END
{ratios}
END
$goals << END
{goals}
END
plot $ratios using 2:1:3:4 with xerrorbars pointtype 7 title "ratio", \\
  $goals using 2:1 with points pointtype 2 pointsize 1.5 linecolor rgb "red" title "goal"
"""


def draw(path, result):
    """Writes an SVG file and returns True. Without any ratio it writes none."""
    rows = [row for row in result["rows"] if "ratio" in row and 0 < row["ratio"]["lowest"]
            and row["ratio"]["highest"] < float("inf")]
    if not rows:
        return False
    labels = [f"{row['work']}: {row['figure']} / {row['opponent']}" for row in rows]
    ratios = [(row["ratio"]["median"], row["ratio"]["lowest"], row["ratio"]["highest"]) for row in rows]
    goals = [(i, float(row["goal"].split()[-1])) for i, row in enumerate(rows) if "goal" in row]
    every = [value for values in ratios for value in values] + [goal for _, goal in goals] + [1]
    script = SCRIPT.format(
        path=path, title=result["title"], rows=len(rows), height=140 + 22 * len(rows), margin=int(0.85 * max(map(len, labels))),
        low=min(every) * 0.8, high=max(every) * 1.25, labels=", ".join(f'"{text}" {i}' for i, text in enumerate(labels)),
        ratios="\n".join(f"{i} {middle} {low} {high}" for i, (middle, low, high) in enumerate(ratios)),
        goals="\n".join(f"{i} {goal}" for i, goal in goals) or "0 NaN")
    try:
        run = subprocess.run(["gnuplot"], input=script, capture_output=True, text=True)
    except OSError as error:
        raise Failed(f"gnuplot: {error.strerror}") from error
    if run.returncode != 0 or "line" in run.stderr:
        raise Failed(f"gnuplot: {run.stderr.strip()}")
    return True
