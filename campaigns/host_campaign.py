"""What the campaigns that talk to das as other programs do have in common."""
import json
import os
import shutil
import socket
import subprocess
import tempfile
import time
from pathlib import Path

from campaign import SOURCES, Campaign  # noqa: F401 (handed on)

PATIENCE = 120
HEAD = '<?xml version="1.0" encoding="utf-8"?>'


def request(reason, content="", schema="FeatureKeys"):
    return (f'{HEAD}<Schema name="{schema}"><ReasonForMessage>{reason}</ReasonForMessage>'
            f"{content}</Schema>")


def call(method, number=1, /, **params):
    return json.dumps({"jsonrpc": "2.0", "id": number, "method": method, "params": params})


def asked(message, number=1):
    return call("processRequest", number, Request=message, RequestLength=len(message.encode()))


class Place:
    """A database folder and a device root of their own, and das in them."""

    def __init__(self, campaign):
        self.campaign = campaign
        self.path = Path(tempfile.mkdtemp(prefix="das-campaign-"))
        self.db, self.root, self.socket = self.path / "db", self.path / "root", self.path / "s"
        for folder in (self.db, self.root / "data", self.root / "Aurel_Deploy", self.root / "tmp"):
            folder.mkdir(parents=True)
        shutil.copy(SOURCES / "deploy" / "DasGenConfigDeviceDataItems.csv",
                    self.root / "Aurel_Deploy")
        self.log = self.path / "log"
        self.host = None
        self.wires = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for wire in self.wires:
            wire.close()
        if self.host is not None:
            self.host.kill()
            self.host.wait()
        shutil.rmtree(self.path)

    def environment(self):
        clean = {name: value for name, value in os.environ.items() if not name.startswith("DAS_")}
        return {**clean, "DB_PATH": str(self.db), "DAS_ROOT": str(self.root)}

    def popen(self, *arguments, before=(), **more):
        with open(self.log, "ab") as log:
            more.setdefault("stderr", log)
            return subprocess.Popen([*map(str, before), str(self.campaign.das),
                                     *map(str, arguments)],
                                    env=self.environment(), cwd=self.path, **more)

    def das(self, *arguments, lines=(), **more):
        """Runs das to its end; its answers are lines."""
        process = self.popen(*arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, **more)
        text = "".join(f"{line}\n" for line in lines).encode()
        output, errors = process.communicate(text, timeout=PATIENCE)
        process.answers = output.decode("utf-8", "replace").splitlines()
        process.errors = errors.decode("utf-8", "replace")
        return process

    def serve(self, **more):
        """A host that answers."""
        self.host = self.popen("serve", "--socket", self.socket, **more)
        while True:
            try:
                wire = self.wire()
                break
            except OSError:
                if self.host.poll() is not None:
                    raise RuntimeError(f"the host has ended: {self.logged()}") from None
                time.sleep(0.001)
        wire.exchange(asked("getCurrentUser"))
        return self.host

    def end_host(self):
        self.host.terminate()
        status = self.host.wait(PATIENCE)
        self.campaign.check(status == 0, f"das serve ended with {status}: {self.logged()}")
        self.host = None

    def forget_host(self):
        """After a host has ended in a way of its own: its connections go too."""
        self.host = None
        for wire in self.wires:
            wire.close()
        self.wires.clear()

    def wire(self):
        wire = Wire(self.socket)
        self.wires.append(wire)
        return wire

    def logged(self):
        return self.log.read_text(errors="replace")[-2000:]


class Wire:
    """One client of a socket, by lines."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(PATIENCE)
        self.file = None
        try:
            self.socket.connect(str(path))
        except OSError:
            self.socket.close()
            raise
        self.file = self.socket.makefile("rb")

    def send(self, line):
        self.socket.sendall((line if isinstance(line, bytes) else line.encode()) + b"\n")

    def receive(self):
        """The next line; blank when the host has closed the connection."""
        try:
            return self.file.readline().decode().rstrip("\n")
        except ConnectionError:
            return ""

    def exchange(self, line):
        self.send(line)
        return self.receive()

    def close(self):
        if self.file is not None:
            self.file.close()
        self.socket.close()
