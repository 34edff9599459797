"""Uses das wrongly, in as many ways as people do: each failure is told, and nothing is half done.

Usage: test_failures.py DAS sanitizers=NAMES [unittest arguments]
"""
import os
import shlex
import socket
import unittest

from test_commands import DemoTest
from test_das import NOBODY


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
        rows = [
            # command line, exit status, what standard error says
            ("", 2, "a command is required; das help lists them"),
            ("raed PhoneBook", 2, "raed: no such command; did you mean read?"),
            ("exprot", 2, "did you mean export?"),
            ("zzz", 2, "zzz: no such command; das help lists them"),
            ("--sokcet x read PhoneBook", 2, "--sokcet: .* no such option; did you mean --socket?"),
            ("read PhoneBook --limitt 3", 2, "did you mean --limit?"),
            ("read PhoneBook --zzzzzz", 2, "--zzzzzz: das read has no such option; das help read"),
            ("read PhoneBook --limit", 2, "das read: --limit: N is missing"),
            ("--db", 2, "das: --db: DIR is missing"),
            ("--db '' profile", 2, "--db: the name of the folder is empty"),
            ("profile --db none", 0, "none: No such file or directory; name the folder of phone.db by"),
            ("read", 2, "SCHEMA is missing; the usage is das read "),
            ("read PhoneBook CallLog", 2, "CallLog: an argument too many; the usage is das read "),
            ("read Phonebook", 2, "Phonebook: no such schema; did you mean PhoneBook"),
            ("read CalLog", 2, "did you mean CallLog"),
            ("read Zzzzzzzz", 2, "Zzzzzzzz: no such schema; das schemas lists them"),
            ("read PhoneBook --context vistor", 2, "vistor: no such user; did you mean visitor?"),
            ("read PhoneBook --context x", 2, "x: no such user; base or visitor"),
            ("read PhoneBook --cols Surnam", 2, "Surnam: PhoneBook has no such column; did you mean Surname"),
            ("read PhoneBook --cols ,", 0, r"\A\Z"),
            ("read FeatureKeys --where label=x", 2, "did you mean Label"),
            ("read FeatureKeys --where Label", 2, "Label: not of the form NAME=VALUE"),
            ("read FeatureKeys --where =x", 2, "=x: not of the form NAME=VALUE"),
            ("read FeatureKeys --limit x", 2, "--limit x: not a number"),
            ("read FeatureKeys --offset -1", 2, "--offset"),
            ("read FeatureKeys --limit 99999999999", 2, "99999999999: not a number"),
            ("read FeatureKeys --id 'x;DROP'", 2, "x;DROP is no number; the rows of FeatureKeys are"),
            ("read FeatureKeys --output jsn", 2, "--output jsn: no such format; did you mean json?"),
            ("read FeatureKeys --output zzz", 2, "raw, json, table or csv"),
            ("delete PhoneBook --where UniqueID=x", 2, "PhoneBook: x is no number; the rows of PhoneBook are"),
            ("delete PhoneBook --id 1 --id 2", 2, "--id is given twice"),
            ("read PhoneBook --cols Surname,Surname", 2, "Surname is asked for twice"),
            ("read Locale --id 3", 2, "settings have no rows"),
            ("read Locale --cols 1x", 2, "1x: no item can have this name"),
            ("set PhoneBook", 2, "NAME=VALUE is missing"),
            ("set FeatureKeys Label=x", 2, "set FeatureKeys: no row is named; by --id ID"),
            ("set FeatureKeys --where Label=x Label=y", 2, "by --id ID"),
            ("set FeatureKeys --id 100 Lable=x", 2, "Lable: .* did you mean Label"),
            ("set FeatureKeys --id 100 Label", 2, "not of the form NAME=VALUE"),
            ("set FeatureKeys --id 100 'Label=\x01'", 2, "control character"),
            ("set Locale Language=@gone", 2, "Language=@gone: No such file or directory; @FILE is a file, @- standard"),
            ("set Locale Language=@full", 2, "Language=@full: Is a directory"),
            ("set Locale Language=@/dev/zero", 2, "@/dev/zero: File too large; a value has at most 8 MiB"),
            ("set Locale A=@- B=@-", 2, "B=@-: standard input is read already; name a file"),
            ("set PhoneBook Company=x", 2, "no row is named; by --id ID or --where COL=VALUE"),
            ("set CallLog Surname=x", 2, "CallLog has no update_request; .*it takes write, delete, read"),
            ("set PhoneBook --id 1 Surname=x Company=y Surname=z", 2, "Surname is given twice"),
            ("set Locale Language=x Language=y", 2, "Language is given twice"),
            ("delete Locale --all", 2, "items go one by one"),
            ("set Locale Context=x", 2, "Context: no item can have this name"),
            ("set Locale a-b=x", 2, "a-b: no item can have this name"),
            ("write FeatureKeys Id=7", 2, "has no write_request; .*it takes set, read"),
            ("write CodecSettings CodecRank=1", 2, "the row has no key; give CodecType=VALUE"),
            ("write PhoneBook Surname", 2, "not of the form"),
            ("write Locale Language=de", 1, "write Locale: the service answered a failure: it gives no "
             "reason; an item that is there is changed by das set"),
            ("delete PhoneBook", 2, "no row is named; .*--all"),
            ("delete PhoneBook --all --id 3", 2, "say different things"),
            ("delete PhoneBook --id ''", 2, "--id is empty, which names no row"),
            ("delete PhoneBook --where Mobile=", 2, "Mobile is blank, by which no row can be looked for"),
            ("delete CallLog --where Number=1", 2, "no row can be looked for by Number; by UniqueId, "),
            ("read CallLog --where JSGroupBy=1", 2, "no row can be looked for by JSGroupBy"),
            ("read PhoneBook --id 1 --where UniqueID=2", 2, "UniqueID is asked for twice"),
            ("read Locale --cols Name,Value", 0, "Name: .* no such item; --cols names items: "),
            ("read Locale --cols Langage", 0, "Langage: .* did you mean Language"),
            ("read PhoneBook --cols SurnameLike", 2, "SurnameLike: PhoneBook has no such column"),
            ("set PhoneBook --id 1 SurnameLike=x", 2, "SurnameLike: PhoneBook has no such column"),
            ("set PhoneBook --id 9999 Surname=x", 0, "set PhoneBook: there is no such row, so nothing"),
            ("delete CallLog --where EntryId=none", 0, "delete CallLog: there is no such row"),
            ("delete Conversations --id 1", 1, r"\Adas: delete Conversations: there is no such row"),
            ("delete PhoneBook Surname", 2, "Surname is no item of settings"),
            ("delete CodecSettings --all", 2, "its rows go one by one"),
            ("delete FeatureKeys --id 100", 2, "has no delete_request"),
            ("delete Locale", 2, "no item is named"),
            ("search ''", 2, "the number is empty"),
            ("search", 2, "NUMBER is missing"),
            ("search 1 --limit x", 2, "not a number"),
            ("export FeatureKeys /tmp/x", 2, "this schema has no data files"),
            ("export PhoneBook x.csv", 2, "x.csv: not a path of the telephone"),
            ("export PhoneBook /data", 2, "/data: Is a directory"),
            ("import PhoneBook /../../x", 2, "Operation not permitted"),
            ("import PhoneBook", 2, "FILE is missing"),
            ("import Phonebok /x", 2, "did you mean PhoneBook"),
            ("profile root", 2, "root: no such user"),
            ("profile bas", 2, "did you mean base?"),
            ("call setProfil", 2, "setProfil: unknown method; did you mean setProfile?"),
            ("call zzz", 2, "das call --help lists them"),
            ("call setProfile NewProfil=base", 1, "NewProfil: no such parameter; .*did you mean NewProfile?"),
            ("call setProfile NewProfile=7", 1, "NewProfile: a value of another type counts as absent"),
            ("call setProfile NewProfile", 2, "not of the form NAME=VALUE"),
            ("schemas Nope", 2, "Nope: no such schema"),
            ("schema --xsd", 2, "das schemas lists them; --json alone prints the remote methods"),
            ("schema Locle --json", 2, "did you mean Locale?"),
            ("schema Locale --xsd --json", 2, "schema: --xsd and --json say different things"),
            ("schema Locale --write x", 2, "--write and NAME say different things"),
            ("schema --write ''", 2, "the name of the folder is empty"),
            ("schema --write /proc/none", 1, "/proc/none: No such file or directory"),
            ("check --socket x", 2, "--socket has no place here"),
            ("check --db none", 1, r"\A\Z"),
            ("demo full", 2, "full: is there, and is no empty folder"),
            ("demo file", 2, "is no empty folder"),
            ("demo file/x", 2, "Not a directory"),
            ("demo x --db y", 2, "have no place here"),
            ("help raed", 2, "raed: no such command; did you mean read?"),
            ("help read --man", 2, "help: COMMAND and --man say different things"),
            ("serve", 2, "one of --socket and --stdio is required"),
            ("watch", 2, "--socket is required"),
            ("trace --level x", 2, "--level x: not a number"),
            ("trace none", 2, "none: No such file or directory"),
            ("trace file --socket das.sock", 2, "files have no place beside --socket"),
            ("read PhoneBook --socket missing", 2,
             "missing: No such file or directory; the socket is missing: .*das serve --socket"),
            ("read PhoneBook --socket none/x", 2, "the socket is missing"),
            ("read PhoneBook --socket stale", 2, "Connection refused; the socket is stale"),
            ("read PhoneBook --socket file", 2, "file: Connection refused; refused: this is no socket"),
            ("read PhoneBook --socket datagram", 2, "datagram: .*refused: this is no socket of a host"),
            (f"read PhoneBook --socket {'x' * 200}", 2, "the path of a socket has at most"),
            ("read PhoneBook --socket ''", 2, "the path of the socket is empty"),
            ("watch --socket stale", 2, "the socket is stale"),
            ("request --socket missing", 2, "the socket is missing"),
        ]
        # What the service acknowledges all the same; over a socket the answer says it.
        self.file("root/data/few.csv", "base,1\n")
        os.mkfifo(self.root / "data" / "pipe")
        rows += [
            ("import PhoneBook /data/none --context base", 2,
             "/data/none: No such file or directory; it stands below --root, at .*/root/data/none"),
            ("import PhoneBook /data --context base", 2, "/data: Is a directory"),
            ("import PhoneBook /data/pipe --context base", 1,
             "Cannot open /data/pipe: it is a pipe; name a regular file"),
            ("export PhoneBook /none/x", 2, "/none/x: No such file or directory; .*root/none"),
            ("export PhoneBook /../x", 2, "Operation not permitted; it leads out of the"),
            *[(f"import PhoneBook {path} --context base --socket das.sock", 2,
               f"{path}: no such file on the telephone") for path in ("/data/none", "/data", "/data/pipe")],
            ("import PhoneBook /data/pipe --socket das.sock", 1, "/data/pipe: it is a pipe"),
            ("export PhoneBook /none/x --socket das.sock", 1, "PHONE_BOOK is not written to /none/x"),
            ("export PhoneBook /../x --socket das.sock", 1, "The path /../x leaves the device"),
        ]
        for over in ("", " --socket das.sock"):
            rows += [(line + over, status, words) for line, status, words in [
                ("export Certificates /tmp/x", 1, "das: export Certificates: .*no such table: "
                 "CERTIFICATES.*; the first request to a schema makes its table"),
                ("import DssKeySettings /data/few.csv", 1, "das: import DssKeySettings: .*few.csv: "
                 "line 1 is not stored: its 2 fields are not those of the table; "
                 ".*few.csv: 1 of its rows"),
            ]]
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
        self.sql("DROP TABLE FEATURE_KEYS", "CREATE TABLE FEATURE_KEYS(x)",
                 "INSERT INTO FEATURE_KEYS VALUES (1)")
        self.serve()
        for over in ([], ["--socket", self.path]):
            run = self.das("read", "FeatureKeys", "--id", "100", *over)
            self.assertEqual(run.returncode, 1)
            self.assertIn("no such column", run.errors)
            run = self.das("read", "FeatureKeys", "--where", "Label=" + "x" * 1000, *over)
            self.assertRegex(run.errors, r"no such column.*\.\.\.; das check names")


if __name__ == "__main__":
    unittest.main()
