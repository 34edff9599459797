"""How commands of das end: by signals, on full devices, without rights, over hosts that go.

Usage: test_ends.py DAS sanitizers=NAMES [unittest arguments]
"""
import json
import os
import pty
import re
import resource
import signal
import socket
import subprocess
import unittest
from contextlib import closing, ExitStack

from host_test import (DAS, NOBODY, PATIENCE, PLATFORM, SERVICE, DemoTest, Wire, answered, asked,
                       call, request, xml_call)
from dasclient import Client, Refused

BOOK = "base,,Name,,089\n"


class Ends(DemoTest):
    COMMANDS = [["read", "PhoneBook"], ["schemas"], ["check"], ["help"], ["profile"],
                ["search", "1"], ["shell"]]

    def test_a_reader_that_is_gone_ends_each_command(self):
        for command in self.COMMANDS:
            with self.subTest(command=command):
                reader, writer = os.pipe()
                os.close(reader)
                with open(writer, "wb") as pipe:
                    run = self.das(*command, stdout=pipe, lines=["profile"])
                self.assertEqual((run.returncode, run.errors),
                                 (141, ""))

    def test_what_the_rules_refuse_ends_with_a_sentence(self):
        self.serve("--access", self.file("access", "allow any read PhoneBook\n"))
        book = self.file("book.csv", BOOK)
        for command, words, right in (
                (["watch"], "AddListener", "listen for *"), (["trace"], "AddLogListener", "read,listen for *"),
                (["watch", "--changes", "PhoneBook"], "AddChangeListener", "listen for PhoneBook"),
                (["import", "PhoneBook", book, "--context", "base"], "import PhoneBook", "write for PhoneBook"),
                (["profile", "visitor"], "profile visitor", "profile for *"),
                (["call", "clearMobileUserdata"], "call clearMobileUserdata", "profile for *"),
                (["call", "factoryReset", "--yes"], "call factoryReset", "reset for *"),
                (["call", "processRequest", "Request=saveContactsToCSV", "RequestLength=17"],
                 "call processRequest", "files for *"),
                (["delete", "Locale", "Language"], "delete Locale", "write for Locale")):
            with self.subTest(command):
                run = self.das(*command, "--socket", self.path)
                self.assertEqual(run.returncode, 1, run.errors)
                if command[0] != "call":
                    self.assertEqual(run.stdout, b"")
                self.assertRegex(run.errors, re.escape(
                    f"das: {words}: not allowed; the access rules of the host must give the right {right}\n"))
        with Client(self.path) as das, self.assertRaises(Refused) as told:
            das.write("PhoneBook", [{"Surname": "A"}])
        self.assertIn("not allowed; the access rules of the host must give the right write for PhoneBook",
                      str(told.exception))

    def test_what_a_reset_closed_needs_a_restart(self):
        self.serve()
        self.good("call", "factoryReset", "--yes", "--socket", self.path)
        for _ in range(2):  # closed at once, and without a database once requests are taken again
            for command in (["read", "PhoneBook"], ["request"]):
                run = self.remote(*command, lines=[request("read_request", schema="PhoneBook")])
                self.assertRegex(run.errors, "its database is closed; restart the host\n")
            self.good("call", "setProfile", "NewProfile=base", "--socket", self.path)
        self.good("call", "invokeACMSFactoryReset", "EnableCreateDb=true", "--yes", "--socket", self.path)
        self.assertNotIn("closed", self.remote("read", "LineKeySettings", "--where", "Id=x").errors)

    def test_a_pipe_in_place_of_the_database_is_not_waited_for(self):
        (self.place / "other").mkdir()
        os.mkfifo(self.place / "other/phone.db")
        for command in (["check"], ["backup", "copy.db"]):
            with self.subTest(command):
                run = self.das(*command, "--db", self.place / "other")
                self.assertIn(run.returncode, (1, 2))
                self.assertIn("is no file", run.errors + run.stdout.decode())

    def test_an_import_that_is_interrupted_leaves_the_rows_as_they_were(self):
        before = self.rows("read", "PhoneBook", "--cols", "Surname,Office")
        (self.root / "data/book.csv").write_text(BOOK * 400000)
        screen, terminal = pty.openpty()
        with subprocess.Popen([DAS, "import", "PhoneBook", "device:/data/book.csv", "--context", "base"],
                              env=self.environment(DAS_PROGRESS_AFTER="0"), stdin=terminal,
                              stdout=terminal, stderr=terminal, start_new_session=True) as process:
            os.close(terminal)
            shown = b""
            while not re.search(rb"import, [1-9]\d* rows, \d+ %", shown):
                shown += os.read(screen, 4096)
            process.send_signal(signal.SIGINT)
            while b"rolled back" not in shown:
                shown += os.read(screen, 4096)
            self.assertEqual(process.wait(PATIENCE), 130)
            os.close(screen)
        self.assertEqual(self.rows("read", "PhoneBook", "--cols", "Surname,Office"), before)

    def test_a_host_that_is_silent_is_waited_for_and_its_end_is_told(self):
        with socket.socket(socket.AF_UNIX) as silent:
            silent.bind(str(self.path))
            silent.listen()
            screen, terminal = pty.openpty()
            with subprocess.Popen([DAS, "profile", "--socket", self.path], stdin=terminal,
                                  env=self.environment(), stdout=subprocess.DEVNULL,
                                  stderr=terminal) as process:
                os.close(terminal)
                client, _ = silent.accept()
                with client:
                    shown = os.read(screen, 4096)
                    self.assertEqual(shown, b"\rwaiting for the host")
                self.assertEqual(process.wait(PATIENCE), 1)
                self.assertIn(b"the host has not answered", os.read(screen, 4096))
                os.close(screen)

    def test_failures_are_told_to_the_client_whose_call_failed(self):
        self.serve()
        with closing(Wire(self.path)) as one, closing(Wire(self.path)) as other:
            failures = lambda wire: json.loads(wire.exchange(call("LastFailures")))["result"]
            acknowledged = one.exchange(call("exportData", schemaName="Certificates",
                                             userToExportFor=2, filePathAndName="/tmp/x.csv"))
            self.assertEqual(acknowledged, answered(Acknowledge=True))
            self.assertEqual(failures(other), {"Words": "", "HasFailed": False})
            for _ in range(2):
                self.assertIn("no such table: CERTIFICATES", failures(one)["Words"])
                self.assertTrue(failures(one)["HasFailed"])
            for good in (asked("getCurrentUser"), xml_call("readDirectory")):
                one.exchange(call("exportData", schemaName="Certificates", userToExportFor=2,
                                  filePathAndName="/tmp/x.csv"))
                self.assertTrue(failures(one)["HasFailed"])
                one.exchange(good)
                self.assertEqual(failures(one), {"Words": "", "HasFailed": False}, good)

    def test_what_answers_as_no_host_does_is_told(self):
        lines = {"nothing": b"", "another protocol": b"HTTP/1.1 400 Bad Request\r\n",
                 "no response": b'{"jsonrpc":"2.0","id":"1","result":{"Response":7}}\n'}
        with socket.socket(socket.AF_UNIX) as other:
            other.bind(str(self.path))
            other.listen()
            for name, line in lines.items():
                for command in (["profile"], ["read", "Locale"], ["watch"], ["call", "factoryReset"],
                                ["trace"])[:2 if name == "no response" else 5]:
                    with self.subTest(name, command=command), subprocess.Popen(
                            [DAS, *command, "--socket", self.path], env=self.environment(),
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                        client, _ = other.accept()
                        client.recv(4096)
                        client.sendall(line)
                        client.close()
                        answers, errors = process.communicate(timeout=PATIENCE)
                        self.assertEqual((process.returncode, answers), (1, b""), errors)
                        self.assertRegex(errors, rb"\Adas: the host[^\n]*; [^\n]*no host of das\n\Z")

    def test_an_import_that_the_disk_refuses_leaves_the_rows_as_they_were(self):
        before = self.rows("read", "PhoneBook")
        (self.root / "data/book.csv").write_text(BOOK * 20000)
        space = os.path.getsize(self.db / "phone.db") + 4096
        run = self.das("import", "PhoneBook", "device:/data/book.csv", "--context", "base",
                       preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (space, space)))
        self.assertEqual(run.returncode, 1, run.errors)
        self.assertRegex(run.errors, r"das: import PhoneBook: .*disk.*; (see to|make space on) the disk")
        self.assertEqual(self.rows("read", "PhoneBook"), before)

    @unittest.skipUnless(os.getuid() == 0, "another user is needed")
    def test_files_that_only_others_may_use_are_told(self):
        for path in (self.place, self.db, self.root / "data", self.db / "phone.db"):
            os.chown(path, NOBODY, NOBODY)
        before = self.rows("read", "PhoneBook")
        secret = self.root / "data/secret.csv"
        secret.write_text(BOOK)
        secret.chmod(0o600)
        program = self.copy_of_tree(SERVICE, PLATFORM)
        other = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
        with subprocess.Popen([program, "serve", "--socket", self.path], env=self.environment(),
                              stderr=subprocess.DEVNULL, **other) as host, ExitStack() as ended:
            ended.callback(host.kill)
            while not self.path.exists():
                self.assertIsNone(host.poll())
            for over in ([], ["--socket", self.path]):
                for command, folder in (("import", "data"), ("export", "data"), ("export", "tmp")):
                    name = f"device:/{folder}/secret.csv"
                    run = self.das(command, "PhoneBook", name, "--context", "base", *over,
                                   program=program, **other)
                    self.assertEqual(run.returncode, 2,
                                     run.errors)
                    self.assertRegex(run.errors, f"das: {command} PhoneBook: .*{name}"
                                     + ": Permission denied" if not over else f"das: {command} PhoneBook: ")
            host.terminate()
        self.assertEqual(self.rows("read", "PhoneBook"), before)
        (self.db / "phone.db").chmod(0o400)
        os.chown(self.root / "data/demo.csv", NOBODY, NOBODY)
        run = self.das("import", "PhoneBook", "device:/data/demo.csv", "--context", "base",
                       program=program, **other)
        self.assertEqual(run.returncode, 1, run.errors)
        self.assertIn("read-only", run.errors)

    def test_an_upgrade_shows_its_steps_on_a_terminal(self):
        status, shown = self.on_terminal("profile", env={"DAS_PROGRESS_AFTER": "0"})
        self.assertEqual(status, 0)
        self.assertRegex(shown, r"\rupgrade, step [1-9]\d* of \d+: [\w ]+, \d+ %")
        self.assertNotIn("upgrade", self.good("profile"))


if __name__ == "__main__":
    unittest.main()
