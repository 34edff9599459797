"""Holds the pages against the program: every console block is typed into a shell, and must print what
the page shows; the reference page must be that of the program.

Usage: test_docs.py DAS sanitizers=NAMES [unittest arguments]

A block begins with ```console. Its lines that begin with "$ " are typed, a line that ends with a
backslash or stands after "> " goes on with the one before, the others are what a terminal of 100
columns shows then; "..." alone stands for any lines, within a line for any text. The blocks of a page are one
conversation, which begins in a fresh clone that is already built; ```console2 is a second terminal, where a
program may go on. "[1] ..." are lines of an interactive shell about its jobs, which this one does not print.
"""
import fcntl
import os
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import tempfile
import termios
import time
import unittest
from pathlib import Path

from host_test import DAS, SOURCES

PAGES = [SOURCES / "README.md", SOURCES / "SECURITY.md", *sorted((SOURCES / "docs").glob("*.md"))]
BLOCK = re.compile(r"^```(\w*)\n(.*?)^```$", re.M | re.S)
JOB = re.compile(r"\[\d+\][-+ ]")
COLOUR = re.compile(r"\x1b\[[0-9;]*[mK]")
END = "\x01"
PATIENCE = 120


def blocks(page, kind):
    return [text for name, text in BLOCK.findall(page.read_text()) if name == kind]


def steps_of(block):
    """Pairs of what is typed and of the lines that it shows."""
    steps = []
    for line in block.splitlines():
        if line.startswith("$ "):
            steps.append((line[2:], []))
        elif not steps:
            steps.append(("", [line]))
        elif not steps[-1][1] and (steps[-1][0].endswith("\\") or line.startswith("> ")):
            steps[-1] = (steps[-1][0] + "\n" + line.removeprefix("> "), [])
        else:
            steps[-1][1].append(line)
    return [(typed, [line for line in shown if not JOB.match(line)]) for typed, shown in steps]


def pattern_of(lines):
    text = ""
    for line in lines:
        if line.strip() == "...":
            text += r"(?:.*\n)*?"
        else:
            text += ".*?".join(re.escape(part) for part in line.split("...")) + r"\n"
    return re.compile(text)


class Conversation:
    """A shell that shows on a terminal what the lines print that are typed."""

    def __init__(self, clone):
        self.screen, terminal = pty.openpty()
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 40, 100, 0, 0))
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("DAS_", "DB_"))}
        environment.update(TERM="xterm", LC_ALL="C.UTF-8", DAS_PROGRESS_AFTER="3600000",
                           PATH=f"{DAS.parent}:{os.environ['PATH']}")
        self.shell = subprocess.Popen(["bash", "--norc"], stdin=subprocess.PIPE, stdout=terminal,
                                      stderr=terminal, cwd=clone, env=environment,
                                      start_new_session=True)
        os.close(terminal)

    def read(self, is_enough):
        text = ""
        deadline = time.monotonic() + PATIENCE
        while not is_enough(text):
            if not select.select([self.screen], [], [], max(0, deadline - time.monotonic()))[0]:
                return text
            try:
                text += os.read(self.screen, 65536).decode("utf-8", "replace").replace("\r\n", "\n")
            except OSError:
                return text
        return text

    def type(self, typed, pattern):
        """What the line shows, and its exit status. In the background it is waited for what the page
        shows, and for a host until it serves."""
        host = re.search(r"das serve .*--socket (\S+).*&$", typed)
        wait = f"until das profile --socket {host[1]} >/dev/null 2>&1; do :; done" if host else ":"
        line = (f"{{ {typed}\n}} </dev/null\nstatus=$?\n{wait}\nprintf '{END}%d{END}' $status\n"
                "(exit $status)\n")
        self.shell.stdin.write(line.encode())
        self.shell.stdin.flush()
        text = self.read(lambda text: text.count(END) == 2)
        parts = text.split(END)
        if len(parts) != 3:
            return text, -1
        shown = parts[0] + parts[2]
        if typed.endswith("&") and not pattern.fullmatch(COLOUR.sub("", shown)):
            shown += self.read(lambda more: pattern.fullmatch(COLOUR.sub("", shown + more)))
        return COLOUR.sub("", shown), int(parts[1])

    def watch(self, typed, pattern):
        """What a program shows that goes on in a second terminal, up to what the page shows."""
        if typed:
            self.shell.stdin.write(f"{typed} </dev/null\n".encode())
            self.shell.stdin.flush()
        return COLOUR.sub("", self.read(lambda text: pattern.fullmatch(COLOUR.sub("", text)))), 0

    def end(self):
        """Ends the shell with what it left running: all of the session that it leads."""
        self.shell.stdin.close()
        os.killpg(self.shell.pid, signal.SIGKILL)
        self.shell.wait()
        os.close(self.screen)


class Pages(unittest.TestCase):
    def clone(self):
        """A clone that is built: the tree by links, but with setup and build that have nothing to do."""
        place = Path(tempfile.mkdtemp(prefix="das-docs-"))
        self.addCleanup(shutil.rmtree, place)
        for each in SOURCES.iterdir():
            if each.name not in ("build", "var", "scripts", ".git"):
                (place / each.name).symlink_to(each)
        (place / "build").symlink_to(DAS.parent.parent)
        (place / "scripts").mkdir()
        for script in (SOURCES / "scripts").iterdir():
            (place / "scripts" / script.name).symlink_to(script)
        for name in ("setup", "build"):
            (place / "scripts" / name).unlink()
            (place / "scripts" / name).symlink_to("/bin/true")
        return place

    def check(self, page):
        steps = [(kind, *step) for kind, text in BLOCK.findall(page.read_text())
                 if kind.startswith("console") for step in steps_of(text)]
        if not steps:
            return 0
        clone, terminals = self.clone(), {}
        try:
            for number, (kind, typed, expected) in enumerate(steps):
                with self.subTest(page=page.name, typed=typed):
                    pattern = pattern_of(expected)
                    terminal = terminals.get(kind) or terminals.setdefault(kind, Conversation(clone))
                    shown, status = (terminal.type if kind == "console" else terminal.watch)(typed, pattern)
                    # A terminal fills the last column of a table up with blanks; a page need not.
                    shown = re.sub(r" +$", "", shown, flags=re.M)
                    if not pattern.fullmatch(shown):
                        self.assertEqual("\n".join(expected) + "\n", shown)
                    told = number + 1 < len(steps) and "$?" in steps[number + 1][1]
                    if not told and not any(line.startswith("das: ") for line in expected):
                        self.assertEqual(status, 0)
        finally:
            for terminal in terminals.values():
                terminal.end()
        return len(steps)

    def test_each_console_block_shows_what_its_page_says(self):
        counts = {page.name: self.check(page) for page in PAGES}
        self.assertGreater(counts["README.md"], 0)
        self.assertGreater(counts["tutorial.md"], 10)

    def test_a_block_that_shows_something_else_is_found(self):
        clone = self.clone()
        page = clone / "page.md"
        for wrong in ("$ echo a\nb", "$ echo a", "$ false", "$ :\na", "$ echo a >&2\n...\nb"):
            page.write_text(f"```console\n{wrong}\n```\n")
            found = unittest.TestResult()
            case = type(self)("run_page")
            case.page = page
            case.run(found)
            self.assertTrue(found.failures, wrong)

    def run_page(self):
        self.check(self.page)

    def test_changes_that_a_page_shows_fit_the_code(self):
        for page in PAGES:
            for change in blocks(page, "diff"):
                with self.subTest(page=page.name, change=change):
                    run = subprocess.run(["git", "apply", "--check", "-C1", "--recount", "-"],
                                         input=change.encode(), cwd=SOURCES, check=False,
                                         capture_output=True)
                    self.assertEqual(run.returncode, 0, run.stderr.decode())

    def test_links_lead_to_what_is_there(self):
        for page in PAGES:
            text = BLOCK.sub("", page.read_text())
            for link in re.findall(r"\]\(([^)#]+)(?:#[^)]*)?\)", text):
                if "://" not in link:
                    with self.subTest(page=page.name, link=link):
                        self.assertTrue((page.parent / link).exists())


class Guarantees(unittest.TestCase):
    """Each promise, a row of a table, is one sentence and names tests that exist."""

    PAGE = SOURCES / "docs/guarantees.md"
    ROW = re.compile(r"\| (?P<promise>.+?) \| (?P<tests>.+?) \|")
    NAME = re.compile(r"`([^`]+)`")

    @staticmethod
    def names():
        """Of all tests and campaigns, as the page writes them."""
        found = set()
        for source in (SOURCES / "tests").rglob("*.cpp"):
            found.update(".".join(test) for test in
                         re.findall(r"^TEST(?:_F|_P)?\((\w+), (\w+)\)", source.read_text(), re.M))
        for source in (SOURCES / "tests").rglob("test_*.py"):
            for piece in re.split(r"^class ", source.read_text(), flags=re.M)[1:]:
                class_name = re.match(r"\w+", piece)[0]
                found.update(f"{class_name}.{test}"
                             for test in re.findall(r"^    def (test_\w+)", piece, re.M))
        campaigns = (SOURCES / "scripts/campaign").read_text().split("campaigns='", 1)[1]
        found.update(f"campaign {line.split()[0]}"
                     for line in campaigns.split("'", 1)[0].splitlines() if line)
        return found

    @classmethod
    def faults_of(cls, text, names):
        faults = []
        for block in re.split(r"\n\n+", text.split("\n## ", 1)[1]):
            if not block.startswith("|"):
                continue
            for line in block.splitlines()[2:]:
                row = cls.ROW.fullmatch(line)
                if row is None:
                    faults.append(f"not a promise and its tests, in two cells: {line}")
                    continue
                shown = cls.NAME.findall(row["tests"])
                if not shown:
                    faults.append(f"no test is named for: {row['promise']}")
                if re.search(r"[.;] [A-Z]", row["promise"]):
                    faults.append(f"more than one sentence, each needs a row: {row['promise']}")
                faults += [f"there is no test or campaign {name}, which is named for: {row['promise']}"
                           for name in shown if name not in names]
        return faults

    def test_each_promise_names_tests_that_exist(self):
        self.assertEqual(self.faults_of(self.PAGE.read_text(), self.names()), [])

    def test_a_promise_without_a_test_is_found(self):
        page = "# G\n\n## A\n\n| P | T |\n|---|---|\n| It holds | `A.B`, `campaign c` |\n"
        self.assertEqual(self.faults_of(page, {"A.B", "campaign c"}), [])
        for row, fault in (("| It holds | tried once |", "no test is named for: It holds"),
                           ("| It holds | `A.C` |", "there is no test or campaign A.C, which is"),
                           ("| It holds. So does this | `A.B` |", "more than one sentence"),
                           ("| It holds `A.B` |", "not a promise and its tests")):
            found = self.faults_of(page + row, {"A.B", "campaign c"})
            self.assertEqual([each[:len(fault)] for each in found], [fault])


if __name__ == "__main__":
    unittest.main()
