"""What tests of das have in common: how they are started, and the classes that they derive from.

Each test file takes DAS sanitizers=NAMES [unittest arguments].
"""
import fcntl
import json
import os
import pty
import select
import shutil
import sqlite3
import struct
import subprocess
import sys
import tempfile
import termios
import unittest
from contextlib import closing
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(SOURCES / "testkit"), str(SOURCES / "clients" / "python")]
from phone import HEAD, PATIENCE, Phone, Wire, asked, call, request  # noqa: E402,F401 (handed on)

DAS = Path(sys.argv.pop(1) if len(sys.argv) > 1 else SOURCES / "build/bin/das").resolve()
SANITIZED = len(sys.argv) > 1 and sys.argv.pop(1) != "sanitizers="
LIBRARIES = DAS.parent.parent / "lib"
SERVICE = "libDataAccessService.so"
PLATFORM = "libdasplatform.so"
NOBODY = 65534
WORD = "getCurrentUser"
MIB = 1024 * 1024


def update(label, key=100):
    escaped = label.replace("&", "&amp;").replace("<", "&lt;")
    return request("update_request", f"<Id>{key}</Id><Label>{escaped}</Label>")


def read_label(key=100):
    return request("read_request", f"<ResultCols>Label</ResultCols><Id>{key}</Id>")


def label_answer(label):
    return request("read_response", f"<Entry><Label>{label}</Label></Entry>")


def failure(schema="FeatureKeys"):
    return request("failure", schema=schema)


READ_ALL = request("read_request")
UPDATED = request("update_response")


def answered(number=1, /, **result):
    return json.dumps({"jsonrpc": "2.0", "id": number, "result": result}, separators=(",", ":"),
                      ensure_ascii=False)


def xml_call(method, *parameters):
    return f'<Method name="{method}">{"".join(parameters)}</Method>'


class HostTest(unittest.TestCase, Phone):
    """Gives each test a database folder and a device root of its own."""

    maxDiff = 2000

    def setUp(self):
        self.make_phone(DAS)
        self.addCleanup(shutil.rmtree, self.place)

    def file(self, name, content):
        path = self.place / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def copy_of_tree(self, *libraries):
        """A copy of the program in another place, with these libraries next to it."""
        tree = self.place / "tree"
        (tree / "bin").mkdir(parents=True)
        (tree / "lib").mkdir()
        shutil.copy(DAS, tree / "bin")
        for library in libraries:
            for part in LIBRARIES.glob(library + "*"):
                shutil.copy(part, tree / "lib", follow_symlinks=False)
        return tree / "bin" / DAS.name

    def run_unprivileged(self, lines, **more):
        """Runs a copy of das that any user can reach as one who has no special rights."""
        program = self.copy_of_tree(SERVICE, PLATFORM)
        if os.getuid() == 0:
            more.update(user=NOBODY, group=NOBODY, extra_groups=[])
        return self.das("request", lines=lines, program=program, **more)


class RemoteTest(HostTest):
    """A host that others talk to over its socket."""

    def start(self, *arguments, **more):
        process = self.popen(*arguments, **more)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        for stream in filter(None, (process.stdin, process.stdout)):
            self.addCleanup(stream.close)
        return process

    def serve(self, *arguments, **more):
        """A host that can be connected to. One that is still there when the test ends must end
        well."""
        self.host = self.start("serve", "--socket", self.path, *arguments, **more)
        self.addCleanup(self.end_host)
        self.wait_for(self.host)
        return self.host

    def end_host(self):
        self.host.terminate()
        self.assertEqual(self.host.wait(PATIENCE), 0, self.logged())

    def wire(self):
        wire = Wire(self.path)
        self.addCleanup(self.record, wire)
        self.addCleanup(wire.close)
        return wire

    def record(self, wire):
        if wire.lines:
            with open(f"{os.environ['DAS_MESSAGES']}/remote", "a", encoding="utf-8") as file:
                file.write(json.dumps([self.id().partition(".")[2], wire.lines]) + "\n")

    def remote(self, *arguments, **more):
        return self.das("--socket", self.path, *arguments, **more)


class DemoTest(RemoteTest):
    """Each test plays with a telephone of its own, a copy of one that was made once."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.master = Path(tempfile.mkdtemp(prefix="das-demo-"))
        cls.addClassCleanup(shutil.rmtree, cls.master)
        subprocess.run([DAS, "demo", cls.master / "telephone"], check=True, capture_output=True)

    def setUp(self):
        super().setUp()
        for folder in (self.db, self.root):
            shutil.rmtree(folder)
        shutil.copytree(self.master / "telephone", self.place, dirs_exist_ok=True)
        self.path = self.place / "das.sock"

    def good(self, *arguments, **more):
        run = self.das(*arguments, **more)
        self.assertEqual((run.returncode, run.errors), (0, ""), arguments)
        return run.stdout.decode()

    def rows(self, *arguments):
        return json.loads(self.good(*arguments, "--output", "json"))

    def sql(self, *statements):
        with closing(sqlite3.connect(self.db / "phone.db")) as database, database:
            return [database.execute(statement).fetchall() for statement in statements][-1]

    def on_terminal(self, *arguments, columns=80, typed=(), env=None, edits=True):
        """What a terminal of that width shows; each text typed waits for the words before it, and for
        the editor where lines are edited."""
        screen, terminal = pty.openpty()
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        environment = self.environment(TERM="xterm", LC_ALL="C.UTF-8", **env or {})
        shown = b""
        with subprocess.Popen([DAS, *arguments], env=environment, cwd=self.place, stdin=terminal,
                              stdout=terminal, stderr=terminal, start_new_session=True,
                              preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0)) as process:
            os.close(terminal)
            waiting = list(typed)
            seen = 0
            while True:
                if waiting and waiting[0][0].encode() in shown[seen:]:
                    seen = len(shown)
                    while edits and process.poll() is None and termios.tcgetattr(screen)[3] & termios.ICANON:
                        pass  # the editor is about to take over
                    os.write(screen, waiting.pop(0)[1].encode())
                if not select.select([screen], [], [], PATIENCE)[0]:
                    process.kill()
                    self.fail(f"nothing comes any more, {waiting}: {shown.decode()}")
                try:
                    piece = os.read(screen, 65536)
                except OSError:
                    break
                if not piece:
                    break
                shown += piece
            self.assertFalse(waiting, f"never came: {waiting}\n{shown.decode()}")
            os.close(screen)
            process.wait(PATIENCE)
        return process.returncode, shown.decode()
