"""Uses das wrongly, in as many ways as people do: each failure is reported, and nothing is half done.

Usage: test_failures.py DAS sanitizers=NAMES [unittest arguments]
"""
import os
import shlex
import socket
import unittest

from host_test import DemoTest, NOBODY, SOURCES

ROWS = SOURCES / "tests" / "host" / "failures.txt"


class Errors(DemoTest):
    def test_each_failure_is_told(self):
        host = self.place / "das.sock"
        self.serve()
        stale = self.place / "stale"
        with socket.socket(socket.AF_UNIX) as left:
            left.bind(str(stale))
        datagram = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(datagram.close)
        datagram.bind(str(self.place / "datagram"))
        self.file("file", "")
        (self.place / "full").mkdir()
        self.file("full/x", "")
        (self.place / "broken").mkdir()
        self.file("broken/phone.db", "x" * 5000)
        (self.place / "empty").mkdir()
        self.file("empty/phone.db", "")
        os.mkfifo(self.root / "data" / "pipe")
        for own in (self.place / "own", self.root / "data" / "own"):
            os.link(self.db / "phone.db", own)
        (self.place / "link").symlink_to(self.db / "phone.db")
        self.file("cut", '<Schema name="PhoneBook"><ReasonForMessage>')
        rows = []
        with open(ROWS, encoding="utf-8") as file:
            for row in file:
                for over in ("", " --socket das.sock")[:1 + ("{OVER}" in row)]:
                    line = row.rstrip("\n").format(LONG="x" * 200, CONTROL="\1", OVER=over).split("\t")
                    rows += [] if row.startswith("#") else [(line[1], int(line[0]), line[2])]
        before = {name: self.das("read", name, "--output", "raw").stdout
                  for name in ("PhoneBook", "FeatureKeys", "CallLog", "Locale")}
        for line, status, words in rows:
            with self.subTest(line):
                run = self.das(*shlex.split(line))
                self.assertEqual(run.returncode, status, run.errors)
                self.assertRegex(run.errors, words)
                if run.errors:
                    self.assertRegex(run.errors, r"(\A|\n)das: [^\n]*\n(DataAcc[^\n]*\n)?\Z")
                if status == 2:
                    self.assertEqual(run.stdout, b"")
        self.assertEqual(os.listdir(self.root / "tmp"), [])
        for name, text in before.items():
            self.assertEqual(self.das("read", name, "--output", "raw").stdout, text,
                             "nothing is half done")

    @unittest.skipUnless(os.getuid() == 0, "another user is needed")
    def test_a_forbidden_socket_is_told(self):
        self.serve()
        run = self.das("read", "PhoneBook", "--socket", self.path, user=NOBODY, group=NOBODY,
                       extra_groups=[])
        self.assertEqual(run.returncode, 2)
        self.assertIn("Permission denied; the socket is forbidden", run.errors)

    def test_sqlite_is_quoted(self):
        self.sql("DROP TABLE IF EXISTS DISTINCTIVE_RINGING", "CREATE TABLE DISTINCTIVE_RINGING(x)",
                 "INSERT INTO DISTINCTIVE_RINGING VALUES (1)")
        self.serve()
        for over in ([], ["--socket", self.path]):
            run = self.das("read", "DistinctiveRinging", "--id", "1", *over)
            self.assertEqual(run.returncode, 1)
            self.assertIn("no such column", run.errors)
            run = self.das("read", "DistinctiveRinging", "--where", "Name=" + "x" * 1000, *over)
            self.assertRegex(run.errors, r"no such column.*\.\.\.; das check names")


if __name__ == "__main__":
    unittest.main()
