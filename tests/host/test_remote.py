"""Talks to das as other programs do: over its socket, over its standard streams, by its commands.

Usage: test_remote.py DAS sanitizers=NAMES [unittest arguments]
"""
import json
import sqlite3
import subprocess
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor

from host_test import (MIB, PATIENCE, READ_ALL, UPDATED, WORD, RemoteTest, Wire, answered, asked,
                       call, failure, label_answer, read_label, request, update, xml_call)

PARSE_ERROR = '{"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"Parse error"}}'
INVALID = '{"jsonrpc":"2.0","id":null,"error":{"code":-32600,"message":"Invalid Request"}}'
NAMELESS = '<Method name=""></Method>'
REFUSED = [answered(Acknowledge=False)]
# name, lines, answers
CONVERSATION = [
    ("a word", [asked(WORD)], [answered(Response="base")]),
    ("ids come back as they were", [
        asked(WORD, number) for number in (0, -7, 1.5, "", 'a"\\\n\u20ac', None, 2**70)],
     [answered(number, Response="base")
      for number in (0, -7, 1.5, "", 'a"\\\n\u20ac', None)] +
     ['{"jsonrpc":"2.0","id":1180591620717411303424,"result":{"Response":"base"}}']),
    ("a value of any characters",
     [asked(update("\u260e \\u0000 \"q\"")), asked(read_label())],
     [answered(Response=UPDATED), answered(Response=label_answer("\u260e \\u0000 \"q\""))]),
    ("without an id it is done and not answered",
     [json.dumps({"jsonrpc": "2.0", "method": "processRequest", "params": {
         "Request": update("quiet"), "RequestLength": len(update("quiet"))}}),
      asked(read_label())], [answered(Response=label_answer("quiet"))]),
    ("unknown and one-way methods are not answered",
     [call("fly"), call("clearMobileUserDLSdata"), xml_call("fly"), asked(WORD)],
     [answered(Response="base")]),
    ("empty lines are skipped", ["", asked(WORD), ""], [answered(Response="base")]),
    ("absent parameters", ['{"jsonrpc":"2.0","id":1,"method":"setProfile"}'], REFUSED),
    *[(f"NewProfile is {value}",
       ['{"jsonrpc":"2.0","id":1,"method":"setProfile","params":%s}' % params], REFUSED)
      for value, params in [("an int", '{"NewProfile":1}'), ("null", '{"NewProfile":null}'),
                            ("in an object", '{"NewProfile":{"NewProfile":"visitor"}}'),
                            ("in a list", '["visitor"]'), ("alone", '"visitor"')]],
    *[(f"a length of {value}",
       [f'{{"jsonrpc":"2.0","id":1,"method":"processRequest","params":'
        f'{{"Request":"{WORD}","RequestLength":{value}}}}}'], [answered(Response=result)])
      for value, result in [("2147483647", "base"), ("-2147483648", "base"), ("2147483648", ""),
                            ("-2147483649", ""), ("1e2", ""), ("14.0", ""), ('"14"', "")]],
    *[(f"no JSON: {line!r:.40}", [line, asked(WORD)], [PARSE_ERROR, answered(Response="base")])
      for line in ["{", "hello", " " + asked(WORD), "[" + asked(WORD) + "]", asked(WORD) + "}",
                   asked(WORD).encode().replace(b"getC", b"\xff\xfeC"), b"\xff",
                   b"{\xc0\xaf}", asked(WORD).encode() + b"\0", "{" + '"a":[' * 100000,
                   '{"jsonrpc":"2.0","id":1,"method":"fly","x":' + "[" * 32 + "]" * 32 + "}"]],
    ("as deep as it may be",
     ['{"jsonrpc":"2.0","id":1,"method":"setProfile","x":' + "[" * 31 + "]" * 31 + "}"], REFUSED),
    *[(f"no request: {line}", [line, asked(WORD)], [INVALID, answered(Response="base")])
      for line in ["{}", '{"jsonrpc":"2.0","id":1}', '{"id":1,"method":"setProfile"}',
                   '{"jsonrpc":"1.0","id":1,"method":"setProfile"}',
                   '{"jsonrpc":"2.0","id":1,"method":7}',
                   '{"jsonrpc":"2.0","id":[1],"method":"setProfile"}',
                   '{"jsonrpc":"2.0","id":1,"method":"setProfile","method":{}}']],
    ("the same in XML",
     [xml_call("processRequest", f'<String name="Request">{WORD}</String>',
               '<Int name="RequestLength">14</Int>'),
      xml_call("setProfile", '<Int name="NewProfile">1</Int>'),
      xml_call("processRequest", f'<String name="Request">{WORD}</String>',
               '<Int name="RequestLength">2147483648</Int>'),
      xml_call("invokeACMSFactoryReset", '<Bool name="EnableCreateDb">1</Bool>'),
      xml_call("readDirectory"), xml_call("AddStatusListener")],
     [xml_call("processRequest", '<String name="Response">base</String>'),
      xml_call("setProfile", '<Bool name="Acknowledge">false</Bool>'),
      xml_call("processRequest", '<String name="Response"></String>'),
      xml_call("invokeACMSFactoryReset", '<Bool name="Acknowledge">false</Bool>'),
      xml_call("readDirectory", '<String name="Acknowledge">ERROR_WrongData</String>'),
      xml_call("AddStatusListener")]),
    ("XML carries a line feed and replaces what it cannot carry",
     [asked(update("a\n\t'<>\"&")), call("processRequest", 2, Request=read_label(),
                                           RequestLength=9999),
      xml_call("processRequest", '<String name="Request">',
               read_label().replace("<", "&lt;").replace('"', "&quot;"), "</String>",
               '<Int name="RequestLength">9999</Int>')],
     [answered(Response=UPDATED), answered(2, Response=label_answer("a\n\t'<>\"&")),
      xml_call("processRequest", '<String name="Response">',
               label_answer("a\n\t'<>\"&").replace("&", "&amp;").replace("<", "&lt;")
               .replace(">", "&gt;").replace('"', "&quot;").replace("'", "&apos;")
               .replace("\n", "&#10;").replace("\t", "&#9;"), "</String>")]),
    *[(f"no method in XML: {line!r:.40}", [line, asked(WORD)],
       [NAMELESS, answered(Response="base")])
      for line in ["<", "<a/>", "<Method/>", '<Method name="setProfile">',
                   '<Method name="setProfile"><Float name="NewProfile">1</Float></Method>',
                   '<Method name="setProfile"><String>visitor</String></Method>',
                   '<Method name="setProfile"><String name="a"><b/></String></Method>',
                   b'<Method name="setProfile"><String name="a">\xff</String></Method>',
                   b'<?xml version="1.0" encoding="iso-8859-1"?><Method name="\xe4"/>',
                   b'<Method name="setProfile"/>\0',
                   '<!DOCTYPE a [<!ENTITY b "c">]><Method name="&b;"/>']],
]


class Messages(RemoteTest):
    def test_each_message_is_answered_on_both_ways(self):
        self.serve()
        wire = self.wire()
        for name, lines, answers in CONVERSATION:
            with self.subTest(name):
                wire.send(*lines)
                self.assertEqual([wire.receive() for _ in answers], answers)
        raw = b"".join((line if isinstance(line, bytes) else line.encode()) + b"\n"
                       for _, lines, _ in CONVERSATION for line in lines)
        run = self.das("serve", "--stdio", input=raw, stdin=None)
        self.assertEqual(run.answers, [answer for *_, answers in CONVERSATION
                                       for answer in answers], run.errors)
        self.assertEqual(run.returncode, 0, run.errors)

    def test_file_methods_have_two_forms(self):
        ringtones = self.root / "data" / "ringtones"
        ringtones.mkdir()
        for name in "abcd":
            (ringtones / name).touch()
        tree = ('<directorytree name="/data/ringtones"><subdirectory></subdirectory><filelist>%s'
                "</filelist></directorytree>")
        entry = '<fileinfo directory="/data/ringtones" name="%s" />'
        left = tree % "".join(entry % name for name in "de")
        escaped = left.replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")

        def xml(method, name, *quoted):
            text = " ".join(f"{key}=&quot;{value}&quot;" for key, value in quoted)
            return xml_call(method, f'<Xml name="{name}">&lt;{name} {text}/&gt;</Xml>')

        def success(method, word="SUCCESS", more=""):
            return xml_call(method, f'<String name="Acknowledge">{word}</String>{more}')

        where = ("directory", "/data/ringtones")
        move = [("from", "/data/ringtones"), ("file", "c"), ("to", "/data/ringtones/"),
                ("name", "e")]
        look = [("directory name", "/data/ringtones"), ("dirread", "true"), ("fileread", "1"),
                ("subdir", "false")]
        rows = [
            (call("deleteFile", directory="/data/ringtones", name="a"), answered(Acknowledge=True)),
            (call("deleteFile", directory="/data/ringtones", name="a"), answered(Acknowledge=False)),
            (xml("deleteFile", "FileSelection", where, ("name", "b")), success("deleteFile")),
            (xml("deleteFile", "FileSelection", where, ("name", "b")),
             success("deleteFile", "ERROR_General")),
            (xml("moveFile", "FileRename", *move), success("moveFile")),
            (xml("moveFile", "FileRename", *move[:3]), success("moveFile", "ERROR_General")),
            (xml("readDirectory", "DirectorySelection", *look),
             success("readDirectory", more=f'<Xml name="DirectoryTree">{escaped}</Xml>')),
            (xml("readDirectory", "DirectorySelection", *look[:3]),
             success("readDirectory", "ERROR_WrongData")),
            (call("readDirectory", Directory="/data/ringtones", DirReading=True, FileReading=True,
                  SubDirReading=False), answered(Acknowledge=True, DirectoryTree=left)),
        ]
        run = self.das("serve", "--stdio", lines=[line for line, _ in rows])
        self.assertEqual(run.answers, [answer for _, answer in rows], run.errors)

    def test_an_exception_in_the_service_is_answered_as_failure(self):
        self.serve()
        with sqlite3.connect(self.db / "phone.db") as database:
            database.execute("CREATE TABLE CANONICAL_LOOK_UP (UserContext TEXT, Id TEXT)")
            database.execute("INSERT INTO CANONICAL_LOOK_UP VALUES ('base', '0')")
        database.close()
        bad = request("read_request", schema="CanonicalLookUp")
        wire = self.wire()
        self.assertEqual(wire.exchange(asked(bad)), answered(Response="failure"))
        self.assertEqual(wire.exchange(asked(WORD)), answered(Response="base"))
        self.assertRegex(self.logged(), r"(?m)^2 DASInvoker \S+:\d+ processRequest ended")
        run = self.remote("request", lines=[bad, WORD])
        self.assertEqual((run.returncode, run.answers), (1, [failure("CanonicalLookUp"), "base"]))


class Commands(RemoteTest):
    def test_calls_print_what_comes_out(self):
        self.serve()
        word = ["processRequest", f"Request={WORD}", "RequestLength=14"]
        read = ["processRequest", f"Request={READ_ALL}", "RequestLength=999"]
        refused = request("read_request", schema="Nope")
        rows = [
            # name, arguments, status, output, part of standard error
            ("a word", word, 0, "Response=base", ""),
            ("an answer", read, 0, None, ""),
            ("a failure answer", ["processRequest", f"Request={refused}", "RequestLength=99"], 1,
             "Response=" + failure("Nope"), ""),
            ("a one-way method", ["clearMobileUserDLSdata"], 0, "", ""),
            ("true is a bool", ["setProfile", "NewProfile=true"], 1, "Acknowledge=false",
             "NewProfile=STRING"),
            ("a text that looks like a bool", ["setProfile", "NewProfile:=true"], 1,
             "Acknowledge=false", ""),
            ("a text that looks like a number",
             [*word[:2], "RequestLength:=14"], 0, "Response=", "RequestLength=INT"),
            ("more than 32 bits", [*word[:2], "RequestLength=99999999999"], 2, "", "32 bits"),
            ("an equals sign in a value", ["setProfile", "NewProfile=a=:=b"], 1, "Acknowledge=false",
             ""),
            ("no name", ["setProfile", ":=visitor"], 2, "", "NAME=VALUE"),
            ("no method", [], 2, "", "METHOD"),
        ]
        for name, arguments, status, output, errors in rows:
            for way, run in (("here", self.das("call", *arguments)),
                             ("in a host", self.remote("call", *arguments))):
                with self.subTest(name, way=way):
                    self.assertEqual(run.returncode, status, run.errors)
                    if output is not None:
                        self.assertEqual("\n".join(run.answers), output)
                    self.assertIn(errors, run.errors)
        self.assertNotIn("Unknown messageType", self.logged())

    def test_requests_go_to_the_running_host(self):
        self.serve()
        bad = update("x").encode().replace(b">x<", b">\xff<")
        lines = [update("O'Brien &amp; S\u00f6hne"), read_label(), WORD]
        run = self.remote("request", self.file("bad", bad), "-",
                          self.file("huge", update("m" * (17 * MIB))), self.file("word", WORD),
                          lines=lines)
        self.assertEqual(run.answers, [failure(), UPDATED, label_answer("O'Brien &amp; S\u00f6hne"),
                                       "base", failure(), "base"], run.errors)
        self.assertEqual(run.returncode, 1)
        self.assertEqual(self.remote("request", lines=lines).returncode, 0)

    def test_a_host_that_is_not_there_is_told(self):
        for command in (["request"], ["call", "factoryReset"], ["watch"]):
            run = self.remote(*command)
            self.assertEqual((run.returncode, run.stdout), (2, b""))
            self.assertIn(f"das: {self.path}: No such file or directory", run.errors)
        self.assertEqual(self.das("watch").returncode, 2)

    def test_a_host_that_ends_meanwhile_is_told(self):
        self.serve()
        process = self.start("request", "--socket", self.path, stdin=subprocess.PIPE,
                             stdout=subprocess.PIPE)
        process.stdin.write(WORD.encode() + b"\n")
        process.stdin.flush()
        self.assertEqual(process.stdout.readline(), b"base\n")
        self.end_host()
        self.assertEqual(process.communicate(WORD.encode() + b"\n")[0], b"")
        self.assertEqual(process.returncode, 1)
        self.assertIn("das: the running host: ", self.logged())

    def test_watching_prints_each_change_until_the_host_ends(self):
        (self.root / "tmp").mkdir()
        self.serve()
        watch = self.start("watch", "--socket", self.path, stdout=subprocess.PIPE)
        while "watching\n" not in self.logged():
            self.assertIsNone(watch.poll(), self.logged())
        wire = self.wire()
        wire.send(xml_call("AddListener"), call("AddStatusListener", 2), call("AddListener", 3))
        for expected in (xml_call("AddListener"), answered(2), answered(3)):
            self.assertEqual(wire.receive(), expected)
        wire.send(call("setProfile", NewProfile="visitor"))
        heard = '{"jsonrpc":"2.0","method":"ProfileChangedToVisitor"}'
        for expected in (xml_call("ProfileChangedToVisitor"), heard, answered(Acknowledge=True)):
            self.assertEqual(wire.receive(), expected, "what is heard stands before the answer")
        self.assertEqual(watch.stdout.readline(), b"ProfileChangedToVisitor\n")
        for command, line in ((["call", "setProfile", "NewProfile=base"], b"ProfileChangedToBase\n"),
                              (["request"], b"contacts-status=4\n")):
            self.assertEqual(self.remote(*command, lines=["saveContactsToCSV"]).returncode, 0)
            self.assertEqual(watch.stdout.readline(), line)
        for expected in (xml_call("ProfileChangedToBase"), heard.replace("Visitor", "Base"),
                         '{"jsonrpc":"2.0","method":"Status","params":'
                         '{"item":"contacts-status","value":"4"}}'):
            self.assertEqual(wire.receive(), expected)
        self.end_host()
        self.assertEqual((watch.wait(PATIENCE), watch.stdout.read()), (0, b""))

    def test_listeners_that_have_gone_hold_up_nobody(self):
        self.serve()
        for protocol in (call, xml_call):
            gone = self.wire()
            gone.exchange(protocol("AddListener"))
            gone.exchange(protocol("AddStatusListener"))
            gone.close()
        wire = self.wire()
        for profile in ("visitor", "base") * 5:
            self.assertEqual(wire.exchange(call("setProfile", NewProfile=profile)),
                             answered(Acknowledge=True))


class Services(RemoteTest):
    def delete(self, name, directory="/data/ringtones", **env):
        run = self.das("call", "deleteFile", f"directory={directory}", f"name:={name}", env=env)
        return run.answers == ["Acknowledge=true"]

    def test_management_deletes_files_of_the_telephone_only(self):
        for directory in ("ringtones", "screensavers", "images", "other"):
            (self.root / "data" / directory).mkdir()
            (self.root / "data" / directory / "file").touch()
        outside = self.file("outside", "kept")
        (self.root / "data" / "ringtones" / "link").symlink_to(outside)
        (self.root / "data" / "ringtones" / "folder").mkdir()
        for name in ("", ".", "..", "../other/file", "folder", "gone"):
            self.assertFalse(self.delete(name), name)
        self.assertTrue(self.delete("link"), "the link goes, what it leads to stays")
        self.assertFalse(self.delete("file", "/data/other"))
        self.assertFalse(self.delete("file", DAS_WITHOUT="Other,LocalMgmtIfc"))
        for directory in ("ringtones", "screensavers", "images"):
            self.assertTrue(self.delete("file", f"/data/{directory}"), directory)
            self.assertFalse((self.root / "data" / directory / "file").exists())
        self.assertTrue(outside.exists())
        images = self.root / "data" / "images"
        images.rmdir()
        images.symlink_to(self.place)
        self.assertFalse(self.delete("outside", "/data/images"), "the directory leads out")
        self.assertTrue(outside.exists())

    def test_a_ringer_in_use_is_not_moved(self):
        ringtones = self.root / "data" / "ringtones"
        ringtones.mkdir()
        for name in ("used.mp3", "used.mp3.old"):
            (ringtones / name).touch()
        (self.root / "data" / "distinctive-ringers.txt").write_text("other.mp3\nused.mp3\n")

        def move(name, **env):
            path = f"/data/ringtones/{name}"
            return self.das("call", "moveFile", f"OldFileName={path}", f"NewFileName={path}.moved",
                            env=env).returncode
        self.assertEqual(move("used.mp3"), 1)
        self.assertEqual(move("used.mp3.old"), 0)
        self.assertEqual(move("used.mp3", DAS_WITHOUT="MediaControlServiceIfc"), 0)


class Crowd(RemoteTest):
    CLIENTS = 64
    ROUNDS = 50

    def visit(self, client, barrier):
        """One client's requests: four reads of its own row to one update of it."""
        wire = Wire(self.path)
        key, label = 100 + client, ""
        barrier.wait()
        for number in range(self.ROUNDS):
            name = f"{client}.{number}"
            if number % 5 == 0:
                label = f"label {name}"
                expected = answered(name, Response=UPDATED)
                got = wire.exchange(asked(update(label, key), name))
            else:
                expected = answered(name, Response=label_answer(label))
                got = wire.exchange(asked(read_label(key), name))
            if got != expected:
                return f"{got} in place of {expected}"
        wire.close()
        return ""

    def test_no_answer_is_lost_doubled_or_crossed(self):
        self.serve()
        barrier = threading.Barrier(self.CLIENTS)
        with ThreadPoolExecutor(self.CLIENTS) as pool:
            wrong = list(pool.map(lambda client: self.visit(client, barrier), range(self.CLIENTS)))
        self.assertEqual(wrong, [""] * self.CLIENTS)

    def test_clients_come_and_go_while_profiles_change(self):
        self.serve()
        changer = self.wire()
        barrier = threading.Barrier(9)

        def come_and_go(_):
            barrier.wait()
            for _ in range(25):
                wire = Wire(self.path)
                wire.send(call("AddListener"), call("AddStatusListener"), asked(WORD))
                wire.close()
        with ThreadPoolExecutor(8) as pool:
            done = [pool.submit(come_and_go, number) for number in range(8)]
            barrier.wait()
            while not all(task.done() for task in done):
                for profile in ("visitor", "base"):
                    self.assertEqual(changer.exchange(call("setProfile", NewProfile=profile)),
                                     answered(Acknowledge=True))
        for task in done:
            task.result()


if __name__ == "__main__":
    unittest.main()
