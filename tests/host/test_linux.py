"""das as a service of the system, and the interface and the files that others build on.

Usage: test_linux.py DAS sanitizers=NAMES [unittest arguments]
"""
import json
import os
import re
import shutil
import signal
import socket
import sqlite3
import subprocess
import threading
import time
import unittest
from contextlib import closing, contextmanager
from pathlib import Path

from host_test import (DAS, LIBRARIES, PATIENCE, PLATFORM, RemoteTest, SANITIZED, SERVICE,
                       SOURCES, WORD, answered, asked, request, update)

BUILD = DAS.parent.parent
PINNED = SOURCES / "tests" / "interface"
CONSUMER = SOURCES / "tests" / "packages" / "consumer"


class Ear:
    """Hears datagrams until it is closed; a leading "@" of the name is the abstract name space."""

    def __init__(self, test, name):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind("\0" + name[1:] if name.startswith("@") else name)
        self.socket.settimeout(PATIENCE)
        self.heard = []
        test.addCleanup(self.socket.close)

    def hear_until(self, words):
        while True:
            self.heard.append(self.socket.recv(1 << 20).decode())
            if words in self.heard[-1]:
                return self.heard

    def hear_all(self):
        """Until an empty datagram comes."""
        while True:
            text = self.socket.recv(1 << 20).decode()
            if not text:
                return
            self.heard.append(text)


class SystemTest(RemoteTest):
    def start_with(self, *arguments, sockets=(), names="", **variables):
        """das as a service manager starts it, with sockets handed over from descriptor 3 on."""
        moved = " ".join(f"{3 + place}<&{sock.fileno()}" for place, sock in enumerate(sockets))
        listening = (f"LISTEN_PID=$$ LISTEN_FDS={len(sockets)} LISTEN_FDNAMES={names} "
                     if sockets else "")
        with open(self.log, "ab") as log:
            host = subprocess.Popen(
                ["bash", "-c", f'{listening}exec "$@" {moved}', "manager", DAS, *map(str, arguments)],
                env=self.environment(**variables), stderr=log, cwd=self.place,
                pass_fds=[sock.fileno() for sock in sockets])
        self.addCleanup(host.wait)
        self.addCleanup(host.kill)
        return host

    def end(self, host):
        host.send_signal(signal.SIGTERM)
        self.assertEqual(host.wait(PATIENCE), 0, self.logged())

    def listener(self, name="s"):
        listening = socket.socket(socket.AF_UNIX)
        self.addCleanup(listening.close)
        listening.bind(str(self.place / name))
        listening.listen()
        return listening


class Manager(SystemTest):
    def test_the_manager_hears_each_upgrade_step_and_then_that_the_service_is_ready(self):
        for name in (str(self.place / "notify"), f"@das-test-{os.getpid()}"):
            with self.subTest(name):
                ear = Ear(self, name)
                host = self.start_with("serve", "--socket", self.path, NOTIFY_SOCKET=name)
                heard = ear.hear_until("READY=1")
                self.assertEqual(heard.pop(), f"READY=1\nSTATUS=Serving {self.path}")
                steps = [re.match(r"STATUS=Starting: upgrade, step (\d+) of (\d+): \w.+\n", each)
                         for each in heard]
                self.assertTrue(all(steps), heard)
                last = int(steps[0][2])
                self.assertEqual([int(step[1]) for step in steps],
                                 [*range(1, last + 1), last])
                self.assertEqual(self.wire().exchange(asked(WORD)), answered(Response="base"))
                ear.heard.clear()
                self.end(host)
                self.assertRegex(ear.hear_until("STOPPING")[-1], "^STOPPING=1\n")

    @contextmanager
    def delaying(self, host, calls):
        """Makes system calls of a host slow."""
        with subprocess.Popen(["strace", "-f", "-p", str(host.pid), "-o", "/dev/null", "-e",
                               f"inject={calls}"], stderr=subprocess.PIPE) as tracer:
            self.assertIn(b"attached", tracer.stderr.readline())
            try:
                yield
            finally:
                tracer.terminate()

    @contextmanager
    def locking(self):
        """Holds the database as another process does that writes."""
        with closing(sqlite3.connect(self.db / "phone.db", isolation_level=None)) as other:
            other.execute("BEGIN EXCLUSIVE")
            yield

    @unittest.skipIf(SANITIZED or not shutil.which("strace"), "strace is needed, which sanitizers refuse")
    def test_the_watchdog_is_told_while_the_service_goes_on(self):
        rows = "".join(f"{n},base,S{n:040}\n" for n in range(1, 8_000))
        (self.root / "data" / "rows.csv").write_text(rows)
        ear = Ear(self, str(self.place / "notify"))
        host = self.start_with("serve", "--socket", self.path, WATCHDOG_USEC="2000000",
                               NOTIFY_SOCKET=str(self.place / "notify"))
        ear.hear_until("WATCHDOG=1")
        load = json.dumps({"schemaName": "PhoneBook", "filePathAndName": "/data/rows.csv"})
        load = f'{{"jsonrpc":"2.0","id":1,"method":"importData","params":{load}}}'
        for name, hinder, line, at_least, at_most in (
                ("hangs", self.delaying(host, "fdatasync,fsync:delay_enter=4000000:when=1"),
                 asked(update("slow")), 2.5, 60),
                ("has a lot to do", self.delaying(host, "read,pread64:delay_enter=350000"), load, 0, 2),
                ("waits for another process", self.locking(), asked(update("refused")), 0, 2)):
            with self.subTest(name), hinder:
                times = [time.monotonic()]
                client = threading.Thread(target=self.wire().exchange, args=[line])
                client.start()
                while client.is_alive():
                    ear.hear_until("WATCHDOG=1")
                    times.append(time.monotonic())
                silence = max(after - before for before, after in zip(times, times[1:]))
                self.assertGreater(times[-1] - times[0], 3, "the work took its time")
                self.assertTrue(at_least < silence < at_most, silence)
        self.end(host)

    def test_a_manager_that_is_gone_or_deaf_is_told_of_once_and_the_service_runs(self):
        Ear(self, str(self.place / "deaf"))
        for name, why in (("gone", "No such file or directory"),
                          ("deaf", "Resource temporarily unavailable")):
            with self.subTest(name):
                self.log.write_text("")
                host = self.start_with("serve", "--socket", self.path,
                                       NOTIFY_SOCKET=str(self.place / name))
                while not self.path.exists():
                    self.assertIsNone(host.poll(), self.logged())
                self.assertEqual(self.wire().exchange(asked(WORD)), answered(Response="base"))
                self.end(host)
                self.assertEqual(self.logged().count("manager was not told"), 1)
                self.assertRegex(self.logged(), f"{name}: {why}; .* not told: STATUS=Starting: ")

    def test_clients_wait_for_a_start_and_for_the_next_one(self):
        listening = self.listener()
        for arguments in (["serve"], ["serve", "--socket", self.path]):
            with self.subTest(arguments):
                wire = self.wire()
                wire.send(asked(WORD))  # no service runs yet
                host = self.start_with(*arguments, sockets=[listening], names="das.socket")
                self.assertEqual(wire.receive(), answered(Response="base"))
                self.end(host)
                self.assertTrue(self.path.is_socket(), "the file is the manager's")

    def test_a_socket_is_found_among_several_or_refused(self):
        first, second = self.listener("a"), self.listener("b")
        datagrams = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(datagrams.close)
        rows = [
            ("which one", ["serve"], [first, second], r"which of .*a \(one\), .*b \(two\)"),
            ("another path", ["serve", "--socket", self.path], [first], r"s: not among .*a \(one\)"),
            ("no stream", ["serve"], [datagrams], r"no listening socket \(one\)"),
        ]
        for name, arguments, sockets, words in rows:
            with self.subTest(name):
                self.log.write_text("")
                host = self.start_with(*arguments, sockets=sockets, names="one:two")
                self.assertEqual(host.wait(PATIENCE), 2)
                self.assertRegex(self.logged(), words)
        self.path = self.place / "b"
        host = self.start_with("serve", "--socket", self.path, sockets=[first, second])
        self.assertEqual(self.wire().exchange(asked(WORD)), answered(Response="base"))
        self.end(host)

    def test_sockets_of_another_process_are_left_alone(self):
        for words in ("LISTEN_PID=1 LISTEN_FDS=1", "LISTEN_PID=$$x LISTEN_FDS=1",
                      "LISTEN_PID=$$ LISTEN_FDS=99999999999999999999"):
            with self.subTest(words):
                run = subprocess.run(["bash", "-c", f'{words} exec "$0" serve', DAS], check=False,
                                     capture_output=True, text=True, env=self.environment())
                self.assertEqual(run.returncode, 2)
                self.assertIn("neither --socket nor --stdio", run.stderr)


@unittest.skipIf(SANITIZED or not shutil.which("strace"), "strace is needed, which sanitizers refuse")
class Rights(SystemTest):
    def test_a_cut_off_start_is_taken_back_without_the_right_to_change_owners(self):
        self.das("request", lines=[WORD])
        database = self.db / "phone.db"
        shutil.copy(database, self.db / "phone.db.before-upgrade")
        database.chmod(0o640)
        run = subprocess.run(["strace", "-f", "-o", "/dev/null", "-e", "inject=chown:error=EPERM",
                              DAS, "request"], input=WORD, capture_output=True, text=True,
                             env=self.environment(), check=False)
        self.assertEqual(run.stdout, "base\n", run.stderr)
        self.assertEqual(sorted(each.name for each in self.db.iterdir()), ["phone.db"])
        self.assertEqual(database.stat().st_mode & 0o777, 0o600)


class Journal(SystemTest):
    def serve(self, stream):
        self.log.write_text("")
        status = self.log.stat()
        host = self.start_with("serve", "--socket", self.path, DAS_LOG="5",
                               JOURNAL_STREAM=stream or f"{status.st_dev}:{status.st_ino}")
        while not self.path.exists():
            self.assertIsNone(host.poll(), self.logged())
        self.wire().exchange(asked(WORD))  # a start that must end before its end logs less
        self.wire().exchange(asked(request("update_request", "<Id>100</Id><Label>a\n<0>b</Label>")))
        self.end(host)

    def test_only_lines_to_the_journal_have_a_priority(self):
        for name, stream, line in (("another stream", "1:2", r"5 DataAccessService \./src/\w+:\d+ "),
                                   ("the journal", "", r"<6>5 DataAccessService \./src/\w+:\d+ ")):
            with self.subTest(name):
                self.serve(stream)
                self.assertRegex(self.logged(), rf"(?m)^{line}")
                self.assertNotRegex(self.logged(), r"(?m)^<0>")


class Unit(unittest.TestCase):
    @unittest.skipUnless(shutil.which("systemd-analyze"), "there is no systemd-analyze here")
    def test_the_unit_is_exposed_to_little(self):
        run = subprocess.run(
            ["systemd-analyze", "security", "--offline=true", "--no-pager", "--threshold=10",
             BUILD / "packaging" / "das.service"], capture_output=True, text=True, check=False)
        overall = re.search(r"exposure level for das.service: ([\d.]+)", run.stdout)
        self.assertIsNotNone(overall, run.stderr)
        self.assertLessEqual(float(overall[1]), 0.5)
        self.assertEqual(run.returncode, 0, run.stdout)

    def test_the_unit_limits_what_a_faulty_host_can_do(self):
        unit = (BUILD / "packaging" / "das.service").read_text()
        settings = dict(re.findall(r"^(\w+)=(.*)$", unit, re.MULTILINE))
        self.assertEqual((settings["LimitCORE"], settings["WatchdogSec"]), ("0", "60"))
        self.assertRegex(settings["MemoryMax"], r"^\d+M$")
        self.assertRegex(settings["TasksMax"], r"^\d+$")
        self.assertNotIn("PrivateUsers", settings, "every client would read as user 65534")


@unittest.skipIf(SANITIZED, "sanitizers leave out some of them")
class Hardening(unittest.TestCase):
    """What the finished files say of the options that they were built with."""

    ROWS = [("segments", "-lW", r"GNU_RELRO"), ("no code on the stack", "-lW", r"GNU_STACK.* RW "),
            ("no fixed place", "-hW", r"Type: +DYN"), ("bound at the start", "-dW", r"BIND_NOW"),
            ("guarded stack", "-sW", r" __stack_chk_fail\b"),
            ("checked buffers", "-sW", r" __\w+_chk\b"),
            ("checked containers", "-sW", r"__glibcxx_assert_fail")]

    def test_each_file_is_hardened(self):
        files = [*(BUILD / "bin").iterdir(), LIBRARIES / SERVICE, LIBRARIES / PLATFORM]
        self.assertGreater(len(files), 3)
        for file in files:
            for name, option, words in self.ROWS:
                if name == "checked buffers" and file.name not in ("das", SERVICE, PLATFORM):
                    continue  # a small program may use no function that has a checked form
                with self.subTest(file=file.name, name=name):
                    run = subprocess.run(["readelf", option, file], capture_output=True, text=True,
                                         check=True)
                    self.assertTrue(re.search(words, run.stdout))

    @unittest.skipUnless(os.uname().machine == "x86_64", "other processors have other marks")
    def test_what_is_called_from_outside_is_marked_as_a_target(self):
        code = subprocess.run(["objdump", "-d", "--no-show-raw-insn", LIBRARIES / SERVICE],
                              capture_output=True, text=True, check=True).stdout
        begins = re.findall(r"<create\w+>:\n.*?:\t(\w+)", code)
        self.assertEqual(begins, ["endbr64"] * 3)


@unittest.skipIf(SANITIZED, "sanitizers add their own")
class Interface(unittest.TestCase):
    """What programs are linked with and call by place. A change here breaks those that are built,
    and is made together with the name of the library."""

    maxDiff = None

    def output_of(self, *command):
        return subprocess.run(command, capture_output=True, check=True, text=True).stdout

    def pinned(self, name, lines):
        self.assertEqual((PINNED / name).read_text(), "".join(f"{line}\n" for line in lines))

    def test_names_of_the_libraries(self):
        for library in (SERVICE, PLATFORM):
            dynamic = self.output_of("readelf", "-dW", LIBRARIES / library)
            self.assertIn(f"soname: [{library}.0]", dynamic)

    def test_exported_symbols(self):
        listing = self.output_of("nm", "-D", "--defined-only", LIBRARIES / SERVICE)
        self.pinned("exports.txt", sorted(line.split()[-1] for line in listing.splitlines()))

    def test_order_of_the_slots(self):
        lines = []
        for name in ("DASInvoker", "DASListenerProxy", "DataAccessService", "DatabaseAdapter",
                     "DbFactory"):
            relocations = self.output_of("objdump", "-rwC", next((BUILD / "src").rglob(f"{name}.cpp.o")))
            table = re.search(rf"FOR \[\.data\.rel\.ro\S*_ZTV{len(name)}{name}\]:\n(.*?)\n\n",
                              relocations, re.DOTALL)
            lines += [f"[{name}]", *(self.plain(line.split(None, 2)[2])
                                     for line in table[1].splitlines()[1:]), ""]
        self.pinned("slots.txt", lines)

    @staticmethod
    def plain(text):
        text = text.replace("[abi:cxx11]", "").replace(
            "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >", "string")
        inner = r"<(?:[^<>]|<[^<>]*>)*>"
        for part in (rf", std::allocator{inner} ?(?=>)", rf", std::less{inner}"):
            while re.search(part, text):
                text = re.sub(part, "", text)
        return re.sub(r" >", ">", text)


@unittest.skipIf(SANITIZED, "what is installed has none")
class Installed(SystemTest):
    def setUp(self):
        super().setUp()
        self.prefix = self.place / "prefix"
        subprocess.run(["cmake", "--install", BUILD, "--prefix", self.prefix],
                       stdout=subprocess.DEVNULL, check=True)
        self.libraries = self.prefix / LIBRARIES.name

    def test_programs_are_built_with_it_in_an_empty_folder(self):
        rows = [("pkg-config", {"PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")}),
                ("cmake", {"CMAKE_PREFIX_PATH": str(self.prefix), "CMAKE_GENERATOR": "Ninja"})]
        for kind, variables in rows:
            with self.subTest(kind):
                folder = shutil.copytree(CONSUMER, self.place / kind)
                run = subprocess.run(
                    ["bash", f"build-with-{kind}"], cwd=folder, capture_output=True, text=True,
                    env=self.environment(LD_LIBRARY_PATH=str(self.libraries), **variables))
                self.assertEqual((run.returncode, run.stdout), (0, "base\n"), run.stderr)

    def test_the_command_line_of_the_unit_serves(self):
        unit = (self.prefix / "lib/systemd/system/das.service").read_text()
        command = re.search(r"^ExecStart=\S*/bin/das (.*)", unit, re.MULTILINE)[1]
        ear = Ear(self, str(self.place / "notify"))
        rules = self.place / "access"
        rules.write_text("allow any all *\n")
        arguments = command.replace("/run/das/das.sock", str(self.path)).replace(
            "/etc/das/access", str(rules)).split()
        with open(self.log, "ab") as log:
            host = subprocess.Popen([self.prefix / "bin/das", *arguments], stderr=log,
                                    env=self.environment(NOTIFY_SOCKET=str(self.place / "notify")))
        self.addCleanup(host.kill)
        ear.hear_until("READY=1")
        run = self.remote("call", "processRequest", f"Request={WORD}", f"RequestLength={len(WORD)}",
                          program=self.prefix / "bin/das")
        self.assertEqual((run.returncode, run.answers), (0, ["Response=base"]), run.errors)
        self.end(host)

    def test_pages_and_units_are_where_the_system_looks(self):
        for path in ("share/man/man1/das.1", "share/man/man1/das-contacts.1", "bin/das-report",
                     "share/bash-completion/completions/das", "share/fish/vendor_completions.d/das.fish",
                     "share/zsh/site-functions/_das-report", "lib/systemd/system/das.socket",
                     "share/dataaccessservice/contracts/openrpc.json",
                     "lib/sysusers.d/das.conf", "etc/das/access", "etc/das/access.strict"):
            self.assertGreater((self.prefix / Path(path)).stat().st_size, 0, path)


if __name__ == "__main__":
    unittest.main()
