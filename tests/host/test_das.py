"""Runs das as people and programs run it: arguments and input in, answers and exit status out.

Usage: test_das.py DAS sanitizers=NAMES [unittest arguments]
"""
import os
import pty
import re
import shutil
import sqlite3
import subprocess
import unittest
from pathlib import Path

from host_test import (DAS, LIBRARIES, PLATFORM, READ_ALL, SANITIZED, SERVICE, SOURCES, UPDATED, HostTest,
                       failure, label_answer, read_label, request, update)

class CommandLine(HostTest):
    def test_exit_status_and_output(self):
        word = self.file("word", "getCurrentUser\n")
        unknown = self.file("unknown", request("read_request", schema="Nope"))
        rows = [
            # name, arguments, lines of input, status, output, part of standard error
            ("version", ["--version"], [], 0, r"das \d+\.\d+\.\d+ \(commit ([0-9a-f]{12}(-dirty)?|unknown), SQLite "
             + re.escape(sqlite3.sqlite_version) + r", expat \d+\.\d+\.\d+\)\n", ""),
            ("help", ["--help"], [], 0, ".*--db DIR.*request.*", ""),
            ("no command", [], [], 0, ".*--db DIR.*request.*", ""),
            ("a file less one line feed", ["request", word], [], 0, "base\n", ""),
            ("a file less one of two line feeds",
             ["request", self.file("two", "getCurrentUser\n\n")], [], 1, re.escape(failure("")), ""),
            ("an empty file is a message",
             ["request", self.file("empty", "")], [], 1, re.escape(failure("")), ""),
            ("lines, empty ones skipped", ["request"], ["", "getCurrentUser", "", "getCurrentUser"],
             0, "base\nbase\n", ""),
            ("no lines", ["request"], [], 0, "", ""),
            ("files and lines in order", ["request", unknown, "-", word], ["getCurrentUser"], 1,
             re.escape(failure("Nope")) + "\nbase\nbase\n", ""),
            ("one failure among others", ["request", word, unknown, word], [], 1,
             "base\n.*failure.*\nbase\n", ""),
            ("a stored text is no failure", ["request"],
             [update("<ReasonForMessage>failure</ReasonForMessage>"), read_label()], 0,
             re.escape(UPDATED) + "\n.*<Label><ReasonForMessage>failure.*", ""),
            ("a file named like the command", ["request", self.file("request", "getCurrentUser")],
             [], 0, "base\n", ""),
            ("a missing file", ["request", word, self.place / "gone"], [], 2, "",
             "gone: No such file or directory"),
            ("a folder", ["request", word, self.db], [], 2, "", "db: Is a directory"),
        ]
        for name, arguments, lines, status, output, errors in rows:
            with self.subTest(name):
                run = self.das(*arguments, lines=lines)
                self.assertEqual(run.returncode, status, run.errors)
                self.assertIsNotNone(re.fullmatch(f"{output}\n?", run.stdout.decode(), re.DOTALL),
                                     run.stdout)
                self.assertIn(errors, run.errors)

    def test_nothing_is_started_when_a_file_cannot_be_read(self):
        word = self.file("word", "getCurrentUser")
        self.assertEqual(self.das("request", word, "gone").returncode, 2)
        self.assertEqual(list(self.db.iterdir()), [])

    def test_options_stand_before_or_behind_the_command(self):
        for name, place in (("before", lambda options: [*options, "request"]),
                            ("after", lambda options: ["request", *options])):
            with self.subTest(name):
                db, root = self.place / f"{name}-db", self.place / f"{name}-root"
                db.mkdir()
                (root / "data").mkdir(parents=True)
                (root / "data").chmod(0o700)
                run = self.das(*place(["--db", db, "--root", root]), lines=["getCurrentUser"])
                self.assertEqual((run.returncode, run.answers), (0, ["base"]), run.errors)
                self.assertTrue((db / "phone.db").is_file())
                self.assertEqual((root / "data").stat().st_mode & 0o777, 0o770)
        self.assertEqual(list(self.db.iterdir()), [], "the options go before the environment")


class Streams(HostTest):
    def test_standard_output_carries_answers_only(self):
        run = self.das("request", lines=["getCurrentUser"])
        self.assertEqual(run.stdout, b"base\n")
        self.assertIn("DataAccessService::init setting m_currentUser = base\n", run.errors)

    def test_each_line_is_answered_as_it_comes(self):
        with subprocess.Popen([DAS, "request"], env=self.environment(), stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
            for _ in range(2):
                process.stdin.write(b"getCurrentUser\n")
                process.stdin.flush()
                self.assertEqual(process.stdout.readline(), b"base\n")
            process.stdin.close()
            self.assertEqual(process.wait(), 0)

    def test_an_import_shows_its_progress_on_a_terminal_only(self):
        (self.root / "data/book.csv").write_text("base,,Name,,089\n" * 10000)
        call = ["call", "importDataForUser", "schemaName=PhoneBook", "userToImportFor=0",
                "filePathAndName=/data/book.csv"]
        self.assertNotIn("%", self.das(*call).errors)
        screen, terminal = pty.openpty()
        with subprocess.Popen([DAS, *call], env=self.environment(DAS_LOG="0", DAS_PROGRESS_AFTER="0"), stdin=terminal,
                              stdout=subprocess.DEVNULL, stderr=terminal):
            os.close(terminal)
            shown = b""
            with self.assertRaises(OSError), open(screen, "rb", buffering=0) as bar:
                while True:
                    shown += bar.read(4096)
        self.assertRegex(shown.decode(), r"(?s)\rimport, [1-9]\d* rows, [1-9]\d? % *.*\r +\r$")

    def test_a_reader_that_is_gone_ends_the_run(self):
        reader, writer = os.pipe()
        os.close(reader)
        with open(writer, "wb") as pipe:
            run = self.das("request", lines=["getCurrentUser", update("late")], stdout=pipe)
        self.assertEqual((run.returncode, run.errors.count("Broken")), (141, 0))
        self.assertEqual(self.das("request", lines=[read_label()]).answers, [label_answer("")],
                         "what came after the lost answer was not sent")

    def test_a_full_device_is_told(self):
        with open("/dev/full", "wb") as full:
            run = self.das("request", lines=["getCurrentUser"], stdout=full)
        self.assertEqual(run.returncode, 1)
        self.assertIn("standard output: No space left on device", run.errors)

    def test_input_that_cannot_be_read_is_told(self):
        folder = os.open(self.place, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        run = self.das("request", stdin=folder)
        self.assertEqual((run.returncode, run.stdout), (2, b""))
        self.assertIn("standard input: Is a directory", run.errors)

    def test_closed_descriptors_do_no_harm(self):
        rows = [("input", "<&-", 2, "standard input: Bad file descriptor"),
                ("output", ">&-", 1, "standard output: Bad file descriptor")]
        for name, closed, status, errors in rows:
            with self.subTest(name):
                run = self.das("-c", f'echo getCurrentUser | {{ "{DAS}" request {closed}; }}',
                               program="/bin/sh")
                self.assertEqual((run.returncode, run.stdout), (status, b""), run.errors)
                self.assertIn(errors, run.errors)


class Databases(HostTest):
    def test_a_new_database_is_private(self):
        run = self.das("request", lines=[READ_ALL])
        self.assertEqual(run.answers[0].count("<Entry>"), 177)
        self.assertEqual((self.db / "phone.db").stat().st_mode & 0o777, 0o600)
        self.assertIn("phone.db: No such file or directory", run.errors)
        again = self.das("request", lines=[READ_ALL])
        self.assertEqual(again.answers, run.answers)
        self.assertNotIn("phone.db:", again.errors, "a good database gets no line")

    def test_without_a_folder_the_working_directory_is_used(self):
        environment = self.environment()
        del environment["DB_PATH"]
        subprocess.run([DAS, "request"], env=environment, input=b"getCurrentUser\n", check=True,
                       cwd=self.place, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.assertTrue((self.place / "phone.db").is_file())

    def test_a_place_that_cannot_be_used_is_told_and_refused(self):
        junk = b"no database, " * 100
        rows = [
            ("missing folder", lambda db: db.rmdir(), "db: No such file or directory"),
            ("a file for a folder", lambda db: (db.rmdir(), db.write_bytes(b"")),
             "db: Not a directory"),
            ("a folder for a file", lambda db: (db / "phone.db").mkdir(),
             "phone.db: Is a directory"),
            ("not a database", lambda db: (db / "phone.db").write_bytes(junk), ""),
        ]
        for number, (name, spoil, line) in enumerate(rows):
            with self.subTest(name):
                db = self.place / f"{number}" / "db"
                db.mkdir(parents=True)
                spoil(db)
                run = self.das("request", "--db", db, lines=[READ_ALL, "getCurrentUser"])
                self.assertEqual(run.answers, [failure(), "base"])
                self.assertEqual(run.returncode, 1)
                self.assertIn(line, run.errors)
        self.assertEqual((db / "phone.db").read_bytes(), junk, "a foreign file is left alone")

    def test_a_forbidden_folder_is_told_and_refused(self):
        self.db.chmod(0o500 if os.getuid() else 0o700)
        run = self.run_unprivileged([READ_ALL, "getCurrentUser"])
        self.assertEqual((run.returncode, run.answers), (1, [failure(), "base"]), run.errors)
        self.assertIn(f"das: {self.db}: Permission denied", run.errors)

    def test_a_read_only_database_is_told_and_read(self):
        filled = self.das("request", lines=[READ_ALL])
        (self.db / "phone.db").chmod(0o444)
        run = self.run_unprivileged([READ_ALL, update("new"), READ_ALL])
        # The folder is forbidden only to a user whose it is not.
        for path in (self.db / "phone.db", *([self.db] if os.getuid() == 0 else [])):
            self.assertIn(f"das: {path}: Permission denied", run.errors)
        self.assertEqual(run.answers, [filled.answers[0], failure(), filled.answers[0]])
        self.assertEqual(run.returncode, 1)


class Libraries(HostTest):
    ALLOWED = {"linux-vdso", "ld-linux", "libc", "libm", "libgcc_s", "libstdc++", "libpthread",
               "libdl", "libdasplatform", "libsqlite3", "libexpat", "libsodium"}
    EXPORTED = re.compile(r"create\w+|_ZT[IS]\d+\w+Ifc")

    def output_of(self, *command):
        return subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout

    def needs(self, path):
        found = re.findall(r"^\s*(\S+)(?: => (\S+))?", self.output_of("ldd", path), re.MULTILINE)
        return {re.match(r"[\w+]+(?:-vdso|-linux)?", Path(name).name)[0]: where
                for name, where in found}

    def test_a_library_that_cannot_be_loaded_gives_status_3(self):
        foreign = self.needs(LIBRARIES / PLATFORM)["libexpat"]
        rows = [("missing", lambda path: None, "cannot open"),
                ("not a library", lambda path: path.write_text("junk"), "libDataAccessService"),
                ("another library", lambda path: shutil.copy(foreign, path),
                 "createDataAccessService")]
        program = self.copy_of_tree(PLATFORM)
        for name, prepare, words in rows:
            with self.subTest(name):
                prepare(program.parent.parent / "lib" / SERVICE)
                run = self.das("request", lines=["getCurrentUser"], program=program)
                self.assertEqual((run.returncode, run.stdout), (3, b""))
                self.assertRegex(run.errors, f"das: .*can't be loaded: .*{words}")
                self.assertFalse((self.db / "phone.db").exists())

    def test_the_library_is_found_where_the_loader_looks(self):
        program = self.copy_of_tree(PLATFORM)
        versioned = self.place / "versioned"  # as where no files for developers are installed
        versioned.mkdir()
        shutil.copy(LIBRARIES / SERVICE, versioned / f"{SERVICE}.0")
        for folder in (LIBRARIES, versioned):
            with self.subTest(folder.name):
                run = self.das("request", lines=["getCurrentUser"], program=program,
                               env={"LD_LIBRARY_PATH": str(folder)})
                self.assertEqual((run.returncode, run.answers), (0, ["base"]), run.errors)

    @unittest.skipIf(SANITIZED, "sanitizers add their own")
    def test_nothing_but_what_is_meant_is_linked_and_exported(self):
        for path in (LIBRARIES / SERVICE, LIBRARIES / PLATFORM):
            self.assertLessEqual(set(self.needs(path)), self.ALLOWED, path.name)
        self.assertNotIn("libDataAccessService", self.needs(DAS))
        listing = self.output_of("nm", "-D", "--defined-only", LIBRARIES / SERVICE)
        names = {line.split()[-1] for line in listing.splitlines()}
        self.assertIn("createDataAccessService", names)
        self.assertEqual({name for name in names if not self.EXPORTED.fullmatch(name)}, set())

    @unittest.skipIf(SANITIZED, "sanitizers add their own")
    def test_no_path_of_this_machine_stands_in_the_files(self):
        for path in (DAS, LIBRARIES / SERVICE, LIBRARIES / PLATFORM):
            self.assertNotIn(str(SOURCES).encode(), path.read_bytes(), path.name)


class Examples(HostTest):
    SHOW = SOURCES / "scripts" / "show-examples"

    def show(self, *files):
        return self.das(DAS, self.db, self.root, *files, program=self.SHOW)

    def test_the_examples_are_answered_as_they_say(self):
        run = self.show(*sorted((SOURCES / "examples").glob("[0-9]*")))
        self.assertEqual(run.returncode, 0, run.errors)
        shown = run.stdout.decode()
        for part in ("177 entries", "<Label>O'Brien & Sons</Label>", 'name="CoffeeMachine"',
                     "answer (refused)", "\n  base\n", "30:65:;31:64:;"):
            self.assertIn(part, shown)

    def test_an_unexpected_answer_is_told(self):
        rows = [("01-good.xml", request("read_request", schema="Nope")),
                ("02-refused.xml", "getCurrentUser")]
        for name, message in rows:
            with self.subTest(name):
                run = self.show(self.file(name, message))
                self.assertEqual(run.returncode, 1)
                self.assertIn(f"unexpected answer to {name}", run.errors)


if __name__ == "__main__":
    unittest.main()
