"""Talks to a running host of the data access service, ``das serve --socket PATH``.

    with Client("/run/das.sock") as das:
        das.write("PhoneBook", [{"Surname": "Amber", "Office": "+4989100"}])
        for contact in das.read("PhoneBook", where={"Surname": "Amber"}):
            print(contact["UniqueID"], contact["Office"])

Needs nothing beyond the standard library. A client is one connection: calls of several threads take
turns, and threads that are not to wait for each other open a client each. Who listens by ``watch``
uses a client for that alone; any thread may close it.

A connection that is lost is opened again by the next call, and listeners are added again. The call
that was under way raises ``ConnectionLost`` and is not repeated: whether the host carried it out
can't be known.
"""
from __future__ import annotations

import itertools
import json
import re
import socket
import threading
import time
from collections import deque
from dataclasses import dataclass
from os import PathLike, fspath
from types import TracebackType
from typing import Any, Deque, Dict, Iterable, Iterator, List, Mapping, Optional, Type, Union
from xml.sax.saxutils import escape as _escape_markup
from xml.sax.saxutils import quoteattr

from ._answers import FORMS
from ._methods import METHODS, ONE_WAY

__all__ = ["Changed", "Client", "ConnectionLost", "DasError", "Event", "ProfileChanged", "Reconnected",
           "Refused", "Row", "StatusChanged", "element", "entry", "escape", "message", "reason_of",
           "rows_of"]

HEADER = '<?xml version="1.0" encoding="utf-8"?>'

#: Schemas whose requests speak of rows by ``Entry`` and ``Select``.
LIST_SCHEMAS = frozenset((
    "PhoneBook", "CallGroup", "Conversations", "CallLog", "CallLogAndPhoneBook",
    "CallLogDialledCalls", "CallLogForwardedCalls", "CallLogMissedCalls", "CallLogReceivedCalls"))

Fields = Mapping[str, Any]


class DasError(Exception):
    """What goes wrong between a client and the service."""


class ConnectionLost(DasError, ConnectionError):
    """There is no connection, or it ended before the answer came."""


class Refused(DasError):
    """The service answered a failure; ``answer`` is its text."""

    def __init__(self, what: str, answer: str) -> None:
        super().__init__(f"{what} was answered with a failure")
        self.answer = answer


# ---- Requests and answers


# What XML 1.0 can't carry, not even as a reference.
_FORBIDDEN = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")


def escape(value: Any) -> str:
    """A value as the text of an element. Bools are "true" and "false". The service stores what
    was passed, and shows it so; see the note on cells at ``rows_of``. None is no value."""
    if value is None:
        raise ValueError("None is no value: leave the element out, or give a blank text")
    text = str(value).lower() if isinstance(value, bool) else str(value)
    if _FORBIDDEN.search(text):
        raise ValueError(f"{text!r} has a character that no request can carry")
    return _escape_markup(text, {"\r": "&#13;"})


def element(name: str, value: Any) -> str:
    """``<name>value</name>``, the value escaped."""
    if not re.fullmatch(r"[A-Za-z_][\w.-]*", name, re.ASCII):
        raise ValueError(f"{name!r} is no name of an element")
    return f"<{name}>{escape(value)}</{name}>"


def _elements(fields: Fields) -> str:
    return "".join(element(name, value) for name, value in fields.items())


def entry(fields: Fields, calls: Iterable[Fields] = (), tag: str = "Entry") -> str:
    """One row of a request; ``calls`` are the items of a row of the call log."""
    items = "".join(f"<Item>{_elements(call)}</Item>" for call in calls)
    return f"<{tag}>{_elements(fields)}{f'<LogList>{items}</LogList>' if items else ''}</{tag}>"


def message(schema: str, reason: str, body: str = "", context: Optional[str] = None) -> str:
    """A request. ``body`` is XML; ``context`` is "base" or "visitor", or None for the current
    user, who is also what settings of the telephone need."""
    if context is not None:
        body = f"<Context currentUser={quoteattr(context)}>{body}</Context>"
    return (f"{HEADER}<Schema name={quoteattr(schema)}>{element('ReasonForMessage', reason)}"
            f"{body}</Schema>")


class Row(Dict[str, str]):
    """A row of an answer by its elements. ``calls`` are those of a row of the call log, and
    ``context`` is the user whom the answer names for it."""

    def __init__(self, fields: Mapping[str, str], calls: Iterable[Dict[str, str]] = (),
                 context: Optional[str] = None) -> None:
        super().__init__(fields)
        self.calls = list(calls)
        self.context = context


def reason_of(answer: str) -> str:
    """The reason of an answer, such as "read_response" or "failure"; blank when there is none."""
    found = re.search("<ReasonForMessage>(.*?)</ReasonForMessage>", answer)
    return found.group(1) if found else ""


# A cell is not escaped, so it may hold anything. docs/requests.md has the rule by which an answer is
# taken apart.
_LIST = "LogList"
_CONTEXT = re.compile(r'<Context currentUser="([^"<]*)">')
_NAME = re.compile(r'<([^</ "=>]+)>')


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
    """The columns of the first record, as far as the text tells them."""
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


# ---- What a listener hears


@dataclass(frozen=True)
class ProfileChanged:
    """The current user is another one: "base" or "visitor"."""
    user: str


@dataclass(frozen=True)
class StatusChanged:
    """The service reported an item to management."""
    item: str
    value: str


@dataclass(frozen=True)
class Reconnected:
    """The connection was lost and is there again. What changed in between was not heard."""


@dataclass(frozen=True)
class Changed:
    """Rows were changed. ``context`` is "base" or "visitor", blank for the telephone's rows and for
    several users; ``reason`` is that of the request or the name of a method; ``id`` is the number,
    key or setting of the row, blank for several. If all are blank, anything may have changed."""
    schema: str = ""
    context: str = ""
    reason: str = ""
    id: str = ""


Event = Union[ProfileChanged, StatusChanged, Changed, Reconnected]


def _event_of(heard: Mapping[str, Any]) -> Optional[Event]:
    method = str(heard.get("method", ""))
    if method.startswith("ProfileChangedTo"):
        return ProfileChanged(method[len("ProfileChangedTo"):].lower())
    params = heard.get("params")
    if isinstance(params, dict) and method == "Status":
        return StatusChanged(str(params.get("item", "")), str(params.get("value", "")))
    if isinstance(params, dict) and method == "Changed":
        return Changed(*(str(params.get(name, "")) for name in ("Schema", "Context", "Reason", "Id")))
    return None


# ---- The client


class Client:
    """One connection to a running host.

    Remote methods have the names that they have on the wire, in the spelling of Python, and give
    what the service acknowledges. ``read``, ``write``, ``update`` and ``delete`` make requests and
    raise ``Refused`` when the answer is a failure.
    """

    def __init__(self, path: Union[str, "PathLike[str]"], timeout: Optional[float] = 60.0) -> None:
        """Connects to the socket ``path``. ``timeout`` is how many seconds an answer may take;
        None waits for ever. An import of many rows takes its time."""
        self._path = fspath(path)
        self._timeout = timeout
        self._ids = itertools.count(1)
        self._listeners: Dict[str, Dict[str, str]] = {}
        self._events: Deque[Event] = deque()
        self._socket: Optional[socket.socket] = None
        self._received = bytearray()
        self._turn = threading.RLock()
        self._connect()

    def __enter__(self) -> "Client":
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def close(self) -> None:
        """Ends the connection, and with it the listening."""
        self._listeners.clear()
        self._drop()

    # The wire

    def _connect(self) -> None:
        self._drop()
        connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        try:
            connection.settimeout(self._timeout)
            connection.connect(self._path)
        except OSError as error:
            connection.close()
            raise ConnectionLost(f"{self._path}: {error.strerror or error}") from error
        self._socket = connection
        for method, params in sorted(self._listeners.items()):
            self._exchange(method, params)

    def _drop(self) -> None:
        connection, self._socket = self._socket, None
        self._received = bytearray()
        if connection is not None:
            try:
                connection.shutdown(socket.SHUT_RDWR)  # wakes a thread that waits there
            except OSError:
                pass  # the host has gone
            connection.close()

    def _has_ended(self) -> bool:
        """Whether there is no connection any more. What is seen here is lost before a call."""
        connection = self._socket
        if connection is None:
            return True
        try:
            connection.setblocking(False)
            return not connection.recv(1, socket.MSG_PEEK)
        except BlockingIOError:
            return False
        except OSError:
            return True

    def _lost(self, why: str) -> ConnectionLost:
        self._drop()
        return ConnectionLost(f"{self._path}: {why}")

    def _send(self, content: Mapping[str, Any]) -> None:
        connection = self._socket
        if connection is None:
            raise self._lost("not connected")
        try:
            connection.settimeout(self._timeout)
            connection.sendall(json.dumps(content).encode() + b"\n")
        except OSError as error:
            raise self._lost(error.strerror or str(error)) from error

    def _receive(self, timeout: Optional[float]) -> Dict[str, Any]:
        """The next message of the host."""
        connection, received = self._socket, self._received
        if connection is None:
            raise self._lost("not connected")
        end = None if timeout is None else time.monotonic() + timeout
        place = received.find(b"\n")
        while place < 0:
            try:
                connection.settimeout(None if end is None else max(end - time.monotonic(), 0.001))
                part = connection.recv(1 << 16)
            except OSError as error:
                # A late answer would be taken for that of another call: a new connection has none.
                raise self._lost(error.strerror or str(error)) from error
            if not part:
                raise self._lost("the host has closed the connection")
            place = part.find(b"\n")
            place += len(received) if place >= 0 else 0
            received += part
        line = bytes(received[:place])
        del received[:place + 1]
        try:
            heard = json.loads(line)
        except (ValueError, RecursionError) as error:
            raise self._lost("what came is no message") from error
        if not isinstance(heard, dict):
            raise self._lost("what came is no message")
        return heard

    def _exchange(self, method: str, params: Mapping[str, Any]) -> Dict[str, Any]:
        number = next(self._ids)
        self._send({"jsonrpc": "2.0", "id": number, "method": method, "params": params})
        if method in ONE_WAY:
            return {}
        while True:
            heard = self._receive(self._timeout)
            error, result = heard.get("error"), heard.get("result")
            if isinstance(error, dict):
                raise DasError(f"{method}: {error.get('message', 'not understood')}")
            if heard.get("id") == number:
                if not isinstance(result, dict):
                    raise self._lost("what came is no answer")
                return result
            self._hear(heard)

    def _hear(self, heard: Mapping[str, Any]) -> None:
        event = _event_of(heard)
        if event is not None:
            self._events.append(event)

    def call(self, method: str, **params: Any) -> Dict[str, Any]:
        """The out parameters of a remote method; none for a one-way method, which is still under
        way then."""
        if method not in METHODS:
            raise ValueError(f"{method!r} is no remote method: the host would never answer")
        with self._turn:
            if self._has_ended():
                self._connect()
            result = self._exchange(method, params)
        if "Response" in result and method != "processRequest":
            raise Refused(method, str(result["Response"]))
        return result

    def _acknowledged(self, method: str, **params: Any) -> bool:
        return self.call(method, **params).get("Acknowledge") is True

    # Listening

    def watch(self, profile: bool = True, status: bool = True,
              patience: Optional[float] = None) -> Iterator[Event]:
        """Yields each change of the user and each item of status, for as long as it is asked.

        A connection that is lost is opened again, for at most ``patience`` seconds, for ever
        without; then comes ``Reconnected``, before which changes may have been missed.
        """
        self._listeners.update({"AddListener": {}} if profile else {})
        self._listeners.update({"AddStatusListener": {}} if status else {})
        self._connect()
        return self._heard(patience)

    def changes(self, schemas: Iterable[str] = (),
                patience: Optional[float] = None) -> Iterator[Changed]:
        """Yields each committed change to the schemas, or to all, for as long as it is asked.

        The first one is blank: it is time to read what there is. So is one after a connection that
        was lost and is there again, since what changed in between was not heard; and one for changes
        that came faster than they were taken. Reconnects for ``patience`` seconds, or for ever.
        """
        self._listeners["AddChangeListener"] = {"Schemas": ",".join(schemas)}
        self._connect()
        return self._changes(patience)

    def _changes(self, patience: Optional[float]) -> Iterator[Changed]:
        yield Changed()
        for event in self._heard(patience):
            if isinstance(event, Reconnected):
                yield Changed()
            elif isinstance(event, Changed):
                yield event

    def _heard(self, patience: Optional[float]) -> Iterator[Event]:
        while True:
            while self._events:
                yield self._events.popleft()
            try:
                self._hear(self._receive(None))
            except ConnectionLost:
                if not self._reconnect(patience):
                    return
                yield Reconnected()

    def _reconnect(self, patience: Optional[float]) -> bool:
        """False when the client was closed."""
        end = None if patience is None else time.monotonic() + patience
        for pause in itertools.chain((0.05, 0.1, 0.2, 0.5, 1.0), itertools.repeat(2.0)):
            if not self._listeners:
                return False
            try:
                self._connect()
                if not self._listeners:  # closed meanwhile
                    self._drop()
                    return False
                return True
            except ConnectionLost:
                if end is not None and time.monotonic() + pause > end:
                    raise
                time.sleep(pause)
        raise AssertionError("pauses never end")

    # Requests

    def request(self, text: str) -> str:
        """The answer to a request, or to a service word such as "getCurrentUser", as it comes."""
        answer = self.call("processRequest", Request=text, RequestLength=len(text.encode()))
        if "Response" not in answer:
            raise Refused("processRequest", "")
        return str(answer["Response"])

    def _ask(self, schema: str, reason: str, body: str, context: Optional[str]) -> str:
        answer = self.request(message(schema, reason, body, context))
        if reason_of(answer) in ("failure", ""):
            raise Refused(f"{reason} to {schema}", answer)
        return answer

    def current_user(self) -> str:
        """"base" or "visitor"."""
        return self.request("getCurrentUser")

    def read(self, schema: str, *, where: Fields = {}, columns: Iterable[str] = (),
             context: Optional[str] = None, offset: int = 0, limit: Optional[int] = None) -> List[Row]:
        """Rows that have all the values of ``where``, or all rows. For settings a row is one item,
        by its name, and ``columns`` are names of items."""
        asked = list(columns)
        body = element("ResultCols", " ".join(asked)) if asked else ""
        if limit is not None:
            body += element("Offset", offset) + element("RowLimit", limit)
        body += self._described(schema, where)
        return rows_of(self._ask(schema, "read_request", body, context), asked)

    def search(self, number: str, context: Optional[str] = None) -> List[Row]:
        """Contacts of whom one number is exactly this one."""
        numbers = dict.fromkeys(("Office", "Office2", "Mobile", "Private"), number)
        return rows_of(self._ask("PhoneBook", "search_phone_number", entry(numbers), context))

    def write(self, schema: str, rows: Iterable[Fields],
              context: Optional[str] = None) -> Optional[int]:
        """Stores rows whole, new or in place of those of their key. A field ``calls`` of a row of
        the call log is a list of its items. Gives the number of the last row, where it has one."""
        body = "".join(entry({name: value for name, value in row.items() if name != "calls"},
                             row.get("calls", ())) for row in rows)
        stored = rows_of(self._ask(schema, "write_request", body, context))
        numbers = [row[name] for row in stored for name in ("UniqueID", "UniqueId") if name in row]
        return int(numbers[-1]) if numbers else None

    def update(self, schema: str, values: Fields, *, where: Fields = {},
               context: Optional[str] = None) -> None:
        """Sets values: in the rows that ``where`` describes, or items of settings without it."""
        if schema in LIST_SCHEMAS:
            if not where:
                raise ValueError("without where every row would be changed")
            body = entry(where, tag="Select") + entry(values)
        else:
            body = _elements(where) + _elements(values)
        self._ask(schema, "update_request", body, context)

    def delete(self, schema: str, where: Fields, context: Optional[str] = None) -> None:
        """Deletes the rows that ``where`` describes. An empty one is refused, and one with a blank
        value, since the service leaves that out and would delete everything of the user."""
        if not where or any(value is None or value == "" for value in where.values()):
            raise ValueError("without values in where everything of the user would be deleted")
        self._ask(schema, "delete_request", self._described(schema, where), context)

    def delete_settings(self, schema: str, name: str) -> None:
        """Deletes an item of settings, for every user and the telephone."""
        self._ask(schema, "delete_request", element("Name", name), None)

    @staticmethod
    def _described(schema: str, where: Fields) -> str:
        if schema in LIST_SCHEMAS:
            return entry(where) if where else ""
        return _elements(where)

    # Remote methods

    def set_profile(self, user: str) -> bool:
        """Makes "base" or "visitor" the current user, until the host ends."""
        return self._acknowledged("setProfile", NewProfile=user)

    def factory_reset(self) -> bool:
        """Puts the telephone back to its defaults."""
        return self._acknowledged("factoryReset")

    def invoke_acms_factory_reset(self, create_database: bool) -> bool:
        """The same as management asks for it."""
        return self._acknowledged("invokeACMSFactoryReset", EnableCreateDb=create_database)

    def export_data(self, schema: str, path: str, user: int = 2) -> bool:
        """Writes the rows of a user, 0 base, 1 visitor, else all, to a file of the telephone."""
        return self._acknowledged("exportData", schemaName=schema, userToExportFor=user,
                                  filePathAndName=path)

    def import_data(self, schema: str, path: str) -> bool:
        """Reads a file of the telephone into the table of a schema."""
        return self._acknowledged("importData", schemaName=schema, filePathAndName=path)

    def import_data_for_user(self, schema: str, path: str, user: int) -> bool:
        """The same in place of all that a user has, also when the file can't be read."""
        return self._acknowledged("importDataForUser", schemaName=schema, userToImportFor=user,
                                  filePathAndName=path)

    def create_phonenumber_indices(self) -> bool:
        """Makes searches by number quick; once for a database."""
        return self._acknowledged("createPhonenumberIndices")

    def migrate_user_data(self, values: Mapping[str, str]) -> bool:
        """Takes over values of the base user."""
        return self._acknowledged("migrateUserData", baseValues=json.dumps(dict(values)))

    def export_user_data(self, names: Iterable[str], is_base: bool) -> Optional[Dict[str, str]]:
        """The values of a user's mobility items; None when they can't be had."""
        asked = json.dumps(dict.fromkeys(names, ""))
        result = self.call("exportUserData", newValues=asked, isBase=is_base)
        if result.get("Acknowledge") is not True:
            return None
        values: Dict[str, str] = json.loads(result["readValues"])
        return values

    def import_user_data(self, values: Mapping[str, str], is_base: bool) -> bool:
        """Sets a user's mobility items."""
        return self._acknowledged("importUserData", newValues=json.dumps(dict(values)),
                                  isBase=is_base)

    def check_database_needs_change(self, current: int, new: int, version: str) -> bool:
        """Prepares the database for other software."""
        return self._acknowledged("checkDatabaseNeedsChange", currentSwType=current, newSwType=new,
                                  newSwVersion=version)

    def delete_file(self, directory: str, name: str) -> bool:
        """Deletes a file of the telephone."""
        return self._acknowledged("deleteFile", directory=directory, name=name)

    def rename_file(self, old: str, new: str) -> bool:
        """Renames a file of the telephone; both are paths."""
        return self._acknowledged("renameFile", OldFileName=old, NewFileName=new)

    def move_file(self, old: str, new: str) -> bool:
        """Moves a file of the telephone; both are paths."""
        return self._acknowledged("moveFile", OldFileName=old, NewFileName=new)

    def read_directory(self, directory: str, directories: bool = True, files: bool = True,
                       below: bool = False) -> Optional[str]:
        """What stands in a directory of the telephone, as a text that looks like XML and is none;
        None when it can't be read."""
        return self._directory("readDirectory", directory, directories, files, below)

    def read_directory_tree(self, directory: str, directories: bool = True, files: bool = True,
                            below: bool = False) -> Optional[str]:
        """The same, but None for the visitor."""
        return self._directory("readDirectoryTree", directory, directories, files, below)

    def _directory(self, method: str, directory: str, directories: bool, files: bool,
                   below: bool) -> Optional[str]:
        result = self.call(method, Directory=directory, DirReading=directories, FileReading=files,
                           SubDirReading=below)
        return str(result["DirectoryTree"]) if result.get("Acknowledge") is True else None

    # One-way methods: they give nothing back. The next call is answered when they are done.

    def clear_mobile_userdata(self) -> None:
        """Wipes what the visitor has; his call groups go back to their defaults."""
        self.call("clearMobileUserdata")

    def clear_mobile_user_dls_data(self) -> None:
        """Deletes the visitor's contacts and calls."""
        self.call("clearMobileUserDLSdata")

    def copy_base_data_to_visitor(self) -> None:
        """Copies rows of base over those of the visitor, without the password."""
        self.call("copyBaseDataToVisitor")

    def delete_visitor_user_password(self) -> None:
        """Deletes the password and the login state that the visitor has set."""
        self.call("deleteVisitorUserPassword")

    def delete_uc_credentials(self) -> None:
        """Deletes the credentials for unified communication."""
        self.call("deleteUcCredentials")
