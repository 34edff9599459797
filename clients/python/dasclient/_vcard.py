"""Contacts as vCards. python3-vobject cuts properties, parameters and texts of every version and writes
version 3. It knows nothing of version 4: what differs there is read and written here. Lines are joined here
as well, since vobject reads a whole card by the rules of version 2.1 when a value names an encoding."""
from __future__ import annotations

import logging
import re
import sys
from collections import Counter
from typing import Dict, Iterable, Iterator, List, Optional, Set, Tuple
from urllib.parse import unquote

import vobject
from vobject.base import ContentLine, VObjectError, textLineToContentLine
from vobject.icalendar import stringToTextValues
from vobject.vcard import splitFields

from dasclient._person import (NUMBERS, Lost, Person, Row, dialled, joined_address, kinds_of,
                               plain_number)
from dasclient._program import Wrong

#: Says which column a property is, where its place or kind alone does not.
FIELD = "X-DAS-FIELD"

#: Properties that are about the file and not about the person, or that others repeat.
SILENT = frozenset(("VERSION", "FN", "PRODID", "REV", "UID", "SOURCE", "SORT-STRING", "MAILER", "LABEL",
                    "CLIENTPIDMAP", "PROFILE", "CLASS", "X-ABLABEL", "X-ABSHOWAS", "X-ABADR", "NAME"))
#: Say what a card is of; version 3 has no property of its own for that.
KIND = frozenset(("KIND", "X-ADDRESSBOOKSERVER-KIND"))
LOST = {"PHOTO": "pictures", "LOGO": "pictures", "BDAY": "birthdays", "NOTE": "notes",
        "URL": "web addresses", "NICKNAME": "nicknames", "CATEGORIES": "categories",
        "IMPP": "chat addresses", "ANNIVERSARY": "anniversaries", "AGENT": "agents"}

logging.getLogger("vobject").setLevel(logging.CRITICAL)


# ---- Reading


def _cards(text: str, name: str) -> Iterator[Tuple[int, str]]:
    """Each card with the number of its first line. A card within a card (an agent) is left out."""
    depth, first, lines = 0, 0, []  # type: int, int, List[str]
    for number, line in enumerate(re.split(r"\r\n|\r|\n", text), 1):
        # Files that were joined have a mark of the byte order in front of each.
        line = line if depth else line.lstrip("\ufeff")
        word = line.rstrip().upper()
        if word == "BEGIN:VCARD":
            depth += 1
            if depth == 1:
                first, lines = number, []
                continue
        if word == "END:VCARD" and depth:
            depth -= 1
            if depth == 0:
                yield first, "\n".join(lines)
        elif depth == 1:
            lines.append(line)
        elif depth == 0 and word:
            raise Wrong(f"{name}: line {number}: no vCard begins here; nothing was changed")
    if depth:
        raise Wrong(f"{name}: line {first}: the vCard that begins here has no end; nothing was changed")


#: The name and the parameters of a property, up to the colon in front of its value.
_HEAD = re.compile(r'[^":]*(?:"[^"]*"[^":]*)*:')
#: How the parameters say that a value is encoded. These are of version 2.1, but cards of others have them.
_QUOTED_PRINTABLE = re.compile(r";(encoding=)?quoted-printable(?=[;:])", re.IGNORECASE)
_BASE64 = re.compile(r";(encoding=)?(base64|b)[;:]", re.IGNORECASE)
_BASE64_LINE = re.compile("[A-Za-z0-9+/]+={0,2}")
#: Android writes a label of one's own as a parameter that is not one.
_CUSTOM_LABEL = re.compile(r";X-[\w-]*\([^)]*\)", re.IGNORECASE)


def _head(line: str) -> str:
    found = _HEAD.match(line)
    return found[0] if found else ""


def _logical_lines(card: str) -> Iterator[str]:
    """Lines whose parts are joined: after a fold, after a soft line break of quoted-printable, and where
    base64 is not folded. The text of a value never decides: it may hold the name of an encoding."""
    line = ""
    for part in card.split("\n"):
        if line.endswith("=") and _QUOTED_PRINTABLE.search(_head(line)):
            line += f"\n{part}"
        elif part[:1] in (" ", "\t"):
            line += part[1:]
        elif _BASE64_LINE.fullmatch(part.rstrip()) and _BASE64.search(_head(line)):
            line += part.rstrip()
        else:
            yield line
            line = part
    yield line


def _properties(card: str, person: Person) -> Iterator[ContentLine]:
    for line in _logical_lines(card):
        if not line.strip():
            continue
        found = _property(line)
        if found is None:
            person.lost["lines that are no property of a vCard"] += 1
        else:
            yield found


def _property(line: str) -> Optional[ContentLine]:
    head = _head(line)
    value = line[len(head):]
    # The parser knows names of encodings in capitals alone.
    head = _QUOTED_PRINTABLE.sub(lambda found: found[0].upper(), _CUSTOM_LABEL.sub("", head))
    # Old programs name no character set.
    for each in (head, head[:-1] + ";CHARSET=windows-1252:"):
        try:
            return textLineToContentLine(each + value)
        except UnicodeDecodeError:
            continue
        except (VObjectError, LookupError, ValueError):
            break
    return None


def _words(line: ContentLine) -> Set[str]:
    """The types of a property. Version 2.1 names them without "TYPE=", and version 4 may quote a
    list of them."""
    words = line.params.get("TYPE", []) + line.singletonparams
    return {part.strip().lower() for word in words for part in word.split(",")}


def _rank(line: ContentLine) -> int:
    """The lowest is the preferred one: PREF=1 to 100 in version 4, a type in the older ones."""
    if "pref" in _words(line):
        return 1
    value = (line.params.get("PREF") or [""])[0]
    return int(value) if re.fullmatch("[0-9]{1,3}", value) else 101


def _text(value: str) -> str:
    """Without the escapes. No separator cuts it, since version 2.1 does not escape commas."""
    return str(stringToTextValues(value, listSeparator="\0")[0])


def _parts(value: str, count: int, separator: str = ",") -> List[str]:
    parts = [part if isinstance(part, str) else separator.join(part) for part in splitFields(value)]
    return (parts + [""] * count)[:max(count, len(parts))]


def _read_name(line: ContentLine, person: Person) -> None:
    family, given, *others = _parts(line.value, 5, " ")
    person.surname, person.firstname = family, given
    person.lost["middle names, titles and suffixes"] += sum(1 for part in others if part.strip())
    if FIELD in line.params:
        person.fixed.update(Surname=family, Firstname=given)


def _without_uri(value: str) -> Tuple[str, "Lost[str]"]:
    """The number of a value that may be a URI, and what else the URI has. A context says where the number
    is valid; it is not a prefix of it."""
    if not value.lower().startswith("tel:"):
        return value, Counter()
    number, *parameters = unquote(value[4:]).split(";")
    return number, Counter("extensions of numbers" if each.lower().startswith("ext=") else
                           "parameters of numbers" for each in parameters)


def _read_number(line: ContentLine, person: Person) -> None:
    value, field = _text(line.value), (line.params.get(FIELD) or [""])[0]
    if field in NUMBERS:
        person.fixed[field] = plain_number(value)
    else:
        number, lost = _without_uri(value)
        person.lost += lost
        person.numbers.append((number, kinds_of(_words(line))))


def _read_address(line: ContentLine, person: Person) -> str:
    """One text: that of a single part as it is, else the parts as one writes them on one line."""
    box, extended, street, city, region, code, country = _parts(line.value, 7)[:7]
    town = " ".join(filter(None, (code, city)))
    return joined_address((box, extended, street, town, region, country))


def _read_company(line: ContentLine, person: Person) -> None:
    company, *units = _parts(line.value, 1)
    person.company = person.company or company
    person.lost["departments"] += sum(1 for unit in units if unit.strip())


def _read_property(line: ContentLine, person: Person) -> None:
    name, field = line.name, (line.params.get(FIELD) or [""])[0]
    if name == "N":
        _read_name(line, person)
    elif name == "FN":
        person.formatted = person.formatted or _text(line.value)
    elif name == "TEL":
        _read_number(line, person)
    elif name == "EMAIL":
        person.emails.append((_rank(line), _text(line.value)))
    elif name == "ORG":
        _read_company(line, person)
    elif name in ("TITLE", "ROLE"):
        _read_job(line, person)
    elif name == "ADR":
        address = _read_address(line, person)
        if field == "Address2":
            person.fixed[field] = address
        else:
            person.addresses.append(address)
    elif name == "AGENT" or (name not in SILENT | KIND and line.value.strip()):
        person.lost[LOST.get(name, f"{name} properties")] += 1


def _read_job(line: ContentLine, person: Person) -> None:
    """A title wins over a role."""
    value = _text(line.value)
    if line.name == "TITLE" or not person.job:
        value, person.job = person.job, value
    person.lost["roles"] += 1 if value.strip() and value != person.job else 0


def read_vcards(text: str, name: str) -> Iterator[Person]:
    """The persons of a file of versions 2.1, 3 and 4, also next to each other."""
    for _, card in _cards(text, name):
        person, labels, is_group = Person(), [], False  # type: Person, List[str], bool
        for line in _properties(card, person):
            _read_property(line, person)
            if line.name == "LABEL":
                labels.append(_text(line.value))
            is_group = is_group or (line.name in KIND and line.value.strip().lower() == "group")
        if is_group:
            person = Person()
            person.lost["groups"] += 1
        elif not person.addresses and not person.fixed.get("Address2"):
            person.addresses = labels
        yield person


# ---- Writing

_TYPES = {"Office": "work", "Office2": "work", "Mobile": "cell", "Private": "home"}


def _formatted(row: Row) -> str:
    """A card must have a formatted name."""
    names = " ".join(filter(str.strip, (row["Firstname"], row["Surname"])))
    others = (row[name] for name in ("Company", "Office", "Office2", "Mobile", "Private", "Email"))
    return names or next(filter(str.strip, others), "?")


def _is_marked(row: Row, column: str) -> bool:
    """Whether a number must name its column, since the rules of an import would move or change it."""
    number = plain_number(row[column])
    read, _ = dialled(_without_uri(row[column])[0])
    return column == "Office2" or read != number or (column == "Office" and number == plain_number(row["Office2"]))


def _lines_of(row: Row) -> Iterator[Tuple[str, Dict[str, List[str]], List[str]]]:
    """The properties of a row: name, parameters, and value by its parts."""
    nameless = not (row["Surname"] + row["Firstname"]).strip()
    yield "FN", {}, [_formatted(row)]
    yield "N", {FIELD: ["Surname"]} if nameless else {}, [row["Surname"], row["Firstname"], "", "", ""]
    for column, kind in _TYPES.items():
        if row[column]:
            yield ("TEL", {"TYPE": [kind], **({FIELD: [column]} if _is_marked(row, column) else {})},
                   [row[column]])
    for name, column in (("EMAIL", "Email"), ("ORG", "Company"), ("TITLE", "JobFunction")):
        if row[column]:
            yield name, {}, [row[column]]
    for column in ("Address", "Address2"):
        if row[column]:
            yield ("ADR", {FIELD: [column]} if column == "Address2" else {},
                   ["", "", row[column], "", "", "", ""])


def write_vcard3(rows: Iterable[Row]) -> str:
    return "".join(_card3(row) for row in rows)


def _card3(row: Row) -> str:
    card = vobject.vCard()
    for name, params, parts in _lines_of(row):
        line = card.add(name.lower())
        line.params = params
        line.value = {"N": lambda: vobject.vcard.Name(*parts), "ORG": lambda: parts,
                      "ADR": lambda: vobject.vcard.Address(parts[2])}.get(name, lambda: parts[0])()
    # vobject counts characters where a line has at most 75 bytes.
    lines = card.serialize(lineLength=sys.maxsize).split("\r\n")
    return "".join(map(_fold, lines[:-1]))


def _escape(text: str) -> str:
    return re.sub(r"([\\,;])", r"\\\1", text).replace("\n", "\\n")


def _fold(line: str) -> str:
    """Lines of at most 75 bytes; no character is cut."""
    folded, size = [], 0
    for character in line:
        width = len(character.encode())
        if size + width > 75:
            folded.append("\r\n ")
            size = 1
        folded.append(character)
        size += width
    return "".join(folded) + "\r\n"


def write_vcard4(rows: Iterable[Row]) -> str:
    text = []
    for row in rows:
        text.append("BEGIN:VCARD\r\nVERSION:4.0\r\n")
        for name, params, parts in _lines_of(row):
            shown = "".join(f";{key}={','.join(values)}" for key, values in params.items())
            text.append(_fold(f"{name}{shown}:{';'.join(map(_escape, parts))}"))
        text.append("END:VCARD\r\n")
    return "".join(text)
