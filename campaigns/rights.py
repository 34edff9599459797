"""Rights of the files and the socket.

Usage: rights.py PROGRAMS [--rounds N] [--seed S]
"""
import os
import re
import shutil
import signal
import socket
import sqlite3
import stat
import sys
import threading
import time

from host_campaign import SOURCES, Campaign, Place, asked, call, request

WORD = asked("getCurrentUser")
ANSWER = '{"jsonrpc":"2.0","id":1,"result":{"Response":"base"}}'
OPEN_MASK = 0


def wide(mode):
    return mode & 0o077 != 0


def with_umask(mask):
    return {"preexec_fn": lambda: os.umask(mask)}


class Watch:
    """Looks at all files of some folders as often as it can."""

    def __init__(self, campaign, folders, good):
        self.campaign, self.folders, self.good = campaign, folders, good
        self.seen, self.is_over = {}, False
        self.thread = threading.Thread(target=self.run)

    def run(self):
        while not self.is_over:
            for folder in self.folders:
                try:
                    entries = list(os.scandir(folder))
                except FileNotFoundError:
                    continue
                for entry in entries:
                    try:
                        mode = entry.stat(follow_symlinks=False).st_mode
                    except FileNotFoundError:
                        continue
                    if stat.S_ISDIR(mode):
                        continue
                    if not self.good(entry.name, mode):
                        self.campaign.found(f"{entry.path} has the mode {mode & 0o777:o}")
                    self.seen[entry.name] = self.seen.get(entry.name, 0) + 1

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.is_over = True
        self.thread.join()


# Files -------------------------------------------------------------------------------------------

CALL = re.compile(r"^\d+ +(\w+)\((.*)\) += (-?\d+)")
TRACED = "trace=open,openat,creat,rename,renameat,renameat2,link,linkat,unlink,unlinkat,chmod," \
         "fchmod,fchmodat"


def made_files(trace, present):
    """Each file that a trace shows to be made, with its mode: a name, or nothing, and the mode."""
    for line in trace.read_text(errors="replace").splitlines():
        matched = CALL.match(line)
        if matched is None or int(matched[3]) < 0:
            continue
        name, arguments = matched[1], matched[2]
        paths = re.findall(r'"([^"]*)"', arguments)
        if "unlink" in name:
            present.discard(paths[0])
        elif "rename" in name or "link" in name:
            present.add(paths[1])
        elif "chmod" in name:
            mode = int(arguments.rsplit(", ", 1)[1], 8)
            if wide(mode):
                yield (paths or ["an open file"])[0], mode
        elif "O_CREAT" in arguments and paths[0] not in present:
            present.add(paths[0])
            yield paths[0], int(arguments.rsplit(", ", 1)[1], 8)


# A contact, and a password that is encrypted at the start.
ROWS = (("PHONE_BOOK", "Surname", "'kept'"),
        ("DSS_KEY_SETTINGS", "UserContext, Id, DssSipPassword", "'base', '100', 'secret'"))


def fill(place, text):
    database = sqlite3.connect(place.db / "phone.db")
    script = (SOURCES / "tests" / "databases" / f"{text}.sql").read_text()
    database.executescript(script)
    for table, columns, values in ROWS:
        try:
            database.execute(f"INSERT INTO {table} ({columns}) VALUES ({values})")
        except sqlite3.Error:
            pass  # this text has no such table
    database.commit()
    database.close()
    os.chmod(place.db / "phone.db", 0o600)


def check_start(campaign, text):
    """A start over a database of earlier: everything that it makes is its owner's alone."""
    with Place(campaign) as place:
        if text is not None:
            fill(place, text)
        folders = [place.db, place.root, place.root / "Aurel_Deploy"]
        given = {"DasGenConfigDeviceDataItems.csv"}
        trace = place.path / "trace"
        tracer = ["strace", "-f", "-s", "4096", "-o", trace, "-e", TRACED]
        present = {str(path) for path in place.path.rglob("*")}
        with Watch(campaign, folders, lambda name, mode: name in given or not wide(mode)) as watch:
            run = place.das("request", before=tracer if shutil.which("strace") else [],
                            lines=["getCurrentUser", request("read_request", schema="PhoneBook"),
                                   request("update_request", "<Id>100</Id><Label>x</Label>")],
                            **with_umask(OPEN_MASK))
        campaign.check(run.answers[:1] in (["base"], ["visitor"]), f"{text}: {run.errors}")
        for name in watch.seen:
            campaign.count(f"sightings of {re.sub(r'-[0-9]+-[0-9]+$|(?<=key)[.].*', '…', name)}",
                           watch.seen[name])
        if trace.exists():
            for path, mode in made_files(trace, present):
                if path.startswith(str(place.path)) and path != str(place.root / "data"):
                    campaign.count("files seen to be made")
                    campaign.check(not wide(mode), f"{text}: {path} is made with mode {mode:o}")


def check_journal(campaign):
    """The journal of a transaction that is open, and the database behind a reset."""
    with Place(campaign) as place, \
            Watch(campaign, [place.db], lambda name, mode: not wide(mode)) as watch:
        place.serve(**with_umask(OPEN_MASK))
        wire = place.wire()
        batch = "".join(f"<Entry><Id>{key}</Id><Label>%s</Label></Entry>"
                        for key in range(100, 118))
        give_up = time.monotonic() + 20
        while watch.seen.get("phone.db-journal", 0) < 20 and time.monotonic() < give_up:
            wire.exchange(asked(request("update_request",
                                        batch.replace("%s", str(time.monotonic_ns())))))
        campaign.count("sightings of a journal", watch.seen.get("phone.db-journal", 0))
        campaign.check(watch.seen.get("phone.db-journal", 0) > 0, "no journal was ever seen")
        wire.exchange(call("factoryReset"))
        campaign.check(not (place.db / "phone.db").exists(), "a reset left the database")
        wire.exchange(call("invokeACMSFactoryReset", EnableCreateDb=True))
        wire.exchange(asked(request("update_request", "<Id>100</Id><Label>x</Label>")))
        campaign.check((place.db / "phone.db").exists(), "no database behind the reset")
        place.end_host()


def check_files(campaign):
    for text in [None, *sorted(path.stem for path in (SOURCES / "tests/databases").glob("*.sql"))]:
        check_start(campaign, text)
    check_journal(campaign)


# The socket --------------------------------------------------------------------------------------

def bound_mode(trace, path):
    """The mode that the socket had when it was bound to the path."""
    modes = {}
    for line in trace.read_text(errors="replace").splitlines():
        matched = CALL.match(line)
        if matched is None:
            continue
        name, (descriptor, rest) = matched[1], matched[2].split(", ", 1)
        if name == "fchmod":
            modes[descriptor] = int(rest, 8)
        elif name == "bind" and str(path) in rest:
            return modes.get(descriptor)
    return None


def check_bind(campaign):
    """Stale sockets are replaced, and the new one never has wider rights than it is to have."""
    for mask in (0, 0o022, 0o077, 0o777):
        with Place(campaign) as place:
            sockets = place.path / "sockets"
            sockets.mkdir()
            place.socket = sockets / "s"
            with Watch(campaign, [sockets], lambda _, mode: mode & 0o777 & ~0o660 == 0) as watch:
                for stale in (False, True, True):
                    place.serve(**with_umask(mask))
                    mode = place.socket.stat().st_mode & 0o777
                    campaign.check(mode == 0o660, f"umask {mask:o}: the socket has mode {mode:o}")
                    place.host.kill()
                    place.host.wait()
                    campaign.check(place.socket.exists(), "a killed host took its socket with it")
                    campaign.count("stale sockets replaced", int(stale))
            campaign.count("looks at a new socket", watch.seen.get("s", 0))
    if shutil.which("strace"):
        check_bound_mode(campaign)


def check_bound_mode(campaign):
    with Place(campaign) as place:
        trace = place.path / "trace"
        tracer = place.popen("serve", "--socket", place.socket, before=[
            "strace", "-f", "-o", trace, "-e", "trace=bind,fchmod"], **with_umask(0))
        while not place.socket.exists() and tracer.poll() is None:
            time.sleep(0.01)
        with open(f"/proc/{tracer.pid}/task/{tracer.pid}/children", encoding="ascii") as children:
            os.kill(int(children.read().split()[0]), signal.SIGTERM)
        tracer.wait()
        mode = bound_mode(trace, place.socket)
        campaign.check(mode == 0o660, f"bound with mode {mode}")


def check_taken(campaign):
    """What is at the path and no stale socket stays what it is."""
    with Place(campaign) as place:
        place.serve()
        inode = place.socket.stat().st_ino
        others = {"file": place.path / "file", "folder": place.path / "folder",
                  "pipe": place.path / "pipe", "link": place.path / "link",
                  "link to a file": place.path / "link2", "broken link": place.path / "link3"}
        others["file"].write_text("kept")
        others["folder"].mkdir()
        os.mkfifo(others["pipe"])
        others["link"].symlink_to(place.socket)
        others["link to a file"].symlink_to(others["file"])
        others["broken link"].symlink_to(place.path / "nothing")
        for name, path in {"live": place.socket, **others}.items():
            before = path.lstat()
            run = place.das("serve", "--socket", path)
            campaign.count("hosts refused")
            campaign.check(run.returncode == 2 and re.search(rf"(?m)^das: {path}: \w+", run.errors),
                           f"{name}: status {run.returncode}, {run.errors!r}")
            after = path.lstat()
            campaign.check((before.st_ino, before.st_mode) == (after.st_ino, after.st_mode),
                           f"{name} is not what it was")
        campaign.check(others["file"].read_text() == "kept", "the file is not what it was")
        campaign.check(place.socket.stat().st_ino == inode, "the live socket was replaced")
        campaign.check(place.wire().exchange(WORD) == ANSWER, "the first host does not go on")
        place.end_host()
        hosts = [place.popen("serve", "--socket", place.socket) for _ in range(6)]
        while sum(host.poll() is None for host in hosts) > 1:
            time.sleep(0.01)
        for host in hosts:
            host.terminate()
        statuses = sorted(host.wait() for host in hosts)
        campaign.check(statuses == [0, 2, 2, 2, 2, 2], f"six hosts at once: {statuses}")


def check_socket(campaign):
    check_bind(campaign)
    check_taken(campaign)


PARTS = (check_files, check_socket)


def main():
    campaign = Campaign("rights", "times everything is tried", 1)
    for _ in range(campaign.rounds):
        for part in PARTS:
            begun = time.monotonic()
            part(campaign)
            print(f"rights: {part.__name__} {time.monotonic() - begun:.1f} s", file=sys.stderr)
    return campaign.end()


if __name__ == "__main__":
    sys.exit(main())
