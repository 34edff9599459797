#!/usr/bin/env python3
"""Sets the label of a key through a running host, and prints the current user and the new label.

Usage: label.py SOCKET KEY LABEL

A client needs no more than a socket and JSON: each message is one line, and so is its answer.
"""
import json
import socket
import sys
from xml.sax.saxutils import escape, unescape


class Service:
    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(path)
        self.lines = self.socket.makefile("rw", encoding="utf-8", newline="\n")
        self.calls = 0

    def call(self, method, **params):
        """The out parameters of a remote method. Lines without an id are what a listener hears."""
        self.calls += 1
        self.lines.write(json.dumps({"jsonrpc": "2.0", "id": self.calls, "method": method,
                                     "params": params}) + "\n")
        self.lines.flush()
        for line in self.lines:
            answer = json.loads(line)
            if answer.get("id") == self.calls:
                return answer["result"]
        raise ConnectionError("the host has ended")

    def request(self, message):
        length = len(message.encode())
        return self.call("processRequest", Request=message, RequestLength=length)["Response"]


def key_request(reason, content):
    return (f'<?xml version="1.0" encoding="utf-8"?><Schema name="FeatureKeys">'
            f"<ReasonForMessage>{reason}</ReasonForMessage>{content}</Schema>")


def main():
    if len(sys.argv) != 4:
        sys.exit("Usage: label.py SOCKET KEY LABEL")
    path, key, label = sys.argv[1:]
    service = Service(path)
    print(service.request("getCurrentUser"))
    # Escaped twice: the service stores what its parser gives it, and answers with that as it is.
    twice = escape(escape(label))
    answer = service.request(key_request("update_request",
                                         f"<Id>{escape(key)}</Id><Label>{twice}</Label>"))
    if "<ReasonForMessage>failure</ReasonForMessage>" in answer:
        print(f"the key was not changed: {answer}", file=sys.stderr)
        return 1
    answer = service.request(key_request("read_request", f"<ResultCols>Label</ResultCols>"
                                                         f"<Id>{escape(key)}</Id>"))
    print(unescape(answer.split("<Label>")[1].split("</Label>")[0]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
