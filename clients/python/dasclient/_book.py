"""The phone book of a user: what an import changes in it, and how that is stored."""
from __future__ import annotations

import json
from collections import Counter
from dataclasses import dataclass, field
from typing import Callable, Dict, FrozenSet, Iterable, Iterator, List, Set, Tuple

from dasclient import Client, Refused, entry, message, reason_of
from dasclient._person import FIELDS, NAMES, NUMBERS, Lost, Row, dialled, plain_number

SCHEMA = "PhoneBook"
#: What a contact that is there already takes from a file.
FILLED = tuple(name for name in FIELDS if name not in NAMES + NUMBERS)

#: Limits of a request. A line has at most 8 MiB; the rest of it is more than enough for what encloses
#: the entries.
MOST_ENTRIES = 10000
MOST_BYTES = 7 << 20
PAGE = 2000

#: Rows that an import replaces are moved to this user, of whom no one reads, and deleted together: a
#: batch moves all of them in one transaction, while each deletion of one contact is a request.
LIMBO = "das-contacts"

Place = Tuple[Tuple[str, ...], str]


#: What an import makes of a row of the book that was exported in the same form. A CSV file has no place
#: for a contact without a name, or for a second number without a first.
Reader = Callable[[Row], Row]


def _numbers(row: Row) -> FrozenSet[str]:
    return frozenset(dialled(row[name])[0] for name in NUMBERS if row[name])


def _names(row: Row) -> Tuple[str, ...]:
    return tuple(row[name] for name in NAMES)


class Known:
    """A contact of the book, also as an import would read it."""

    def __init__(self, row: Row, reader: Reader) -> None:
        self.row, self._reader = row, reader
        self.numbers = _numbers(row)
        self.read = reader(row)

    def fill(self, cells: Row) -> None:
        self.row.update(cells)
        self.read = self._reader(self.row)

    def places(self) -> Set[Place]:
        """Where the index has it: by its names and one of its numbers, or by its names alone. A file may
        have no column for its only number."""
        numbers = (self.numbers or {""}) | (_numbers(self.read) or {""})
        return {(names, number) for names in (_names(self.row), _names(self.read)) for number in numbers}

    def likeness(self, new: Row) -> Tuple[bool, bool]:
        """The contact that is wholly alike is the most like one, then that of just the same numbers."""
        return (all(self.read[name] == new[name] for name in FIELDS), self.numbers == _numbers(new))


class Index:
    """Contacts by their names and numbers."""

    def __init__(self, rows: Iterable[Row] = (), reader: Reader = dict) -> None:
        self._reader = reader
        self._known: Dict[Place, List[Known]] = {}
        for row in rows:
            self.add(row, reader)

    def add(self, row: Row, reader: Reader = dict) -> None:
        known = Known(row, reader)
        for place in known.places():
            self._known.setdefault(place, []).append(known)

    def find(self, new: Row) -> Known | None:
        """The contact that @p new is: one of its names that has each of its numbers. Contacts without
        numbers are one only with each other."""
        numbers = _numbers(new)
        found = [known for known in self._known.get((_names(new), min(numbers, default="")), ())
                 if numbers <= known.numbers]
        return max(found, key=lambda known: known.likeness(new), default=None)

    def take(self, new: Row) -> Known | None:
        """The same, once for each contact."""
        found = self.find(new)
        for place in found.places() if found else ():
            self._known[place].remove(found)
        return found


@dataclass
class Plan:
    """What an import does: rows to add, rows with cells to fill."""
    added: List[Row] = field(default_factory=list)
    filled: List[Row] = field(default_factory=list)
    skipped: int = 0
    differences: int = 0


def plan_of(new_rows: Iterable[Row], book: Iterable[Row], reader: Reader = dict) -> Plan:
    """How the contacts come into the book. A contact that the file has twice is one."""
    plan = Plan()
    index = Index(book, reader)
    changed: Dict[int, Row] = {}
    for new in new_rows:
        known = index.find(new)
        if known is None:
            index.add(new)
            plan.added.append(new)
            continue
        old = known.row
        others = [name for name in FILLED if new[name] and new[name] not in (old[name], known.read[name])]
        plan.differences += sum(1 for name in others if old[name])
        cells = {name: new[name] for name in others if not old[name]}
        known.fill(cells)
        if cells and "UniqueID" in old:
            changed[id(old)] = old
        else:
            plan.skipped += 1
    plan.filled = list(changed.values())
    return plan


def replacement(new_rows: Iterable[Row], book: Iterable[Row],
                reader: Reader = dict) -> Tuple[List[Row], List[Row]]:
    """The rows of the file, and the rows of the book that these replace. A contact that is there
    keeps its number, and with it its conversations, and what the file has no place for."""
    index = Index(book, reader)
    rows, kept = [], set()
    for new in new_rows:
        known = index.take(new)
        if known is not None:
            old = {**known.row, **{name: plain_number(known.row[name]) for name in NUMBERS}}
            kept.add(old["UniqueID"])
            new = {**old, **{name: new[name] for name in FIELDS if new[name] != known.read[name]}}
        rows.append(new)
    return rows, [row for row in book if row["UniqueID"] not in kept]


class Book:
    """The contacts of a user in a running host."""

    def __init__(self, das: Client, context: str) -> None:
        self._das = das
        self.context = context
        self.rows = self._read()

    def _read(self) -> List[Row]:
        """All rows, in parts where they are too many for one answer."""
        try:
            return [dict(row) for row in self._das.read(SCHEMA, context=self.context)]
        except Refused:
            rows: Dict[str, Row] = {}
            while True:
                page = self._das.read(SCHEMA, context=self.context, offset=len(rows), limit=PAGE)
                rows.update((row["UniqueID"], dict(row)) for row in page)
                if len(page) < PAGE:
                    return list(rows.values())

    def store(self, rows: Iterable[Row], replaced: Iterable[Row] = ()) -> None:
        """Writes the rows and deletes those that they replace. On a failure the book is as it was."""
        before = {row["UniqueID"]: row for row in map(dict, self._read())}
        rows = sorted(rows, key=lambda row: "UniqueID" not in row)
        try:
            for part in _parts(map(entry, rows)):
                self._ask("write_request", part)
            self._remove(replaced)
        except (Refused, KeyboardInterrupt):
            self._undo(before, rows)
            raise

    def _ask(self, reason: str, body: str, context: str = "") -> None:
        answer = self._das.request(message(SCHEMA, reason, body, context or self.context))
        if reason_of(answer) in ("failure", ""):
            raise self._das.refusal(f"{reason} to {SCHEMA}", answer)

    def _remove(self, rows: Iterable[Row]) -> None:
        """In two transactions, the first of which empties the place in the book. The surname keeps
        the rows apart: the service deletes doubled contacts at its start."""
        moved = [entry({"UniqueID": row["UniqueID"], "Surname": row["UniqueID"]}) for row in rows]
        if not moved:
            return
        for part in _parts(moved):
            self._ask("write_request", part, LIMBO)
        self._ask("delete_request", "", LIMBO)

    def _undo(self, before: Dict[str, Row], stored: List[Row]) -> None:
        """Deletes by one request a row, which works on a full disk as well."""
        index = Index(row for row in stored if "UniqueID" not in row)
        now = {row["UniqueID"]: row for row in self._read()}
        for number, row in now.items():
            if number not in before and index.take(row) is not None:
                self._ask("delete_request", entry({"UniqueID": number}))
        for part in _parts(entry(row) for number, row in before.items() if now.get(number) != row):
            self._ask("write_request", part)


def _parts(entries: Iterable[str]) -> Iterator[str]:
    """As few requests as the limits allow."""
    part: List[str] = []
    size = 0
    for each in entries:
        length = len(json.dumps(each))
        if part and (len(part) == MOST_ENTRIES or size + length > MOST_BYTES):
            yield "".join(part)
            part, size = [], 0
        part.append(each)
        size += length
    if part:
        yield "".join(part)


def doubled(rows: Iterable[Row], others: Iterable[Row]) -> int:
    """How many rows the service takes for the same as one of the others."""
    known = {_identity(row) for row in others if not row["Picture"]}
    return sum(1 for row in rows if _identity(row) in known)


def _identity(row: Row) -> Tuple[str, ...]:
    return tuple(row[name] for name in NAMES + NUMBERS)


def count_others(rows: Iterable[Row], names: Iterable[str]) -> Lost[str]:
    """How many rows have a value in each of the other columns."""
    left_out = {"UniqueID", *names}
    return Counter(name for row in rows for name, value in row.items()
                   if value and name not in left_out)
