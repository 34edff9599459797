"""das as tests and campaigns in Python use it: a telephone of its own, messages, a client."""
import json
import os
import socket
import subprocess
import tempfile
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[1]
PATIENCE = 120
HEAD = '<?xml version="1.0" encoding="utf-8"?>'


def request(reason, content="", schema="FeatureKeys"):
    return (f'{HEAD}<Schema name="{schema}"><ReasonForMessage>{reason}</ReasonForMessage>'
            f"{content}</Schema>")


def call(method, number=1, /, **params):
    return json.dumps({"jsonrpc": "2.0", "id": number, "method": method, "params": params})


def asked(message, number=1):
    return call("processRequest", number, Request=message, RequestLength=len(message.encode()))


class Phone:
    """A telephone with its own database folder and device root, and das running on them."""

    def make_phone(self, program):
        self.program = program
        self.place = Path(tempfile.mkdtemp(prefix="das-"))
        self.place.chmod(0o755)
        self.db, self.root = self.place / "db", self.place / "root"
        self.path, self.log = self.place / "s", self.place / "log"
        for folder in (self.db, self.root / "data", self.root / "Aurel_Deploy"):
            folder.mkdir(parents=True)

    def environment(self, **changes):
        clean = {name: value for name, value in os.environ.items() if not name.startswith("DAS_")}
        return {**clean, "DB_PATH": str(self.db), "DAS_ROOT": str(self.root), **changes}

    def das(self, *arguments, lines=(), program=None, env=None, **more):
        """Runs das, with lines on its standard input unless another input is given."""
        if "stdin" not in more:
            more["input"] = "".join(f"{line}\n" for line in lines).encode()
        run = subprocess.run([str(program or self.program), *map(str, arguments)],
                             env=self.environment(**env or {}), cwd=self.place, check=False,
                             stdout=more.pop("stdout", subprocess.PIPE), stderr=subprocess.PIPE,
                             timeout=2 * PATIENCE, **more)
        run.errors = run.stderr.decode("utf-8", "replace")
        run.answers = (run.stdout or b"").decode("utf-8", "replace").split("\n")
        if run.stdout:
            assert run.answers.pop() == "", "the last answer has no line feed"
        return run

    def popen(self, *arguments, **more):
        """Starts das without waiting for its end; its standard error goes to the log."""
        with open(self.log, "ab") as log:
            more.setdefault("stderr", log)
            return subprocess.Popen([str(self.program), *map(str, arguments)],
                                    env=self.environment(), cwd=self.place, **more)

    def wait_for(self, host, path=None):
        """Returns when the host's socket accepts connections."""
        while True:
            try:
                return Wire(path or self.path).close()
            except (FileNotFoundError, ConnectionRefusedError):
                if host.poll() is not None:
                    raise RuntimeError(f"the host has ended: {self.logged()}") from None

    def logged(self):
        return self.log.read_text(errors="replace")


class Wire:
    """One client of a socket, which sends and reads lines."""

    def __init__(self, path):
        self.lines = []
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(PATIENCE)
        self.file = self.socket.makefile("rb")
        try:
            self.socket.connect(str(path))
        except OSError:
            self.close()
            raise

    def send(self, *lines):
        for line in lines:
            line = line if isinstance(line, bytes) else line.encode()
            self.keep(">", line)
            self.socket.sendall(line + b"\n")

    def receive(self):
        """The next line; blank if the host has closed the connection."""
        try:
            line = self.file.readline().rstrip(b"\n")
        except ConnectionResetError:  # with messages that the host has not read
            return ""
        self.keep("<", line)
        return line.decode()

    def exchange(self, line):
        self.send(line)
        return self.receive()

    def close(self):
        self.file.close()
        self.socket.close()

    def keep(self, way, line):
        """Records the conversation for the comparison with the contracts, if that is wanted."""
        if "DAS_MESSAGES" in os.environ:
            self.lines.append((way, line.decode(errors="replace")))
