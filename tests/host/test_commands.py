"""Uses das as people use it: commands on data, in each format, on terminals, and used wrongly.

Usage: test_commands.py DAS sanitizers=NAMES [unittest arguments]
"""
import csv
import io
import json
import os
import re
import shlex
import shutil
import subprocess
import time
import unicodedata
import unittest
from pathlib import Path

from host_test import DAS, PATIENCE, SOURCES, DemoTest, request

COMPLETION = SOURCES / "tests/host/completion"


def columns_of(text):
    """Columns that a line takes on a terminal."""
    return sum(0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1
               for c in text)


class Data(DemoTest):
    def test_a_telephone_to_play_with_is_the_same_each_time(self):
        again = self.das("demo", self.place / "it's again")
        self.assertEqual(again.returncode, 0, again.errors)
        made = subprocess.run(["sh", "-c", again.stdout.decode() + 'printf %s "$DB_PATH"'],
                              check=True, capture_output=True).stdout.decode()
        self.assertEqual(Path(made), self.place / "it's again/db")
        self.assertEqual(self.good("read", "PhoneBook", "--db", made), self.good("read", "PhoneBook"))
        self.assertEqual(len(self.rows("read", "PhoneBook")), 200)
        self.assertGreater(len(self.rows("read", "CallLog")), 40)

    def test_rows_and_settings_are_read_written_and_deleted(self):
        for over in ([], ["--socket", "das.sock"]):
            with self.subTest(over=over):
                if over:
                    self.serve()
                value = "<&>'\" \\ 佐藤 Zoë"
                self.good("set", "FeatureKeys", "--id", "100", f"Label={value}", *over)
                key, = self.rows("read", "FeatureKeys", "--where", f"Label={value}", *over)
                self.assertEqual((key["Id"], key["Label"]), ("100", value))

                number = self.rows("write", "PhoneBook", "Surname=O'Neil", "Mobile=+1 5", *over)
                number = number[0]["UniqueID"]
                self.good("set", "PhoneBook", "--id", number, "Company=A & B", *over)
                found, = self.rows("search", "+1 5", *over)
                self.assertEqual((found["Surname"], found["Company"]), ("O'Neil", "A & B"))
                self.good("delete", "PhoneBook", "--id", number, *over)
                self.assertEqual(self.rows("search", "+1 5", *over), [])

                self.good("set", "AudioSettings", "Theme=dark", "Size=2", *over)
                self.good("delete", "AudioSettings", "Size", *over)
                self.good("set", "AudioSettings", "Size=3", *over)
                self.assertEqual(self.rows("read", "AudioSettings", "--cols", "Size", *over),
                                 [{"Context": "base", "Name": "Size", "Value": "3"}])

    def test_a_value_comes_from_a_file_or_from_standard_input(self):
        secret = self.file("secret", "s\u00e9cret\n\n")
        self.good("set", "SecuritySettings", f"FilePassword=@{secret}", "InputPassword=@-",
                  "Handle=@@name", lines=["typed"])
        stored = self.sql("SELECT Value FROM GENERAL_CONFIG WHERE Schema = 'SecuritySettings' "
                          "AND Name IN ('FilePassword', 'InputPassword', 'Handle') ORDER BY Name")
        self.assertEqual(stored, [("s\u00e9cret\n",), ("@name",), ("typed",)])
        self.assertEqual(self.good("write", "PhoneBook", "Surname=@-", lines=["Amber"]),
                         "UniqueID\n201\n")
        self.assertEqual(self.sql("SELECT Surname FROM PHONE_BOOK WHERE UniqueID = 201"), [("Amber",)])

    def test_a_call_is_written_with_its_items(self):
        self.good("delete", "CallLogMissedCalls", "--all")
        times = ["2026-03-01T09:00:00+01:00", "2026-03-01T10:00:00+01:00"]
        self.good("write", "CallLogMissedCalls", "EntryId=1", "Viewed=false", "Number=12",
                  f"TimeDate={times[0]}", "Number=12", f"TimeDate={times[1]}")
        calls = self.rows("read", "CallLogMissedCalls", "--cols", "EntryId,Number,TimeDate")
        self.assertEqual(calls, [{"EntryId": "1", "Number": "12", "TimeDate": time}
                                 for time in times])

    def test_a_page_of_rows(self):
        names = [row["Id"] for row in self.rows("read", "FeatureKeys")]
        part = self.rows("read", "FeatureKeys", "--offset", "3", "--limit", "2")
        self.assertEqual([row["Id"] for row in part], names[3:5])
        book = self.rows("read", "PhoneBook", "--offset", "10", "--limit", "5", "--cols", "Surname")
        self.assertEqual(book, self.rows("read", "PhoneBook", "--cols", "Surname")[10:15])

    def test_a_table_goes_to_a_file_and_back(self):
        before = self.rows("read", "PhoneBook", "--cols", "Surname,Office")
        self.good("export", "PhoneBook", "device:/tmp/book.csv", "--context", "base")
        self.good("delete", "PhoneBook", "--all")
        self.good("import", "PhoneBook", "device:/tmp/book.csv", "--context", "base")
        self.assertEqual(self.rows("read", "PhoneBook", "--cols", "Surname,Office"), before)
        # The service logs at the level of failures that the mode of the telephone was never set.
        (self.root / "tmp/linked").symlink_to(self.root / "tmp/groups")
        self.good("export", "CallGroup", "device:/tmp/linked")
        self.assertFalse((self.root / "tmp/linked").is_symlink(), "a link is replaced, not followed")
        self.assertEqual(self.das("import", "CallGroup", "device:/tmp/linked", "--context", "visitor").returncode, 0)

    def test_a_contact_of_another_user_is_there_to_be_changed(self):
        number = self.rows("write", "PhoneBook", "Surname=Guest", "--context", "visitor")[0]["UniqueID"]
        self.good("set", "PhoneBook", "--id", str(number), "Surname=Changed")
        found = self.rows("read", "PhoneBook", "--context", "visitor", "--id", str(number))
        self.assertEqual(found[0]["Surname"], "Changed")

    def test_a_change_of_user_without_a_host_is_there_at_the_next_start(self):
        self.good("profile", "visitor")
        self.assertEqual(self.rows("profile"), [{"User": "visitor"}])
        self.good("profile", "base")
        self.assertEqual(self.rows("profile"), [{"User": "base"}])

    def test_a_schema_is_told_with_what_its_columns_and_settings_mean(self):
        for schema, what, meaning in (("PhoneBook", "Column Address", "Postal address, a text of any form."),
                                      ("CallLogMissedCalls", "Column Office2", None),
                                      ("CallLogMissedCalls", "Column Number9", "Number of the other side."),
                                      ("Locale", "Setting Language", "Language of the display, such as de.")):
            told = {row["What"]: row["Meaning"] for row in self.rows("schemas", schema)}
            self.assertEqual(told.get(what), meaning)

    def test_the_log_is_shown_as_it_comes_with_passwords_masked(self):
        self.serve()
        with subprocess.Popen([DAS, "trace", "--level", "5", "--socket", self.place / "das.sock"],
                              env=self.environment(), stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as trace:
            self.assertEqual(trace.stderr.readline(), b"tracing\n")
            self.good("set", "Passwords", "UserPassword=secret42", "--socket", "das.sock")
            seen = b""
            while b"UserPassword" not in seen:
                seen += trace.stdout.readline()
            trace.terminate()
        self.assertIn(b"'*****'", seen)
        self.assertNotIn(b"secret42", seen)


class Check(DemoTest):
    def test_faults_are_found_and_the_file_is_left_alone(self):
        rows = [
            ("good", [], 0, "good", "integrity", "ok"),
            ("row of no user", ["UPDATE FEATURE_KEYS SET UserContext = 'no-one' WHERE Id = '100'"],
             1, "fault", "users", "FEATURE_KEYS: 1 rows of no user"),
            ("leftover", ["CREATE TABLE PHONE_BOOK_OLD(x)"], 1, "fault", "leftovers",
             "PHONE_BOOK_OLD: 0 rows, put aside by an upgrade that broke off"),
            ("another's table", ["CREATE TABLE GAMES(x)"], 0, "note", "leftovers", "GAMES"),
            ("missing table", ["DROP TABLE BCA_SETTINGS"], 0, "note", "tables", "BCA_SETTINGS"),
            ("missing column", ["ALTER TABLE FEATURE_KEYS DROP COLUMN Label"], 0, "note", "columns",
             "FEATURE_KEYS lacks Label"),
            ("older release", ["ALTER TABLE BCA_SETTINGS DROP COLUMN UserContext"], 0, "note",
             "columns", "BCA_SETTINGS lacks UserContext"),
            ("blank file", None, 0, "note", "file", "empty"),
            ("no database", b"no database, " * 1000, 1, "fault", "integrity",
             "file is not a database"),
        ]
        file = self.db / "phone.db"
        master = file.read_bytes()
        for name, spoil, status, verdict, subject, words in rows:
            with self.subTest(name):
                file.write_bytes(master if isinstance(spoil, list) else spoil or b"")
                if spoil and isinstance(spoil, list):
                    self.sql(*spoil)
                before = file.read_bytes()
                run = self.das("check", "--output", "json")
                self.assertEqual((run.returncode, run.errors), (status, ""))
                found = [row for row in json.loads(run.stdout) if row["Subject"] == subject]
                self.assertTrue([row for row in found if row["Verdict"] == verdict and
                                 words in row["Finding"] and (verdict == "good" or row["Next"])],
                                found)
                self.assertEqual(file.read_bytes(), before)
                self.assertEqual(os.listdir(self.db), ["phone.db"])


class Formats(DemoTest):
    VALUE = "a,\"b\"\n\x7f\x1b[31m\x9b佐藤\u202e"

    def setUp(self):
        super().setUp()
        self.sql("UPDATE FEATURE_KEYS SET Label = '" + self.VALUE + "' WHERE Id = '100'")

    READ = ("read", "FeatureKeys", "--id", "100", "--cols", "Id,Label")

    def test_a_value_comes_through_each_format(self):
        read = lambda name: self.das(*self.READ, "--output", name).stdout.decode()
        self.assertEqual(json.loads(read("json")), [{"Id": "100", "Label": self.VALUE}])
        self.assertIsNone(re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f]", read("json")))
        self.assertEqual(list(csv.reader(io.StringIO(read("csv"), newline=""))),
                         [["Id", "Label"], ["100", self.VALUE]])
        self.assertEqual(read("raw"), request(
            "read_response", f"<Entry><Id>100</Id><Label>{self.VALUE}</Label></Entry>") + "\n")
        shown = 'a,"b"\\n\\x7f\\x1b[31m\\x9b佐藤\\u{202e}'
        self.assertEqual(read("table"), f"Id   Label\n100  {shown}\n")
        self.assertEqual(self.das(*self.READ).stdout.decode(), f"Id\tLabel\n100\t{shown}\n")

    def test_an_explicit_format_is_the_same_on_a_terminal(self):
        self.sql("UPDATE FEATURE_KEYS SET Label = '佐藤 Zoë' WHERE Id = '100'")
        for name in ("raw", "json", "table", "csv"):
            with self.subTest(name):
                piped = self.good(*self.READ, "--output", name)
                status, shown = self.on_terminal(*self.READ, "--output", name, columns=20)
                self.assertEqual((status, shown.replace("\r\n", "\n")), (0, piped))

    def test_a_terminal_gets_what_fits_it(self):
        for columns in (80, 20):
            for command in (["read", "PhoneBook", "--limit", "40"], ["read", "CallLog"],
                            ["schemas"], ["check"], self.READ, ["schemas", "PhoneBook"]):
                with self.subTest(columns=columns, command=command):
                    status, shown = self.on_terminal(*command, columns=columns,
                                                     env={"NO_COLOR": "1"})
                    self.assertEqual(status, 0, shown)
                    self.assertIsNone(re.search("[\x00-\x09\x0b-\x0c\x0e-\x1f\x7f-\x9f\u202e]", shown))
                    lines = shown.split("\r\n")
                    self.assertLessEqual(max(map(columns_of, lines)), columns)
                    self.assertEqual(lines[-1], "")

    def test_a_terminal_that_has_room_for_nothing_is_told_something(self):
        self.assertEqual(self.on_terminal("read", "PhoneBook", "--id", "9999"), (0, "no rows\r\n"))
        self.assertIn("100", self.on_terminal(*self.READ, columns=1)[1])

    def test_advice_is_broken_on_a_terminal_and_not_cut(self):
        self.sql("CREATE TABLE PHONE_BOOK_OLD(x)")
        for columns in (80, 40):
            _, shown = self.on_terminal("check", columns=columns)
            self.assertNotIn("…", shown.split("PHONE_BOOK_OLD")[1].split("size")[0])

    def test_names_are_bold_where_colours_are_wanted(self):
        command = ("read", "PhoneBook", "--cols", "Surname,Office")
        self.assertIn("\x1b[1m", self.on_terminal(*command, env={"NO_COLOR": ""})[1])
        _, plain = self.on_terminal(*command, "--plain")
        self.assertEqual(plain.replace("\r\n", "\n").expandtabs(8), self.good(*command).expandtabs(8))


class Help(DemoTest):
    def texts(self, command):
        return self.good("help", command)

    def commands(self):
        listed = self.good("help").split("\nCommands:\n")[1]
        return re.findall(r"^  (\w+)", listed, re.M)

    def test_help_manual_and_completion_say_the_same(self):
        page = self.good("help", "--man").replace("\\-", "-")
        sections = dict(re.findall(r"^\.SS das (\w+)(.*?)(?=^\.S)", page, re.M | re.S))
        common = {"--db", "--root", "--socket", "--help"}
        self.assertEqual(list(sections), self.commands())
        for command in self.commands():
            with self.subTest(command):
                text = self.texts(command)
                self.assertEqual(self.good(command, "--help"), text)
                helped = set(re.findall(r"^  (--[\w-]+)", text, re.M))
                offered = self.good("--complete", f"das {command} --")
                self.assertEqual(set(re.findall(r"^\S+", offered, re.M)), helped)
                self.assertEqual(set(re.findall(r"^\.B (--[\w-]+)", sections[command], re.M)),
                                 helped - common)
                for line in self.examples(text):
                    self.assertIn(line.replace("\\", "\\e"), sections[command])

    def test_the_manual_page_has_no_warning(self):
        page = self.file("das.1", self.good("help", "--man"))
        if shutil.which("man") is None:
            self.skipTest("man is not installed")
        run = subprocess.run(["man", "--warnings", "-l", page], capture_output=True, check=True,
                             env={**os.environ, "MANWIDTH": "80", "LC_ALL": "C.UTF-8"})
        self.assertEqual(run.stderr, b"")

    SHELLS = {"bash": ("--rcfile", COMPLETION / "rc.bash"), "zsh": (),
              "fish": ("--no-config", "-C", f"source {COMPLETION / 'rc.fish'}")}

    def test_shells_complete(self):
        self.good("set", "Locale", "OwnItem=de")
        lines = [line.split("\t") for line in (COMPLETION / "lines.txt").read_text().splitlines()
                 if not line.startswith("#")]
        typed = [f"\x15{line}\t\x14" for line, _ in lines] + ["\x15exit\n"]
        waited = ["ready> "] + [f"<<{completed[:-1]}>>" for _, completed in lines]
        clients = SOURCES / "clients/python"
        for shell, arguments in self.SHELLS.items():
            with self.subTest(shell):
                if shutil.which(shell) is None:
                    self.skipTest(f"{shell} is not installed")
                self.on_terminal(*arguments, program=shell, columns=200, typed=list(zip(waited, typed)), env={
                    "PATH": f"{DAS.parent}:{clients / 'bin'}:{os.environ['PATH']}", "PYTHONPATH": str(clients),
                    "ZDOTDIR": str(COMPLETION), "COMPLETIONS": str(DAS.parents[1] / "packaging/completion")})

    @staticmethod
    def examples(text):
        part = text.split("\nExamples")[1].split("\nExit status")[0]
        return re.findall(r"^  (\S.*)$", part, re.M)

    def test_each_example_works(self):
        self.serve()
        environment = self.environment(PATH=f"{DAS.parent}:{os.environ['PATH']}")
        for command in self.commands():
            lines = self.examples(self.texts(command))
            self.assertTrue(lines, command)
            for line in lines:
                with self.subTest(line), subprocess.Popen(
                        ["sh", "-c", "exec " + line if "|" not in line else line], cwd=self.place,
                        env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                        stderr=subprocess.PIPE) as process:
                    if command == "serve":
                        self.wait_for(process, self.place / "other.sock")
                        process.terminate()
                    elif command in ("watch", "trace"):
                        self.assertIn(process.stderr.readline(), (b"watching\n", b"tracing\n"))
                        self.end_host()
                        self.serve()
                    _, errors = process.communicate(timeout=PATIENCE)
                    self.assertEqual(process.returncode, 0, errors)


class Shell(DemoTest):
    def test_a_conversation(self):
        self.sql("UPDATE FEATURE_KEYS SET Label = 'A\x1b[31mB' WHERE Id = '103'")
        status, shown = self.on_terminal("shell", typed=[
            ("das> ", "prof\t\n"),
            ("base", "read Featurekeys\n"),
            ("did you mean FeatureKeys", "set FeatureKeys --id 100 'Label=Two words'\n"),
            ("das> ", "read FeatureK\t"),
            ("ey", "s --id 100 --cols Label\n"),
            ("Two words", "set FeatureKeys --id 101 Lab\t"),
            ("el=", "Typed\n"),
            ("das> ", "call setProfile NewProfile=visitor\n"),
            ("Acknowledge=true", "getCurrentUser\n"),
            ("visitor", "\x1b[A\x1b[A\n"),                               # two lines back in history
            ("Acknowledge=true", "getCurrentUser\n"),
            ("visitor", "profile base"),
            ("profile base", "\x03"),  # takes the line back
            ("^C", request("read_request", "<ResultCols>Label</ResultCols><Id>103</Id>") + "\n"),
            (r"A\x1b[31mB", "profile\n"),
            ("visitor", "quit\n"),
        ])
        self.assertEqual(status, 0, shown)
        self.assertEqual(self.rows("read", "FeatureKeys", "--id", "101", "--cols", "Label"),
                         [{"Label": "Typed"}])

    def test_the_end_of_input_ends_it(self):
        status, shown = self.on_terminal("shell", typed=[("das> ", "\x04")])
        self.assertEqual((status, shown[-2:]), (0, "\r\n"))

    def test_lines_from_a_pipe(self):
        rows = [
            ("good", ["profile", "", "read FeatureKeys --id 100 --cols Id"], 0, "User\nbase\nId\n100\n"),
            ("the rest is done", ["bogus", "profile"], 2, "User\nbase\n"),
            ("a request", [request("read_request", "<ResultCols>Id</ResultCols><Id>32</Id>")], 0,
             request("read_response", "<Entry><Id>32</Id></Entry>") + "\n"),
            ("a failure", [request("fly_request")], 1, request("failure") + "\n"),
            ("quit", ["quit", "profile"], 0, ""),
            ("an open quote", ["read 'x"], 2, ""),
            ("another place", ["profile --db x"], 2, ""),
            ("input of its own", ["set Locale Language=@-", "profile"], 2, "User\nbase\n"),
        ]
        self.serve()
        for over in ([], ["--socket", self.path]):
            for name, lines, status, answers in rows:
                with self.subTest(name, over=over):
                    run = self.das("shell", *over, lines=lines)
                    self.assertEqual((run.returncode, run.stdout.decode()), (status, answers),
                                     run.errors)


if __name__ == "__main__":
    unittest.main()
