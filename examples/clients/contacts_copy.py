#!/usr/bin/env python3
"""Keeps a copy of all contacts in a file up to date, and prints how many there are at each change.

Usage: contacts_copy.py SOCKET FILE

The copy is right again after each line, also when the host was away, or this program too slow.
"""
import json
import os
import sys

import dasclient


def main():
    if len(sys.argv) != 3:
        sys.exit("Usage: contacts_copy.py SOCKET FILE")
    path, copy = sys.argv[1:]
    with dasclient.Client(path) as listener, dasclient.Client(path) as das:
        # The first change is blank and so is that after a reconnection: everything is read then. To
        # read everything at each change is simple, and quick enough for a phone book.
        for _ in listener.changes(["PhoneBook"]):
            contacts = [{**row, "User": user} for user in ("base", "visitor")
                        for row in das.read("PhoneBook", context=user)]
            with open(copy + ".new", "w", encoding="utf-8") as file:
                json.dump(contacts, file, ensure_ascii=False, indent=2)
            os.replace(copy + ".new", copy)  # a reader finds the older copy or this one
            print(len(contacts), "contacts", flush=True)


if __name__ == "__main__":
    main()
