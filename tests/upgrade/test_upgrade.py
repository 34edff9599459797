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

# Text that a database, a file or an answer may trip over; None is NULL.
HOSTILE = ["Müller-Lüdenscheidt 'Äpfel' %", None, "O'Neil''s", "Q&A <b> &amp; &apos;", "a,b\\,c;\\",
           "'; DROP TABLE PHONE_BOOK; --", 'say "hi"', "", "two\nlines\r\n\ttab", "x" * 5000, "zero\0byte"]

# Columns and settings whose values das masks.
SECRET = re.compile("(?i)passw(or)?d|pwd|UserMD5Hash|QcuCommunity|SnmpTrapCommunity|PIN(Enc)?$|PIN,")


class Table:
    """A table of an earlier release: what names its rows, and where they are to be found later."""

    def __init__(self, name, schema, keys, key="Id", moved=lambda key: None, full=(), rows=None,
                 encrypted=(), numbers=None):
        self.name, self.schema = name, schema
        self.keys = keys    # keys of rows; a user has as many as the contents take
        self.key = key      # column that names a row of a user
        self.moved = moved  # table and key where the row of a key goes; None when it stays
        self.full = full    # columns that can't be NULL or blank
        self.rows = rows    # rows of a user whatever the contents
        self.numbers = numbers  # column of numbers without a key, see NUMBERS
        self.encrypted = encrypted  # columns that the upgrade encrypts in their place


def key_ids(*ranges):
    return [str(key) for first, last in ranges for key in range(first, last + 1)]


def busy_lamp(key):
    return ("FORWARDING_KEY_DESTINATIONS", str(int(key) + 144)) if int(key) > 617 else None


def fixed_keys(table):
    return lambda key: (table, key) if key in FIXED else None


FIXED = ["30", "31", "38", "39"]
# What stands in a column of numbers that has lost its key. Only the first row of a number keeps it.
NUMBERS = ["7", "7", None, "x", "12.5", "", "9"]
PROGRAMMABLE = key_ids((32, 32), (100, 115), (200, 215), (300, 317))
CONTACTS = [2 + 3 * number for number in range(2000)]
PHONE_BOOK = Table("PHONE_BOOK", "PhoneBook", CONTACTS, "UniqueID", full=["Surname"])
CALL_GROUPS = Table("CallGroup", "CallGroup", key_ids((1, 16)), "CallGroup")
DSS_KEYS = Table("DSS_KEY_SETTINGS", "DssKeySettings", PROGRAMMABLE)
NAMES = [f"Name {number}" for number in range(2000)]
# Entry ids of another log: their calls are not split.
CALLS = [f"UC{number}" for number in range(2000)]
DOWNLOADS = Table("FILEDOWNLOAD_SETTINGS", "FileDownloadSettings", key_ids((0, 7)), "FileType",
                  moved=lambda key: ("FILEDOWNLOAD_SETTINGS_ENC", key), encrypted=["FtpPassword"])
STIMULUS_KEYS = Table("STIMULUS_KEY_SETTINGS", "StimulusKeySettings", FIXED + PROGRAMMABLE)

DEVICES = Table("BLUETOOTH_TRUSTED", "BluetoothTrusted", [f"00:1B:{n}" for n in range(10, 60)])

# A text of tests/databases/, and its tables.
FORMS = {
    "phone_book_17": [PHONE_BOOK],
    "phone_book_18": [PHONE_BOOK],
    "phone_book_18_without_key": [
        Table("PHONE_BOOK", "PhoneBook", NAMES, "ExternalID", full=["Surname"],
              numbers="UniqueID")],
    "phone_book_21": [PHONE_BOOK],
    "phone_book_other_order": [PHONE_BOOK],
    "call_log_98_without_key": [
        Table("CALL_LOG", "CallLog", CALLS, "EntryId", numbers="UniqueId")],
    "call_log_other_order": [Table("CALL_LOG", "CallLog", CALLS, "EntryId")],
    "call_group_3": [CALL_GROUPS],
    "call_group_user_last": [CALL_GROUPS],
    "line_keys_18": [Table("LINE_KEY_SETTINGS", "LineKeySettings", PROGRAMMABLE)],
    "bca_11": [Table("BCA_SETTINGS", "BCASettings", key_ids((1, 80)))],
    "dss_keys_6": [DSS_KEYS],
    "dss_keys_7": [DSS_KEYS],
    "dss_keys_6_under_views": [DSS_KEYS],
    "dss_keys_9": [DSS_KEYS],
    "file_downloads": [DOWNLOADS],
    "file_downloads_read": [DOWNLOADS],
    "stimulus_keys_5": [STIMULUS_KEYS],
    "stimulus_keys_7": [STIMULUS_KEYS],
    "stimulus_keys_15": [STIMULUS_KEYS],
    "stimulus_keys_16": [STIMULUS_KEYS],
    "stimulus_keys_17": [STIMULUS_KEYS],
    "stimulus_keys_18": [STIMULUS_KEYS],
    "stimulus_keys_23": [STIMULUS_KEYS],
    "stimulus_keys_66_rows": [
        Table("STIMULUS_KEY_SETTINGS", "StimulusKeySettings", FIXED + PROGRAMMABLE, rows=33)],
    "keys_of_earlier_release": [
        Table("FEATURE_KEYS", "FeatureKeys", ["30", "31"] + PROGRAMMABLE,
              moved=fixed_keys("FIXED_KEYS"), full=["Function"]),
        Table("FIXED_KEYS", "FixedKeys", ["38", "39"], full=["Function"]),
        Table("START_APPLICATION", "StartApplication", FIXED + PROGRAMMABLE,
              moved=fixed_keys("START_APPLICATION_FIXED_KEYS"), full=["ApplicationName"])],
    "forwarding_of_earlier_ids": [
        Table("FORWARDING_KEY_DESTINATIONS", "ForwardingKeyDestinations",
              key_ids((618, 640), (1000, 1017), (100, 108)), moved=busy_lamp)],
    "repertory_dialling_user_last": [
        Table("REPERTORY_DIALLING", "RepertoryDialling", ["1017"] + PROGRAMMABLE)],
    "bluetooth_devices_3": [DEVICES],
    "bluetooth_devices_doubled": [DEVICES],
}
# A text of tests/databases/ with settings of an earlier form, and the contexts under which each
# setting stands in it; without contexts it has no column for them.
SETTINGS = {
    "settings_3": [],
    "settings_4": ["", None, "base"],
    "settings_4_reordered": [None, "base"],
    "settings_without_key": ["base", "base", "", None, "visitor"],
    "settings_with_key_reordered": ["base", "", "visitor"],
    "settings_with_null_contexts": [None, "base"],
}
KEPT_NULLS = ["settings_with_null_contexts"]  # a value that is NULL stays NULL
# Forms in which only rows of the device get another context.
KEPT_CONTEXTS = {"settings_without_key": {None: ""}, "settings_with_key_reordered": {},
                 "settings_with_null_contexts": {}}
DEVICE_SCHEMA = "TransportSettings"
SETTING_SCHEMAS = [DEVICE_SCHEMA, "AudioSettings", "#It's, a\\ schema"]
# Where the settings go that stand in each of these texts.
MOVED_SETTINGS = {
    ("AcmsSettings", "base", "WbmAllowed"): "true",
    ("AcmsSettings", "", "DoorOpener1PhoneNumber"): "+49, '1'",
    ("AcmsSettings", "", "DoorOpener1Phonenumber"): "+49, '1'",
    ("SipBaseSettings", "base", "BackupSIPserverAddress"): "192.0.2.1",
    ("SipBaseSettings", "", "BackupSIPServerAddress"): "192.0.2.1",
    ("LocalSettings", "base", "EmergencyNumber"): "11",
}
SCHEMAS = ["BluetoothTrusted", "FileDownloadSettings", "StartApplicationFixedKeys", "PhoneBook",
           "CallLog"]


def plain(column, row):
    return f"{column} {row}"


# Rows of a user, and the text of a cell.
CONTENTS = {
    "empty": (0, plain),
    "usual": (5, plain),
    "many": (2000, plain),
    "hostile": (30, lambda column, row: HOSTILE[(row + len(column)) % len(HOSTILE)]),
}


def columns_of(db, table):
    """Names of columns, with their types."""
    return {row[1]: row[2] for row in db.execute(f"PRAGMA table_info({table})")}


def make_cell(table, column, kind, row, user, text):
    if column == table.numbers:
        return NUMBERS[row % len(NUMBERS)]
    if kind == "INTEGER":
        return None if column == "UniqueId" else row
    value = text(column, row)
    if column in table.full and not value:
        value = "full"
    # No two contacts are alike, whosever they are: doubles are found across users.
    return f"{value} {row} {user}" if column == "Surname" else value


def fill(db, table, rows_of_user, text):
    columns = columns_of(db, table.name)
    for row, key in enumerate(table.keys[:table.rows or rows_of_user]):
        for user in ["base", "visitor"] if "UserContext" in columns else ["base"]:
            given = {"UserContext": user,
                     table.key: key + 1 if user == "visitor" and isinstance(key, int) else key}
            values = [given[name] if name in given else make_cell(table, name, kind, row, user,
                                                                           text)
                      for name, kind in columns.items()]
            db.execute(f"INSERT INTO {table.name} VALUES ({', '.join('?' * len(values))})", values)
    if table is PHONE_BOOK and rows_of_user:
        db.execute("UPDATE sqlite_sequence SET seq = seq + 1000")  # contacts that were deleted


def rows_of(db, table, key):
    """Rows by user and key, each as its cells by column."""
    names = list(columns_of(db, table))
    rows = [dict(zip(names, row)) for row in db.execute(f"SELECT * FROM {table}")]
    return {(row.get("UserContext", "base"), row[key]): row for row in rows}


def schema_of(db, table):
    return db.execute("SELECT sql FROM sqlite_master WHERE name = ?", [table]).fetchone()


def dump(path):
    """All that a database holds, in an order that does not depend on how it came there."""
    db = sqlite3.connect(path)
    entries = db.execute("SELECT type, name, sql FROM sqlite_master").fetchall()
    contents = {name: sorted(db.execute(f"SELECT * FROM {name}").fetchall(), key=str)
                for kind, name, _ in entries if kind == "table"}
    db.close()
    return sorted(entries, key=str), contents


def in_memory(path):
    db, copy = sqlite3.connect(path), sqlite3.connect(":memory:")
    db.backup(copy)
    db.close()
    return copy


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
        """The table has the columns of this release, and each row of before is there."""
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
