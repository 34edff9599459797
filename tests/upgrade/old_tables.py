"""Tables of earlier releases: their rows, where an upgrade moves them, and how they are read."""
import sqlite3

# Text that a database, a file or an answer may trip over; None is NULL.
HOSTILE = ["Müller-Lüdenscheidt 'Äpfel' %", None, "O'Neil''s", "Q&A <b> &amp; &apos;", "a,b\\,c;\\",
           "0049", "'; DROP TABLE PHONE_BOOK; --", 'say "hi"', "", "two\nlines\r\n\ttab", "x" * 5000, "zero\0byte"]


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

FEATURE_KEYS = Table("FEATURE_KEYS", "FeatureKeys", ["30", "31"] + PROGRAMMABLE,
                     moved=fixed_keys("FIXED_KEYS"), full=["Function"])

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
        FEATURE_KEYS,
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
    "columns_of_later_release": [CALL_GROUPS],
    "columns_of_numbers": [FEATURE_KEYS],
    "phone_book_old": [
        Table("PHONE_BOOK_OLD", "PhoneBook", CONTACTS, "UniqueID", full=["Surname"],
              moved=lambda key: ("PHONE_BOOK", key))],
    "lists_without_key": [
        Table("CONVERSATIONS", "Conversations", []),
        Table("DIAL_PLAN_ENTRIES", "DialPlanEntries", NAMES, "Comment", numbers="Id")],
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
           "CallLog", "Conversations", "DialPlanEntries"]


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
