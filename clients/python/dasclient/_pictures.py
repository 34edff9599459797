"""The pictures of a report, as SVG that stands in the page. They have the width of a small telephone's
screen, so that no text is made smaller."""
from __future__ import annotations

import itertools
import re
from collections import Counter
from typing import Any, Dict, Iterable, List, Tuple

import pygal
from markupsafe import Markup
from pygal.style import Style

from dasclient._person import Row

WIDTH, HEIGHT, FONT = 340, 250, 13
#: How many marks the axis of the counts has above 0, at most.
MOST_TICKS = 6
DAYS = ("Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun")
#: How long a call took: below how many seconds, with the words for it.
LENGTHS = ((1, "0"), (10, "<10s"), (60, "<1m"), (300, "<5m"), (900, "<15m"), (3600, "<1h"), (None, "1h+"))
CATEGORIES = ("Dialled", "Forwarded", "Missed", "Received")
#: Readers who see few colours can distinguish these, too.
COLOURS = ("#0072b2", "#e69f00", "#d55e00", "#009e73")

Series = Dict[str, List[int]]

_STYLE = Style(font_family="sans-serif", background="transparent", plot_background="transparent",
               label_font_size=FONT, major_label_font_size=FONT, legend_font_size=FONT,
               value_font_size=FONT, tooltip_font_size=FONT, value_label_font_size=FONT, colors=COLOURS,
               opacity="1")


def bars(name: str, labels: Iterable[str], series: Series, every: int = 1) -> Markup:
    """Stacked bars, one colour for each series; what they count is marked by whole numbers."""
    highest = max(map(sum, zip(*series.values())), default=0)
    step = next(size * 10 ** power for power in itertools.count() for size in (1, 2, 5)
                if size * 10 ** power * MOST_TICKS >= highest)
    chart = pygal.StackedBar(
        width=WIDTH, height=HEIGHT, explicit_size=True, js=[], style=_STYLE, x_labels=list(labels),
        x_labels_major_every=every, show_minor_x_labels=every == 1, legend_at_bottom=True,
        legend_at_bottom_columns=2, disable_xml_declaration=True, margin=4, spacing=6,
        y_labels=range(0, highest + step, step),
        truncate_label=-1, value_formatter=lambda value: f"{value:.0f}")
    chart.uuid = name
    for title, values in series.items():
        chart.add(title, values)
    chart.add_xml_filter(_without_scripts)
    return Markup(chart.render(is_unicode=True))


def _without_scripts(picture: Any) -> Any:
    """A picture that does not move; comments go as well, since they name places on the network."""
    for parent in list(picture.iter()):
        for child in list(parent):
            if child.tag == "script" or not isinstance(child.tag, str):
                parent.remove(child)
    return picture


def _place_of_length(seconds: str) -> int:
    duration = int(seconds[:9]) if seconds.isascii() and seconds.isdigit() else 0
    return next(place for place, (limit, _) in enumerate(LENGTHS) if limit is None or duration < limit)


def _when(call: Row) -> Tuple[int, int]:
    """Hour and day of the week, as the telephone's clock showed them; the day is -1 where the text
    is no time."""
    found = re.match(r"(\d{4})-(\d\d)-(\d\d)T(\d\d)", call["TimeDate"], re.ASCII)
    if not found:
        return -1, -1
    year, month, day, hour = map(int, found.groups())
    month, year = (month + 12, year - 1) if month < 3 else (month, year)
    weekday = (day + 13 * (month + 1) // 5 + year + year // 4 - year // 100 + year // 400 + 5) % 7
    return (hour, weekday) if hour < 24 else (-1, -1)


def _series(places: Iterable[Tuple[str, int]], count: int) -> Series:
    """For each category how often each place occurs. All have the same colour in each picture."""
    found = Counter(places)
    return {category: [found[category, place] for place in range(count)] for category in CATEGORIES}


def pictures_of(calls: List[Row]) -> List[Tuple[str, Markup]]:
    """Title and picture."""
    whens = [(call.get("Category", ""), *_when(call)) for call in calls]
    if not any(hour >= 0 for _, hour, _ in whens):
        return []
    by_hour = _series(((category, hour) for category, hour, _ in whens), 24)
    by_day = _series(((category, day) for category, _, day in whens), 7)
    by_length = _series(((call.get("Category", ""), _place_of_length(call["Duration"]))
                         for call in calls if call.get("Duration")), len(LENGTHS))
    return [("When: hour of the day", bars("hours", map(str, range(24)), by_hour, every=6)),
            ("When: day of the week", bars("days", DAYS, by_day)),
            ("How long: seconds, minutes, hours", bars("lengths", (words for _, words in LENGTHS), by_length))]
