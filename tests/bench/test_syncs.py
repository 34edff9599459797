"""What a write costs on the disk, counted and not timed: the syncs that the system is asked for.

Usage: test_syncs.py DAS sanitizers=NAMES [unittest arguments]
"""
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "host"))
from host_test import DAS, HostTest, READ_ALL, UPDATED, update  # noqa: E402

COUNT = "SELECT COUNT(*) FROM FEATURE_KEYS"
ROW = " WHERE UserContext = 'base' AND Id = 100"
STATEMENTS = [COUNT, COUNT + ROW, COUNT, f"UPDATE FEATURE_KEYS SET Label = 'bare'{ROW};"]
GROUPS = "CallGroup WHERE UserContext = 'visitor'"
WIPE = [f"DELETE FROM {GROUPS}", "BEGIN", f"DELETE FROM {GROUPS}", *(
    f"INSERT INTO CallGroup VALUES ('visitor', '{group}', '', '')" for group in range(1, 17)), "END"]
SETTING = "GENERAL_CONFIG VALUES ('MobilitySettings', '', "
VISITOR = ["UPDATE GENERAL_CONFIG SET Value = 'visitor' WHERE Name = 'MobilityCurrentUser'",
           f"INSERT INTO {SETTING} 'ActiveMobilityModeIsBasic', 'false')"]
BARE_SQLITE = """
import sqlite3, sys
db = sqlite3.connect(sys.argv[1], isolation_level=None)
for statement in sys.argv[2:]:
    db.execute(statement).fetchall()
"""


@unittest.skipUnless(shutil.which("strace"), "there is no strace")
class Syncs(HostTest):
    def syncs(self, *command):
        """How many syncs the command asks for, and what it writes to standard output."""
        trace = self.place / "trace"
        run = subprocess.run(
            ["strace", "-f", "-o", trace, "-e", "trace=fsync,fdatasync", *map(str, command)],
            env=self.environment(), capture_output=True, check=True, timeout=60)
        lines = trace.read_text().splitlines()
        return sum(" fsync(" in line or " fdatasync(" in line for line in lines), run.stdout

    def run_bare(self, *statements):
        subprocess.run([sys.executable, "-c", BARE_SQLITE, self.db / "phone.db", *statements],
                       check=True)

    def test_an_update_of_one_row_asks_for_as_many_as_bare_sqlite(self):
        read = self.file("read", READ_ALL)
        self.das("request", read)
        self.das("request", read)  # a start in base wipes what the first request made for a visitor
        at_start, _ = self.syncs(DAS, "request", read)
        with_update, answers = self.syncs(DAS, "request", read, self.file("new", update("new")))
        self.assertIn(UPDATED.encode(), answers)
        bare, _ = self.syncs(sys.executable, "-c", BARE_SQLITE, self.db / "phone.db", *STATEMENTS)
        self.assertGreater(bare, 0)
        self.assertEqual(with_update - at_start, bare)

    def test_a_start_with_nothing_to_do_writes_the_groups_of_the_visitor_alone(self):
        word = self.file("word", "getCurrentUser")
        self.das("request", word)
        as_base, answers = self.syncs(DAS, "request", word)
        self.assertEqual(answers, b"base\n")
        bare, _ = self.syncs(sys.executable, "-c", BARE_SQLITE, self.db / "phone.db", *WIPE)
        self.assertEqual(as_base, bare)
        self.run_bare(*VISITOR)
        before = (self.db / "phone.db").read_bytes()
        as_visitor, answers = self.syncs(DAS, "request", word)
        self.assertEqual((as_visitor, answers), (0, b"visitor\n"))
        self.assertEqual((self.db / "phone.db").read_bytes(), before)


if __name__ == "__main__":
    unittest.main()
