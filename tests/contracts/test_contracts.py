"""Holds the published contracts against the code that they are made from, and every message of the
tests against the contracts.

Usage: test_contracts.py DAS SERVICE_TESTS CONTRACTS [unittest arguments]
"""
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from collections import defaultdict
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
DAS, SERVICE_TESTS, CONTRACTS = (Path(sys.argv.pop(1)).resolve() for _ in range(3))
WORDS = re.compile("getCurrentUser|getDefaultKeyData|saveContactsToCSV|"
                   "(get|set)WhetherRequestContentShowableOnTheAurelTrace.*")
SCHEMA = re.compile('<Schema name="([^"]*)"')

REFUSED = "a reason, a user, a word or a number that is refused"

# Tests with requests that no careful client sends, and what these are. Each must still need it.
REQUESTS = {
    "CallGroupDAOTest.FirstRequestOfAnyReasonFindsSixteenBlankGroupsOfEachUser": REFUSED,
    "CallGroupDAOTest.RequestsChangeNamesOfOneUserAndNothingElse": REFUSED,
    "CallLogDAOTest.EveryElementFillsItsColumn": "elements that are ignored",
    "CallLogFilesTest.FilesBringTheRowsOfOneUserInEitherOrder": REFUSED,
    "CallLogDAOTest.RequestsFindWhatTheyDescribe": REFUSED,
    "CallLogDAOTest.TextsComeBackAsTheyWereSent": REFUSED,
    "CallLogDAOTest.WritesThatCannotBeLeaveTheTableAsItWas": "damaged, unknown and misplaced",
    "ConversationsDAOTest.RequestsThatCannotBeServedChangeNothing": "damaged, and what is refused",
    "DataAccessObjectTest.AnyRequestMakesTheTableOnce": REFUSED,
    "DataAccessObjectTest.ReadsAnswerWhatWasAskedFor":
        "what is refused or ignored, and users that do not exist",
    "ChangesTest.EachRequestIsHeardAsWhatItHasChanged": "a user that does not exist",
    "DataAccessObjectTest.UpdatesWriteTheRowsThatAreNamed":
        "elements that are ignored, and a user that does not exist",
    "DataAccessServiceTest.BadMessagesAreAnsweredAndTheNextIsServed": "damaged",
    "DataAccessServiceTest.TheFirstWordSchemaDecides": "no messages of any schema",
    "FurtherTablesTest.ASchemaInsideOfARequestReachesNoOtherTable": "a second root",
    "FurtherTablesTest.BluetoothListsAreApartByKindAndUser": "an element that is ignored",
    "FurtherTablesTest.DialPlanEntriesGetTheirNumbersAndAreDeletedByWhatTheyHold": REFUSED,
    "GeneralConfigurationDAOTest.AnswersStandInTheContextOfTheirRows": REFUSED,
    "GeneralConfigurationDAOTest.TextsThatLookLikeSqlStayTexts": "a schema and words that are SQL",
    "LimitsTest.ARequestBeyondALimitIsAFailureAndStoresNothing": "names that are too long",
    "MediaTablesTest.CodecTableIsRepairedByTheFirstRequestAndLeftByTheSecond": REFUSED,
    "MediaTablesTest.ReadsGiveRowsByRankWithTheColumnsAskedFor": REFUSED,
    "PhonebookDAOTest.EveryElementFillsItsColumnAndComesBackInTheOrderOfTheTable":
        "an element that is ignored",
    "PhonebookDAOTest.RequestsFindWhatTheyDescribe": REFUSED,
    "PhonebookDAOTest.UsersKeepSeparateBooks": REFUSED,
    "SchemasTest.DamagedRequestsAreRefusedAndLoggedByClass": "damaged",
    "StimulusKeySettingsDAOTest.UpdatesChangeRowsAndTheFirstFailureStands":
        "an element that is ignored",
}

# The same for answers, which are as their contract says whatever was asked, but for these.
ANSWERS = {
    "DataAccessObjectTest.ReadsAnswerWhatWasAskedFor": "users that do not exist come back as sent",
    "DataAccessServiceTest.TheFirstWordSchemaDecides": "a name that was cut from a strange place",
    "LimitsTest.AnInterruptedRequestIsRolledBackAndWaitsForNoLock": "its parse ended before the name",
}

# The one test that sends calls which are damaged, incomplete or unknown; they get no answers.
BROKEN_CALLS = "Messages.test_each_message_is_answered_on_both_ways"


def records(folder):
    """Test, request and answer of each exchange."""
    for path in sorted(Path(folder).iterdir()):
        data = path.read_bytes()
        place = 0
        while place < len(data):
            start = data.index(b"\n", place) + 1
            request, answer = map(int, data[place:start].split())
            yield path.name, data[start:start + request], data[start + request:start + request + answer]
            place = start + request + answer + 1


def invalid(contract, messages):
    """Places in the list of those messages that the contract does not allow, each with the reason."""
    with tempfile.TemporaryDirectory() as folder:
        for number, message in enumerate(messages):
            (Path(folder) / str(number)).write_bytes(message)
        run = subprocess.run(["xmllint", "--noout", "--nonet", "--schema", contract,
                              *map(str, range(len(messages)))], cwd=folder, text=True, check=False,
                             stderr=subprocess.PIPE, errors="replace")
    found = {}
    for line in run.stderr.splitlines():
        told = re.match(r"(\d+)(:| fails to validate)(.*)", line)
        if told:
            found.setdefault(int(told[1]), told[3])
    if run.returncode not in (0, 1, 3, 4) or bool(found) != bool(run.returncode):
        raise AssertionError(f"{contract.name}: {run.stderr}")
    return found


class Methods:
    """The contract of the remote methods: what is wrong with a message, or None."""

    KINDS = {"object": dict, "array": list, "string": str, "boolean": bool, "integer": int}

    def __init__(self):
        self.contract = json.loads((CONTRACTS / "methods.schema.json").read_text())
        self.parts = self.contract["$defs"]

    def fault(self, value, schema):
        """By as much of JSON Schema as the contract uses."""
        if "$ref" in schema:
            return self.fault(value, self.parts[schema["$ref"].split("/")[2]]
                              [schema["$ref"].split("/")[3]])
        if "anyOf" in schema:
            faults = [self.fault(value, each) for each in schema["anyOf"]]
            return None if None in faults else faults[0]
        if "const" in schema:
            return None if value == schema["const"] else f"{value!r} is not {schema['const']!r}"
        kind = self.KINDS.get(schema.get("type"))
        if kind and type(value) is not kind:  # a bool is no integer
            return f"{value!r} is no {schema['type']}"
        if kind is int and not schema["minimum"] <= value <= schema["maximum"]:
            return f"{value!r} is out of range"
        if kind is list:
            return next(filter(None, (self.fault(each, schema["items"]) for each in value)), None)
        if kind is dict:
            properties = schema["properties"]
            if set(schema.get("required", ())) - set(value) or set(value) - set(properties):
                return f"{sorted(value)} are not {sorted(properties)}"
            return next(filter(None, (self.fault(each, properties[name])
                                      for name, each in value.items())), None)
        return None

    def xml_fault(self, line, direction):
        """The same for a message in XML, which goes "in" or "out"."""
        try:
            method = ElementTree.fromstring(line)
        except ElementTree.ParseError as error:
            return str(error)
        name = method.get("name")
        if direction == "out" and name in ("", *self.parts["events"]):
            return None
        if name not in self.parts["calls"]:
            return f"{name!r} is no method"
        allowed = self.parts["xml"][name][direction].items()
        found = [(each.get("name"), each.tag) for each in method]
        if direction == "out" and found == [("Response", "String")] and method[0].text == "failure":
            return None
        if set(found) - set(allowed) or direction == "in" and len(found) != len(allowed):
            return f"{name}: {found} are not {list(allowed)}"
        return None

    def json_fault(self, side, line, asked):
        """The same for a line in JSON; `asked` are the methods of this client's calls by their id."""
        try:
            message = json.loads(line)
        except ValueError as error:
            return str(error)
        if not isinstance(message, dict):
            return f"no object: {line}"
        if side == "<" and "error" in message:
            return self.fault(message, {"anyOf": list(self.parts["errors"].values())})
        method, number = message.get("method"), str(message.get("id"))
        if side == "<" and method is None:
            known = asked.get(number) in self.parts["answers"]
            return self.fault(message, self.parts["answers"][asked[number]]) if known \
                else f"an answer to nothing: {line}"
        group = self.parts["calls" if side == ">" else "events"]
        if not isinstance(method, str) or method not in group:
            return f"no method of ours: {line}"
        asked[number] = method
        return self.fault(message, group[method])

    def faults(self, lines):
        """What is wrong in one conversation."""
        asked = {}
        for side, line in filter(lambda each: each[1], lines):
            told = self.xml_fault(line, "in" if side == ">" else "out") if line[0] == "<" \
                else self.json_fault(side, line, asked)
            if told:
                yield side, told


class Contracts(unittest.TestCase):
    def test_the_files_of_the_tree_are_those_that_the_build_makes(self):
        files = {"answers.json": "contracts", "methods.schema.json": "contracts", "tables.md": "docs"}
        for name, folder in files.items():
            self.assertEqual((CONTRACTS / name).read_text(), (SOURCES / folder / name).read_text(),
                             f"{folder}/{name} is out of date: run scripts/contracts")
        run = subprocess.run([SOURCES / "scripts/methods-tables", "--check"], text=True, check=False,
                             stderr=subprocess.PIPE)
        self.assertEqual(run.returncode, 0, run.stderr)
        sys.path.insert(0, str(SOURCES / "clients" / "python"))
        from dasclient._answers import FORMS
        self.assertEqual(FORMS, json.loads((CONTRACTS / "answers.json").read_text()),
                         "run scripts/contracts")

    def test_every_example_that_is_not_refused_is_as_its_contract_says(self):
        for path in sorted((SOURCES / "examples").glob("*.xml")):
            name = SCHEMA.search(path.read_text())[1]
            if not path.stem.endswith("refused"):
                contract = CONTRACTS / "xsd" / f"{name}.request.xsd"
                self.assertEqual(invalid(contract, [path.read_bytes()]), {}, path.name)

    def test_every_message_of_the_service_tests_is_as_its_contract_says(self):
        texts = {"request": defaultdict(set), "answer": defaultdict(set)}  # to the tests they are of
        strange = {"request": {}, "answer": {}}
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([SERVICE_TESTS, "--gtest_brief=1"], check=True, stdout=subprocess.DEVNULL,
                           env={**os.environ, "DAS_MESSAGES": folder})
            for test, request, answer in records(folder):
                name = SCHEMA.search(request.decode(errors="replace"))
                if name and (CONTRACTS / "xsd" / f"{name[1]}.request.xsd").exists():
                    texts["request"][name[1], request].add(test)
                    texts["answer"][name[1], answer].add(test)
                elif not WORDS.fullmatch(request.decode(errors="replace")):
                    strange["request"][test] = (request[:300], "to no schema")
        for side, exceptions in (("request", REQUESTS), ("answer", ANSWERS)):
            self.assertGreater(len(texts[side]), 300)
            for schema in sorted({schema for schema, _ in texts[side]}):
                messages = sorted(text for name, text in texts[side] if name == schema)
                found = invalid(CONTRACTS / "xsd" / f"{schema}.{side}.xsd", messages)
                for place, why in found.items():
                    for test in texts[side][schema, messages[place]]:
                        strange[side][test] = (messages[place][:300], why)
            with self.subTest(side):
                new = [f"{test}: {why}\n{text.decode(errors='replace')}"
                       for test, (text, why) in strange[side].items() if test not in exceptions]
                self.assertFalse(new, "mend these, or name them above:\n" + "\n".join(new))
                self.assertEqual(set(exceptions) - set(strange[side]), set(), "nothing needs these")

    def test_every_remote_message_is_as_the_methods_say(self):
        strange = {}
        methods = Methods()
        count = 0
        with tempfile.TemporaryDirectory() as folder:
            for subject in ("Messages", "Commands", "Services"):
                subprocess.run([sys.executable, "-B", SOURCES / "tests/host/test_remote.py", DAS,
                                "sanitizers=", subject], check=True, stderr=subprocess.DEVNULL,
                               env={**os.environ, "DAS_MESSAGES": folder})
            with open(f"{folder}/remote", encoding="utf-8") as file:
                for test, lines in map(json.loads, file):
                    count += len(lines)
                    for side, told in methods.faults(lines):
                        strange.setdefault((test, side), []).append(told[:300])
        self.assertGreater(count, 100)
        self.maxDiff = None
        self.assertEqual({key: told for key, told in strange.items()
                          if key != (BROKEN_CALLS, ">")}, {})
        self.assertIn((BROKEN_CALLS, ">"), strange)

    def test_rows_that_das_read_prints_as_json_are_as_their_contract_says(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([DAS, "demo", f"{folder}/demo"], check=True, stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL)
            for schema, has_rows in (("FeatureKeys", True), ("PhoneBook", True), ("CallGroup", True),
                                     ("CallLog", True), ("CallLogAndPhoneBook", True),
                                     ("Conversations", False), ("Locale", False)):
                with self.subTest(schema):
                    contract, rows = (json.loads(subprocess.check_output(
                        [DAS, "--db", f"{folder}/demo/db", "--root", f"{folder}/demo/root", *words],
                        stderr=subprocess.DEVNULL))
                        for words in (["schemas", schema, "--json-schema"],
                                      ["read", schema, "--output", "json"]))
                    self.assertIsNone(Methods().fault(rows, contract))
                    self.assertTrue(rows or not has_rows)


if __name__ == "__main__":
    unittest.main()
