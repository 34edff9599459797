"""Opens the contacts file that das writes with Python's csv module.

Usage: test_contacts_file.py DAS sanitizers=NAMES [unittest arguments]
"""
import csv
import unittest
from xml.sax.saxutils import escape

from host_test import HostTest, request

ELEMENTS = ["Surname", "Firstname", "Office", "Office2", "Mobile", "Private", "Company", "Address",
            "Address2", "JobFunction", "Email", "DefaultNumber"]
HEADER = ["LastName", "FirstName", "Business1", "Business2", "Mobile1", "Private1", "Company1",
          "Address1", "Address2", "Position", "Email1", "DefaultDial"]
CONTACTS = [
    ["Müller", "Jörg-Öz", "+49 89 1", "2", "3", "4", "Ä & Ö", "Straße 1", "2. Stock", "Chef",
     "j@example.org", "+49 89 1"],
    ["O'Neil, Jr.", 'The "Boss"', "", "", "", "", '"', ",", "', '", "<a&b>", "", ""],
    ["", "", "📞", "\\", "a\\,b", "", "first line\nsecond line", "", "", "", "", ""],
    ["LIKE '%'", " blanks ", "#", "", "", "", "", "", "", "", "", "x" * 100000],
]


class ContactsFile(HostTest):
    def test_it_opens_in_another_program(self):
        entries = "".join(
            "<Entry>" + "".join(f"<{name}>{escape(value)}</{name}>"
                                for name, value in zip(ELEMENTS, contact)) + "</Entry>"
            for contact in CONTACTS)
        (self.root / "tmp").mkdir()
        write = self.file("write", request("write_request", entries, "PhoneBook"))
        run = self.das("request", write, self.file("save", "saveContactsToCSV"))
        self.assertEqual(run.returncode, 0, run.errors)
        with open(self.root / "tmp/VX_contacts.csv", encoding="utf-8", newline="") as file:
            self.assertEqual(list(csv.reader(file, strict=True)), [HEADER, *CONTACTS])


if __name__ == "__main__":
    unittest.main()
