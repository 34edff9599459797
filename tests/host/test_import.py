"""Carries tables in and out: what a file changes, what is refused, and that no value is lost.

Usage: test_import.py DAS sanitizers=NAMES [unittest arguments]
"""
import codecs
import fcntl
import os
import pty
import re
import shlex
import subprocess
import termios
import unittest

from host_test import DAS, DemoTest, PATIENCE, SOURCES

CONTACTS = ["base,1,One", "base,2,Two", "base,3,Three", "base,4,Four", "visitor,5,Guest"]
NAME = f"import-{os.getpid()}.csv"
NASTY = ["line\nfeed", "\n", 'a "quoted" one', "com,ma", "back\\slash", "end\\", "\\,", " blanks ", "tab\t",
         "it's", "&amp;", "Ünïcödé", "carriage\rreturn", "-", "# no comment", "UniqueID"]


def cases():
    for block in re.split(r"\n\n+", (SOURCES / "tests/host/imports.txt").read_text()):
        lines = [line.partition(":")[::2] for line in block.splitlines() if not line.startswith("#")]
        if lines:
            yield {name: text.strip() for name, text in lines}


class Imports(DemoTest):
    def setUp(self):
        super().setUp()
        self.reset()

    def reset(self):
        statements = [f"INSERT INTO PHONE_BOOK (UserContext, UniqueID, Surname, Firstname, Company) VALUES"
                      f" ('{user}', {number}, '{name}', 'First', 'Co')"
                      for user, number, name in (contact.split(",") for contact in CONTACTS)]
        self.sql("DELETE FROM PHONE_BOOK", "UPDATE sqlite_sequence SET seq = 0", *statements)

    def book(self):
        return self.sql("SELECT * FROM PHONE_BOOK ORDER BY UniqueID")

    def check(self, case, over):
        text = codecs.escape_decode(case["text"])[0]
        for folder in (self.place, self.root / "tmp"):
            (folder / NAME).write_bytes(text)
        before = self.book()
        words = shlex.split(case["run"].replace(" FILE", f" ./{NAME}").replace("FILE", NAME))
        with open(self.place / NAME, "rb") as file:
            run = self.das("import", *words, *over, stdin=file, start_new_session=True)
        status, _, errors = case.get("fails", "0 \\A\\Z").partition(" ")
        self.assertEqual(run.returncode, int(status), run.errors)
        self.assertRegex(run.errors.replace(NAME, "FILE"), errors)
        self.assertEqual(run.answers[:1], [case["says"]] if "says" in case else [""])
        if "book" in case:
            self.assertEqual(", ".join(f"{row[0]} {row[1]} {row[2]}" for row in self.book()), case["book"])
        elif "Company" not in case["text"]:
            self.assertEqual(self.book(), before)

    def test_each_import_changes_what_it_says(self):
        self.serve()
        for over in ([], ["--socket", self.path]):
            for case in cases():
                with self.subTest(case["case"], over=over):
                    self.reset()
                    self.check(case, over)

    def test_columns_that_a_file_does_not_name_stay(self):
        self.file("few.csv", 'UniqueID,Company\n1,"Ltd.\nof two lines"\n')
        self.good("import", "PhoneBook", "few.csv")
        self.assertEqual(self.sql("SELECT Surname, Firstname, Company FROM PHONE_BOOK WHERE UniqueID = 1"),
                         [("One", "First", "Ltd.\nof two lines")])

    def test_no_value_is_lost_on_the_way_out_and_in(self):
        self.serve()
        quoted = [text.replace("'", "''") for text in NASTY]
        values = [f"('base', '{text}', '{other}', '{text}')" for text in quoted for other in ("", "x")]
        self.sql("DELETE FROM PHONE_BOOK", "UPDATE PHONE_BOOK SET Surname = ''",
                 "INSERT INTO PHONE_BOOK (UserContext, Surname, Firstname, SpeedDialID) VALUES "
                 + ", ".join(values),
                 *(f"UPDATE PHONE_BOOK SET {column} = '' WHERE {column} IS NULL" for column in
                   [row[1] for row in self.sql("PRAGMA table_info(PHONE_BOOK)")]))
        before = self.book()
        for over in ([], ["--socket", str(self.path)]):
            with self.subTest(over=over):
                rows = self.file("rows.csv", self.das("read", "PhoneBook", "--output", "csv", *over).stdout)
                self.sql("DELETE FROM PHONE_BOOK")
                self.good("import", "PhoneBook", rows, *over)
                self.assertEqual(self.book(), before)
                run = self.das("export", "PhoneBook", "book.csv", *over)
                kept = [row for row in before if row[2] not in ("line\nfeed", "\n", "end\\", "&amp;")]
                self.assertEqual(run.returncode, 1)
                self.assertEqual(run.errors, f"das: export PhoneBook: {len(before) - len(kept)} rows can't be "
                                 "carried; das read PhoneBook --output csv carries all\n")
                self.assertEqual(self.das("export", "PhoneBook", "/dev/stdout", *over).stdout,
                                 (self.place / "book.csv").read_bytes())
                blanks = self.das("read", "PhoneBook", "--cols", "Firstname", "--output", "csv", *over).answers
                self.assertEqual(self.das("import", "PhoneBook", "-", "--dry-run", *over, lines=blanks).answers[0],
                                 f"PhoneBook of base: {len(before)} contacts would be added, 0 replaced")
                self.sql("DELETE FROM PHONE_BOOK")
                self.good("import", "PhoneBook", "book.csv", *over)
                self.assertEqual(self.book(), kept)
                self.sql("DELETE FROM PHONE_BOOK")
                self.good("import", "PhoneBook", rows, *over)

    def test_what_is_too_much(self):
        self.serve()
        before = self.book()
        self.file("many.csv", "Surname\n" + "x\n" * 10001)
        self.file("large.csv", "base,,x\n" * (1024 * 1024 + 1))
        for file, over, words in [
                ("many.csv", [], "many.csv: line 10002: a file with column names has at most 10000 rows"),
                ("large.csv", ["--socket", self.path], "large.csv: 8388616 bytes; at most 8 MiB over a socket")]:
            run = self.das("import", "PhoneBook", file, *over)
            self.assertEqual(run.returncode, 2)
            self.assertIn(f"das: {words}", run.errors)
        self.assertEqual(self.book(), before)

    def asked(self, reply):
        """The exit status and what the terminal shows; standard input has the rows."""
        screen, terminal = pty.openpty()

        def take_terminal():
            os.setsid()
            fcntl.ioctl(terminal, termios.TIOCSCTTY, 0)

        with subprocess.Popen([DAS, "import", "PhoneBook", "-", "--context", "base"], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, pass_fds=[terminal],
                              env=self.environment(), preexec_fn=take_terminal) as process:
            os.close(terminal)
            process.stdin.write(b"base,,Aa\n")
            process.stdin.close()
            shown = b""
            while not shown.endswith(b"?"):
                shown += os.read(screen, 4096)
            os.write(screen, reply.encode() + b"\n")
            answers = process.stdout.read().decode()
            status = process.wait(PATIENCE)
        os.close(screen)
        return status, answers, shown.decode()

    def test_a_person_is_asked_before_most_rows_go(self):
        question = "das: PhoneBook of base: 4 contacts would be replaced by 1; go on?"
        for reply, status in [("n", 1), ("", 1), ("Y", 1), ("y", 0)]:
            before = self.book()
            self.assertEqual(self.asked(reply), (status, "" if status else
                                                 "PhoneBook of base: 4 contacts replaced by 1\n", question))
            self.assertEqual(self.book() == before, status == 1)


    def test_a_parameter_that_is_missing_changes_nothing(self):
        before = self.book()
        for parameters, name in ((["Schema:=", "Text=x"], "Schema"), (["Schema=PhoneBook"], "Text"),
                                 (["Schema=PhoneBook", "Text=5"], "Text")):
            run = self.das("call", "ImportText", "User=base", *parameters)
            self.assertIn(f"Words=the string {name} is missing", run.stdout.decode())
        self.assertEqual(self.book(), before)


class Places(DemoTest):
    def test_the_service_is_found_in_order(self):
        self.serve()
        new = self.place / "new"
        new.mkdir()
        own = {name: value for name, value in self.environment().items() if name != "DB_PATH"}
        (self.root / "tmp" / "wrong").write_text("x\n")
        missing = f"das: {self.place}/none: No such file or directory"
        rows = [
            # folder, variables, arguments, status, part of standard error
            ("none is made by a read", {}, ["read", "PhoneBook"], 2, f"no database in {new}; .*--db.*das demo"),
            ("nor by a search", {}, ["search", "1"], 2, "no database in"),
            ("nor by an export", {}, ["export", "PhoneBook", "x"], 2, "no database in"),
            ("nor by a check", {}, ["check"], 2, "no database in"),
            ("nor by a look at the user", {}, ["profile"], 2, "no database in"),
            ("nor by a refused import", {}, ["import", "PhoneBook", "/none.csv"], 2, "No such file"),
            ("nor by one of the telephone", {}, ["import", "PhoneBook", "device:/tmp/wrong"], 2, "line 1: "),
            ("nor by a trial", {}, ["import", "PhoneBook", "-", "--dry-run"], 2, "no database in"),
            ("the root", {"DB_PATH": ""}, ["read", "PhoneBook"], 2, "no database in /; "),
            ("the variable", {"DAS_SOCKET": str(self.path)}, ["read", "PhoneBook"], 0, r"\A\Z"),
            ("no answer there", {"DAS_SOCKET": f"{self.place}/none"}, ["read", "PhoneBook"], 2, missing),
            ("a folder before it", {"DAS_SOCKET": f"{self.place}/none"}, ["read", "PhoneBook", "--db", self.db],
             0, r"\A\Z"),
            ("a host at the variable", {"DAS_SOCKET": str(self.path)}, ["status"], 0, r"\A\Z"),
            ("a folder before it, where only a host will do", {"DAS_SOCKET": str(self.path)},
             ["status", "--db", self.db], 2, "das: status: --db or DB_PATH names a folder"),
            ("the option before all", {"DB_PATH": str(self.db)},
             ["read", "PhoneBook", "--socket", f"{self.place}/none"], 2, missing),
            ("a write makes one", {}, ["write", "PhoneBook", "Surname=A"], 0, "a new database is made there"),
        ]
        for name, variables, arguments, status, errors in rows:
            with self.subTest(name):
                self.assertEqual(list(new.iterdir()), [])
                run = subprocess.run([DAS, *arguments], cwd=new, env={**own, **variables}, input=b"",
                                     capture_output=True, timeout=PATIENCE, check=False)
                self.assertEqual(run.returncode, status, run.stderr)
                self.assertRegex(run.stderr.decode(), errors)


if __name__ == "__main__":
    unittest.main()
