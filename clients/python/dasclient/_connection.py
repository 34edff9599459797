"""One connection to a running host: the wire, remote methods by their names, and listening.

A line is a message of JSON-RPC. Messages of a listener may come before the answer to a call, so they are
queued until the listener takes them.
"""
from __future__ import annotations

import itertools
import json
import socket
import threading
import time
from collections import deque
from os import PathLike, fspath
from types import TracebackType
from typing import Any, Deque, Dict, Iterable, Iterator, Mapping, Optional, Type, TypeVar, Union

from ._events import Changed, Event, Reconnected, event_of
from ._methods import METHODS, ONE_WAY
from ._requests import listed

Self = TypeVar("Self", bound="Connection")


#: How the host's words begin when its access rules do not allow a call.
_FORBIDDEN = "not allowed"


class DasError(Exception):
    """What goes wrong between a client and the service."""


class ConnectionLost(DasError, ConnectionError):
    """There is no connection, or it ended before the answer came."""


class Refused(DasError):
    """The service answered a failure; ``answer`` is its text. ``words`` say why: what the host logged of
    the call, or which right is missing; blank if it logged nothing."""

    def __init__(self, what: str, answer: str, words: str = "") -> None:
        failure = "" if words.startswith(_FORBIDDEN) else " was answered with a failure"
        super().__init__(f"{what}{failure}{': ' if words else ''}{words}")
        self.answer = answer
        self.words = words


class Connection:
    """A connection that is opened again by the next call after it was lost."""

    def __init__(self, path: Union[str, "PathLike[str]"], timeout: Optional[float] = 60.0) -> None:
        """Connects to the socket ``path``. ``timeout`` is how many seconds an answer may take;
        None waits for ever. An import of many rows takes long."""
        self._path = fspath(path)
        self._timeout = timeout
        self._ids = itertools.count(1)
        self._listeners: Dict[str, Dict[str, str]] = {}
        self._events: Deque[Event] = deque()
        self._socket: Optional[socket.socket] = None
        self._received = bytearray()
        self._turn = threading.RLock()
        self._connect()

    def __enter__(self: Self) -> Self:
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
            if self._exchange(method, params).get("Acknowledge") is False:
                refusal = self.refusal(method, "")
                self._drop()  # a connection that hears only a part of what was asked for would be silent
                raise refusal

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
        event = event_of(heard)
        if event is not None:
            self._events.append(event)

    def call(self, method: str, **params: Any) -> Dict[str, Any]:
        """The out parameters of a remote method; none for a one-way method, which has no answer: the host is
        asked afterwards whether it was allowed."""
        if method not in METHODS:
            raise ValueError(f"{method!r} is no remote method: the host would never answer")
        with self._turn:
            if self._has_ended():
                self._connect()
            result = self._exchange(method, params)
            if "Response" in result and method != "processRequest":
                raise self.refusal(method, str(result["Response"]))
            if method in ONE_WAY or result.get("Acknowledge") is False:
                refusal = self.refusal(method, "")
                if refusal.words.startswith(_FORBIDDEN):
                    raise refusal
        return result

    def refusal(self, what: str, answer: str) -> Refused:
        """The exception for ``answer``, which came last and is a failure of ``what``."""
        try:
            with self._turn:
                words = self._exchange("LastFailures", {}).get("Words", "")
        except DasError:
            words = ""  # the failure is known, its reason is not
        return Refused(what, answer, str(words))

    def _acknowledged(self, method: str, **params: Any) -> bool:
        return self.call(method, **params).get("Acknowledge") is True

    # Listening

    def watch(self, profile: bool = True, status: bool = True,
              patience: Optional[float] = None) -> Iterator[Event]:
        """Yields each change of the user and each item of status, for as long as it is asked.

        A connection that is lost is opened again, for at most ``patience`` seconds, for ever
        without; then comes ``Reconnected``, before which changes may have been missed.
        """
        self._listen({**({"AddListener": {}} if profile else {}),
                      **({"AddStatusListener": {}} if status else {})})
        return self._heard(patience)

    def _listen(self, methods: Dict[str, Dict[str, str]]) -> None:
        """Ends with ``Refused`` when the host does not allow it; what was listened to before remains."""
        before = dict(self._listeners)
        self._listeners.update(methods)
        try:
            self._connect()
        except Refused:
            self._listeners = before
            raise

    def changes(self, schemas: Union[str, Iterable[str]] = (),
                patience: Optional[float] = None) -> Iterator[Changed]:
        """Yields each committed change to the schemas, to one, or to all, for as long as it is asked.

        The first one is blank: it is time to read what there is. So is one after a connection that
        was lost and is there again, since what changed in between was not heard; and one for changes
        that came faster than they were taken. Reconnects for ``patience`` seconds, or for ever.
        """
        self._listen({"AddChangeListener": {"Schemas": ",".join(listed(schemas))}})
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
