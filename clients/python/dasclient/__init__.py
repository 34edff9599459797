"""Talks to a running host of the data access service, ``das serve --socket PATH``.

    with Client("/run/das.sock") as das:
        das.write("PhoneBook", [{"Surname": "Amber", "Office": "+4989100"}])
        for contact in das.read("PhoneBook", where={"Surname": "Amber"}):
            print(contact["UniqueID"], contact["Office"])

Needs nothing beyond the standard library. A client is one connection: calls of several threads take
turns, and threads that must not wait for each other open a client each. A listener, by ``watch`` or
``changes``, uses a client for that alone; any thread may close it.

A connection that is lost is opened again by the next call, and listeners are added again. The call
that was under way ends with ``ConnectionLost`` and is not repeated: whether the host carried it out
can't be known.
"""
from __future__ import annotations

import json
from typing import Dict, Iterable, List, Mapping, Optional, Union

from ._connection import Connection, ConnectionLost, DasError, Refused
from ._events import Changed, Event, ProfileChanged, Reconnected, StatusChanged
from ._methods import METHODS, ONE_WAY  # noqa: F401
from ._requests import LIST_SCHEMAS, Fields, element, elements, entry, escape, listed, message
from ._rows import Row, reason_of, rows_of

__all__ = ["Changed", "Client", "ConnectionLost", "DasError", "Event", "ProfileChanged", "Reconnected",
           "Refused", "Row", "StatusChanged", "element", "entry", "escape", "message", "reason_of",
           "rows_of"]


class Client(Connection):
    """One connection to a running host.

    Remote methods have the names that they have on the wire, in the spelling of Python, and return
    what the service acknowledges. ``read``, ``write``, ``update`` and ``delete`` make requests and
    end with ``Refused`` when the answer is a failure. So does each method that the host's access rules
    do not allow.
    """

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
            raise self.refusal(f"{reason} to {schema}", answer)
        return answer

    def current_user(self) -> str:
        """"base" or "visitor"."""
        return self.request("getCurrentUser")

    def read(self, schema: str, *, where: Fields = {}, columns: Union[str, Iterable[str]] = (),
             context: Optional[str] = None, offset: int = 0, limit: Optional[int] = None) -> List[Row]:
        """Rows that have all the values of ``where``, or all rows. For settings a row is one item,
        by its name, and ``columns`` are names of items."""
        asked = listed(columns)
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
        the call log is a list of its items. Returns the number of the last row, where it has one."""
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
            body = elements(where) + elements(values)
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
        return elements(where)

    # Remote methods

    def set_profile(self, user: str) -> bool:
        """Makes "base" or "visitor" the current user, until the host ends."""
        return self._acknowledged("setProfile", NewProfile=user)

    def factory_reset(self) -> bool:
        """Sets the telephone to its defaults."""
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

    def export_user_data(self, names: Union[str, Iterable[str]],
                         is_base: bool) -> Optional[Dict[str, str]]:
        """The values of a user's mobility items; None when they can't be had."""
        asked = json.dumps(dict.fromkeys(listed(names), ""))
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
        """What stands in a directory of the telephone, as a text that looks like XML but is not XML;
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

    # One-way methods return nothing.

    def clear_mobile_userdata(self) -> None:
        """Deletes the visitor's data but contacts, calls, conversations, start applications and trusted
        Bluetooth devices, and sets the visitor's call groups to their defaults."""
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
