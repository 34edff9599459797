"""Holds a host to its access rules."""
import grp
import json
import os
import pwd
import re
import stat
import unittest

from host_test import SOURCES, DemoTest, asked, call, failure, request, xml_call

NOT_ALLOWED = "<FailureMessage>not allowed</FailureMessage></Schema>"
REFUSED = {"Acknowledge": False}
READ_KEYS = request("read_request", "<ResultCols>LineSipPassword</ResultCols><Id>1</Id>",
                    "LineKeySettings")


def refused(schema):
    return failure(schema).replace("</Schema>", NOT_ALLOWED)


@unittest.skipUnless(os.getuid() == 0, "other users are needed")
class AccessTest(DemoTest):
    def rule(self, text):
        path = self.place / "access"
        path.write_text(text)
        return path

    def serve_with(self, rules):
        self.serve("--access", self.rule(rules))

    def wire_of(self, user=None, groups=()):
        """A client of that user, who is in these further groups when it connects."""
        before = os.getgroups()
        entry = pwd.getpwnam(user or "root")
        os.setgroups([grp.getgrnam(name).gr_gid for name in groups])
        os.setegid(entry.pw_gid)
        os.seteuid(entry.pw_uid)
        try:
            return self.wire()
        finally:
            os.seteuid(0)
            os.setegid(0)
            os.setgroups(before)

    def ask(self, wire, line):
        return json.loads(wire.exchange(line))["result"]

    def answer(self, wire, message):
        return self.ask(wire, asked(message))["Response"]


class Rules(AccessTest):
    def test_a_file_that_is_no_good_ends_the_start(self):
        good = "allow any all *\n"
        rows = [  # what is done to the file, and the error
            ("unknown right", "allow any raed *", 0o600, "line 1: no rule"),
            ("three words", "# rules\n\nallow any read", 0o600, "line 3: no rule"),
            ("capitals", "Allow any read *", 0o600, "no rule"),
            ("an empty part", "allow any read PhoneBook,,CallLog", 0o600, "no rule"),
            ("an empty name", "allow user: read *", 0o600, "no rule"),
            ("no kind of name", "allow daemon read *", 0o600, "no rule"),
            ("writable by the group", good, 0o620, "others than its owner may write it"),
            ("writable by all", good, 0o602, "others than its owner may write it"),
        ]
        for name, text, mode, words in rows:
            with self.subTest(name):
                self.rule(text).chmod(mode)
                run = self.das("serve", "--socket", self.path, "--access", "access")
                self.assertEqual(run.returncode, 2, run.errors)
                self.assertRegex(run.errors, f"das: serve: --access: access: .*{words}")
                self.assertFalse(self.path.exists())
        for name, words in (("none", "No such file"), ("root", "no regular file")):
            run = self.das("serve", "--socket", self.path, "--access", name)
            self.assertEqual((run.returncode, self.path.exists()), (2, False))
            self.assertIn(words, run.errors)

    def test_who_is_meant_is_decided_when_the_client_connects(self):
        self.serve_with("allow user:daemon read CallLog # calls\n"
                        "allow\tgroup:games read,write FeatureKeys,PhoneBook\n"
                        "allow any listen *\nallow user:no-such-user all *\n")
        self.assertEqual(stat.S_IMODE(self.path.stat().st_mode), 0o666)
        self.assertRegex(self.logged(), "2 das .*there is no user 'no-such-user'")
        read = {schema: request("read_request", schema=schema) for schema in ("CallLog", "PhoneBook")}
        rows = [  # user, groups, whether calls and whether contacts may be read
            ("root", (), False, False), ("daemon", (), True, False), ("games", (), False, True),
            ("bin", ("games",), False, True), ("daemon", ("tty", "games"), True, True)]
        for user, groups, calls, contacts in rows:
            with self.subTest(user, groups=groups):
                wire = self.wire_of(user, groups)
                for schema, allowed in (("CallLog", calls), ("PhoneBook", contacts)):
                    answer = self.answer(wire, read[schema])
                    self.assertEqual(answer == refused(schema), not allowed, answer[:200])
                self.assertEqual(self.ask(wire, call("AddListener")), {})
                self.assertEqual(self.answer(wire, "getCurrentUser"), "base", "the connection stays")

    def test_requests_are_judged_by_what_they_will_do(self):
        self.serve_with("allow any read PhoneBook,Locale,Conversations,CallLogAndPhoneBook\n"
                        "allow any write CallGroup\n")
        wire = self.wire_of("daemon")
        read = request("read_request", "<ResultCols>Surname</ResultCols>", "PhoneBook")
        rows = [  # name, message, whether it is allowed
            ("plain", read, True),
            ("entities", read.replace("read_request", "&#114;ead_request"), True),
            ("an entity that hides a write", read.replace("read_request", "wr&#105;te_request"), False),
            ("a comment in the reason", read.replace("read_request", "re<!-- x -->ad_request"), True),
            ("an element in the reason", read.replace("read_request", "read_request<x/>"), False),
            ("a second reason", read.replace("</Schema>", "<ReasonForMessage>write_request"
                                             "</ReasonForMessage></Schema>"), False),
            ("the same reason twice", read.replace("</Schema>", "<ReasonForMessage>read_request"
                                                   "</ReasonForMessage></Schema>"), False),
            ("a schema in a comment", '<!-- Schema "PhoneBook" -->' + read.replace(
                "PhoneBook", "CallLog").replace('<?xml version="1.0" encoding="utf-8"?>', ""), False),
            ("a schema in a schema", read.replace("</Schema>", '<Schema name="PhoneBook"/></Schema>'),
             False),
            ("no reason", '<Schema name="PhoneBook"></Schema>', False),
            ("damaged", read[:-3], False),
            ("an unknown schema", read.replace("PhoneBook", "XCallLogX"), False),
            ("a delete", request("delete_request", "<Select><UniqueID>1</UniqueID></Select>",
                                 "PhoneBook"), False),
            ("one setting", request("read_request", "<ResultCols>Language</ResultCols>", "Locale"), True),
            ("several settings", request("read_request", "<ResultCols>Language Country</ResultCols>",
                                         "Locale"), False),
            ("a schema within columns", "<X><ReasonForMessage>read_request</ReasonForMessage><ResultCols>"
             '<Schema name="Locale">Melody UserPassword</Schema></ResultCols></X>', False),
            ("conversations", request("read_request", schema="Conversations"), True),
            ("joined conversations", request(
                "read_request", "<ResultCols>Conversations.UniqueId</ResultCols>", "Conversations"), False),
            ("conversations joined in an element", request(
                "read_request", "<ResultCols><x>CALL_LOG.* PHONE_BOOK.*</x></ResultCols>", "Conversations"),
             False),
            ("calls with contacts", request("read_request", schema="CallLogAndPhoneBook"), False),
            ("a write without a read", request("read_request", schema="CallGroup"), False),
            ("a reset of groups", request("reset_request", schema="CallGroup"), True),
            ("contacts to a file", "saveContactsToCSV", False),
            ("the switch of the trace", "setWhetherRequestContentShowableOnTheAurelTrace 1", False),
            ("the switch, to be read", "getWhetherRequestContentShowableOnTheAurelTrace", True),
        ]
        before = self.rows("read", "PhoneBook")
        for name, message, allowed in rows:
            with self.subTest(name):
                answer = self.answer(wire, message)
                self.assertEqual(NOT_ALLOWED not in answer, allowed, answer[:300])
        with self.subTest("the number of bytes counts"):
            write = request("write_request", "<Entry><Surname>X</Surname></Entry>", "PhoneBook")
            for length in (len(write), len(read)):
                line = call("processRequest", Request=write, RequestLength=length)
                self.assertIn(NOT_ALLOWED, self.ask(wire, line)["Response"])
        with self.subTest("the first of two equal parameters counts"):
            first = json.dumps(write)
            line = call("processRequest", Request=read, RequestLength=len(read)).replace(
                '"Request"', f'"Request": {first}, "Request"', 1)
            self.assertIn(NOT_ALLOWED, self.ask(wire, line)["Response"])
        self.assertEqual(self.rows("read", "PhoneBook"), before)

    def test_each_method_needs_its_right_in_both_protocols(self):
        self.serve_with("allow user:daemon read,write,listen PhoneBook\nallow user:games all *\n"
                        "allow user:bin files *\nallow user:bin read PhoneBook,CallLogMissedCalls\n")
        (self.root / "data/a.mp3").write_text("x")
        before = {"phone.db": (self.db / "phone.db").read_bytes(), "files": sorted(self.root.rglob("*"))}
        wire = self.wire_of("daemon")
        with open(SOURCES / "contracts/methods.schema.json", encoding="utf-8") as file:
            parts = json.load(file)["$defs"]
        harmless = {"processRequest", "LastFailures", "createPhonenumberIndices", "ExportText",
                    "ImportText", *set(parts["calls"]) - set(parts["results"])}
        values = {"string": "PhoneBook", "integer": 0, "boolean": True}
        for name in set(parts["calls"]) - harmless:
            with self.subTest(name):
                taken = parts["calls"][name]["properties"]["params"]["properties"]
                params = {key: values[kind["type"]] for key, kind in taken.items()}
                if name == "AddChangeListener":
                    params["Schemas"] = "PhoneBook, CallLog"
                self.assertEqual(self.ask(wire, call(name, **params)), REFUSED)
                form = parts["xml"][name]
                elements = [f'<{tag} name="{key}">{params.get(key, "PhoneBook") if tag == "String" else 0}</{tag}>'
                            for key, tag in form["in"].items()]
                kind = "String" if "DirectoryTree" in form["out"] or "FileSelection" in form["in"] \
                    or "FileRename" in form["in"] else "Bool"
                word = "ERROR_General" if kind == "String" else "false"
                self.assertEqual(wire.exchange(xml_call(name, *elements)),
                                 xml_call(name, f'<{kind} name="Acknowledge">{word}</{kind}>'))
        for name in set(parts["calls"]) - set(parts["results"]):
            wire.send(call(name))  # one-way: no answer
        self.assertEqual(self.answer(wire, "getCurrentUser"), "base")
        self.assertEqual(self.ask(wire, call("createPhonenumberIndices")), {"Acknowledge": True})
        export = {"schemaName": "PhoneBook", "userToExportFor": 2, "filePathAndName": "/tmp/x.csv"}
        self.assertEqual(sorted(self.root.rglob("*")), before["files"], "what is refused opens nothing")
        other = self.wire_of("bin")
        self.assertEqual(self.ask(other, call("exportData", **export)), {"Acknowledge": True})
        self.assertEqual(self.ask(other, call("ExportText", Schema="CallLogMissedCalls")), REFUSED,
                         "a text holds the calls of all kinds")
        self.assertEqual(self.ask(other, call("exportData", **{**export, "schemaName": "CallLog"})),
                         REFUSED)
        self.assertEqual(self.ask(other, call("importData", schemaName="PhoneBook",
                                              filePathAndName="/tmp/x.csv")), REFUSED)
        self.assertEqual(self.ask(self.wire_of("games"), call("setProfile", NewProfile="base")),
                         {"Acknowledge": True})

    def test_every_method_and_every_reason_has_its_right(self):
        self.serve_with("allow user:games read *\nallow user:bin write *\nallow user:man listen *\n")
        nothing, reader, writer = (self.wire_of(user) for user in ("daemon", "games", "bin"))
        pairs = [(row["Schema"], reason) for row in self.rows("schemas")
                 for reason in row["Reasons"].replace(",", " ").split()]
        self.assertGreater(len(pairs), 300)
        for schema, reason in pairs:
            message = request(reason, schema=schema)
            is_read = reason.startswith(("read", "rowcount", "search"))
            allowed = [NOT_ALLOWED not in self.answer(wire, message)
                       for wire in (nothing, reader, writer)]
            self.assertEqual(allowed, [False, is_read, not is_read], (schema, reason))
        monitor = self.wire_of("man")
        figures = json.loads(self.ask(monitor, call("Statistics"))["Statistics"])
        self.assertEqual([name for name, reasons in figures["requests"].items() if "" in reasons], [],
                         "a reason that the table of rights does not have")
        with open(SOURCES / "contracts/methods.schema.json", encoding="utf-8") as file:
            parts = json.load(file)["$defs"]
        refused_before = figures["refused"]
        for name in parts["calls"]:
            nothing.send(call(name))
            if name in parts["results"] and name not in ("processRequest", "LastFailures"):
                self.assertEqual(json.loads(nothing.receive())["result"], REFUSED, name)
            elif name in parts["results"]:
                self.assertNotIn("Acknowledge", nothing.receive())
        self.assertEqual(self.answer(nothing, "getCurrentUser"), "base")
        figures = json.loads(self.ask(monitor, call("Statistics"))["Statistics"])
        self.assertEqual(figures["refused"] - refused_before, len(parts["calls"]) - 2)

    def test_refusals_are_logged_once_a_second_for_each_user(self):
        self.serve_with("allow any read Locale\n")
        lines = []
        for user in ("daemon", "games"):
            wire = self.wire_of(user)
            for _ in range(50):
                self.assertEqual(self.answer(wire, request("delete_request", schema="CallLog")),
                                 refused("CallLog"))
        for user in ("daemon", "games"):
            number = pwd.getpwnam(user).pw_uid
            lines = re.findall(rf"^2 das \S+ User {user} \({number}\) is not allowed processRequest on "
                               r"CallLog; (\d+) refusals before it were left out$", self.logged(), re.M)
            self.assertGreaterEqual(len(lines), 1)
            self.assertLess(len(lines), 25)
            self.assertEqual(lines[0], "0")


class Hidden(AccessTest):
    """Secrets of those who may not see them."""

    SECRET = "topsecret"

    def setUp(self):
        super().setUp()
        self.das("set", "LineKeySettings", "--id", "1", "LineSipPassword=encrypted at the next start")

    def store(self, wire):
        """Secrets that no start has encrypted yet."""
        for schema, column in (("LineKeySettings", "LineSipPassword"), ("DssKeySettings", "DssSipPassword")):
            identifier = 1 if schema == "LineKeySettings" else 100
            self.assertIn("update_response", self.answer(wire, request(
                "update_request", f"<Id>{identifier}</Id><{column}>{self.SECRET}</{column}>", schema)))

    def test_a_secret_reads_as_its_mask_however_its_column_is_named(self):
        self.serve_with("allow user:daemon read,write *\nallow user:games read,write,secrets *\n")
        wire, trusted = self.wire_of("daemon"), self.wire_of("games")
        self.store(trusted)
        for columns in ("LineSipPassword", "linesippassword", "LINE_KEY_SETTINGS.LineSipPassword",
                        "Id LineSipPassword", ""):
            message = request("read_request", f"<ResultCols>{columns}</ResultCols><Id>1</Id>",
                              "LineKeySettings")
            with self.subTest(columns):
                shown = self.answer(trusted, message)
                self.assertNotIn(self.SECRET, self.answer(wire, message))
                shown = re.sub(f"{self.SECRET}|das1:[^<]+", "*****", shown)
                self.assertEqual(self.answer(wire, message), shown)
        self.assertIn(self.SECRET, self.answer(trusted, READ_KEYS))
        blank = READ_KEYS.replace("<Id>1", "<Id>2")
        self.assertEqual(self.answer(wire, blank), self.answer(trusted, blank), "a blank one stays blank")
        item = "<UserPassword>topsecret</UserPassword>"
        self.assertIn("update_response",
                      self.answer(trusted, request("update_request", item, "Passwords")))
        for reason in ("read_request", "readall_request"):
            for one, shown in ((wire, "*****"), (trusted, self.SECRET)):
                self.assertIn(item.replace(self.SECRET, shown),
                              self.answer(one, request(reason, schema="Passwords")))

    def test_conditions_on_secrets_and_writes_of_masks_are_refused(self):
        self.serve_with("allow user:daemon read,write *\nallow user:games read,write,secrets *\n")
        wire, trusted = self.wire_of("daemon"), self.wire_of("games")
        rows = [  # message, whether daemon may send it
            (request("read_request", "<LineSipPassword>topsecret</LineSipPassword>",
                     "LineKeySettings"), False),
            (request("update_request", "<Id>3</Id><LineSipPassword>*****</LineSipPassword>",
                     "LineKeySettings"), False),
            (request("update_request", "<Id>3</Id><LineSipPassword>**&#42;**</LineSipPassword>",
                     "LineKeySettings"), False),
            (request("update_request", "<Entry><Id>3</Id><LineSipPassword>*****</LineSipPassword></Entry>",
                     "LineKeySettings"), False),
            (request("update_request", "<UserPassword>*****</UserPassword>", "Passwords"), False),
            (request("update_request", "<Id>3</Id><LineSipPassword>new</LineSipPassword>",
                     "LineKeySettings"), True),
        ]
        for message, allowed in rows:
            with self.subTest(message):
                self.assertEqual(NOT_ALLOWED not in self.answer(wire, message), allowed)
                self.assertNotIn(NOT_ALLOWED, self.answer(trusted, message))

    def test_values_of_management_lead_around_no_rule(self):
        (self.root / "Aurel_Deploy").mkdir(exist_ok=True)
        (self.root / "Aurel_Deploy/DasTagMappings.csv").write_text(
            "#$VERSION=3\n#$COLUMNS=<DAStag>,<ACMStag>,<DASschema>\nLanguage,language,Locale\n"
            "LineSipURI,uri[],LineKeySettings\nLineSipPassword,pwd-,LineKeySettings\n")
        self.serve_with("allow user:daemon profile *\nallow user:bin profile,write *\nallow user:games all *\n")
        reader, writer, trusted = map(self.wire_of, ("daemon", "bin", "games"))
        self.store(trusted)
        update = "<ReasonForMessage>update_request</ReasonForMessage>"
        rows = [  # a client, a method, a tag, its value, whether it is refused
            (reader, "exportUserData", "language", f"x</Language>{update}<Language>x", False),
            (reader, "exportUserData", f"uri[1</Id>{update}<LineSipURI>x</LineSipURI><Id>1]", "", False),
            (reader, "exportUserData", "pwd-1", "a guess", True),
            (writer, "importUserData", "pwd-1", "**&#42;**", True),
            (writer, "importUserData", "pwd-1", "&#x2A;****", True),
            (writer, "importUserData", "uri[1</Id><LineSipURI>x</LineSipURI><Id>1]", "", False),
        ]
        asked_for = (READ_KEYS.replace("LineSipPassword<", "LineSipPassword LineSipURI<"),
                     request("readall_request", schema="Locale"))
        before = [self.answer(trusted, message) for message in asked_for]
        for client, method, tag, value, is_refused in rows:
            with self.subTest(tag=tag, value=value):
                values = json.dumps({tag: value}).replace("*", "\\u002a")
                answer = self.ask(client, call(method, newValues=values, isBase=True))
                self.assertEqual(answer == REFUSED, is_refused)
                self.assertEqual([self.answer(trusted, message) for message in asked_for], before)

    def test_exports_have_masks_and_do_not_come_back(self):
        self.serve_with("allow user:daemon read,write,files,profile *\nallow user:games all *\n")
        wire, trusted = self.wire_of("daemon"), self.wire_of("games")
        self.store(trusted)
        for one, shown, hidden in ((wire, "*****", self.SECRET), (trusted, self.SECRET, "*****")):
            self.assertEqual(self.ask(one, call("exportData", schemaName="DssKeySettings",
                                                userToExportFor=2, filePathAndName="/tmp/keys.csv")),
                             {"Acknowledge": True})
            text = (self.root / "tmp/keys.csv").read_text()
            self.assertIn(shown, text)
            self.assertNotIn(hidden, text)
            if one is wire:
                for method, more in (("importData", {}), ("importDataForUser", {"userToImportFor": 0})):
                    self.assertEqual(self.ask(wire, call(method, schemaName="DssKeySettings",
                                                         filePathAndName="/tmp/keys.csv", **more)), REFUSED)
        self.assertEqual(self.ask(wire, call("importUserData", newValues='{"user-pwd":"*****"}',
                                             isBase=True)), REFUSED)


if __name__ == "__main__":
    unittest.main()
