#!/usr/bin/env python3
"""Prints missed calls as they come.

Usage: missed_calls.py SOCKET
"""
import sys

import dasclient


def missed_calls(das):
    """The missed calls of the current user by their numbers in the call log."""
    return {row["UniqueId"]: row for row in das.read("CallLogMissedCalls")}


def main():
    if len(sys.argv) != 2:
        sys.exit("Usage: missed_calls.py SOCKET")
    with dasclient.Client(sys.argv[1]) as listener, dasclient.Client(sys.argv[1]) as das:
        known = None
        for change in listener.changes(["CallLogMissedCalls"]):
            # All six schemas of calls are one table, so a dialled call is heard as well; what counts
            # is what the log shows that was not there before.
            calls = missed_calls(das)
            if known is None or change.reason == "setProfile":
                print("listening", flush=True)
            else:
                for number in calls.keys() - known.keys():
                    print("missed:", ", ".join(call.get("Number", "") for call in calls[number].calls),
                          flush=True)
            known = calls


if __name__ == "__main__":
    main()
