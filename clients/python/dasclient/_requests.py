"""Requests to the service, as text."""
from __future__ import annotations

import re
from typing import Any, Iterable, List, Mapping, Optional, Union
from xml.sax.saxutils import escape as _escape_markup
from xml.sax.saxutils import quoteattr

HEADER = '<?xml version="1.0" encoding="utf-8"?>'

#: Schemas whose requests name rows by ``Entry`` and ``Select``.
LIST_SCHEMAS = frozenset((
    "PhoneBook", "CallGroup", "Conversations", "CallLog", "CallLogAndPhoneBook",
    "CallLogDialledCalls", "CallLogForwardedCalls", "CallLogMissedCalls", "CallLogReceivedCalls"))

Fields = Mapping[str, Any]
# What XML 1.0 can't carry, not even as a reference.
_FORBIDDEN = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")


def listed(names: Union[str, Iterable[str]]) -> List[str]:
    """Names. A text is one name and not a list of its letters."""
    return [names] if isinstance(names, str) else list(names)


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


def elements(fields: Fields) -> str:
    """An element for each field."""
    return "".join(element(name, value) for name, value in fields.items())


def entry(fields: Fields, calls: Iterable[Fields] = (), tag: str = "Entry") -> str:
    """One row of a request; ``calls`` are the items of a row of the call log."""
    items = "".join(f"<Item>{elements(call)}</Item>" for call in calls)
    return f"<{tag}>{elements(fields)}{f'<LogList>{items}</LogList>' if items else ''}</{tag}>"


def message(schema: str, reason: str, body: str = "", context: Optional[str] = None) -> str:
    """A request. ``body`` is XML; ``context`` is "base" or "visitor", or None for the current
    user, who is also what settings of the telephone need."""
    if context is not None:
        body = f"<Context currentUser={quoteattr(context)}>{body}</Context>"
    return (f"{HEADER}<Schema name={quoteattr(schema)}>{element('ReasonForMessage', reason)}"
            f"{body}</Schema>")
