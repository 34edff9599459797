"""Shows a telephone on one page of HTML that needs no network.

Run it as ``das-report``, or as ``python3 -m dasclient.report``.
"""
from __future__ import annotations

import argparse
import re
import sys
from datetime import datetime
from pathlib import Path
from typing import Dict, List, Tuple

from dasclient._person import NAMES
from dasclient._program import OK, REFUSED, add_common_options, connect, parse, run, write_file
from dasclient._telephone import Key, Reader, Telephone, health_of

PROGRAM = "das-report"

#: Groups of keys as they lie: a name, the first key, the first one of its shifted level (0 without),
#: and how many there are. Half of them stand on each side.
GROUPS = (("Fixed keys", 30, 0, 10), ("Telephone", 100, 200, 16), ("Key module 1", 300, 400, 18),
          ("Key module 2", 500, 600, 18), ("Key module 3", 700, 800, 18), ("Key module 4", 900, 1000, 18))

#: What of a contact is shown, with its heading.
CONTACT_COLUMNS = (("Office", "Office"), ("Office2", "Office 2"), ("Mobile", "Mobile"),
                   ("Private", "Private"), ("Email", "E-mail"), ("Company", "Company"),
                   ("JobFunction", "Job"), ("Address", "Address"), ("Address2", "Address 2"))


def _groups(keys: Dict[str, Key]) -> List[Tuple[str, List[List[Key]], int]]:
    """Name, places with their keys, and how many places one side has. The shifted level of a key is
    shown where it is set; a group without a key that is set is left out."""
    groups = []
    for name, first, shifted, count in GROUPS:
        numbers = [(str(first + place), str(shifted + place) if shifted else "") for place in range(count)]
        places = [[keys[plain], *(keys[other] for other in (above,) if other in keys and keys[other].is_set)]
                  for plain, above in numbers if plain in keys]
        if any(key.is_set for levels in places for key in levels):
            groups.append((name, places, (len(places) + 1) // 2))
    return groups


def _length(seconds: str) -> str:
    if not re.fullmatch("[0-9]{1,9}", seconds):
        return seconds
    minutes, rest = divmod(int(seconds), 60)
    return f"{minutes}:{rest:02}"


def _time(text: str) -> str:
    """To the minute, as the telephone's clock showed it."""
    found = re.match(r"(\d{4}-\d\d-\d\d)T(\d\d:\d\d)", text, re.ASCII)
    return " ".join(found.groups()) if found else text


def _name(row: Dict[str, str]) -> str:
    return ", ".join(filter(None, (row.get(name) for name in NAMES)))


def page_of(telephone: Telephone, anonymous: bool) -> str:
    """Every value is escaped by the template."""
    import jinja2
    from dasclient._pictures import pictures_of
    templates = jinja2.Environment(
        loader=jinja2.FileSystemLoader(str(Path(__file__).with_name("templates"))), autoescape=True,
        undefined=jinja2.StrictUndefined, trim_blocks=True, lstrip_blocks=True)
    templates.filters.update(length_of_call=_length, time_of_call=_time, name_of=_name)
    columns = [(name, heading) for name, heading in CONTACT_COLUMNS
               if any(row.get(name) for row in telephone.contacts)]
    return templates.get_template("report.html").render(
        telephone=telephone, anonymous=anonymous, made=datetime.now().strftime("%Y-%m-%d %H:%M"),
        columns=columns, pictures=pictures_of(telephone.calls), groups=_groups(telephone.keys),
        health=health_of(telephone))


def _report(options: argparse.Namespace) -> int:
    with connect(options) as das:
        telephone = Reader(das, options.context or das.current_user()).read()
    if options.anonymise:
        from dasclient._anonymous import anonymise
        anonymise(telephone)
    write_file(options.file, page_of(telephone, options.anonymise).encode("utf-8", "replace"))
    if telephone.failures:
        print(f"{PROGRAM}: {len(telephone.failures)} schemas could not be read: "
              f"{', '.join(telephone.failures)}; the page says why", file=sys.stderr)
    return REFUSED if telephone.failures else OK


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog=PROGRAM, description="Shows a telephone on one page of HTML that needs no network.",
        epilog="Exit status: 0; 1 the service refused a part, which the page names; 2 wrong usage, a file "
               "that can't be written, or no host.")
    parser.add_argument("file", metavar="FILE.html", help="the page; - is standard output")
    parser.add_argument("--anonymise", action="store_true",
                        help="replace what says who the people are: names, numbers, e-mail, companies, "
                             "addresses, SIP users, labels and destinations of keys")
    add_common_options(parser)
    return parser


def main() -> int:
    options = parse(_parser())
    return run(PROGRAM, lambda: _report(options))


if __name__ == "__main__":
    sys.exit(main())
