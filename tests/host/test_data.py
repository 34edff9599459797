"""Reads, finds, copies and compares data as people do.

Usage: test_data.py DAS sanitizers=NAMES [unittest arguments]
"""
import json
import os
import shutil
import sqlite3
import stat
import subprocess
import time
import unittest
from contextlib import closing

from host_test import DemoTest, SANITIZED

from dasclient import Client
from dasclient._answers import FORMS

CONTACT = FORMS["PhoneBook"][0]["columns"]


def imitated(columns, first, frame="Entry"):
    """What a value of the column ``first`` holds to end its row and begin another whole one."""
    cells = [f"</{name}>" if name == first else f"<{name}>x</{name}>"
             for name in columns[columns.index(first):]]
    whole = "".join(f"<{name}>9{name}</{name}>" for name in columns)
    before = "".join(f"<{name}>7</{name}>" for name in columns[:columns.index(first)])
    return f"v{''.join(cells)}</{frame}><{frame}>{whole}</{frame}><{frame}>{before}<{first}>w"


class Answers(DemoTest):
    """No value hides another row, whatever it imitates."""

    def values(self, column, following):
        after = CONTACT[CONTACT.index(column) + 1:] if column in CONTACT else []
        return [
            f"x</{column}><{following}>y",
            f"</{column}></Entry></Schema>",
            f"</{column}></Entry></Context></Schema>",
            f"x</{column}></Entry><Entry><UniqueID>",
            f"x</{column}></Entry><Entry><UniqueID>7</UniqueID><Surname>y",
            "x" + "".join(f"</{a}><{b}>" for a, b in zip([column] + after, after)) +
            "</SpeedDialID></Entry><Entry><UniqueID>",
            "</SpeedDialID></Entry><Entry><UniqueID>" * 3,
            "]]><!-- <Entry> &lt; </Entry",
        ]

    def both(self, schema, das):
        """What das and the Python client read, which is the same."""
        shown = self.rows("read", schema, "--socket", self.path)
        read = das.read(schema)
        if schema == "Locale":
            self.assertEqual(shown, [{"Context": row.context or "", "Name": name, "Value": value}
                                     for row in read for name, value in row.items()])
        elif not schema.startswith("CallLog"):
            self.assertEqual(shown, [dict(row) for row in read])
        return shown

    def test_no_contact_is_hidden_by_another(self):
        self.serve()
        with Client(self.path) as das:
            honest = {row["UniqueID"]: row for row in self.both("PhoneBook", das)}
            for column, following in (("Surname", "Firstname"), ("Office", "Mobile"),
                                      ("ContactSource", "SpeedDialID"), ("SpeedDialID", "Surname")):
                for value in self.values(column, following):
                    with self.subTest(column=column, value=value):
                        # One in front of all others, one in their middle and one at the end.
                        numbers = [str(das.write("PhoneBook", [{"Surname": name, "Firstname": name,
                                                             "Company": "odd", column: value}]))
                                   for name in ("AAA", "Klein", "Zzz")]
                        rows = self.both("PhoneBook", das)
                        self.assertEqual({row["UniqueID"]: row for row in rows
                                          if row["UniqueID"] in honest}, honest)
                        self.assertEqual(sorted(row["UniqueID"] for row in rows
                                                if row["UniqueID"] not in honest), sorted(numbers))
                    das.delete("PhoneBook", {"Company": "odd"})

    def test_a_whole_imitated_row_is_a_further_one(self):
        self.serve()
        with Client(self.path) as das:
            honest = self.both("PhoneBook", das)
            for column in ("Surname", "Email", "SpeedDialID"):
                number = das.write("PhoneBook", [{"Surname": "AAA", column: imitated(CONTACT, column)}])
                rows = self.both("PhoneBook", das)
                self.assertEqual([row for row in rows if row in honest], honest, column)
                self.assertIn("9UniqueID", [row["UniqueID"] for row in rows])
                das.delete("PhoneBook", {"UniqueID": number})

    def test_calls_keys_and_settings_are_not_hidden(self):
        self.serve()
        with Client(self.path) as das:
            before = self.rows("read", "CallLog")
            value = "x</ConnectedSurname></Item></LogList><JSGroupBy>y</JSGroupBy></Entry><Entry><UniqueId>"
            das.write("CallLogReceivedCalls", [{"EntryId": "e", "Surname": "</Surname><LogList>", "calls": [
                {"Number": "123", "ConnectedSurname": value, "TimeDate": "2031-01-01T00:00:00+01:00"},
                {"Number": "124", "TimeDate": "2031-01-02T00:00:00+01:00"}]}])
            after = self.both("CallLog", das)
            self.assertEqual([row for row in after if row in before], before)
            self.assertEqual([row["Number"] for row in after if row["EntryId"] == "e"][-1], "124")
            self.assertEqual(len(das.read("CallLog")), len({row["UniqueId"] for row in after}))
            label = "</Label></Entry><Entry><Id>200</Id>"
            before = [row for row in self.rows("read", "FeatureKeys") if row["Id"] != "100"]
            das.update("FeatureKeys", {"Label": label}, where={"Id": 100})
            after = self.both("FeatureKeys", das)
            self.assertEqual([row for row in after if row["Id"] != "100"], before)
            self.assertIn(label, [row["Label"] for row in after])
            for odd in ("x</Language><Other>", "x</Language></Context>", "</Language></Context></Schema>",
                        '</Language></Context><Context currentUser="', "x</Language><DateFormat>y"):
                das.update("Locale", {"DateFormat": "0", "Language": odd, "Tone": "5"})
                rows = {row["Name"]: row["Value"] for row in self.both("Locale", das)}
                self.assertEqual(rows, {"DateFormat": "0", "Language": odd, "Tone": "5"})


class Tables(DemoTest):
    NAMES = {"PhoneBook": "UniqueID Surname Firstname Office Mobile Private Email",
             "CallLog": "TimeDate Category Number Surname Firstname Duration"}

    def test_a_table_has_what_people_look_for(self):
        for schema, names in self.NAMES.items():
            shown = self.good("read", schema, "--output", "table").split("\n")
            self.assertEqual(shown[0].split(), names.split())
            self.assertGreater(len(self.rows("read", schema)[0]), 15, "other formats have all columns")
        head = lambda *more: self.good("read", "PhoneBook", *more, "--output", "table").split("\n")[0].split()
        self.assertNotIn("Mobile", head("--id", "21"))
        self.assertEqual(head("--cols", "Address,Surname"), ["Address", "Surname"])
        self.assertEqual(head("--cols", "*"), CONTACT)
        self.assertEqual(head("--where", "Surname=none"), names_of_contacts(), "there are no rows")
        self.assertNotIn("BusyLamp", self.good("read", "StimulusKeySettings", "--output", "table"))

    def test_a_terminal_is_asked_before_everything_goes(self):
        for reply, status in (("n\n", 1), ("\n", 1), ("yes\n", 0)):
            found, shown = self.on_terminal("delete", "PhoneBook", "--all", typed=[("?", reply)], edits=False)
            self.assertEqual(found, status, shown)
            self.assertIn("Delete all rows that the current user has in PhoneBook?", shown)
            self.assertEqual(self.rows("read", "PhoneBook") == [], status == 0)
        self.assertEqual(self.on_terminal("call", "factoryReset", typed=[("?", "no\n")], edits=False)[0], 1)
        self.assertNotIn("?", self.on_terminal("call", "factoryReset", "--yes")[1])
        self.assertFalse((self.db / "phone.db").exists())

    def test_what_was_made_is_named(self):
        for arguments, words in (
                (["FeatureKeys", "--id", "99999", "Label=x"],
                 "there was no row 99999, so a new one was made; no command deletes it"),
                (["CodecSettings", "--id", "77", "CodecRank=1"], "there is no such row, so nothing")):
            run = self.das("set", *arguments)
            self.assertEqual(run.returncode, 0)
            self.assertIn(words, run.errors)
        self.good("set", "FeatureKeys", "--id", "99999", "Label=y")
        run = self.das("request", lines=['<Schema name="Nope"><ReasonForMessage>read_request'
                                         '</ReasonForMessage></Schema>'])
        self.assertRegex(run.errors, "das: Nope: no such schema")
        run = self.das("request", lines=['<Schema name="Locale"><ReasonForMessage>fly'
                                         '</ReasonForMessage></Schema>'])
        self.assertIn("das: request: Locale has no fly; it has ", run.errors)
        self.assertIn("Usage", self.good())
        run = self.das("demo", "other")
        self.assertRegex(run.errors, r"\Adas: demo: \S*/other is a telephone with 200 contacts, [^\n]*\n\Z")


def names_of_contacts():
    return Tables.NAMES["PhoneBook"].split()


class Find(DemoTest):
    def found(self, *arguments):
        run = self.das("find", *arguments, "--output", "json")
        return [row["Surname"] for row in json.loads(run.stdout)] if run.returncode == 0 else run.returncode

    def test_contacts_of_the_user_are_found(self):
        self.good("write", "PhoneBook", "Surname=MÜLLER", "Office=+49 (89) 123-4567")
        for arguments, names in ((["089 1234567"], ["MÜLLER"]), (["89 123 4568"], 1), ([""], 2)):
            self.assertEqual(self.found(*arguments), names)
        self.assertEqual(self.found("müller", "--context", "visitor"), 1)
        self.assertEqual(len(self.found("I", "--limit", "1")), 1)

    @unittest.skipIf(SANITIZED, "times count")
    def test_to_find_takes_hardly_longer_than_to_read(self):
        with closing(sqlite3.connect(self.db / "phone.db")) as db, db:
            db.executemany("INSERT INTO PHONE_BOOK (UserContext, Surname, Firstname, Office, Email) "
                           "VALUES ('base', ?, 'Zoë', ?, 'x@example.org')",
                           ((f"Name {n}", f"+49 89 {n:07}") for n in range(10000)))

        def best(*arguments):
            times = []
            for _ in range(5):
                begin = time.monotonic()
                self.good(*arguments)
                times.append(time.monotonic() - begin)
            return min(times)

        self.assertLess(best("find", "0009999"), 1.5 * best("read", "PhoneBook"))


class Copies(DemoTest):
    def test_a_backup_is_made_while_a_host_runs_and_restored_when_none_does(self):
        self.good("set", "LineKeySettings", "--id", "100", "LineSipPassword=secret")
        self.good("profile")  # a start encrypts the password
        self.serve()
        book = self.rows("read", "PhoneBook")
        copy = self.place / "copy"
        self.assertEqual(self.good("backup", copy), f"{copy}: phone.db, dascrypt.key\n")
        self.assertEqual({path.name: stat.S_IMODE(path.stat().st_mode) for path in (copy, *copy.iterdir())},
                         {"copy": 0o700, "phone.db": 0o600, "dascrypt.key": 0o600})
        self.good("diff", self.db, copy)
        self.assertEqual(self.das("backup", copy).returncode, 2)
        self.end_host()
        self.good("delete", "PhoneBook", "--all")
        (self.db / "phone.db-journal").write_bytes(b"left")
        os.chown(self.db / "phone.db", 65534, 65534)
        self.assertIn("what was there is in", self.good("restore", copy))
        aside, = self.db.glob("before-restore-*")
        self.assertEqual(sorted(os.listdir(aside)), ["dascrypt.key", "phone.db", "phone.db-journal"])
        self.assertEqual(sorted(os.listdir(self.db)), [aside.name, "dascrypt.key", "phone.db"])
        self.assertEqual({os.stat(self.db / name).st_uid for name in ("phone.db", "dascrypt.key")}, {65534})
        self.good("diff", copy, self.db)
        self.assertEqual(self.rows("read", "PhoneBook"), book)
        self.good("restore", copy)
        (copy / "dascrypt.key").unlink()
        run = self.das("restore", copy)  # in the same second
        self.assertEqual((run.returncode, len(list(self.db.glob("before-restore-*")))), (0, 3), run.errors)
        self.assertRegex(run.errors, r"has no dascrypt.key, .* move \S*/dascrypt.key back")

    def test_a_commit_is_waited_for_and_a_holder_is_not(self):
        holder = sqlite3.connect(self.db / "phone.db", isolation_level=None)
        self.addCleanup(holder.close)
        holder.execute("BEGIN EXCLUSIVE")
        begin = time.monotonic()
        run = self.das("backup", "copy")
        self.assertEqual((run.returncode, (self.place / "copy").exists()), (1, False))
        self.assertRegex(run.errors, "das: backup: .*locked")
        self.assertGreater(time.monotonic() - begin, 4)
        run = self.das("check")
        self.assertEqual((run.returncode, run.stdout), (2, b""))
        self.assertIn("another process is changing it", run.errors)
        waiting = self.start("read", "PhoneBook", stderr=subprocess.PIPE)
        self.addCleanup(waiting.stderr.close)
        self.assertIn(b"another process holds the database", waiting.stderr.readline())

    def test_a_commit_that_was_cut_off_is_not_seen(self):
        torn = self.place / "torn"
        with closing(sqlite3.connect(self.db / "phone.db", isolation_level=None)) as writer:
            writer.execute("PRAGMA cache_size = 1")
            writer.execute("BEGIN")
            writer.execute("UPDATE PHONE_BOOK SET Surname = Surname || hex(zeroblob(9000))")
            shutil.copytree(self.db, torn)
        before = {path: path.read_bytes() for path in torn.iterdir()}
        self.assertEqual(len(before), 2)
        self.assertIn("the next start rolls back", self.good("check", "--db", torn))
        self.good("backup", "copy", "--db", torn)
        self.good("diff", torn, self.db)
        self.good("diff", "copy", self.db)
        self.assertEqual({path: path.read_bytes() for path in torn.iterdir()}, before)

    def test_a_backup_with_a_fault_changes_nothing(self):
        copy = self.place / "copy"
        self.good("backup", copy)
        before = sorted(os.listdir(self.db)), (self.db / "phone.db").read_bytes()
        with open(copy / "phone.db", "r+b") as file:
            file.seek(8192)
            file.write(b"\xff" * 8192)
        run = self.das("restore", copy)
        self.assertEqual(run.returncode, 1)
        self.assertIn("nothing was changed", run.errors)
        self.assertEqual((sorted(os.listdir(self.db)), (self.db / "phone.db").read_bytes()), before)

    def test_each_cell_that_differs_has_a_line_and_no_secret_is_shown(self):
        copy = self.place / "copy"
        shutil.copytree(self.db, copy)
        self.sql("UPDATE PHONE_BOOK SET Surname = 'a\tb\\' || char(10) WHERE UniqueID = 1",
                 "UPDATE PHONE_BOOK SET Office = NULL WHERE UniqueID = 2",
                 "UPDATE LINE_KEY_SETTINGS SET LineSipPassword = 'secret' WHERE UserContext = 'base' AND Id = '100'",
                 "DELETE FROM GENERAL_CONFIG",
                 "INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', 'base', 'SIPpassword', 'secret')",
                 "CREATE TABLE NEW(x)", "INSERT INTO NEW VALUES (NULL)",
                 'CREATE TABLE "T\tK"(a, b, PRIMARY KEY(a, b))',
                 'INSERT INTO "T\tK" VALUES (\'a,b\', \'c\'), (\'a\', \'b,c\')')
        run = self.das("diff", copy, self.db)
        self.assertEqual((run.returncode, run.errors), (1, ""))
        text = run.stdout.decode()
        self.assertNotIn("secret", text)
        for line in ("PHONE_BOOK\t1\tSurname\tAbel\ta\\tb\\\\\\n", "NEW\t#1\tx\t\\-\t\\N",
                     "LINE_KEY_SETTINGS\tbase,100\tLineSipPassword\t\t*****",
                     "T\\tK\ta\\x2cb,c\ta\t\\-\ta,b", "T\\tK\ta,b\\x2cc\ta\t\\-\ta"):
            self.assertIn(line + "\n", text)
        self.assertRegex(text, r"(?m)^PHONE_BOOK\t2\tOffice\t\+\d+\t\\N$")
        self.assertRegex(text, r"(?m)^GENERAL_CONFIG\t\S*SIPpassword\S*\tValue\t\\-\t\*{5}$")
        self.assertEqual({line.split("\t")[0] for line in text.splitlines()},
                         {"PHONE_BOOK", "NEW", "LINE_KEY_SETTINGS", "GENERAL_CONFIG", "T\\tK"})

    def test_a_rehearsal_opens_the_originals_for_reading_only(self):
        (self.root / "data").rename(self.place / "data")  # as below the root of a computer
        self.serve()
        self.rows("read", "CallLog", "--socket", self.path)  # its start is over
        before = {path: path.stat().st_mtime_ns for path in (*self.db.rglob("*"), *self.root.rglob("*"))}
        run = self.das("rehearse")
        self.assertEqual((run.returncode, run.stdout), (0, b""), run.errors)
        self.assertRegex(run.errors, r"\A\d+ ms\n\Z")
        self.assertEqual({path: path.stat().st_mtime_ns
                          for path in (*self.db.rglob("*"), *self.root.rglob("*"))}, before)

    def test_a_rehearsal_does_what_a_start_would_do(self):
        deploy = self.root / "Aurel_Deploy"
        deploy.rename(self.root / "real")
        deploy.symlink_to("/real")
        (self.root / "values").write_text("AudioSettings,Volume,9\n", encoding="utf-8")
        (deploy.parent / "real" / "DasUpdateValues.csv").symlink_to("/values")
        (deploy.parent / "real" / "dangling").symlink_to("/none")
        os.mkfifo(deploy.parent / "real" / "pipe")
        self.sql("PRAGMA journal_mode = WAL")
        self.sql("CREATE TABLE BLUETOOTH_TRUSTED(Id, DeviceName, DeviceClass)",
                 "INSERT INTO BLUETOOTH_TRUSTED VALUES ('a', 'b', '1'), ('a', 'c', '2')")
        run = self.das("rehearse")
        self.good("diff", self.db, self.db)
        self.assertEqual((run.returncode, os.listdir(self.db)), (0, ["phone.db"]), run.errors)
        self.assertIn("GENERAL_CONFIG\tAudioSettings,base,Volume\tValue\t5\t9\n", run.stdout.decode())
        self.assertIn("those of one key are doubled", run.errors)
        self.assertIn(f"{self.db}/phone.db was in WAL mode", run.errors)
        (self.root / "values").unlink()
        os.mkfifo(self.root / "values")
        run = self.das("rehearse")
        self.assertEqual(run.returncode, 1, run.errors)
        self.assertIn("Cannot open /Aurel_Deploy/DasUpdateValues.csv: it is a pipe", run.errors)


if __name__ == "__main__":
    unittest.main()
