"""Two users of one telephone, as the clients of a running das see them.

Usage: test_mobility.py DAS sanitizers=NAMES [unittest arguments]
"""
import random
import shutil
import signal
import sqlite3
import subprocess
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from contextlib import closing

from host_test import (PATIENCE, READ_ALL, RemoteTest, SANITIZED, SOURCES, WORD, Wire, answered,
                       asked, call, request, update)

ACKNOWLEDGED = answered(Acknowledge=True)
MISSED_CALL = ("<Entry><EntryId>{0}</EntryId><Viewed>false</Viewed><LogList><Item>"
               "<Number>{0}</Number><TimeDate>2014-03-07T09:15:30+01:00</TimeDate></Item></LogList>"
               "</Entry>")

# Tables with rows of both users that changes of user leave as they are, with the visitor's rows.
NOT_COPIED = {"START_APPLICATION": 177}


def profile(user):
    return call("setProfile", NewProfile=user)


class MobilityTest(RemoteTest):
    def setUp(self):
        super().setUp()
        shutil.copy(SOURCES / "deploy" / "DasGenConfigDeviceDataItems.csv",
                    self.root / "Aurel_Deploy")

    def ask(self, message):
        return self.changer.exchange(asked(message))

    def change_to(self, user):
        self.assertEqual(self.changer.exchange(profile(user)), ACKNOWLEDGED)

    def serve(self):
        super().serve()
        self.changer = self.wire()

    def restart(self):
        self.end_host()
        self.serve()

    def rows(self, user):
        """The rows of a user by table, of all tables with rows of users."""
        with closing(sqlite3.connect(self.db / "phone.db")) as database:
            tables = [name for name, in database.execute(
                "SELECT m.name FROM sqlite_master m, pragma_table_info(m.name) c WHERE "
                "m.type = 'table' AND c.name = 'UserContext'")]
            return {name: rows for name in tables if (rows := sorted(database.execute(
                f"SELECT * FROM {name} WHERE UserContext = ?", [user]), key=repr))}

    def store_user(self, user):
        self.assertNotIn("failure", self.ask(request(
            "update_request", f"<MobilityCurrentUser>{user}</MobilityCurrentUser>",
            "MobilitySettings")))

    def write_as(self, user):
        """What a person leaves on a telephone, under his name."""
        for message in (request("update_request", f"<Melody>{user}</Melody>", "AudioSettings"),
                        request("write_request", f"<Entry><Surname>{user}</Surname></Entry>",
                                "PhoneBook"),
                        request("write_request", MISSED_CALL.format(user), "CallLogMissedCalls"),
                        update(user)):
            self.assertNotIn("failure", self.ask(message))

    def seen(self):
        """Who wrote what the telephone shows: a setting, a key, contacts, calls."""
        answers = [self.ask(request("read_request", content, schema)) for schema, content in (
            ("AudioSettings", "<ResultCols>Melody</ResultCols>"
             f"<Context currentUser=\"{self.user()}\"></Context>"),
            ("FeatureKeys", "<ResultCols>Label</ResultCols><Id>100</Id>"),
            ("PhoneBook", ""), ("CallLog", ""))]
        return [next((user for user in ("base", "visitor") if f">{user}<" in answer), "")
                for answer in answers]

    def user(self):
        return next(user for user in ("base", "visitor")
                    if self.ask(WORD) == answered(Response=user))


class Story(MobilityTest):
    def test_a_guest_comes_and_goes_and_the_owner_finds_all_his_own(self):
        self.serve()
        self.ask(READ_ALL)
        self.write_as("base")
        owned = self.rows("base")
        self.change_to("visitor")
        self.assertEqual(self.seen(), ["base", "base", "", ""], "copies, but no book and no calls")
        self.write_as("visitor")
        self.assertEqual(self.seen(), ["visitor"] * 4)
        self.change_to("base")
        self.assertEqual(self.seen(), ["base"] * 4)
        self.assertEqual(self.rows("base"), owned)
        self.restart()
        self.assertEqual(self.seen(), ["base"] * 4)
        self.assertEqual({table: len(rows) for table, rows in self.rows("visitor").items()},
                         {"CallGroup": 16, "PHONE_BOOK": 1, "CALL_LOG": 1, **NOT_COPIED})
        self.changer.send(call("clearMobileUserDLSdata"))
        self.assertEqual(self.seen(), ["base"] * 4)
        self.assertEqual(self.rows("visitor").keys(), {"CallGroup", *NOT_COPIED})
        self.assertEqual(self.rows("base"), owned)

    def test_the_user_of_a_restart_is_the_one_that_a_client_stored(self):
        self.serve()
        self.change_to("visitor")
        self.restart()
        self.assertEqual(self.user(), "base", "a change of profile is not stored")
        self.change_to("visitor")
        self.store_user("visitor")
        self.restart()
        self.assertEqual(self.user(), "visitor")


class Reset(MobilityTest):
    CLIENTS = 8

    def keep_asking(self, barrier, ended):
        """Asks until told to end; what was answered otherwise than by rows or a refusal."""
        with closing(Wire(self.path)) as wire:
            barrier.wait()
            wrong = set()
            while not ended.is_set():
                for message in (READ_ALL, request("read_request", schema="CallGroups"),
                                update("mine", 101)):
                    answer = wire.exchange(asked(message))
                    if not any(f"<ReasonForMessage>{reason}<" in answer for reason in
                               ("read_response", "update_response", "failure")):
                        wrong.add(answer)
            return wrong

    def test_each_client_is_answered_or_refused_while_the_database_goes(self):
        self.serve()
        barrier, ended = threading.Barrier(self.CLIENTS + 1), threading.Event()
        create = call("invokeACMSFactoryReset", EnableCreateDb=True)
        with ThreadPoolExecutor(self.CLIENTS) as pool:
            clients = [pool.submit(self.keep_asking, barrier, ended) for _ in range(self.CLIENTS)]
            barrier.wait()
            try:
                for _ in range(3):
                    self.write_as("base")
                    self.assertEqual(self.seen()[0], "base")
                    for message in (call("factoryReset"), create, profile("base")):
                        self.assertEqual(self.changer.exchange(message), ACKNOWLEDGED)
                    self.assertEqual(self.seen()[0], "", "no value outlives its database")
            finally:
                ended.set()
        self.assertEqual([client.result() for client in clients], [set()] * self.CLIENTS)

    def test_a_profile_opens_the_service_again(self):
        self.serve()
        self.assertEqual(self.changer.exchange(call("factoryReset")), ACKNOWLEDGED)
        self.assertIn("failure", self.ask(READ_ALL))
        self.assertFalse((self.db / "phone.db").exists())
        self.change_to("visitor")
        self.assertEqual(self.user(), "visitor")
        self.restart()
        self.assertNotIn("failure", self.ask(READ_ALL))


class Kill(MobilityTest):
    ROUNDS = 10 if SANITIZED else 50

    def is_cut_off_at(self, moment):
        """Asks for the guest and then for the owner, and kills the host at the moment. Whether it
        was before the last answer."""
        self.changer.send(profile("visitor"), profile("base"))
        end = time.monotonic() + moment
        answers = b""
        while answers.count(b"\n") < 2 and (left := end - time.monotonic()) > 0:
            self.changer.socket.settimeout(left)
            try:
                answers += self.changer.socket.recv(4096)
            except TimeoutError:
                pass
        self.host.kill()
        self.host.wait(PATIENCE)
        return answers.count(b"\n") < 2

    def end_host(self):
        if self.host.returncode != -signal.SIGKILL:
            super().end_host()

    def test_the_owners_data_outlive_a_host_that_is_killed_in_a_change(self):
        seed = random.randrange(2**32)
        moments = random.Random(seed)
        self.serve()
        self.ask(READ_ALL)
        self.write_as("base")
        owned = self.rows("base")
        begin = time.monotonic()
        self.change_to("visitor")
        self.change_to("base")
        whole = time.monotonic() - begin
        cut_off = 0
        for number in range(self.ROUNDS):
            stored = moments.choice(["base", "visitor"])
            self.store_user(stored)
            cut_off += self.is_cut_off_at(moments.uniform(0, whole))
            self.serve()
            with self.subTest(seed=seed, round=number, stored=stored):
                self.assertEqual(self.rows("base"), owned)
                self.assertEqual(self.user(), stored)
        self.assertGreater(cut_off, 0, "no change was cut off")


class Listeners(MobilityTest):
    def test_a_listener_that_calls_back_from_what_it_hears_is_answered(self):
        self.serve()
        listener = self.wire()
        self.assertEqual(listener.exchange(call("AddListener")), answered())
        heard = '{"jsonrpc":"2.0","method":"ProfileChangedTo%s"}'
        for _ in range(5):
            self.changer.send(profile("visitor"))
            self.assertEqual(listener.receive(), heard % "Visitor")
            self.assertEqual(listener.exchange(asked(WORD)), answered(Response="visitor"))
            listener.send(profile("base"))
            self.assertEqual(listener.receive(), heard % "Base")
            self.assertEqual(listener.receive(), ACKNOWLEDGED)
            self.assertEqual(self.changer.receive(), ACKNOWLEDGED)
        self.assertEqual(self.user(), "base")

    def test_a_listener_whose_process_is_gone_holds_up_nobody(self):
        self.serve()
        other = self.wire()
        other.exchange(call("AddListener"))
        watch = self.start("watch", "--socket", self.path, stdout=subprocess.PIPE)
        while "watching\n" not in self.logged():
            self.assertIsNone(watch.poll(), self.logged())
        self.change_to("visitor")
        self.assertEqual(watch.stdout.readline(), b"ProfileChangedToVisitor\n")
        watch.kill()
        for user in ("base", "visitor") * 3:
            self.change_to(user)
        self.assertEqual([other.receive().count("ProfileChangedTo") for _ in range(7)], [1] * 7)


if __name__ == "__main__":
    unittest.main()
