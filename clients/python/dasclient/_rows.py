"""Answers of the service, taken apart.

A cell of an answer is not escaped, so it may hold anything, and an XML parser would lose rows. The rule by
which an answer is cut into rows instead is the section "How to take an answer apart" of docs/requests.md.
"""
from __future__ import annotations

import re
from typing import Dict, Iterable, Iterator, List, Mapping, Optional

from ._answers import FORMS

_LIST = "LogList"
_CONTEXT = re.compile(r'<Context currentUser="([^"<]*)">')
_NAME = re.compile(r'<([^</ "=>]+)>')


class Row(Dict[str, str]):
    """A row of an answer by its elements. ``calls`` are those of a row of the call log, and
    ``context`` is the user whom the answer names for it."""

    def __init__(self, fields: Mapping[str, str], calls: Iterable[Dict[str, str]] = (),
                 context: Optional[str] = None) -> None:
        super().__init__(fields)
        self.calls = list(calls)
        self.context = context


def reason_of(answer: str) -> str:
    """The reason of an answer, such as "read_response" or "failure"; blank without one."""
    found = re.search("<ReasonForMessage>(.*?)</ReasonForMessage>", answer)
    return found.group(1) if found else ""


class _Form:
    """The columns of a record in their order."""

    def __init__(self, frame: str, columns: List[str]) -> None:
        self.columns = columns
        self.begin = f"<{frame}><{columns[0]}>"
        self.end = f"</{columns[-1]}></{frame}>"
        self.ends = [f"</{one}><{next_one}>" for one, next_one in zip(columns, columns[1:])]

    def found(self, piece: str, found: int) -> int:
        """How many ends are found in all once ``piece`` has been searched, after ``found`` of them."""
        place = 0
        while found < len(self.ends) and (place := piece.find(self.ends[found], place)) >= 0:
            place += len(self.ends[found])
            found += 1
        return found

    def cut(self, text: str) -> Optional[List[str]]:
        """The values of a record; None when it has another form."""
        forwards = self.columns.index(_LIST) if _LIST in self.columns else len(self.ends)
        values, last = [], []
        for end in self.ends[:forwards]:
            value, mark, text = text.partition(end)
            if not mark:
                return None
            values.append(value)
        for end in reversed(self.ends[forwards:]):
            text, mark, value = text.rpartition(end)
            if not mark:
                return None
            last.append(value)
        return values + [text] + last[::-1]


def _wholes(text: str, forms: List[_Form]) -> List[str]:
    """The records of a text. What a value imitates of the border between two records belongs to it
    unless a whole record stands there."""
    begin, end = forms[0].begin, forms[0].end
    text = text[len(begin):] if text.startswith(begin) else text
    text = text[:-len(end)] if text.endswith(end) else text
    wholes: List[str] = []
    waiting: List[str] = []
    none = [0] * len(forms)
    pending = none

    def is_whole(counts: List[int]) -> bool:
        return any(count == len(form.ends) for form, count in zip(forms, counts))

    for piece in text.split(end + begin):
        waiting.append(piece)
        own = [form.found(piece, 0) for form in forms]
        pending = [form.found(piece, count) for form, count in zip(forms, pending)]
        if is_whole(own) and wholes:
            wholes[-1] = (end + begin).join([wholes[-1]] + waiting[:-1])
            wholes.append(piece)
        elif is_whole(own) or is_whole(pending):
            wholes.append((end + begin).join(waiting))
        else:
            continue
        waiting, pending = [], none
    if wholes:
        wholes[-1] = (end + begin).join([wholes[-1]] + waiting)
    return wholes


def _columns_of(frame: str, text: str) -> List[str]:
    """The columns of the first record, as far as the text shows them."""
    columns: List[str] = []
    text = text[len(frame) + 2:] if text.startswith(f"<{frame}>") else ""
    while (found := _NAME.match(text)) and f"</{found.group(1)}><" in text:
        columns.append(found.group(1))
        text = text.partition(f"</{found.group(1)}><")[2]
        text = "" if text.startswith(f"/{frame}>") else "<" + text
    return columns


def _records(frame: str, known: List[List[str]], text: str) -> Iterator[tuple[int, Dict[str, str]]]:
    """The records of a text, each with the number of its form."""
    for columns in (known, [_columns_of(frame, text)]):
        forms = [_Form(frame, each) for each in columns if each]
        if forms and text.startswith(forms[0].begin) and (wholes := _wholes(text, forms)):
            for whole in wholes:
                for number, form in enumerate(forms):
                    values = form.cut(whole)
                    if values is not None:
                        yield number, dict(zip(form.columns, values))
                        break
            return


def _frames(text: str, place: int, context: Optional[str]) -> tuple[int, Optional[str]]:
    """Where the tags between two settings end, and the user of what follows."""
    while True:
        found = _CONTEXT.match(text, place)
        if found:
            place, context = found.end(), found.group(1)
        elif text.startswith("</Context>", place):
            place, context = place + len("</Context>"), None
        else:
            return place, context


def _begins_item(text: str, place: int, other: str) -> bool:
    """Whether a setting begins there that has not the text ``other`` in its value."""
    found = _NAME.match(text, place)
    if found is None:
        return False
    end = f"</{found.group(1)}>"
    limit = text.find(other, place)
    return text.find(end, found.end(), len(text) if limit < 0 else limit + len(end)) >= 0


def _settings(text: str) -> Iterator[Row]:
    place, context = _frames(text, 0, None)
    while found := _NAME.match(text, place):
        tag = f"</{found.group(1)}>"
        end = text.find(tag, found.end())
        while end >= 0:
            place, user = _frames(text, end + len(tag), context)
            if place == len(text) or _begins_item(text, place, tag + "<"):
                break
            end = text.find(tag, end + 1)
        else:
            end, place, user = len(text), len(text), context
        yield Row({found.group(1): text[found.end():end]}, context=context)
        context = user


def rows_of(answer: str, columns: Iterable[str] = ()) -> List[Row]:
    """The rows of an answer: its entries, or one row for each item of settings. ``columns`` are
    those that the request named in ``ResultCols``.

    Cells stand unescaped in answers, so this is no XML parser: rows are cut by the columns that the
    schema has. A value that imitates a whole row can't be told from one; no value hides another row.
    """
    head, _, body = answer.partition("</ReasonForMessage>")
    schema = re.search('<Schema name="([^"]*)"', head)
    body = body[:-len("</Schema>")] if body.endswith("</Schema>") else body
    found = _CONTEXT.match(body)
    inner = body[found.end():-len("</Context>")] if found else body
    if not inner.startswith("<Entry>"):
        return list(_settings(body))
    asked = list(columns)
    forms = [{"columns": asked}] if asked else FORMS.get(schema.group(1) if schema else "", [])
    rows = []
    for number, fields in _records("Entry", [form["columns"] for form in forms], inner):
        items = forms[number].get("items", []) if number < len(forms) else []
        calls = [call for _, call in _records("Item", items, fields.pop(_LIST, ""))]
        rows.append(Row(fields, calls, found.group(1) if found else None))
    return rows
