#!/usr/bin/python3
"""Draws the figures of `check.py --results FILE` as pictures for docs/performance.md.

Usage: plots.py FILE FOLDER

One picture a group of operations: what das takes of the time of the program written by hand, over the
same pipe. A bar that ends left of 1 is faster than that program.
"""
import json
import re
import sys
from pathlib import Path

import pygal
from pygal.style import CleanStyle

GROUPS = {"settings": ("Settings", "^Settings/"), "contacts": ("Contacts", "^Phonebook/"),
          "calls": ("Calls", "^CallLog/")}
STYLE = CleanStyle(font_family="sans-serif", colors=("#4477aa", "#ee6677"), background="white",
                   plot_background="white", label_font_size=11, title_font_size=15, value_font_size=10,
                   legend_font_size=12)


def words(operation):
    """The name of an operation as people write it: "search number in 1000"."""
    name = operation.split("/")[1]
    return re.sub(r"(?<=[a-z])(?=[A-Z0-9])|(?<=[0-9])(?=[A-Z])", " ", name).lower()


def draw(title, rows):
    names = list(dict.fromkeys(row["operation"] for row in rows))
    chart = pygal.HorizontalBar(
        style=STYLE, width=720, height=100 + 46 * len(names), title=title, range=(0, 1.25), js=[],
        y_labels=[0, 0.25, 0.5, 0.75, 1, 1.25], print_values=True, legend_at_bottom=True, disable_xml_declaration=True,
        show_y_guides=True, truncate_label=-1, formatter=lambda value: f"{value:.2f}")
    chart.x_labels = [words(name) for name in reversed(names)]
    for place in ["memory", "disk"]:
        ratios = {row["operation"]: row["ratio"] for row in rows if row["place"] == place}
        chart.add("in memory" if place == "memory" else "on a disk",
                  [round(ratios[name], 3) if name in ratios else None for name in reversed(names)])
    text = chart.render(is_unicode=True)
    text = re.sub(r"<!--.*?-->|<script.*?</script>", "", text, flags=re.S)
    identity = re.search(r'id="(chart-[0-9a-f-]+)"', text)[1]
    return text.replace(identity, "chart")  # the same figures give the same file


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.split("\n\n")[1])
    rows = json.loads(Path(sys.argv[1]).read_text())["pipe"]
    for name, (title, operations) in GROUPS.items():
        found = [row for row in rows if re.search(operations, row["operation"])]
        picture = draw(f"{title}: time of das in parts of the program written by hand", found)
        Path(sys.argv[2], f"{name}.svg").write_text(picture + "\n")


if __name__ == "__main__":
    main()
