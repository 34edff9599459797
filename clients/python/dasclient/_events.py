"""What a listener hears from the host."""
from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Mapping, Optional, Union


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


def event_of(heard: Mapping[str, Any]) -> Optional[Event]:
    """The event that a message of the host holds; None if it holds no event."""
    method = str(heard.get("method", ""))
    if method.startswith("ProfileChangedTo"):
        return ProfileChanged(method[len("ProfileChangedTo"):].lower())
    params = heard.get("params")
    if isinstance(params, dict) and method == "Status":
        return StatusChanged(str(params.get("item", "")), str(params.get("value", "")))
    if isinstance(params, dict) and method == "Changed":
        return Changed(*(str(params.get(name, "")) for name in ("Schema", "Context", "Reason", "Id")))
    return None
