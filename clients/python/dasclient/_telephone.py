"""What a report shows of a telephone, as a host answers it."""
from __future__ import annotations

import re
from collections import Counter
from dataclasses import dataclass, field
from typing import Dict, List, Mapping, Optional, Tuple

from dasclient import Client, Refused
from dasclient import Row as AnswerRow
from dasclient._book import Book
from dasclient._person import NAMES, NUMBERS, Row
from dasclient._schemas import KEYS, SETTINGS, masked

_KEY_ITSELF = ("Id", "Function", "Label", "Locked", "Local")
#: Columns that say where a key leads, whatever they hold. Of the others a switch says nothing.
_LEADS = re.compile("Number|UR[IL]|Uri|User|Name|Address|Description|Target|Sequence|Path|Query")
_SWITCH = re.compile(r"\d|true|false")


@dataclass
class Key:
    number: str
    function: str = ""
    label: str = ""
    locked: bool = False
    #: Where it leads: name and value of each column that says it.
    details: List[Tuple[str, str]] = field(default_factory=list)

    @property
    def is_set(self) -> bool:
        return bool(self.label or self.details or self.function not in ("", "0"))


@dataclass
class Telephone:
    user: str
    contacts: List[Row] = field(default_factory=list)
    #: Newest first.
    calls: List[Row] = field(default_factory=list)
    keys: Dict[str, Key] = field(default_factory=dict)
    #: By schema: whose, name, value.
    settings: Dict[str, List[Tuple[str, str, str]]] = field(default_factory=dict)
    #: How many rows each schema has.
    counts: Dict[str, int] = field(default_factory=dict)
    #: What the host logged of reads that failed, by schema.
    failures: Dict[str, str] = field(default_factory=dict)


class Reader:
    def __init__(self, das: Client, user: str) -> None:
        self._das = das
        self._telephone = Telephone(user)

    def read(self) -> Telephone:
        telephone = self._telephone
        telephone.contacts = self._contacts()
        telephone.calls = self._calls()
        self._keys()
        for schema in SETTINGS:
            items = [(row.context or "", name, masked(name, value))
                     for row in self._rows(schema, None) for name, value in row.items()
                     if row.context in (None, "", telephone.user)]
            if items:
                telephone.settings[schema] = sorted(items, key=lambda item: item[1])
        return telephone

    def _failed(self, schema: str, refused: Refused) -> None:
        self._telephone.failures[schema] = refused.words or "the answer was a failure"

    def _rows(self, schema: str, context: Optional[str]) -> List[AnswerRow]:
        try:
            rows = self._das.read(schema, context=context)
        except Refused as refused:
            self._failed(schema, refused)
            return []
        if rows:
            self._telephone.counts[schema] = len(rows)
        return rows

    def _contacts(self) -> List[Row]:
        try:
            contacts = Book(self._das, self._telephone.user).rows
        except Refused as refused:
            self._failed("PhoneBook", refused)
            return []
        self._telephone.counts["PhoneBook"] = len(contacts)
        return contacts

    def _calls(self) -> List[Row]:
        rows = self._rows("CallLog", self._telephone.user)
        calls = [{**row, **call} for row in rows for call in row.calls if call.get("TimeDate")]
        return sorted(calls, key=lambda call: call["TimeDate"], reverse=True)

    def _keys(self) -> None:
        for schema in KEYS:
            for row in self._rows(schema, self._telephone.user):
                number = row.get("Id", "")
                key = self._telephone.keys.setdefault(number, Key(number))
                if schema in KEYS[:2]:
                    key.function, key.label = row.get("Function", ""), row.get("Label", "")
                    key.locked = row.get("Locked") == "true"
                key.details += [(name, masked(name, value)) for name, value in row.items()
                                if value and name not in _KEY_ITSELF
                                and (_LEADS.search(name) or not _SWITCH.fullmatch(value))]


def health_of(telephone: Telephone) -> List[Tuple[str, int]]:
    """Counts that a person who looks after the telephone wants to see."""
    def identity(row: Mapping[str, str]) -> Tuple[str, ...]:
        return tuple(row[name] for name in NAMES + NUMBERS)
    doubled = Counter(map(identity, telephone.contacts))
    return [
        ("contacts", len(telephone.contacts)),
        ("contacts without a number",
         sum(1 for row in telephone.contacts if not any(row[name] for name in NUMBERS))),
        ("doubled contacts, of which the next start keeps the newest",
         sum(count - 1 for count in doubled.values())),
        ("calls", len(telephone.calls)),
        ("missed calls that were not looked at",
         sum(1 for call in telephone.calls if call.get("Viewed") == "false")),
        ("keys that are set", sum(1 for key in telephone.keys.values() if key.is_set)),
        ("settings", sum(map(len, telephone.settings.values()))),
        ("schemas that could not be read", len(telephone.failures)),
    ]
