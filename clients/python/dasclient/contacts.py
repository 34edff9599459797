"""Brings contacts of other programs into the phone book of a running host, and out of it.

Run it as ``das-contacts``, or as ``python3 -m dasclient.contacts``.
"""
from __future__ import annotations

import argparse
import re
import sys
from collections import Counter
from typing import Iterable, List, Sequence, Tuple

from dasclient import Client
from dasclient._book import SCHEMA, Book, Plan, Reader, count_others, doubled, plan_of, replacement
from dasclient._csv_forms import FORMS, columns_of, read_again, read_csv, write_csv
from dasclient._person import FIELDS, Lost, Person, Row, clean, row_of
from dasclient._program import OK, Wrong, add_common_options, connect, parse, run, write_file

PROGRAM = "das-contacts"
FORMATS = ("vcard3", "vcard4", *FORMS)


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog=PROGRAM, description="Brings contacts into the phone book of a telephone, and out of it.",
        epilog="Exit status: 0; 1 the service refused; 2 wrong usage, a wrong file, or no host.")
    parser.add_argument("action", choices=("import", "export"))
    parser.add_argument("file", metavar="FILE", help="a vCard or CSV file; - is standard input or output")
    parser.add_argument("--format", choices=FORMATS,
                        help="an import recognises the format; an export to FILE.vcf is vCard 4")
    parser.add_argument("--dry-run", action="store_true", help="say what would be done, and change nothing")
    parser.add_argument("--replace", action="store_true",
                        help="import: delete the user's contacts that are not in the file")
    add_common_options(parser)
    return parser


# ---- Import


_WIDE = ((b"\xff\xfe|\xfe\xff", "utf-16"), (b"[^\0]\0[^\0]\0", "utf-16-le"), (b"\0[^\0]\0[^\0]", "utf-16-be"))


def _text_of(name: str) -> str:
    try:
        if name == "-":
            content = sys.stdin.buffer.read()
        else:
            with open(name, "rb") as file:
                content = file.read()
    except OSError as error:
        raise Wrong(f"cannot read {name}: {error.strerror}") from error
    # The first two characters of each form are of ASCII, so UTF-16 without a mark shows by its zero bytes.
    wide = next((code for begin, code in _WIDE if re.match(begin, content, re.DOTALL)), "")
    try:
        return content.decode(wide or "utf-8-sig")
    except UnicodeDecodeError as error:
        if wide:
            raise Wrong(f"{name}: it begins as UTF-16, but is damaged; save it as UTF-8") from error
    try:
        text = content.decode("cp1252")
    except UnicodeDecodeError as error:
        raise Wrong(f"{name}: neither UTF-8 nor Windows-1252; save it as UTF-8") from error
    print(f"{PROGRAM}: {name}: not UTF-8; it is read as Windows-1252", file=sys.stderr)
    return text


def _is_vcard(text: str) -> bool:
    return text.lstrip()[:11].upper() == "BEGIN:VCARD"


def _has_vcard_name(name: str) -> bool:
    return name.lower().endswith((".vcf", ".vcard"))


def _persons(name: str, form: str) -> Tuple[List[Person], Reader]:
    """The contacts, and how the file's form shows a row of the book. An empty file of vCards is one
    without contacts; an empty CSV file lacks its line of names."""
    text = _text_of(name)
    if form.startswith("vcard") or (not form and (_is_vcard(text) or _has_vcard_name(name))):
        from dasclient._vcard import read_vcards
        return list(read_vcards(text, name)), dict
    if _is_vcard(text):
        raise Wrong(f"{name}: this is a vCard; leave --format out")
    if not text.strip():
        raise Wrong(f"{name}: the file is empty; nothing was changed")
    recognised, persons = read_csv(text, name, form)
    return list(persons), lambda row: read_again(row, recognised)


def _rows_of(persons: Iterable[Person]) -> Tuple[List[Row], Lost[str]]:
    lost: Lost[str] = Counter()
    rows = []
    for person in persons:
        row, without_place = row_of(person)
        lost += without_place
        if any(row.values()):
            rows.append(row)
    return rows, lost


def _say_lost(lost: Lost[str]) -> None:
    for what, count in lost.most_common():
        print(f"{count} {what} can't be carried")


def _import(options: argparse.Namespace) -> int:
    persons, reader = _persons(options.file, options.format or "")
    rows, lost = _rows_of(persons)
    with connect(options) as das:
        context = options.context or das.current_user()
        book = Book(das, context)
        if not persons and not options.replace:
            print(f"{PROGRAM}: {options.file}: no contacts in it", file=sys.stderr)
        if options.replace:
            stored = _replace(book, rows, reader, options)
        else:
            plan = plan_of(rows, book.rows, reader)
            plan.skipped += len(persons) - len(rows)
            stored = _add(book, plan, options.dry_run)
        _say_lost(lost)
        _warn_of_doubled(das, stored, context)
    return OK


def _warn_of_doubled(das: Client, stored: List[Row], context: str) -> None:
    """The service looks for doubled contacts without regard to whose they are."""
    other = "base" if context == "visitor" else "visitor"
    count = doubled(stored, Book(das, other).rows) if stored else 0
    if count:
        print(f"{PROGRAM}: {count} contacts are in the phone book of {other} as well; the next start of the "
              "service keeps only the newest of each", file=sys.stderr)


def _add(book: Book, plan: Plan, dry_run: bool) -> List[Row]:
    if not dry_run and (plan.added or plan.filled):
        book.store(plan.added + plan.filled)
    filled = f", {len(plan.filled)} filled" if plan.filled else ""
    print(f"{len(plan.added)} contacts {'would be ' if dry_run else ''}added, {plan.skipped} skipped{filled}")
    if plan.differences:
        print(f"{plan.differences} values differ from those of contacts that are there; they were left")
    return plan.added


def _replace(book: Book, rows: List[Row], reader: Reader, options: argparse.Namespace) -> List[Row]:
    if not rows:
        raise Wrong(f"{options.file}: no contacts in it; nothing was changed")
    once = plan_of(rows, ()).added
    stored, replaced = replacement(once, book.rows, reader)
    if not options.dry_run:
        book.store(stored, replaced)
    print(f"{SCHEMA} of {book.context}: {len(book.rows)} contacts {'would be ' if options.dry_run else ''}"
          f"replaced by {len(stored)}")
    return stored


# ---- Export


def _form_for(options: argparse.Namespace) -> str:
    if options.format:
        return str(options.format)
    if _has_vcard_name(options.file):
        return "vcard4"
    raise Wrong(f"{options.file}: which format? name it by --format {'|'.join(FORMATS)}")


def _written(rows: Sequence[Row], form: str) -> Tuple[str, Iterable[str]]:
    """The file's text, and the columns that it has."""
    if form in FORMS:
        return write_csv(rows, form), columns_of(form)
    from dasclient import _vcard
    return (_vcard.write_vcard3 if form == "vcard3" else _vcard.write_vcard4)(rows), FIELDS


def _export(options: argparse.Namespace) -> int:
    if options.replace:
        raise Wrong("--replace belongs to import; an export always replaces the file")
    form = _form_for(options)
    with connect(options) as das:
        book = Book(das, options.context or das.current_user()).rows
    lost: Lost[str] = Counter()
    rows = [{name: clean(value, lost) for name, value in row.items()} for row in book]
    text, columns = _written(rows, form)
    lost += Counter({f"values of {name}": count for name, count in count_others(rows, columns).items()})
    if not options.dry_run:
        write_file(options.file, text.encode())
    # The report must not stand among the contacts.
    sys.stdout = sys.stderr if options.file == "-" else sys.stdout
    print(f"{len(rows)} contacts {'would be ' if options.dry_run else ''}exported")
    _say_lost(lost)
    return OK


def main() -> int:
    options = parse(_parser())
    return run(PROGRAM, lambda: (_import if options.action == "import" else _export)(options))


if __name__ == "__main__":
    sys.exit(main())
