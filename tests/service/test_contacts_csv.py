"""Opens the contacts file that das writes with Python's csv module.

Usage: test_contacts_csv.py DAS
"""
import csv
import subprocess
import sys
import tempfile
from pathlib import Path
from xml.sax.saxutils import escape

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


def write_request():
    entries = "".join(
        "<Entry>" + "".join(f"<{name}>{escape(value)}</{name}>"
                            for name, value in zip(ELEMENTS, contact)) + "</Entry>"
        for contact in CONTACTS)
    return ('<?xml version="1.0" encoding="utf-8"?><Schema name="PhoneBook"><ReasonForMessage>'
            f"write_request</ReasonForMessage>{entries}</Schema>")


with tempfile.TemporaryDirectory(prefix="das-") as place:
    root = Path(place) / "root"
    (root / "tmp").mkdir(parents=True)
    (root / "data").mkdir()
    files = []
    for number, text in enumerate((write_request(), "saveContactsToCSV")):
        files.append(Path(place) / str(number))
        files[-1].write_text(text, encoding="utf-8")
    subprocess.run([sys.argv[1], "--db", place, "--root", root, "request", *files], check=True,
                   stdout=subprocess.DEVNULL)
    with open(root / "tmp/VX_contacts.csv", encoding="utf-8", newline="") as file:
        read = list(csv.reader(file, strict=True))
    if read != [HEADER, *CONTACTS]:
        sys.exit(f"the file holds other values: {read!r:.2000}")
