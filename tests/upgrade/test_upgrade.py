"""Starts das over databases of earlier releases, and over databases in bad places.

Usage: test_upgrade.py DAS sanitizers=NAMES [unittest arguments]
"""
import os
import re
import shutil
import sqlite3
import sys
import unittest
from collections import Counter
from contextlib import closing
from pathlib import Path

TESTS = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(TESTS / "host"))
from host_test import HostTest, request  # noqa: E402
from old_tables import (CONTENTS, DEVICE_SCHEMA, FORMS, KEPT_CONTEXTS, KEPT_NULLS,  # noqa: E402
                        MOVED_SETTINGS, SCHEMAS, SETTINGS, SETTING_SCHEMAS, dump, fill,
                        in_memory, plain, rows_of, schema_of)

# Columns and settings whose values das masks.
SECRET = re.compile("(?i)passw(or)?d|pwd|UserMD5Hash|QcuCommunity|SnmpTrapCommunity|PIN(Enc)?$|PIN,")


class UpgradeTest(HostTest):
    maxDiff = 1000

    def setUp(self):
        super().setUp()
        self.path = self.db / "phone.db"

    def start(self, *lines, **environment):
        run = self.das("request", lines=lines or ["getCurrentUser"], env=environment)
        self.assertGreaterEqual(run.returncode, 0, run.errors)
        return run

    def new_release(self):
        """A database that this release made."""
        self.start(*[request("read_request", schema=schema) for schema in SCHEMAS])
        copy = in_memory(self.path)
        self.path.unlink()
        return copy

    def make(self, *texts, tables=(), content="empty"):
        self.path.unlink(missing_ok=True)
        db = sqlite3.connect(self.path)
        for text in texts:
            db.executescript((TESTS / "databases" / f"{text}.sql").read_text())
        for table in tables:
            fill(db, table, *CONTENTS[content])
        db.commit()
        db.close()

    def make_form(self, form, content):
        self.make("settings_of_today", form, tables=FORMS[form], content=content)
        return in_memory(self.path)

    @staticmethod
    def default(defaults, key, column):
        """The cell of the default row of the key, or that of all default rows."""
        if ("base", key) in defaults:
            return defaults["base", key][column]
        values = {row[column] for row in defaults.values()}
        return values.pop() if len(values) == 1 else ""

    def check_cell(self, found, column, expected, where, table):
        encrypted = column + "Enc"  # what is encrypted at the start leaves its plain column
        if column in table.encrypted and expected:
            self.assertTrue(found[column].startswith("das1:"), f"{where} {column} is not encrypted")
        elif found[column] != expected and not (found.get(encrypted) and not found[column]):
            self.fail(f"{where} {column}: {found[column]!r} in place of {expected!r}")

    def check_table(self, new, old, upgraded, table):
        """The table has the columns of this release, and each older row is there."""
        self.assertEqual(schema_of(upgraded, table.name), schema_of(new, table.name))
        places, defaults = {}, {}
        for (user, key), row in rows_of(old, table.name, table.key).items():
            place, new_key = table.moved(key) or (table.name, key)
            if place not in places:
                places[place] = rows_of(upgraded, place, table.key)
                defaults[place] = rows_of(new, place, table.key)
            where = f"{place} {user} {new_key}"
            self.assertIn((user, new_key), places[place], f"{where} is lost")
            found = places[place][user, new_key]
            for column in found.keys() - {"UserContext", table.key, table.numbers}:
                if not column.endswith("Enc"):
                    wanted = row.get(column)
                    if wanted is None:
                        wanted = self.default(defaults[place], new_key, column)
                    self.check_cell(found, column, wanted, where, table)

    def check_numbers(self, old, upgraded, table):
        """The first row of each number keeps it, and every other row has one of its own."""
        query = f"SELECT {table.key}, {table.numbers} FROM {table.name} ORDER BY rowid"
        kept = {}
        for key, number in old.execute(query):
            if (number or "").isdigit():
                kept.setdefault(int(number), key)
        found = {number: key for key, number in upgraded.execute(query)}
        self.assertEqual({number: found.get(number) for number in kept}, kept)
        self.assertEqual(len(found), old.execute(f"SELECT COUNT(*) FROM {table.name}").fetchone()[0])

    def check_upgrade(self, new, old, form):
        upgraded = in_memory(self.path)
        for table in FORMS[form]:
            self.check_table(new, old, upgraded, table)
            if table.numbers:
                self.check_numbers(old, upgraded, table)
        for others in ["type = 'view'", "name LIKE '%MIGRATION%'"]:
            query = f"SELECT name, sql FROM sqlite_master WHERE {others} ORDER BY name"
            self.assertEqual(upgraded.execute(query).fetchall(), old.execute(query).fetchall())
        return upgraded


class SettingsTest(UpgradeTest):
    def setUp(self):
        super().setUp()
        shutil.copy(TESTS.parent / "deploy" / "DasGenConfigDeviceDataItems.csv",
                    self.root / "Aurel_Deploy")

    @staticmethod
    def arrived_context(form, schema, context):
        if schema == DEVICE_SCHEMA:
            return ""
        kept = KEPT_CONTEXTS.get(form)
        return context or "base" if kept is None else kept.get(context, context)

    @staticmethod
    def device_context(contexts):
        """The context whose row stays of a setting of the device."""
        return next((context for context in ["", "base"] if context in contexts), None)

    def make_settings(self, form, content):
        """Fills the form; the values that each setting may arrive with, by its key."""
        self.make(form)
        db = sqlite3.connect(self.path)
        expected = {key: {value} for key, value in MOVED_SETTINGS.items()}
        if form == "settings_with_null_contexts":
            expected[DEVICE_SCHEMA, "", "Alone"] = {"last"}
        rows, text = CONTENTS[content]
        for row in range(rows):
            schema, name = SETTING_SCHEMAS[row % len(SETTING_SCHEMAS)], f"Item{row}"
            for number, context in enumerate(SETTINGS[form] or [None]):
                value = text("Value" + number * "x", row)
                db.execute("INSERT INTO GENERAL_CONFIG (Schema, Name, Value) VALUES (?, ?, ?)",
                           [schema, name, value])
                if SETTINGS[form]:
                    db.execute("UPDATE GENERAL_CONFIG SET UserContext = ? "
                               "WHERE rowid = last_insert_rowid()", [context])
                if schema == DEVICE_SCHEMA and context != self.device_context(SETTINGS[form]):
                    continue
                key = (schema, self.arrived_context(form, schema, context), name)
                expected.setdefault(key, set()).add(value if form in KEPT_NULLS else value or "")
        db.commit()
        db.close()
        return expected

    def check_settings(self, expected):
        db = in_memory(self.path)
        schemas = {schema for schema, _, _ in expected} | set(SETTING_SCHEMAS)
        found = {tuple(row[:3]): row[3] for row in db.execute("SELECT * FROM GENERAL_CONFIG")
                 if row[0] in schemas}
        self.assertEqual(found.keys(), expected.keys())
        for key, value in found.items():
            self.assertIn(value, expected[key], key)
        self.assertIn("PRIMARY KEY( Schema, UserContext, Name )",
                      schema_of(db, "GENERAL_CONFIG")[0])
        self.assertIsNone(schema_of(db, "GENERAL_CONFIG_COPY"))
        self.assertEqual(list((self.root / "Aurel_Deploy").glob("*Migration*")), [])


class Settings(SettingsTest):
    def test_an_empty_table_of_an_older_form_takes_settings(self):
        self.make("settings_3_without_rows")
        run = self.start(request("update_request", "<Volume>7</Volume>", "AudioSettings"),
                         request("read_request", "<ResultCols>Volume</ResultCols>",
                                 "AudioSettings"))
        self.assertIn("<Volume>7</Volume>", run.answers[1])
        first = dump(self.path)
        self.start()
        self.assertEqual(dump(self.path), first)

    def test_every_setting_arrives_in_its_context_and_a_second_start_changes_nothing(self):
        for form in SETTINGS:
            for content in CONTENTS:
                with self.subTest(form=form, content=content):
                    expected = self.make_settings(form, content)
                    self.start()
                    self.check_settings(expected)
                    first = dump(self.path)
                    self.start()
                    self.assertEqual(dump(self.path), first)


class Forms(UpgradeTest):
    def setUp(self):
        super().setUp()
        shutil.rmtree(self.root / "Aurel_Deploy")  # no row needs a place for files

    def test_every_form_keeps_its_rows_and_a_second_start_changes_nothing(self):
        new = self.new_release()
        for form in FORMS:
            for content in CONTENTS:
                with self.subTest(form=form, content=content):
                    old = self.make_form(form, content)
                    self.start()
                    self.check_upgrade(new, old, form)
                    first = dump(self.path)
                    self.start()
                    self.assertEqual(dump(self.path), first)

    def test_contacts_keep_their_numbering_and_their_indices(self):
        old = self.make_form("phone_book_17", "usual")
        self.start()
        upgraded = in_memory(self.path)
        numbering = "SELECT seq FROM sqlite_sequence WHERE name = 'PHONE_BOOK'"
        self.assertEqual(upgraded.execute(numbering).fetchall(), old.execute(numbering).fetchall())
        self.assertEqual(schema_of(upgraded, "Office_INDEX"), schema_of(old, "Office_INDEX"))

    def test_a_new_database_is_not_changed_by_a_second_start(self):
        self.start()
        first = dump(self.path)
        self.assertEqual(len(first[1]["CallGroup"]), 32)
        self.start()
        self.assertEqual(dump(self.path), first)


class Places(UpgradeTest):
    """Databases that can't be upgraded: the start ends, and nothing that is there is lost."""

    def test_a_read_only_database_stays_as_it_was(self):
        self.make_form("phone_book_17", "usual")
        before = self.path.read_bytes()
        self.path.chmod(0o444)
        run = self.run_unprivileged(["getCurrentUser", request("read_request", schema="PhoneBook"),
                                     request("read_request", schema="FeatureKeys")])
        self.assertEqual(run.answers, ["visitor", request("failure", schema="PhoneBook"),
                                       request("failure", schema="FeatureKeys")])
        self.assertIn("The table PHONE_BOOK could not be rebuilt and stays as it was", run.errors)
        self.assertEqual(self.path.read_bytes(), before)

    def test_a_damaged_database_is_told_and_answers_failures(self):
        self.make_form("phone_book_17", "many")
        whole = self.path.read_bytes()
        page = 4096
        places = [("in its middle", len(whole) // 2, 40 * page), ("in its schema", 100, page - 100),
                  ("cut off", len(whole) - 30 * page, 30 * page)]
        for name, begin, length in places:
            with self.subTest(name):
                rest = whole[begin + length:]
                self.path.write_bytes(whole[:begin] + (b"\xa5" * length if rest else b"") + rest)
                run = self.start(request("read_request", schema="PhoneBook"), "getCurrentUser",
                                 DAS_LOG="3")
                self.assertIn("database disk image is malformed", run.errors)
                self.assertEqual(run.answers[0], request("failure", schema="PhoneBook"))
                self.assertIn(run.answers[1], ["base", "visitor"])


class Rehearsal(UpgradeTest):
    """das rehearse says of each text of tests/databases/ what its real start changes."""

    @staticmethod
    def cells(path):
        """Each cell by table, row and column, found without the code that is tested."""
        with closing(sqlite3.connect(path)) as db:
            found = {}
            for name, in db.execute("SELECT name FROM sqlite_master WHERE type = 'table' "
                                    "AND name NOT LIKE 'sqlite!_%' ESCAPE '!'"):
                columns = [row[1] for row in db.execute(f"PRAGMA table_info({name})")]
                shown = ", ".join(f"CAST({column} AS TEXT)" for column in columns)
                found[name] = (columns, Counter(db.execute(f"SELECT {shown} FROM {name}")))
        return found

    @staticmethod
    def value(text):
        if text in ("\\-", "\\N"):
            return text
        plain = {"n": "\n", "t": "\t", "\\": "\\"}
        return re.sub(r"\\(x..|.)", lambda found: plain.get(found[1]) or chr(int(found[1][1:], 16)), text)

    def changes(self, before, after):
        """How often each value of a column comes more, or less, in ``after``; secrets left out."""
        counts = Counter()
        for sign, side in ((-1, before), (1, after)):
            for table, (columns, rows) in side.items():
                for row, number in rows.items():
                    names = dict(zip(columns, row))
                    for column, value in names.items():
                        if not SECRET.search(column + str(names.get("Name", ""))):
                            counts[table, column, "\\N" if value is None else value] += sign * number
        return {key: number for key, number in counts.items() if number}

    def reported(self, lines):
        counts = Counter()
        for line in lines:
            table, key, column, old, new = line.split("\t")
            if not SECRET.search(column + (key if table == "GENERAL_CONFIG" else "")):
                for text, sign in ((old, -1), (new, 1)):
                    if text != "\\-":
                        counts[table, column, self.value(text)] += sign
        return {key: number for key, number in counts.items() if number}

    def test_each_text_is_rehearsed_as_it_is_upgraded(self):
        for text in sorted(file.stem for file in (TESTS / "databases").glob("*.sql")):
            with self.subTest(text):
                self.make(text)
                original = self.path.read_bytes(), os.listdir(self.db)
                run = self.das("rehearse")
                self.assertIn(run.returncode, (0, 1), run.errors)
                self.assertRegex(run.errors, r"(\A|\n)\d+ ms\n\Z")
                self.assertEqual((self.path.read_bytes(), os.listdir(self.db)), original)
                old = self.place / "old"
                shutil.rmtree(old, ignore_errors=True)
                shutil.copytree(self.db, old)
                self.start()
                lines = run.stdout.decode().splitlines()
                self.assertEqual(self.reported(lines),
                                 self.changes(self.cells(old / "phone.db"), self.cells(self.path)))
                self.assertEqual(lines, self.das("diff", old, self.db).stdout.decode().splitlines())


if __name__ == "__main__":
    unittest.main()
