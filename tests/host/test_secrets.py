"""What the log of a host shows of what clients send.

Usage: test_secrets.py DAS sanitizers=NAMES [unittest arguments]
"""
import json
import re
import unittest

from host_test import HostTest, request

TAGS = """#$VERSION=1
#$COLUMNS=<ACMStag>,<DASschema>,<DAStag>
community,SnmpSettings,QcuCommunity
label-,FeatureKeys,Label
"""


def ask(text):
    return "processRequest", {"Request": text, "RequestLength": len(text)}


def values(method, **tags):
    return method, {"newValues": json.dumps(tags), "isBase": True}


class Log(HostTest):
    def serve(self, calls, level):
        """The answers of a host, and its log."""
        lines = [json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": parameters})
                 for method, parameters in calls]
        run = self.das("serve", "--stdio", lines=lines, env={"DAS_LOG": str(level)})
        self.assertEqual(run.returncode, 0, run.errors)
        return run.answers, run.errors

    def test_no_secret_is_in_the_log_at_any_level(self):
        (self.root / "Aurel_Deploy/DasTagMappings.csv").write_text(TAGS)
        (self.root / "data/keys.csv").write_bytes(
            b"base,605,u,r,i,geheim,d,true,0,false,\nvisitor,606,u,r,i,geh\0eim,d,true,0,false,geheim\n")
        columns = [("LineKeySettings", "LineSipPassword", 100), ("DssKeySettings", "DssSipPassword", 605),
                   ("BCASettings", "BcaSipPassword", 1), ("StimulusKeySettings", "SendUrlPasswd", 605),
                   ("FileDownloadSettings", "FtpPassword", 1)]
        items = "".join(f"<{name}>geheim</{name}>" for name in
                        ("AdminPassword", "ExchangePassword", "MD5Password", "NewPassword", "MyPwd"))
        calls = [
            *(ask(request("update_request", f"<Id>{key}</Id><{column}>geheim</{column}>", schema))
              for schema, column, key in columns),
            *(ask(request("read_request", f"<{column}>geheim</{column}>", schema))
              for schema, column, _ in columns),
            ask(request("write_request", items, "SecuritySettings")),
            ask(request("update_request", items, "SecuritySettings")),
            ("importData", {"schemaName": "DssKeySettings", "filePathAndName": "/data/keys.csv"}),
            ("setProfile", {"NewProfile": "visitor"}),
            values("importUserData", community="geheim", **{"label-100": "plain"}),
            values("exportUserData", community="", **{"label-100": "", "my-passwd": "geheim"}),
            # Refused: broken, unknown, and not served any more.
            *(ask(request("write_request", "<AdminPassword>geh<eim</AdminPassword>", schema))
              for schema in ("SecuritySettings", "CodecSettings", "PhoneBook", "CallLog", "Unknown")),
            ask(request("delete_request", "<Id pwd='geheim'>9</Id><PIN>geheim", "BluetoothTrusted")),
            ("factoryReset", {}),
            ask(request("update_request", items, "SecuritySettings")),
        ]
        answers, log = self.serve(calls, 6)
        self.assertEqual(len(answers), len(calls))
        self.assertGreater(" ".join(answers).count("geheim"), 5, "clients get what is stored")
        self.assertEqual(re.findall(".*geh(?:eim|<|.?0).*", log), [])
        for shown in ("LineSipPassword = '*****'", "'AdminPassword', '*****'", "RESPONSE: *****",
                      '{"community":"*****","label-100":"plain","my-passwd":"*****"}',
                      "message='<?xml", "<AdminPassword>*****</AdminPassword>"):
            self.assertIn(shown, log)

    def test_a_refused_message_is_logged_in_part(self):
        long = "x" * 1_000_000
        rows = [
            (ask(request("write_request", f"<Label>{long}", "CodecSettings")), r"CodecSettings.*x\.\.\. and 99\d+ more bytes"),
            ((long, {}), r"Unknown messageType = .x+\.\.\. and 99\d+ more bytes"),
            (("setProfile", {"NewProfile": long}), r"Invalid new profile 'x+\.\.\. and 99\d+ more bytes"),
        ]
        for call, words in rows:
            _, log = self.serve([call], 2)
            self.assertRegex(log, words)
            self.assertLess(len(log), 10_000)


if __name__ == "__main__":
    unittest.main()
