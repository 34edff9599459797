"""Looks at what a host counts, and at what das status prints of it."""
import json
import re
import unittest

from host_test import call, request, xml_call
from test_access import AccessTest


class Counted(AccessTest):
    def status(self, wire):
        return json.loads(self.ask(wire, call("Statistics"))["Statistics"])

    def test_what_clients_send_is_counted_and_makes_nothing_grow(self):
        self.serve()
        wire = self.wire()
        first = self.status(wire)
        self.assertEqual(set(first), {
            "seconds", "requests", "methods", "refused", "clients", "listeners", "bytes", "commits",
            "statements", "database_bytes", "upgrade"})
        self.assertEqual(first["methods"]["Statistics"],
                         {"count": 1, "failures": 0, "us": 0, "us_max": 0})
        self.assertEqual(first["upgrade"]["failures"], 0)
        for message in (request("read_request", schema="PhoneBook"), request("read_request"),
                        request("write_request"), request("update_request", "<Id>100</Id><Label>x</Label>")):
            self.answer(wire, message)
        for name in ("Nope", "read_request", "PhoneBook" * 100):
            self.answer(wire, request(name, schema=name))
            wire.send(call(name))
            wire.exchange(xml_call("AddListener"))
        self.wire().exchange(xml_call("AddLogListener"))
        counts = self.status(wire)
        requests = counts["requests"]
        self.assertEqual({name: {reason: (row["count"], row["failures"]) for reason, row in each.items()}
                          for name, each in requests.items()},
                         {"PhoneBook": {"read_request": (1, 0)}, "": {"read_request": (1, 1), "": (2, 2)},
                          "FeatureKeys": {"read_request": (1, 0), "write_request": (1, 1),
                                          "update_request": (1, 0)}})
        for each in requests.values():
            for row in each.values():
                self.assertTrue(0 < row["us_max"] <= row["us"])
        self.assertEqual(counts["methods"][""]["count"], 3)
        self.assertEqual(counts["methods"]["processRequest"]["count"], 7)
        self.assertEqual(counts["listeners"], {"profile": 1, "status": 0, "log": 1, "changes": 0})
        self.assertEqual(counts["commits"] - first["commits"], 1)
        self.assertGreater(counts["statements"]["hits"] + counts["statements"]["misses"], 0)
        self.assertEqual(counts["database_bytes"], (self.db / "phone.db").stat().st_size)
        self.assertGreater(counts["bytes"]["in"], first["bytes"]["in"])
        self.assertEqual((counts["clients"]["now"], counts["clients"]["most"]), (2, 2))
        size = len(json.dumps(counts))
        for number in range(2000):
            self.answer(wire, request(f"reason{number}", schema=f"Schema{number}"))
            wire.send(call(f"method{number}"))
        self.assertLess(len(json.dumps(self.status(wire))), size + 200)

    def test_refusals_are_counted_and_reach_no_service(self):
        self.serve_with("allow any listen *\n")
        wire = self.wire_of("daemon")
        first = self.status(wire)
        for _ in range(20):
            self.answer(wire, request("write_request", schema="PhoneBook"))
            self.ask(wire, call("factoryReset"))
        counts = self.status(wire)
        self.assertEqual(counts["refused"] - first["refused"], 40)
        self.assertEqual(counts["requests"]["PhoneBook"]["write_request"]["failures"], 20)
        for name in ("commits", "statements", "database_bytes"):
            self.assertEqual(counts[name], first[name])

    def test_status_prints_the_same_in_each_format(self):
        self.serve()
        self.answer(self.wire(), request("read_request", schema="PhoneBook"))
        run = self.remote("status", "--output", "json")
        self.assertEqual(run.returncode, 0, run.errors)
        self.assertEqual(json.loads(run.stdout)["requests"]["PhoneBook"]["read_request"]["count"], 1)
        self.assertEqual(set(json.loads(self.remote("status", "--output", "raw").stdout)),
                         set(json.loads(run.stdout)))
        self.assertIn("requests.PhoneBook.read_request.count,1",
                      self.remote("status", "--output", "csv").stdout.decode())
        self.assertRegex(self.remote("status", "--output", "table").stdout.decode(),
                         r"(?m)^requests\.PhoneBook\.read_request\.count +1$")
        text = self.remote("status", "--output", "prometheus").stdout.decode()
        self.assertIn('das_requests_total{schema="PhoneBook",reason="read_request"} 1\n', text)
        for line in text.splitlines():
            self.assertRegex(line, r'^# (HELP|TYPE) \w+ .+$|^\w+(\{(\w+="[^"]*",?)+\})? \d+$')
        names = re.findall(r"^# TYPE (\w+) ", text, re.M)
        self.assertEqual(len(names), len(set(names)))
        for arguments in (["--db", self.db], ["--socket", self.place / "none"]):
            self.assertEqual(self.das("status", *arguments).returncode, 2)


if __name__ == "__main__":
    unittest.main()
