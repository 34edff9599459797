"""The phone book of a user: what an import changes in it, and how that is stored."""
from __future__ import annotations

import json
from collections import Counter
from dataclasses import dataclass, field
from typing import Dict, Iterable, Iterator, List, Set, Tuple

from dasclient import Client, Refused, entry, message, reason_of
from dasclient._person import FIELDS, NAMES, NUMBERS, Lost, Row, plain_number

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


def _numbers(row: Row) -> Set[str]:
    return {plain_number(row[name]) for name in NUMBERS if row[name]}


def _is_there(new: Row, old: Row) -> bool:
    """Whether each number of a contact of the same names is there. Contacts without numbers are
    one only with each other."""
    numbers, known = _numbers(new), _numbers(old)
    return numbers <= known if numbers else not known


class Index:
    """Contacts by their names."""

    def __init__(self, rows: Iterable[Row] = ()) -> None:
        self._rows: Dict[Tuple[str, ...], List[Row]] = {}
        for row in rows:
            self.add(row)

    @staticmethod
    def _key(row: Row) -> Tuple[str, ...]:
        return tuple(row[name] for name in NAMES)

    def add(self, row: Row) -> None:
        self._rows.setdefault(self._key(row), []).append(row)

    def find(self, new: Row) -> Row | None:
        """The contact that @p new is; rather one whose numbers are just the same."""
        found = [old for old in self._rows.get(self._key(new), ()) if _is_there(new, old)]
        return next((old for old in found if _numbers(old) == _numbers(new)), found[0] if found else None)

    def take(self, new: Row) -> Row | None:
        """The same, once for each contact."""
        found = self.find(new)
        if found is not None:
            rows = self._rows[self._key(new)]
            del rows[next(place for place, row in enumerate(rows) if row is found)]
        return found


@dataclass
class Plan:
    """What an import does: rows to add, rows with cells to fill."""
    added: List[Row] = field(default_factory=list)
    filled: List[Row] = field(default_factory=list)
    skipped: int = 0
    differences: int = 0


def plan_of(new_rows: Iterable[Row], book: Iterable[Row]) -> Plan:
    """How the contacts come into the book. A contact that the file has twice is one."""
    plan = Plan()
    index = Index(book)
    changed: Dict[int, Row] = {}
    for new in new_rows:
        old = index.find(new)
        if old is None:
            index.add(new)
            plan.added.append(new)
            continue
        cells = {name: new[name] for name in FILLED if new[name] and not old[name]}
        plan.differences += sum(1 for name in FILLED if new[name] and old[name] not in ("", new[name]))
        old.update(cells)
        if cells and "UniqueID" in old:
            changed[id(old)] = old
        else:
            plan.skipped += 1
    plan.filled = list(changed.values())
    return plan


def replacement(new_rows: Iterable[Row], book: Iterable[Row]) -> Tuple[List[Row], List[Row]]:
    """The rows of the file, and the rows of the book that these replace. A contact that is there
    keeps its number, and with it its conversations, and the columns that no file has."""
    index = Index(book)
    rows, kept = [], set()
    for new in new_rows:
        old = index.take(new)
        if old is not None:
            kept.add(old["UniqueID"])
            new = {**old, **new}
        rows.append(new)
    return rows, [row for row in book if row["UniqueID"] not in kept]


class Book:
    """The contacts of a user in a running host."""

    def __init__(self, das: Client, context: str) -> None:
        self._das = das
        self._context = context
        self.rows = self._read()

    def _read(self) -> List[Row]:
        """All rows, in parts where they are too many for one answer."""
        try:
            return [dict(row) for row in self._das.read(SCHEMA, context=self._context)]
        except Refused:
            rows: Dict[str, Row] = {}
            while True:
                page = self._das.read(SCHEMA, context=self._context, offset=len(rows), limit=PAGE)
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
        answer = self._das.request(message(SCHEMA, reason, body, context or self._context))
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
