"""Contacts as CSV files of other programs. A form is a table of its columns; the header says which
form a file has."""
from __future__ import annotations

import csv
import io
from collections import Counter
from typing import Dict, FrozenSet, Iterable, Iterator, List, Mapping, Tuple

from dasclient._person import Lost, Person, Row, joined_address, kinds_of, row_of
from dasclient._program import Wrong

csv.field_size_limit(8 << 20)

#: What a column holds: a field of the person, "number:KIND", "address:WHICH:PART", or nothing that is
#: worth a word ("silent"). A column that a form does not have is lost, and counted.
Form = Mapping[str, str]

_PARTS = ("street", "street2", "street3", "city", "code", "region", "country")


def _addresses(which: Iterable[str], names: Mapping[str, str]) -> Dict[str, str]:
    return {name.format(each): f"address:{each}:{part}" for each in which for name, part in names.items()}


def _numbers(kinds: Mapping[str, str]) -> Dict[str, str]:
    return {name: f"number:{kind}" for name, kind in kinds.items()}


OUTLOOK: Form = {
    "Last Name": "surname", "First Name": "firstname", "Company": "company", "Job Title": "job",
    "E-mail Address": "email", "E-mail 2 Address": "email", "E-mail 3 Address": "email",
    **_numbers({"Business Phone": "work", "Business Phone 2": "work", "Mobile Phone": "mobile",
                "Home Phone": "home", "Home Phone 2": "home", "Primary Phone": "", "Other Phone": "",
                "Car Phone": "", "Radio Phone": "", "Callback": "", "ISDN": "",
                "Company Main Phone": "", "Pager": "pager", "Business Fax": "fax", "Home Fax": "fax",
                "Other Fax": "fax", "Telex": "fax", "TTY/TDD Phone": "fax"}),
    **_addresses(("Business", "Home", "Other"),
                 {"{} Street": "street", "{} Street 2": "street2", "{} Street 3": "street3",
                  "{} City": "city", "{} Postal Code": "code", "{} State": "region",
                  "{} Country": "country", "{} Country/Region": "country"}),
    **dict.fromkeys(("E-mail Type", "E-mail 2 Type", "E-mail 3 Type", "E-mail Display Name",
                     "E-mail 2 Display Name", "E-mail 3 Display Name", "Gender", "Initials", "Priority",
                     "Private", "Sensitivity"), "silent"),
}
THUNDERBIRD: Form = {
    "Last Name": "surname", "First Name": "firstname", "Display Name": "formatted",
    "Organization": "company", "Job Title": "job", "Primary Email": "email", "Secondary Email": "email",
    **_numbers({"Work Phone": "work", "Mobile Number": "mobile", "Home Phone": "home",
                "Fax Number": "fax", "Pager Number": "pager"}),
    **_addresses(("Work", "Home"),
                 {"{} Address": "street", "{} Address 2": "street2", "{} City": "city",
                  "{} ZipCode": "code", "{} State": "region", "{} Country": "country"}),
}
_GOOGLE_COUNT = 9
GOOGLE: Form = {
    "Last Name": "surname", "Family Name": "surname", "First Name": "firstname",
    "Given Name": "firstname", "Name": "formatted", "Organization Name": "company",
    "Organization 1 - Name": "company", "Organization Title": "job", "Organization 1 - Title": "job",
    **dict.fromkeys(("File As", "Organization 1 - Type", "Photo"), "silent"),
    **{f"E-mail {n} - Value": "email" for n in range(1, _GOOGLE_COUNT)},
    **{f"Phone {n} - Value": "number:label" for n in range(1, _GOOGLE_COUNT)},
    **{f"{what} {n} - {word}": "silent" for n in range(1, _GOOGLE_COUNT)
       for what in ("E-mail", "Phone", "Address") for word in ("Label", "Type")},
    **{f"Address {n} - Formatted": f"address:{n}:formatted" for n in range(1, _GOOGLE_COUNT)},
    **_addresses(map(str, range(1, _GOOGLE_COUNT)),
                 {"Address {} - Street": "street", "Address {} - Extended Address": "street2",
                  "Address {} - PO Box": "street3", "Address {} - City": "city",
                  "Address {} - Postal Code": "code", "Address {} - Region": "region",
                  "Address {} - Country": "country"}),
}
FORMS: Mapping[str, Form] = {"google": GOOGLE, "outlook": OUTLOOK, "thunderbird": THUNDERBIRD}

# What programs write into a column that has no value.
_NOTHING = frozenset(("", "0/0/00", "00/00/00"))


# ---- Reading


def _form_of(header: List[str], name: str) -> str:
    """The form that knows most of the columns."""
    known = {form: sum(1 for column in header if column in columns) for form, columns in FORMS.items()}
    best = max(known, key=lambda form: known[form])
    if known[best] < 2:
        advice = ("das import PhoneBook FILE reads the telephone's own columns" if {"UniqueID", "Surname"} & {*header}
                  else "export the contacts there in English, or as vCard")
        raise Wrong(f"{name}: line 1: not the columns of a file from Google, Outlook or Thunderbird; {advice}")
    return best


# What the csv module says of a row, in words that say what to do.
_REASONS = (("unexpected end", "a quote in the row that begins here has no end"),
            ("expected after", "text follows a closing quote in the row that begins here; "
                               "a quote within a value is written twice"))


def _table(text: str, name: str) -> Iterator[Tuple[int, List[str]]]:
    """The rows with the numbers of their first lines; the separator is that which cuts the header. A quote
    that is not closed would take the rows that follow into its value, so each one must stand where a
    quote may stand."""
    header = text.partition("\n")[0]
    separator = max(",;\t", key=header.count)
    reader = csv.reader(io.StringIO(text, newline=""), delimiter=separator, strict=True)
    first = 1
    try:
        for row in reader:
            if any(row):
                yield first, row
            first = reader.line_num + 1
    except csv.Error as error:
        reason = next((words for part, words in _REASONS if part in str(error)), str(error))
        raise Wrong(f"{name}: line {first}: {reason}; nothing was changed") from error


def _cells(header: List[str], row: List[str]) -> Tuple[Row, "Lost[str]"]:
    """The values by their columns. A column that stands twice has the first value that is not blank; the
    others are lost."""
    cells: Row = {}
    lost: Lost[str] = Counter()
    for column, value in zip(header, row):
        if not cells.get(column, "").strip():
            cells[column] = value
        elif value.strip() and value != cells[column]:
            lost[f'values of "{column}"'] += 1
    return cells, lost


def read_csv(text: str, name: str, form: str = "") -> Tuple[str, Iterator[Person]]:
    """The form of the file, and its contacts."""
    rows = _table(text, name)
    header = [column.strip() for column in next(rows, (0, []))[1]]
    recognised = _form_of(header, name)
    form = form or recognised
    if not any(column in FORMS[form] for column in header):
        raise Wrong(f"{name}: line 1: no column of {form}; leave --format out, or name {recognised}")
    return form, _persons(rows, header, form, name)


def _persons(rows: Iterable[Tuple[int, List[str]]], header: List[str], form: str, name: str) -> Iterator[Person]:
    for number, row in rows:
        if len(row) > len(header) and any(row[len(header):]):
            raise Wrong(f"{name}: line {number}: {len(row)} fields under {len(header)} columns; "
                        "nothing was changed")
        cells, doubled = _cells(header, row)
        person = _person(cells, FORMS[form])
        person.lost += doubled
        yield person


def _values(cell: str) -> List[str]:
    """A cell of Google may hold several values."""
    return [value for value in cell.split(" ::: ") if value.strip()]


def _person(cells: Row, columns: Form) -> Person:
    person = Person()
    addresses: Dict[str, Row] = {}
    for column, cell in cells.items():
        role, _, rest = columns.get(column, "lost").partition(":")
        if cell.strip() in _NOTHING or role == "silent":
            continue
        if role == "lost":
            person.lost[f'values of "{column}"'] += 1
        elif role == "email":
            preferred = _label(cells, column).startswith("*")
            person.emails += [(0 if preferred else 1, value) for value in _values(cell)]
        elif role == "number":
            words = _label(cells, column) if rest == "label" else rest
            person.numbers += [(value, _kinds(words)) for value in _values(cell)]
        elif role == "address":
            which, _, part = rest.partition(":")
            addresses.setdefault(which, {})[part] = cell
        else:
            setattr(person, role, cell)
    person.addresses = list(map(_address, addresses.values()))
    return person


def _kinds(words: str) -> FrozenSet[str]:
    return kinds_of((words,))


def _label(cells: Row, column: str) -> str:
    """Google's label of a value, in either of its forms."""
    stem = column[:-len("Value")]
    return cells.get(f"{stem}Label") or cells.get(f"{stem}Type") or ""


def _address(parts: Row) -> str:
    if not any(parts.get(name) for name in _PARTS):
        return parts.get("formatted", "")
    town = " ".join(filter(None, (parts.get("code"), parts.get("city"))))
    streets = [parts.get(name, "") for name in ("street", "street2", "street3")]
    return joined_address([*streets, town, parts.get("region", ""), parts.get("country", "")])


# ---- Writing

_WRITTEN: Mapping[str, Mapping[str, str]] = {
    "outlook": {"First Name": "Firstname", "Last Name": "Surname", "Company": "Company",
                "Job Title": "JobFunction", "E-mail Address": "Email", "Business Phone": "Office",
                "Business Phone 2": "Office2", "Mobile Phone": "Mobile", "Home Phone": "Private",
                "Business Street": "Address", "Home Street": "Address2"},
    "thunderbird": {"First Name": "Firstname", "Last Name": "Surname", "Primary Email": "Email",
                    "Work Phone": "Office", "Mobile Number": "Mobile", "Home Phone": "Private",
                    "Work Address": "Address", "Home Address": "Address2", "Job Title": "JobFunction",
                    "Organization": "Company"},
    "google": {"First Name": "Firstname", "Last Name": "Surname", "Organization Name": "Company",
               "Organization Title": "JobFunction", "E-mail 1 - Label": "", "E-mail 1 - Value": "Email",
               "Phone 1 - Label": "Work", "Phone 1 - Value": "Office", "Phone 2 - Label": "Work",
               "Phone 2 - Value": "Office2", "Phone 3 - Label": "Mobile", "Phone 3 - Value": "Mobile",
               "Phone 4 - Label": "Home", "Phone 4 - Value": "Private", "Address 1 - Label": "Work",
               "Address 1 - Street": "Address", "Address 2 - Label": "Home",
               "Address 2 - Street": "Address2"},
}


def _written_cells(row: Row, form: str) -> Row:
    """The cells by their columns. A label is the same in each row, next to a value."""
    return {column: name if column.endswith("Label") else row[name] for column, name in _WRITTEN[form].items()}


def write_csv(rows: Iterable[Row], form: str) -> str:
    text = io.StringIO(newline="")
    writer = csv.DictWriter(text, _WRITTEN[form])
    writer.writeheader()
    writer.writerows(_written_cells(row, form) for row in rows)
    return text.getvalue()


def read_again(row: Row, form: str) -> Row:
    """What an import makes of a row of the book that was exported."""
    return row_of(_person(_written_cells(row, form), FORMS[form]))[0]


def columns_of(form: str) -> FrozenSet[str]:
    """The columns of the phone book that a file of the form has."""
    return frozenset(_WRITTEN[form].values())
