"""Makes the page of a telephone by das-report, and reads it as a browser does.

Usage: test_report.py DAS sanitizers=NAMES [unittest arguments]
"""
import csv
import io
import re
import sqlite3
import unittest
from html.parser import HTMLParser


from test_contacts import ProgramTest

from dasclient._schemas import SETTINGS, is_secret

MARKUP = "<script>alert(1)</script>\"'><img src=x onerror=y>&amp;"


class Page(HTMLParser):
    """The tags and the text of a page."""

    def __init__(self, text):
        super().__init__()
        self.tags, self.text, self.links = [], [], []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        self.tags.append(tag)
        self.links += [value for name, value in attributes if name in ("src", "href", "xlink:href")]

    def handle_data(self, data):
        self.text.append(data)


class Report(ProgramTest):
    def setUp(self):
        super().setUp()
        self.serve()
        self.das_client = self.client()

    def page(self, *arguments, status=0):
        run = self.run_program("report", "page.html", *arguments)
        self.assertEqual(run.returncode, status, run.stderr)
        return (self.place / "page.html").read_text()

    def fill(self, mark):
        """A value of each kind that the page shows, with a mark in it."""
        das = self.das_client
        das.write("PhoneBook", [{"Surname": f"Sur{mark}", "Firstname": f"First{mark}", "Office": "+49 89 7654321",
                                 "Email": f"mail{mark}@x", "Company": f"Com{mark}", "JobFunction": f"Job{mark}",
                                 "Address": f"Adr{mark}"}])
        das.write("CallLogReceivedCalls", [{"EntryId": "1", "Surname": f"Call{mark}", "calls": [
            {"Number": "0897654321", "TimeDate": "2014-03-07T09:15:30+01:00", "ConnectedNumber": "555123",
             "Duration": "75"}]}])
        das.update("FeatureKeys", {"Label": f"Label{mark}", "Function": "1"}, where={"Id": 100}, context="base")
        das.update("RepertoryDialling", {"RepertoryDialNumber": f"Dest{mark}"}, where={"Id": 100}, context="base")
        das.update("LineKeySettings", {"LineSipUserId": f"SipUser{mark}", "LineSipPassword": "Geheim1"},
                   where={"Id": 401}, context="base")
        das.update("SipBaseSettings", {"SipUserId": f"Sip{mark}", "UserPassword": "Geheim2"}, context="base")
        das.update("Locale", {"Greeting": f"Hello Sur{mark} of com{mark.upper()}, call 0049-89/765 43 21!",
                              "Volume": "5"}, context="base")

    def test_a_page_shows_everything_escaped_without_secrets_and_without_the_network(self):
        self.fill(MARKUP)
        text = self.page()
        page = Page(text)
        for tag in ("script", "img", "link", "iframe"):
            self.assertNotIn(tag, page.tags)
        self.assertEqual([link for link in page.links if not link.startswith("#")], [])
        self.assertEqual(re.findall(r"url\(|@import|https?://(?!www\.w3\.org/)", text), [])
        shown = "".join(page.text)
        for value in ("Sur", "First", "mail", "Com", "Job", "Adr", "Call", "Label", "Dest", "SipUser", "Sip"):
            self.assertIn(value + MARKUP, shown)
        self.assertIn("2014-03-07 09:15", shown)
        self.assertIn("*****", shown)
        self.assertNotIn("Geheim", text)
        self.assertEqual(page.tags.count("figure"), 3)
        # The call was on a Friday, at nine, and took between a minute and five.
        for name, value in (("hours", 9), ("days", 4), ("lengths", 3)):
            chart = re.search(f'id="chart-{name}".*?</svg>', text, re.S)[0]
            heights = [float(height) for height in re.findall(r'<rect[^>]*height="([\d.]+)"[^>]*class="rect', chart)]
            axis = chart[chart.index("axis y"):chart.index("axis x")]
            self.assertEqual(re.findall(r"<text[^>]*>(.*?)</text>", axis), ["0", "1"])
            bars = [place % (len(heights) // 4) for place, height in enumerate(heights) if height > 1]
            self.assertEqual(bars, [value], name)

    def test_an_anonymous_page_says_nothing_of_who_it_is_wherever_it_stands(self):
        self.fill("Zebulon")
        text = self.page("--anonymise")
        for value in ("zebulon", "7654321", "765 43 21", "555123", "geheim"):
            self.assertNotIn(value, text.lower())
        shown = "".join(Page(text).text)
        for value in ("Name 1", "Company 1", "Label 1", "Destination 1", "Hello Name", "Volume", "2014-03-07 09:15"):
            self.assertIn(value, shown)

    def test_what_the_service_refuses_is_named_with_the_reason(self):
        self.das_client.read("RepertoryDialling")
        self.end_host()
        with sqlite3.connect(self.db / "phone.db") as database:
            database.execute("DROP TABLE REPERTORY_DIALLING")
            database.execute("CREATE VIEW REPERTORY_DIALLING AS SELECT Zebulon.* FROM gone")
        self.serve()
        text = self.page("--anonymise", status=1)
        self.assertIn("RepertoryDialling could not be read", text)
        self.assertIn("no such table", text[text.index("RepertoryDialling could"):])

    def test_the_schemas_are_those_of_the_host_program(self):
        table = csv.DictReader(io.StringIO(self.das("schemas", "--output", "csv").stdout.decode()))
        self.assertEqual(sorted(SETTINGS), sorted(row["Schema"] for row in table
                                                  if row["Table"] == "GENERAL_CONFIG"))
        for name in ("UserHashedPwd", "UserMD5Hash", "UserPassword", "WSIPassword", "QcuCommunity",
                     "SnmpGetPassword", "SnmpTrapCommunity", "LdapPassword", "PIN", "SIPpassword", "FtpPassword",
                     "LineSipPasswordEnc", "SendUrlPasswd", "MyPwd2"):
            self.assertTrue(is_secret(name), name)
        self.assertFalse(is_secret("Pinboard"))


if __name__ == "__main__":
    unittest.main()
