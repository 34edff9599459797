"""Puts pseudonyms in the place of what says who the people around a telephone are.

First everything is learnt that names someone, then it is replaced: as a whole value, and wherever it
stands inside of another one.
"""
from __future__ import annotations

import re
from collections import Counter
from typing import Dict, List, Mapping, Set, Tuple

from dasclient._person import Row, plain_number
from dasclient._telephone import Key, Telephone

#: What a column of contacts and calls holds.
_COLUMNS: Mapping[str, str] = {
    **dict.fromkeys(("Surname", "Firstname", "ConnectedSurname", "ConnectedFirstName", "GroupName"), "Name"),
    **dict.fromkeys(("Office", "Office2", "Mobile", "Private", "Number", "ConnectedNumber", "DeflectNumber",
                     "ResolvedNumber", "GroupNumber"), "Number"),
    "Email": "E-mail", "Company": "Company", "Address": "Address", "Address2": "Address",
    "JobFunction": "Job", "ExternalID": "External", "Picture": "Picture",
}
#: Settings that may name a person, a company or a line. Rather one too many.
_SETTINGS = re.compile("name|number|user|e164|sip|ur[il]|mail|login|account|address|dial|dest|label|compan|"
                       "phone|contact|owner|identit|location|host|realm|domain|server|subscri|caller",
                       re.IGNORECASE)
_PLAIN = frozenset(("", "0", "1", "true", "false", "base", "visitor", "*****"))

#: Texts that are shorter are replaced only as words of their own.
_ANYWHERE = 4
#: Known texts are looked for by so many characters, which stand at their begin.
_HEAD = 3
_LONGEST_NUMBER = 40
_RUN = re.compile(r"\+?\d(?:[\s().\-/]*\d)+")


def _folded(text: str) -> str:
    """In small letters, as many as there were."""
    lower = text.lower()
    return lower if len(lower) == len(text) else "".join(
        each.lower() if len(each.lower()) == 1 else each for each in text)


def _core(number: str) -> str:
    """The digits of a number without the prefix that says from where it is dialled."""
    digits = re.sub(r"\D", "", plain_number(number))
    return re.sub("^0{1,2}", "", digits)


class Pseudonyms:
    def __init__(self) -> None:
        self._known: Dict[str, str] = {}
        self._counts: Counter[str] = Counter()
        self._planted: Dict[str, Dict[str, str]] = {}
        self._cores: Dict[str, str] = {}
        self._endings: Dict[str, str] = {}

    def of(self, kind: str, value: str) -> str:
        """The pseudonym of a whole value, the same each time."""
        if value in _PLAIN:
            return value
        if _folded(value) not in self._known:
            self._counts[kind] += 1
            self._learn(kind, value, f"{kind} {self._counts[kind]}")
        return self._known[_folded(value)]

    def _learn(self, kind: str, value: str, pseudonym: str) -> None:
        self._known[_folded(value)] = pseudonym
        # The users of addresses such as sip:user@host.
        parts = {value, *(re.split(r"[\s:;<>]", before)[-1] for before in value.split("@")[:-1])}
        if kind != "Number":
            parts.update(part for part in re.split(r"[\W_]+", value) if len(part) >= _ANYWHERE)
        for part in parts:
            if re.search(r"[^\W\d]", part):
                self._plant(part, pseudonym)
        for number in {plain_number(run) for run in (value[:_LONGEST_NUMBER], *_RUN.findall(value))}:
            core = _core(number)
            if len(core) >= 3 and number.strip("+").isdigit():
                self._cores.setdefault(core, pseudonym)
                for start in range(len(core) - 5):
                    self._endings.setdefault(core[start:], pseudonym)

    def _plant(self, text: str, pseudonym: str) -> None:
        folded = _folded(text)
        self._planted.setdefault(folded[:_HEAD], {}).setdefault(folded, pseudonym)

    def inside(self, text: str, only_words: bool = False) -> str:
        """A text in which what is known has its pseudonym."""
        folded = _folded(text)
        if folded in self._known:
            return self._known[folded]
        kept: List[str] = []
        place = 0
        while place < len(text):
            found, pseudonym = self._longest(folded, place, only_words)
            kept.append(pseudonym or text[place])
            place += max(len(found), 1)
        return _RUN.sub(lambda found: self._number(found[0]), "".join(kept))

    def _longest(self, text: str, start: int, only_words: bool) -> Tuple[str, str]:
        """The longest known text that stands at a place, with its pseudonym; else two blank ones."""
        best = ("", "")
        for size in range(1, _HEAD + 1):
            for known, pseudonym in self._planted.get(text[start:start + size], {}).items():
                end = start + len(known)
                if len(known) > len(best[0]) and text.startswith(known, start):
                    alone = not (text[max(start - 1, 0):start].isalnum() or text[end:end + 1].isalnum())
                    if alone or (len(known) >= _ANYWHERE and not only_words):
                        best = (known, pseudonym)
        return best

    def _number(self, run: str) -> str:
        digits = re.sub(r"\D", "", plain_number(run))
        core = _core(run)
        found = self._cores.get(core) or self._endings.get(core)
        for start in range(len(digits) - 5):
            for end in range(len(digits), start + 5, -1):
                found = found or self._cores.get(digits[start:end])
        return found or run


def _addresses(value: str) -> Set[str]:
    return {part.strip() for part in re.split("[,\n]", value) if len(part.strip()) >= _ANYWHERE}


class Anonymiser:
    def __init__(self, telephone: Telephone) -> None:
        self._names = Pseudonyms()
        self._telephone = telephone

    def run(self) -> None:
        """Replaces in the telephone's data, in two passes: what stands last may stand inside of
        what stands first."""
        for _ in range(2):
            contacts = list(map(self._row, self._telephone.contacts))
            calls = list(map(self._row, self._telephone.calls))
            keys = {number: self._key(key) for number, key in self._telephone.keys.items()}
            settings = {schema: [self._item(item) for item in items]
                        for schema, items in self._telephone.settings.items()}
        self._telephone.contacts, self._telephone.calls = contacts, calls
        self._telephone.keys, self._telephone.settings = keys, settings
        self._telephone.failures = {schema: self._words(words)
                                    for schema, words in self._telephone.failures.items()}

    def _row(self, row: Row) -> Row:
        for part in _addresses(row.get("Address", "")) | _addresses(row.get("Address2", "")):
            self._names.of("Address", part)
        return {name: self._names.of(_COLUMNS[name], value) if name in _COLUMNS else value
                for name, value in row.items()}

    def _key(self, key: Key) -> Key:
        details = [(name, self._names.of("Destination", value)) for name, value in key.details]
        return Key(key.number, key.function, self._names.of("Label", key.label), key.locked, details)

    def _item(self, item: Tuple[str, str, str]) -> Tuple[str, str, str]:
        whose, name, value = item
        shown = (self._names.of("Value", value) if _SETTINGS.search(name)
                 else self._names.inside(value))
        return whose, self._names.inside(name, only_words=True), shown

    def _words(self, words: str) -> str:
        """What the log shows of a statement, or of a word that is wrong, may hold any text."""
        without = re.sub(r"handling request '.*?'(?=; SQLite: |\Z)", "handling request '...'", words,
                         flags=re.DOTALL)
        return self._names.inside(re.sub('"[^"]*"', '"..."', without))


def anonymise(telephone: Telephone) -> None:
    Anonymiser(telephone).run()
