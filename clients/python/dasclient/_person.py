"""A contact of a foreign file, and the rules by which it becomes a row of the phone book."""
from __future__ import annotations

import re
import unicodedata
from collections import Counter
from dataclasses import dataclass, field
from typing import Dict, FrozenSet, Iterable, List, Tuple

#: The columns that a file of contacts can fill; all others stay as they are.
FIELDS = ("Surname", "Firstname", "Office", "Office2", "Mobile", "Private", "Email", "Company",
          "JobFunction", "Address", "Address2")
NAMES = ("Surname", "Firstname")
NUMBERS = ("Office", "Office2", "Mobile", "Private")
ADDRESSES = ("Address", "Address2")

#: Which columns a number of a kind may take, the first free one of them. The first kind that a number
#: has decides; a number of no kind comes last and takes any column.
PLACES = (("mobile", ("Mobile",)), ("work", ("Office", "Office2")), ("home", ("Private",)))
#: What is no telephone of the person.
NEVER = frozenset(("fax", "pager"))

#: Words of vCard types and of labels in CSV files.
KINDS = {"work": "work", "business": "work", "home": "home", "private": "home", "cell": "mobile",
         "mobile": "mobile", "iphone": "mobile", "fax": "fax", "pager": "pager", "modem": "fax",
         "telex": "fax", "tty": "fax", "textphone": "fax", "assistant": "pager"}

Row = Dict[str, str]
Lost = Counter  # what finds no place, with how often


def kinds_of(words: Iterable[str]) -> FrozenSet[str]:
    found = (KINDS.get(part) for word in words for part in re.split(r"\W+", word.lower()))
    return frozenset(kind for kind in found if kind)


@dataclass
class Person:
    surname: str = ""
    firstname: str = ""
    formatted: str = ""
    company: str = ""
    job: str = ""
    numbers: List[Tuple[str, FrozenSet[str]]] = field(default_factory=list)
    #: With its rank: the lowest is the preferred one.
    emails: List[Tuple[int, str]] = field(default_factory=list)
    addresses: List[str] = field(default_factory=list)
    #: Columns that the file names itself. No rule applies to these.
    fixed: Row = field(default_factory=dict)
    lost: "Lost[str]" = field(default_factory=Counter)


MARKS = frozenset("()[]{}<>-./\\\u2010\u2011\u2012\u2013\u2014\u2015\u2212\u00b7\u2022")


#: "(0)" directly after a country code is dialled only within that country, so it is no part of the number.
#: Italy's numbers keep their 0.
_TRUNK = re.compile(r"^(\+\s*(?!39\b)\d{1,3})[^\w(]*\(\s*0\s*\)")

#: What a switchboard is to dial after it has answered.
_EXTENSION = re.compile(r"(?<![^\W\d_])(?:ext|extn|extension|x)[\s.:=]{0,9}\d{1,20}[\s)]{0,9}\Z",
                        re.IGNORECASE)


def plain_number(text: str) -> str:
    """A number without blanks and marks, its digits those of ASCII: look-ups are exact. An address
    such as sip:a.b@c keeps its marks."""
    address = "@" in text or ":" in text
    shown = "".join(" " if each.isspace() else each for each in unicodedata.normalize("NFKC", text)
                    if each.isspace() or unicodedata.category(each) not in ("Cf", "Cc")).strip()
    kept = []
    for character in shown if address else _TRUNK.sub(r"\1", shown):
        if character != " " and (address or character not in MARKS):
            digit = unicodedata.decimal(character, None)
            kept.append(character if digit is None else str(digit))
    return "".join(kept)


def dialled(text: str) -> Tuple[str, bool]:
    """A number as an import stores it, and whether it had an extension, which is left out."""
    found = None if "@" in text or re.match(r"\s*sips?:", text, re.IGNORECASE) else _EXTENSION.search(text)
    if found is None or not re.search(r"\d", text[:found.start()]):
        return plain_number(text), False
    return plain_number(text[:found.start()].rstrip(" ,;(")), True


# What XML 1.0 can't carry, so no request either.
_FORBIDDEN = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")


def clean(text: str, lost: "Lost[str]") -> str:
    """A value as each form of file and each request can carry it."""
    if "\r" in text:
        lost["carriage returns"] += text.count("\r")
        text = text.replace("\r\n", "\n").replace("\r", "\n")
    text, count = _FORBIDDEN.subn("", text)
    if count:
        lost["control characters"] += count
    return text


def joined_address(parts: Iterable[str]) -> str:
    return ", ".join(filter(None, parts))


def row_of(person: Person) -> Tuple[Row, "Lost[str]"]:
    """The row for a contact, and what finds no place in it."""
    lost: Lost[str] = Counter(person.lost)
    row = dict.fromkeys(FIELDS, "")
    row.update(person.fixed)
    if not any(name in person.fixed for name in NAMES):
        row["Surname"], row["Firstname"] = person.surname, person.firstname
        if not person.surname.strip() and not person.firstname.strip():
            row["Surname"] = next(filter(str.strip, (person.formatted, person.company)), "")
            row["Firstname"] = ""
    row["Company"], row["JobFunction"] = person.company, person.job
    _place_numbers(person, row, lost)
    emails = [email for _, email in sorted(person.emails, key=lambda each: each[0])]
    _place(emails, ("Email",), row, lost, "e-mail addresses")
    _place(person.addresses, ADDRESSES, row, lost, "postal addresses")
    return {name: clean(value, lost) for name, value in row.items()}, lost


def _place(values: Iterable[str], columns: Iterable[str], row: Row, lost: "Lost[str]",
           what: str) -> None:
    """Puts values into the free ones of the columns, in order. One that a row has is not lost."""
    free = [name for name in columns if not row[name]]
    for value in filter(None, values):
        if free:
            row[free.pop(0)] = value
        elif value not in row.values():
            lost[what] += 1


def _place_numbers(person: Person, row: Row, lost: "Lost[str]") -> None:
    of_no_kind = []
    for text, kinds in person.numbers:
        number, has_extension = dialled(text)
        allowed = [name for kind, names in PLACES if kind in kinds for name in names]
        if kinds & NEVER:
            lost["fax and pager numbers"] += 1
            continue
        lost["extensions of numbers"] += has_extension
        if not allowed:
            of_no_kind.append(number)
        elif number not in (row[name] for name in allowed):
            _place([number], allowed, row, lost, "telephone numbers")
    for number in of_no_kind:
        if number not in (row[name] for name in NUMBERS):
            _place([number], NUMBERS, row, lost, "telephone numbers")
