"""Uses the Python client as other programs do, against a running host.

Usage: test_client.py DAS sanitizers=NAMES [unittest arguments]
"""
import json
import socket
import subprocess
import sys
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor

from host_test import (DAS, PATIENCE, SOURCES, RemoteTest, asked, call, label_answer, read_label,
                       request)

import dasclient
from dasclient import (Client, ConnectionLost, DasError, ProfileChanged, Reconnected,
                       Refused, StatusChanged)

ODD = "O'Brien & Sons <b>\"x\"</b> \\, \u00e4\u6f22\U0001f600 %_ \t--"


class ClientTest(RemoteTest):
    def setUp(self):
        super().setUp()
        self.serve()

    def client_of(self, name, **more):
        client = Client(self.place / name, **more)
        self.addCleanup(client.close)
        return client

    def client(self, **more):
        return self.client_of(self.path, **more)


class Requests(ClientTest):
    def test_texts_come_back_as_they_were_given(self):
        das = self.client()
        number = das.write("PhoneBook", [{"Surname": ODD, "Office": "+49 89"}, {"Surname": "B"}],
                           context="base")
        self.assertEqual(number, 2)
        self.assertEqual([row["Surname"] for row in das.read("PhoneBook")], ["B", ODD])
        self.assertEqual(das.read("PhoneBook", where={"Surname": ODD}, columns=["Office"]),
                         [{"Office": "+49 89"}])
        das.update("FeatureKeys", {"Label": ODD}, where={"Id": 100})
        self.assertEqual(das.read("FeatureKeys", where={"Id": 100}, columns=["Label"]),
                         [{"Label": ODD}])
        das.update("Locale", {"Language": ODD + "</Context>x", "Off": False}, context="visitor")
        items = das.read("Locale")
        self.assertEqual([(row.context, dict(row)) for row in items],
                         [("visitor", {"Language": ODD + "</Context>x"}), ("visitor", {"Off": "false"})])
        for value in ("\0", "\x1b", "\ud800", "\uffff", None):
            with self.subTest(value), self.assertRaises(ValueError):
                das.write("PhoneBook", [{"Surname": value}])
        with self.assertRaises(ValueError):
            dasclient.element("a><b", "x")

    def test_calls_have_their_items(self):
        das = self.client()
        calls = [{"Number": "123", "TimeDate": f"2014-03-0{day}T09:15:30+01:00"} for day in (7, 8)]
        das.write("CallLogMissedCalls", [{"EntryId": "e", "Viewed": False, "calls": calls}])
        row, = das.read("CallLog")
        self.assertEqual((row["Category"], row["Viewed"]), ("Missed", "false"))
        self.assertEqual([{name: call[name] for name in calls[0]} for call in row.calls], calls)

    def test_pages_searches_changes_and_deletes_reach_what_they_name(self):
        das = self.client()
        das.write("PhoneBook", [{"Surname": f"S{n}", "Mobile": n % 2} for n in range(5)])
        self.assertEqual([row["Surname"] for row in das.read("PhoneBook", offset=1, limit=2)],
                         ["S1", "S2"])
        self.assertEqual([row["Surname"] for row in das.search("1")], ["S1", "S3"])
        das.update("PhoneBook", {"Company": "c"}, where={"Surname": "S2"})
        das.delete("PhoneBook", {"Mobile": "1"})
        self.assertEqual([(row["Surname"], row["Company"]) for row in das.read("PhoneBook")],
                         [("S0", ""), ("S2", "c"), ("S4", "")])
        for change in (lambda: das.delete("PhoneBook", {}),
                       lambda: das.delete("PhoneBook", {"UniqueID": ""}),
                       lambda: das.update("PhoneBook", {"Company": "d"})):
            with self.assertRaises(ValueError):
                change()
        das.update("Locale", {"Language": "de"})
        das.delete_settings("Locale", "Language")
        self.assertEqual(das.read("Locale"), [])

    def test_failures_are_told_apart(self):
        das = self.client()
        with self.assertRaises(Refused) as told:
            das.write("FeatureKeys", [{"Id": 1}])
        self.assertEqual(dasclient.reason_of(told.exception.answer), "failure")
        with self.assertRaises(ValueError):
            das.call("fly")
        self.assertEqual(das.current_user(), "base", "the connection goes on")
        with self.assertRaises(ConnectionLost):
            Client(self.place / "no-host")


class Methods(ClientTest):
    def test_each_method_has_a_call_that_does_it(self):
        with open(SOURCES / "contracts" / "methods.schema.json", encoding="utf-8") as file:
            parts = json.load(file)["$defs"]
        self.assertEqual(dasclient.METHODS, set(parts["calls"]))
        self.assertEqual(dasclient.ONE_WAY, set(parts["calls"]) - set(parts["results"]))
        das = self.client()
        for name in ("a.mp3", "b.mp3"):
            (self.root / "data" / "ringtones").mkdir(exist_ok=True)
            (self.root / "data" / "ringtones" / name).touch()
        (self.root / "tmp").mkdir()
        das.write("PhoneBook", [{"Surname": "A"}])
        done = [
            das.export_data("PhoneBook", "/tmp/book"), das.import_data("PhoneBook", "/tmp/book"),
            das.import_data_for_user("PhoneBook", "/tmp/book", 1), das.create_phonenumber_indices(),
            das.rename_file("/data/ringtones/a.mp3", "/data/ringtones/c.mp3"),
            das.move_file("/data/ringtones/c.mp3", "/data/c.mp3"),
            das.delete_file("/data/ringtones", "b.mp3"), das.set_profile("visitor"),
            das.import_user_data({"e164": "4711"}, True), das.migrate_user_data({"e164": "4712"}),
            das.check_database_needs_change(1, 1, "V1"), das.factory_reset(),
        ]
        self.assertEqual(done, [True] * len(done))
        self.assertFalse(das.export_data("PhoneBook", "/nowhere/book"))
        self.assertIn("c.mp3", das.read_directory("/data", below=False))
        self.assertIsNone(das.read_directory_tree("/data"), "for base alone")
        das.set_profile("base")
        self.assertIn("c.mp3", das.read_directory_tree("/data"))
        self.assertIn("<filelist></filelist>", das.read_directory("/nowhere"))
        self.assertEqual(set(das.export_user_data(["e164"], True)), {"e164"})
        for one_way in (das.clear_mobile_userdata, das.clear_mobile_user_dls_data,
                        das.copy_base_data_to_visitor, das.delete_visitor_user_password,
                        das.delete_uc_credentials):
            one_way()
        self.assertTrue(das.invoke_acms_factory_reset(True))
        self.assertEqual(das.current_user(), "base")


class Connections(ClientTest):
    def test_a_watcher_hears_and_is_there_again_after_a_restart_of_the_host(self):
        watcher = self.client()
        events = watcher.watch(patience=60)
        self.client().set_profile("visitor")
        self.assertEqual(next(events), ProfileChanged("visitor"))
        self.client().request("saveContactsToCSV")
        status = next(events)
        self.assertIsInstance(status, StatusChanged)
        self.assertEqual(status.item, "contacts-status")
        old, idle = self.client(), self.client()
        old.current_user()
        self.end_host()
        with self.assertRaises(ConnectionLost):
            old.current_user()
        starter = threading.Thread(target=self.serve)
        starter.start()
        self.addCleanup(starter.join)
        self.assertEqual(next(events), Reconnected())
        starter.join()
        for client in (old, idle):
            self.assertEqual(client.current_user(), "base", "connects again")
        old.set_profile("visitor")
        self.assertEqual(next(events), ProfileChanged("visitor"))
        watcher.set_profile("base")
        self.assertEqual(next(events), ProfileChanged("base"), "heard in front of its own answer")

    def test_what_the_rules_of_the_host_forbid_is_refused_with_the_right_that_is_missing(self):
        self.end_host()
        self.serve("--access", self.file("rules", "allow any listen,read PhoneBook\n"))
        das = self.client()
        for right, forbidden in (("listen", das.changes), ("listen", das.watch), ("write", das.create_phonenumber_indices),
                                 ("listen", lambda: das.call("Statistics")), ("files", lambda: das.read_directory("/")),
                                 ("profile", lambda: das.export_user_data("e164", True)),
                                 ("profile", das.delete_uc_credentials)):
            with self.assertRaisesRegex(Refused, f": not allowed; .* the right {right}\\b"):
                forbidden()
        self.assertEqual(das.read("PhoneBook", columns="Surname"), [])
        self.assertEqual(next(das.changes("PhoneBook")), dasclient.Changed())

    def test_a_host_that_is_mute_or_talks_nonsense_is_told_of(self):
        rows = [("timed out", b""), ("timed out", b'{"id":1'), ("no message", b"hello\n"),
                ("no message", b'"\xff"\n'), ("no message", b"[1]\n"), ("no answer", b'{"id":1}\n'),
                ("no message", b"[" * 100000 + b"\n"), ("a failure", b'{"id":1,"result":{}}\n'),
                ("no answer", b'{"method":"Status","params":[]}\n{"id":1,"error":"x","result":1}\n')]
        with socket.socket(socket.AF_UNIX) as odd:
            odd.bind(str(self.place / "odd"))
            odd.listen()
            for words, line in rows:
                das = self.client_of("odd", timeout=0.05 if words == "timed out" else 60)
                with self.subTest(line[:40]), odd.accept()[0] as host:
                    host.sendall(line)
                    with self.assertRaisesRegex(DasError, words):
                        das.current_user()

    def test_threads_share_a_client_and_any_may_close_one_that_listens(self):
        das = self.client()
        das.write("PhoneBook", [{"Surname": f"S{n}"} for n in range(4)])
        with ThreadPoolExecutor(4) as threads:
            names = [f"S{n % 4}" for n in range(100)]
            found = list(threads.map(lambda name: das.read("PhoneBook", where={"Surname": name}), names))
            self.assertEqual([[row["Surname"] for row in rows] for rows in found],
                             [[name] for name in names])
            watcher = self.client()
            heard = threads.submit(list, watcher.watch())
            das.set_profile("visitor")
            watcher.close()
            self.assertLessEqual(len(heard.result(60)), 1, "it has ended")

    def test_what_the_host_does_not_understand_is_told(self):
        with self.assertRaisesRegex(DasError, "Parse error"):
            self.client().call("processRequest", Request="x" * (17 << 20), RequestLength=1)


class Example(ClientTest):
    def test_the_page_on_python_runs_as_written(self):
        self.run_page("howto-python.md")

    def test_the_page_on_changes_runs_as_written(self):
        self.run_page("howto-follow-changes.md")

    def run_page(self, name):
        text = (SOURCES / "docs" / name).read_text()
        blocks = text.split("```python\n")[1:]
        program = "\n".join(block.split("```")[0] for block in blocks)
        run = subprocess.run([sys.executable, "-c", program.replace("/run/das.sock", str(self.path))],
                             env=self.environment(PYTHONPATH=str(SOURCES / "clients" / "python")),
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120,
                             check=False)
        self.assertEqual(run.returncode, 0, run.stdout)
        shown = [block.split("```")[0] for block in text.split("```text\n")[1:]]
        self.assertEqual(run.stdout, "".join(shown))


class Clients(RemoteTest):
    EXAMPLES = SOURCES / "examples" / "clients"

    def test_the_example_clients_talk_to_one_host_beside_das_call(self):
        self.serve()
        label = "Zo\u00eb's & co"
        run = self.das(self.path, "100", label, program=self.EXAMPLES / "label.py")
        self.assertEqual((run.returncode, run.answers), (0, ["base", label]), run.errors)
        again = self.remote("call", "processRequest", f"Request={read_label()}",
                            "RequestLength=999")
        self.assertEqual(again.answers, ["Response=" + label_answer(label.replace("&", "&amp;"))],
                         "markup is stored escaped")
        self.assertEqual(self.das(self.path, "9999999999x", label,
                                  program=self.EXAMPLES / "label.py").returncode, 1)

    def test_the_listening_client_tells_each_change_until_the_host_ends(self):
        self.serve()
        client = subprocess.Popen([DAS.parent / "das_example_contacts", self.path],
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(client.stdout.close)
        self.addCleanup(client.wait)
        self.addCleanup(client.kill)
        self.assertEqual(client.stdout.readline(), "base has 0 contacts\n")
        entry = "<Entry><Surname>A</Surname></Entry>"
        wire = self.wire()
        wire.exchange(call("setProfile", NewProfile="visitor"))
        self.assertEqual(client.stdout.readline(), "visitor has 0 contacts\n")
        wire.exchange(asked(request("write_request", entry, schema="PhoneBook")))
        self.assertEqual(client.stdout.readline(), "visitor has 1 contacts\n")
        for user, count in (("base", 0), ("visitor", 1)):
            wire.exchange(call("setProfile", NewProfile=user))
            self.assertEqual(client.stdout.readline(), f"{user} has {count} contacts\n")
        self.end_host()
        self.assertEqual((client.wait(PATIENCE), client.stdout.read()), (1, ""))

    def test_wrong_uses_of_the_cpp_client_fail_with_the_words_of_the_host(self):
        self.serve()
        with socket.socket(socket.AF_UNIX) as mute:
            mute.bind(str(self.place / "mute"))
            mute.listen()
            run = self.das(self.path, self.place / "mute", *sorted(dasclient.ONE_WAY),
                           program=DAS.parent / "das_client_uses")
        too_long = "processRequest: Parse error (no UTF-8, over 8 MiB?)"
        self.assertEqual(run.answers, ["one-way: nothing"] * len(dasclient.ONE_WAY) + [
            'unknown: noSuch: Unknown messageType = "noSuch"', f"no UTF-8: {too_long}",
            "no columns: name the columns to read",
            "a wrong column: PhoneBook: read_request failed: SQLite: ERROR 'no such column: NoSuch' handling "
            "request 'SELECT NoSuch FROM PHONE_BOOK WHERE UserContext = 'base' ORDER BY UPPER(Surname);'",
            r'"a\u000db\u000d\u000ac"', f"mute: {self.place}/mute: no answer in time",
            f"too long: {too_long}"], run.errors)

    def test_the_shell_client_serves_itself(self):
        run = self.das(DAS, program=self.EXAMPLES / "user.sh")
        self.assertEqual((run.returncode, run.answers), (0, ["user: base", "keys: 177"]), run.errors)


if __name__ == "__main__":
    unittest.main()
