"""Brings contacts in and out by das-contacts, as people do it, over the socket of a host.

Usage: test_contacts.py DAS sanitizers=NAMES [unittest arguments]
"""
import json
import random
import subprocess
import sys
import unittest
from pathlib import Path

from host_test import RemoteTest, SOURCES

from dasclient import Client, Refused
from dasclient._book import Book

FILES = SOURCES / "tests" / "host" / "contacts"
#: The programs need packages of Debian, which another interpreter may not see.
PYTHON = "/usr/bin/python3" if Path("/usr/bin/python3").exists() else sys.executable
FIELDS = ("Surname", "Firstname", "Office", "Office2", "Mobile", "Private", "Email", "Company",
          "JobFunction", "Address", "Address2")


class ProgramTest(RemoteTest):
    def run_program(self, module, *arguments, **changes):
        environment = self.environment(DAS_SOCKET=str(self.path), LC_ALL="C.UTF-8",
                                       PYTHONPATH=str(SOURCES / "clients" / "python"), **changes)
        return subprocess.run([PYTHON, "-B", "-m", f"dasclient.{module}", *map(str, arguments)],
                              env=environment, cwd=self.place, capture_output=True, text=True,
                              timeout=240, check=False)

    def client(self):
        das = Client(self.path)
        self.addCleanup(das.close)
        return das


class ContactsTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.serve()

    def contacts(self, *arguments, says=None, status=0):
        run = self.run_program("contacts", *arguments)
        self.assertEqual(run.returncode, status, run.stderr)
        if says is not None:
            self.assertEqual(run.stdout.splitlines(), says)
        return run

    def rows(self, context="base"):
        return [{name: row[name] for name in FIELDS if row[name]}
                for row in self.client().read("PhoneBook", context=context)]

    def assert_rows(self, expected):
        def sort(rows):
            return sorted(rows, key=lambda row: [row.get(name, "") for name in FIELDS])
        self.assertEqual(sort(self.rows()), sort(expected))


class Import(ContactsTest):
    def test_files_of_other_programs_become_rows_and_what_finds_no_place_is_counted(self):
        for name, expected in json.loads((FILES / "expected.json").read_text()).items():
            with self.subTest(name):
                run = self.contacts("import", FILES / name, "--replace")
                self.assert_rows(expected["rows"])
                self.assertEqual(set(run.stdout.splitlines()[1:]),
                                 {f"{count} {what} can't be carried"
                                  for what, count in expected["lost"].items()})
                self.assertEqual(expected.get("note", "") in run.stderr, True, run.stderr)
                self.assertEqual(bool(run.stderr), "note" in expected)

    def test_contacts_that_are_there_are_filled_and_none_is_doubled(self):
        self.client().write("PhoneBook", [
            {"Surname": "A", "Firstname": "x", "Office": "+49 (89) 1", "Group": "3", "Email": "old"},
            {"Surname": "A", "Firstname": "x"}, {"Surname": "B", "Office": "8", "Mobile": "9"}])
        book = self.file("book.csv", "First Name,Last Name,Business Phone,Home Phone,E-mail Address,Company\n"
                         "x,A,+49 89/1,,new,C\nx,A,,,mail,\nx,A,,2,,\nx,A,,2,twice,\n,,,,,\n"
                         ",B,,9,,\n,B,,,other,\n")
        for arguments in (("--dry-run",), ("--context", "base")):
            would = "would be " if "--dry-run" in arguments else ""
            self.contacts("import", book, *arguments, says=[
                f"2 contacts {would}added, 2 skipped, 2 filled",
                "1 values differ from those of contacts that are there; they were left"])
        expected = [{"Surname": "A", "Firstname": "x", "Office": "+49 (89) 1", "Email": "old", "Company": "C"},
                    {"Surname": "A", "Firstname": "x", "Email": "mail"},
                    {"Surname": "A", "Firstname": "x", "Private": "2", "Email": "twice"},
                    {"Surname": "B", "Office": "8", "Mobile": "9"}, {"Surname": "B", "Email": "other"}]
        self.assert_rows(expected)
        self.assertEqual(self.client().read("PhoneBook", where={"Company": "C"})[0]["Group"], "3")
        book.write_bytes(book.read_bytes().decode().encode("utf-16-le"))
        self.contacts("import", book, says=[
            "0 contacts added, 6 skipped",
            "1 values differ from those of contacts that are there; they were left"])
        run = self.contacts("import", self.file("none.vcf", "\n"), says=["0 contacts added, 0 skipped"])
        self.assertIn("none.vcf: no contacts in it", run.stderr)
        self.end_host()
        self.serve()
        self.assert_rows(expected)

    def test_an_own_csv_file_that_is_read_again_changes_nothing(self):
        self.client().write("PhoneBook", [
            {"Company": "C", "Mobile": "1"}, {"Company": "C"}, {"Surname": " ", "Private": "+15x3"},
            {"Surname": "A", "Office2": "2", "Address2": "Street", "Email": "a ::: b"}])
        before = self.rows()
        for form in ("google", "outlook", "thunderbird"):
            with self.subTest(form):
                self.contacts("export", "book.csv", "--format", form)
                self.assertIn("0 contacts added, 4 skipped\n", self.contacts("import", "book.csv").stdout)
                self.contacts("import", "book.csv", "--replace")
                self.assertEqual(self.rows(), before)

    def test_a_contact_that_another_user_has_too_is_warned_of(self):
        self.client().write("PhoneBook", [{"Surname": "A", "Mobile": "1"}, {"Surname": "A"}])
        book = self.file("book.vcf", "BEGIN:VCARD\nVERSION:4.0\nFN:A\nTEL;TYPE=cell:1\nEND:VCARD\n")
        run = self.contacts("import", book, "--context", "visitor", says=["1 contacts added, 0 skipped"])
        self.assertIn("1 contacts are in the phone book of base as well", run.stderr)
        self.end_host()
        self.serve()
        self.assert_rows([{"Surname": "A"}])

    def test_a_replacement_is_whole_and_keeps_what_no_file_has(self):
        das = self.client()
        das.write("PhoneBook", [{"Surname": "Kept", "Mobile": "1", "Group": "3"}, {"Surname": "Gone"}])
        das.write("PhoneBook", [{"Surname": "Other"}], context="visitor")
        book = self.file("book.csv", "Given Name,Family Name,Phone 1 - Type,Phone 1 - Value\n"
                         ",Kept,Mobile,1\n,New,Work,2\n")
        self.contacts("import", book, "--replace", "--dry-run",
                      says=["PhoneBook of base: 2 contacts would be replaced by 2"])
        self.assert_rows([{"Surname": "Kept", "Mobile": "1"}, {"Surname": "Gone"}])
        self.contacts("import", book, "--replace", says=["PhoneBook of base: 2 contacts replaced by 2"])
        rows = das.read("PhoneBook", context="base")
        self.assertEqual([(row["UniqueID"], row["Surname"], row["Group"]) for row in rows],
                         [("1", "Kept", "3"), ("4", "New", "")])
        self.assertEqual(self.rows("visitor"), [{"Surname": "Other"}])
        for number in ("2", "3"):
            self.assertNotIn(f"<UniqueID>{number}<", self.left_over())

    def left_over(self):
        """All contacts of any other user."""
        return self.client().request(
            '<Schema name="PhoneBook"><ReasonForMessage>read_request</ReasonForMessage>'
            '<Context currentUser="das-contacts"></Context></Schema>')

    def test_wrong_files_and_wrong_usage_change_nothing(self):
        self.client().write("PhoneBook", [{"Surname": "A"}])
        card = "BEGIN:VCARD\nVERSION:3.0\nN:B;;;;\n"
        rows = [
            # content or arguments, status, part of the message
            (card, "line 1: the vCard that begins here has no end"),
            (card + "END:VCARD\nN:C;;;;\n", "line 5: no vCard begins here"),
            ("a,b\n1,2\n", "line 1: not the columns of a file from Google, Outlook or Thunderbird"),
            ("Given Name,Family Name\n1,2,3\n", "line 2: 3 fields under 2 columns"),
            ('First Name,Last Name\n"a\nb",B\nC,"D\nE,F\n', "line 4: a quote in the row that begins here has no end"),
            ('First Name,Last Name\nC,"D\nE,"F"\n', "line 2: text follows a closing quote in the row that begins"),
            ("Surname,Office\n1,2\n", "das import PhoneBook FILE reads the telephone's own columns"),
            ("\n", "f: the file is empty; nothing was changed"),
            (b"Given Name,Family Name\n\x81,2\n", "neither UTF-8 nor Windows-1252"),
        ]
        for content, words in rows:
            with self.subTest(content):
                run = self.contacts("import", self.file("f", content), "--replace", status=2, says=[])
                self.assertIn(words, run.stderr)
                self.assertEqual(run.stderr.count("\n"), 1, run.stderr)
        header = self.file("header.csv", "Given Name,Family Name\n")
        good = self.file("good.vcf", card + "END:VCARD\n")
        for arguments, words in (
                (("import", header, "--replace"), "no contacts in it"),
                (("import", good, "--format", "google"), "this is a vCard"),
                (("import", "gone.vcf"), "cannot read gone.vcf: No such file"),
                (("export", "book.csv"), "which format?"),
                (("export", "gone/book.vcf"), "cannot write gone/book.vcf: No such file"),
                (("export", "book.vcf", "--replace"), "--replace belongs to import"),
                (("import", good, "--socket", "nowhere"), "no host answers: nowhere: No such file"),
                (("fly", good), "invalid choice")):
            with self.subTest(arguments):
                self.assertIn(words, self.contacts(*arguments, status=2, says=[]).stderr)
        self.assert_rows([{"Surname": "A"}])

    def test_a_write_that_the_service_refuses_ends_with_1(self):
        self.end_host()
        self.environment = lambda **more: {**super(ContactsTest, self).environment(**more),
                                           "DAS_DISK_USAGE": "95"}
        self.serve()
        good = self.file("good.vcf", "BEGIN:VCARD\nVERSION:4.0\nFN:B\nEND:VCARD\n")
        self.assertIn("write_request to PhoneBook was answered with a failure: writeRequest Out of disk space",
                      self.contacts("import", good, status=1, says=[]).stderr)


class Breaking(Client):
    """A client whose requests are refused from the Nth change on, but for the deletions that undo."""

    def request(self, text):
        if "write_request" in text or "delete_request" in text and "das-contacts" in text:
            self.left -= 1
            if self.left == 0:
                return text.replace("write_request", "failure").replace("delete_request", "failure")
        return super().request(text)


class Whole(ContactsTest):
    def test_a_replacement_that_fails_at_any_request_leaves_the_book_as_it_was(self):
        self.client().write("PhoneBook", [{"Surname": f"S{n}", "Office": n, "Group": "1"} for n in range(5)])
        before = self.client().read("PhoneBook")
        das = Breaking(self.path)
        self.addCleanup(das.close)
        book = Book(das, "base")
        # A row of 4 MiB is a part of its own, so there are three requests to write, and two to remove.
        large = [{**dict.fromkeys(FIELDS, ""), "Surname": letter * (4 << 20)} for letter in "xy"]
        rows = [{**book.rows[0], "Company": "changed"}, *large]
        for das.left in range(1, 5):
            with self.subTest(das.left), self.assertRaises(Refused):
                book.store(rows, book.rows[2:])
            self.assertEqual(self.client().read("PhoneBook"), before)
        book.store(rows, book.rows[2:])
        self.assertEqual(len(self.client().read("PhoneBook")), 4)


class RoundTrip(ContactsTest):
    SEED = 24
    TEXT = (*"ab zß,;:\\\n\"'=nN\t&<>%#|", "\\n", "\u00e4", "\u6f22", "\U0001f600", "\u2028", "e\u0301", "x" * 30,
            " " * 75, "quoted-printable")

    def contact(self, dice, number):
        """A contact with odd texts; its e-mail address keeps it apart from the others."""
        def text():
            return "".join(dice.choices(self.TEXT, k=dice.choice((0, 1, 3, 12, 60))))

        def dialled():
            return (dice.choice(("", "", "+49 (89) ", "tel:")) + "".join(dice.choices("0123456789", k=dice.randint(1, 12)))
                    + dice.choice(("", "", "x12")))
        numbers = {name: dialled() for name in ("Office", "Office2", "Mobile", "Private") if dice.random() < 0.5}
        texts = {name: text() for name in FIELDS if name not in ("Office", "Office2", "Mobile", "Private")}
        return {**texts, **numbers, "Email": f"{number}{texts['Email']}",
                "Surname": texts["Surname"] if numbers else f"{number}"}

    def test_a_thousand_odd_contacts_come_back_as_they_were(self):
        dice = random.Random(self.SEED)
        rows = [self.contact(dice, number) for number in range(1000)]
        das = self.client()
        das.write("PhoneBook", rows)
        marks = str.maketrans("", "", " ()")
        expected = [{name: value.translate(marks) if name in ("Office", "Office2", "Mobile", "Private") else value
                     for name, value in row.items() if value} for row in rows]
        for form in ("vcard3", "vcard4"):
            with self.subTest(form, seed=self.SEED):
                self.contacts("export", f"{form}.vcf", "--format", form, says=["1000 contacts exported"])
                written = (self.place / f"{form}.vcf").read_bytes()
                self.assertLessEqual(max(map(len, written.split(b"\r\n"))), 75)
                das.request('<Schema name="PhoneBook"><ReasonForMessage>delete_request</ReasonForMessage></Schema>')
                self.contacts("import", f"{form}.vcf", says=["1000 contacts added, 0 skipped"])
                self.assert_rows(expected)


if __name__ == "__main__":
    unittest.main()
