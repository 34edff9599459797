"""What a host does with its socket, and with clients that use it badly.

Usage: test_sockets.py DAS sanitizers=NAMES [unittest arguments]
"""
import fcntl
import os
import resource
import signal
import socket
import sqlite3
import stat
import unittest

from host_test import (MIB, PATIENCE, READ_ALL, SANITIZED, UPDATED, WORD, RemoteTest, answered,
                       asked, call, label_answer, read_label, request, update)
from test_remote import NAMELESS, PARSE_ERROR


class Sockets(RemoteTest):
    def test_a_path_that_cannot_be_used_is_told(self):
        self.serve()
        (self.place / "folder").mkdir()
        os.mkfifo(self.place / "pipe")
        (self.place / "link").symlink_to(self.path)
        (self.place / "dangling").symlink_to("nothing")
        rows = [("in use", self.path, "another host listens"),
                ("a folder", self.place / "folder", "Is a directory"),
                ("a file", self.file("file", "kept"), "File exists"),
                ("a pipe", self.place / "pipe", "File exists"),
                ("a link", self.place / "link", "File exists"),
                ("a dangling link", self.place / "dangling", "File exists"),
                ("too long", self.place / ("s" * 108), "at most 107 bytes"),
                ("in no folder", self.place / "gone" / "s", "No such file"),
                ("empty", "", "empty"),
                ("below a file", self.place / "file" / "s", "Not a directory")]
        for name, path, words in rows:
            with self.subTest(name):
                run = self.das("serve", "--socket", path)
                self.assertEqual((run.returncode, run.stdout), (2, b""))
                self.assertIn(words, run.errors)
        self.assertEqual((self.place / "file").read_text(), "kept")
        self.assertEqual(self.wire().exchange(asked(WORD)), answered(Response="base"))
        for arguments in (["serve"], ["serve", "--stdio", "--socket", self.path]):
            self.assertEqual(self.das(*arguments).returncode, 2)

    def test_the_socket_is_for_owner_and_group_and_a_stale_one_is_replaced(self):
        for umask in (0, 0o077):
            before = os.umask(umask)
            self.addCleanup(os.umask, before)
            stale = socket.socket(socket.AF_UNIX)
            stale.bind(str(self.path))
            stale.close()
            host = self.serve()
            os.umask(before)
            status = self.path.stat()
            self.assertTrue(stat.S_ISSOCK(status.st_mode))
            self.assertEqual(status.st_mode & 0o777, 0o660)
            self.end_host()
            self.assertFalse(self.path.exists())
            self.assertEqual(host.returncode, 0)

    def test_a_socket_may_stand_in_the_folder_of_the_database(self):
        self.path = self.db / "s"
        self.serve()
        self.assertEqual(self.das("serve", "--socket", self.path).returncode, 2)
        (self.db / "lock").symlink_to(self.db)  # nothing of others is removed
        second = self.start("serve", "--socket", self.db / "t")
        while not (self.db / "t").exists():
            self.assertIsNone(second.poll())
        second.terminate()
        self.assertEqual(second.wait(PATIENCE), 0)
        self.assertEqual(list(self.db.glob(".*")), [])

    @unittest.skipUnless(os.geteuid() == 0, "it needs another user")
    def test_another_users_lock_in_a_sticky_folder_holds_up_no_host(self):
        self.place.chmod(0o1777)
        lock = self.place / ".s.das-start"
        lock.touch()
        os.lchown(lock, 65534, 65534)
        with open(lock, "w", encoding="ascii") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            for link in (False, True):
                if link:
                    lock.unlink()
                    lock.symlink_to("nowhere")
                    os.lchown(lock, 65534, 65534)
                self.serve()
                self.assertIn("another user's: the host starts without this lock", self.logged())
                self.end_host()
                self.assertTrue(lock.is_symlink() or lock.exists())

    def test_the_socket_is_no_file_for_clients(self):
        self.path = self.root / "data" / "s"
        self.serve()
        (self.root / "data" / "other").write_text("")
        (self.root / "data" / "ringtones").symlink_to(".")
        wire = self.wire()
        for message in (call("moveFile", OldFileName="/data/other", NewFileName="/data/s"),
                        call("moveFile", OldFileName="/data/s", NewFileName="/data/t"),
                        call("moveFile", OldFileName="/data", NewFileName="/elsewhere"),
                        call("deleteFile", directory="/data/ringtones", name="s")):
            self.assertEqual(wire.exchange(message), answered(Acknowledge=False))
        self.assertEqual(self.wire().exchange(asked(WORD)), answered(Response="base"))

    def test_a_file_that_may_not_grow_ends_no_host(self):
        limits = (60000, 60000)
        self.serve(preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, limits))
        answer = self.wire().exchange(asked(request("write_request", schema="CallGroup")))
        self.assertIn("failure", answer)

    @unittest.skipIf(SANITIZED, "it takes more memory than that")
    def test_with_little_memory_each_message_has_an_answer_or_an_end(self):
        for limit in range(6, 22):
            with self.subTest(mebibytes=limit):
                sizes = (limit * MIB, limit * MIB)
                host = self.start("serve", "--socket", self.path, preexec_fn=lambda sizes=sizes:
                                  resource.setrlimit(resource.RLIMIT_DATA, sizes))
                try:
                    while host.poll() is None and not self.path.exists():
                        pass
                    wire = self.wire()
                    for _ in range(10):
                        if not wire.exchange(asked(READ_ALL)):
                            break
                except OSError:
                    pass  # it could not start
                host.terminate()
                self.assertIn(host.wait(PATIENCE), (0, 1), self.logged())

    def test_two_hosts_that_start_at_once_do_not_share_a_path(self):
        hosts = [self.start("serve", "--socket", self.path) for _ in range(4)]
        statuses = []
        while len(statuses) < 3:
            statuses = [host.poll() for host in hosts if host.poll() is not None]
        self.assertEqual(statuses, [2, 2, 2])
        self.assertEqual(self.wire().exchange(asked(WORD)), answered(Response="base"))
        for host in hosts:
            host.send_signal(signal.SIGINT)
        self.assertEqual(sorted(host.wait(PATIENCE) for host in hosts), [0, 2, 2, 2])

    def test_a_line_above_8_mib_is_answered_and_its_client_closed(self):
        self.serve()
        for start, answer in (("{", PARSE_ERROR), ("<", NAMELESS), ("x", PARSE_ERROR)):
            for end in (b"\n", b""):
                with self.subTest(start, end=end):
                    wire = self.wire()
                    wire.socket.sendall(start.encode() + b" " * 8 * MIB + end)
                    self.assertEqual([wire.receive(), wire.receive()], [answer, ""])
        spaces = asked(WORD) + " " * (8 * MIB - len(asked(WORD)))
        self.assertEqual(self.wire().exchange(spaces), answered(Response="base"))
        self.assertIn("a message above 8388608 bytes", self.logged())
        run = self.das("serve", "--stdio", lines=["<" + " " * 8 * MIB, asked(WORD)])
        self.assertEqual((run.returncode, run.answers), (0, [NAMELESS]))

    def test_half_a_line_holds_up_nobody(self):
        self.serve()
        half = self.wire()
        half.socket.sendall(asked(WORD).encode()[:-5])
        self.assertEqual(self.wire().exchange(asked(WORD)), answered(Response="base"))
        half.send(asked(WORD)[-5:])
        self.assertEqual(half.receive(), answered(Response="base"), "the rest completes it")
        half.socket.sendall(asked(update("half")).encode())
        half.socket.shutdown(socket.SHUT_WR)
        self.assertEqual(half.receive(), "")
        self.assertEqual(self.wire().exchange(asked(read_label())),
                         answered(Response=label_answer("")), "a line without its end is no message")

    def test_the_request_of_a_client_that_has_gone_is_finished(self):
        self.serve()
        keys = range(100, 120)
        for key in keys:
            wire = self.wire()
            wire.send(asked(update("last words", key)))
            wire.close()
        wire = self.wire()
        for key in keys:
            while wire.exchange(asked(read_label(key))) != answered(
                    Response=label_answer("last words")):
                pass

    def test_the_answers_of_a_client_that_closed_its_end_are_sent(self):
        self.serve()
        wire = self.wire()
        wire.send(*[asked(READ_ALL)] * 50)
        wire.socket.shutdown(socket.SHUT_WR)
        answers = [wire.receive() for _ in range(51)]
        self.assertEqual(len(set(answers[:50])), 1)
        self.assertEqual(answers[50], "")

    def test_a_client_that_does_not_read_is_closed_and_holds_up_nobody(self):
        self.serve()
        slow, other = self.wire(), self.wire()
        slow.exchange(call("AddListener"))
        size = len(slow.exchange(asked(READ_ALL)))
        with self.assertRaises(ConnectionError):
            for number in range(20 * MIB // size):
                slow.send(asked(READ_ALL))
                if number % 50 == 0:
                    self.assertEqual(other.exchange(asked(WORD)), answered(Response="base"))
            while True:  # what was sent is being handled: the close comes with it
                slow.send(asked(WORD))
        self.assertRegex(self.logged(), r"(?m)^2 das \S+ Client \d+ is closed: it does not read")
        self.assertEqual(other.exchange(call("setProfile", NewProfile="visitor")),
                         answered(Acknowledge=True))

    def test_sigterm_leaves_batches_whole(self):
        keys = range(100, 150)
        for attempt in range(3):
            self.serve()
            wire = self.wire()
            wire.send(*[asked(request("update_request", "".join(
                f"<Entry><Id>{key}</Id><Label>{attempt}.{number}</Label></Entry>" for key in keys)),
                number) for number in range(60)])
            self.end_host()
            last = -1
            for last, line in enumerate(iter(wire.receive, "")):
                self.assertEqual(line, answered(last, Response=UPDATED))
            with sqlite3.connect(self.db / "phone.db") as database:
                rows = database.execute("SELECT DISTINCT Label FROM FEATURE_KEYS WHERE UserContext "
                                        f"= 'base' AND Id IN {tuple(keys)}").fetchall()
            database.close()
            self.assertEqual(rows, [(f"{attempt}.{last}",)], "what was answered is there, no more")


if __name__ == "__main__":
    unittest.main()
