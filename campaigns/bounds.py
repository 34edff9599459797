"""Attacks on a host by clients, files and other processes. Under each its memory stays bounded, honest
other clients are served, and SIGTERM ends it.

Usage: bounds.py PROGRAMS [--rounds N] [--seed S]
"""
import fcntl
import multiprocessing
import os
import re
import resource
import sqlite3
import stat
import statistics
import subprocess
import sys
import threading
import time

from host_campaign import SOURCES, Campaign, Place, Wire, asked, call, request

MIB = 1024 * 1024
WORD = asked("getCurrentUser")
ANSWER = '{"jsonrpc":"2.0","id":1,"result":{"Response":"base"}}'
PARSE_ERROR = '{"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"Parse error"}}'
NAMELESS = '<Method name=""></Method>'
READ = asked(request("read_request", "<ResultCols>Label</ResultCols><Id>100</Id>"))

MEMORY = 256         # MiB that a host may have
END = 5              # seconds that SIGTERM may take
LONGEST_WAIT = 2     # seconds of an honest client, where the attack is within the limits
TIMES_USUAL = 5      # of their median
HONEST, RATE = 8, 1000   # clients, and their requests a second
ATTACK = 2           # seconds


# Honest clients ----------------------------------------------------------------------------------

def ask_until(path, told, is_over):
    """One honest client: a read every few milliseconds, every tenth a write."""
    wire, waits, number = Wire(path), [], 0
    while not is_over.is_set():
        number += 1
        message = READ if number % 10 else asked(request(
            "update_request", f"<Id>100</Id><Label>{number}</Label>"))
        begun = time.monotonic()
        try:
            answer = wire.exchange(message)
        except OSError:
            break  # the host has ended
        waits.append((time.monotonic() - begun, "_response<" in answer))
        time.sleep(max(0, begun + HONEST / RATE - time.monotonic()))
    told.extend(waits)


def be_honest(path, pipe):
    told, is_over = [], threading.Event()
    threads = [threading.Thread(target=ask_until, args=(path, told, is_over))
               for _ in range(HONEST)]
    for thread in threads:
        thread.start()
    pipe.recv()
    is_over.set()
    for thread in threads:
        thread.join()
    pipe.send(told)


class HonestClients:
    """Ask in a process of their own; waits() ends them."""

    def __init__(self, place):
        self.pipe, other = multiprocessing.Pipe()
        self.process = multiprocessing.Process(target=be_honest, args=(place.socket, other))
        self.process.start()

    def waits(self):
        self.pipe.send("end")
        told = self.pipe.recv() if self.pipe.poll(60) else []
        self.process.terminate()
        self.process.join()
        return told


# Attacks -----------------------------------------------------------------------------------------
# Each is called by several threads with a wire of its own, until the host closes it or the time is over.

def again(*messages):
    def attack(_, wire, is_over):
        while not is_over.is_set():
            for message in messages:
                wire.exchange(message)
    return attack


def entries(number, text):
    return "".join(f"<Entry>{text % (each,)}</Entry>" if "%" in text else f"<Entry>{text}</Entry>"
                   for each in range(number))


def contacts(number):
    return request("write_request", entries(number, "<Surname>n%d</Surname>"), "PhoneBook")


def settings(number, reason="update_request"):
    return request(reason, "".join(f"<i{each}>v</i{each}>" for each in range(number)),
                   "SipBaseSettings")


def calls(number, items):
    return request("write_request", entries(number, "<LogList>" + "<Item/>" * items + "</LogList>"),
                   "CallLogMissedCalls")


def is_closed(wire):
    """Whether the host has closed a wire that does not read."""
    try:
        wire.socket.send(b"\n")
    except BlockingIOError:
        pass
    except ConnectionError:
        return True
    return False


def do_not_read(_, wire, is_over):
    """Asks for much and reads nothing."""
    wire.exchange(call("AddListener"))
    wire.socket.setblocking(False)
    message = asked(request("read_request", schema="PhoneBook")).encode() + b"\n"
    while not is_over.is_set() and not is_closed(wire):
        try:
            wire.socket.send(message)
        except (BlockingIOError, ConnectionError):
            time.sleep(0.01)


def begin_long_lines(_, wire, is_over):
    wire.socket.sendall(b"{" + b" " * (7 * MIB))
    while not is_over.is_set() and not is_closed(wire):
        time.sleep(0.01)


def be_broken(_, wire, is_over):
    message = asked(request("update_request", "<Label>" + "x" * 20000))
    for _ in iter(is_over.is_set, True):
        for _ in range(20):
            wire.send(message)
        for _ in range(20):
            wire.receive()


def come_and_go(place, _, is_over):
    for number in iter(is_over.is_set, True):
        wire = Wire(place.socket)
        wire.exchange(call("AddListener"))
        wire.exchange(call("AddLogListener", Level=6))
        wire.close()


def fill(place):
    """A database with contacts, of which an answer has one MiB."""
    place.serve()
    place.wire().exchange(asked(contacts(3000)))
    place.end_host()


def make_files(place):
    for path in ("data/pipe", "tmp/VX_contacts.csv"):
        os.mkfifo(place.root / path)
    for name, minor in (("zero", 5), ("urandom", 9)):
        try:
            os.mknod(place.root / "data" / name, stat.S_IFCHR | 0o666, os.makedev(1, minor))
        except PermissionError:
            pass  # only the superuser may; the pipes remain


def use_files(_, wire, is_over):
    for path in 5 * ("/data/pipe", "/data/zero", "/data/urandom"):
        for schema in ("PhoneBook", "CallLog", "FeatureKeys"):
            wire.send(call("importDataForUser", schemaName=schema, userToImportFor=0,
                           filePathAndName=path))
            wire.send(call("exportData", schemaName=schema, userToExportFor=0,
                           filePathAndName=path))
    wire.send(asked("saveContactsToCSV"))
    for _ in iter(is_over.is_set, True):
        wire.receive()


def hold_database(place, wire, is_over):
    """Another process has the database: a batch fails after one wait of five seconds."""
    other = sqlite3.connect(place.db / "phone.db", isolation_level=None, check_same_thread=False)
    other.execute("BEGIN EXCLUSIVE")
    begun = time.monotonic()
    place.campaign.check("failure" in wire.exchange(asked(contacts(5))), "a batch was not refused")
    place.campaign.highest("ms of a batch under another's lock",
                           int((time.monotonic() - begun) * 1000))
    place.campaign.check(time.monotonic() - begun < 8, "a batch waits for each entry")
    wire.send(asked(contacts(5)))  # so that SIGTERM finds one that waits
    is_over.wait()
    other.close()


WITHIN, BEYOND = True, False  # whether honest clients are to notice nothing
# Name: attackers, what they do, what is there before, and whether that is within the limits.
ATTACKS = {
    "600,000 empty calls": (4, again(asked(calls(1, 600000))), None, WITHIN),
    "more than 10,000 of each": (2, again(asked(contacts(300000)), asked(settings(200000)),
                                          asked(request("update_request", entries(
                                              100000, "<Id>100</Id><Label>x</Label>")))),
                                 None, WITHIN),
    "10,000 contacts": (1, again(asked(contacts(10000))), None, WITHIN),
    "10,000 settings": (1, again(asked(settings(10000))), None, WITHIN),
    "10,000 keys": (1, again(asked(request("update_request", entries(
        10000, "<Id>101</Id><Label>x</Label>")))), None, WITHIN),
    "10,000 new keys": (1, again(asked(request("update_request", entries(
        10000, "<Id>1%05d</Id><Label>x</Label>")))), None, WITHIN),
    "100,000 calls in 10,000 rows": (1, again(asked(calls(10000, 10))), None, BEYOND),
    "10,000 deletions": (1, again(asked(contacts(100)), asked(request(
        "delete_request", entries(10000, "<UniqueId>%d</UniqueId>"), "Conversations"))),
        None, WITHIN),
    "a value of 7 MiB": (2, again(asked(request("update_request", "<a>" + "x" * 7 * MIB + "</a>",
                                                "SipBaseSettings")),
                                  asked(request("readall_request", schema="SipBaseSettings"))),
                         None, WITHIN),
    "names without number": (2, again(
        asked(request("read_request", "".join(f"<n{n:x}/>" for n in range(700000)))),
        call("setProfile", **{f"p{n}": n for n in range(300000)}),
        call("migrateUserData", baseValues="{" + ",".join(
            f'"t{n}":""' for n in range(300000)) + "}"),
        "<Method name='a'>" + "<Int name='i'>1</Int>" * 300000 + "</Method>"), None, WITHIN),
    "900 columns": (2, again(asked(request("read_request", "<ResultCols>" + " ".join(
        900 * ["UserContext"]) + "</ResultCols>", "PhoneBook"))), fill, WITHIN),
    "what does not nest": (2, again("[" * 7 * MIB, "<a>" * 2 * MIB, asked(request(
        "read_request", "<a>" * MIB)), call("migrateUserData", baseValues='{"a":' + "[" * 7 * MIB)),
        None, WITHIN),
    "120 clients that do not read": (120, do_not_read, fill, WITHIN),
    "40 long lines": (40, begin_long_lines, None, WITHIN),
    "broken requests": (4, be_broken, None, WITHIN),
    "listeners that come and go": (4, come_and_go, None, WITHIN),
    "pipes and devices": (4, use_files, make_files, WITHIN),
    "another's lock": (1, hold_database, None, BEYOND),
}


def memory_of(process, what="VmHWM"):
    """In MiB; VmHWM is the most that it ever had."""
    with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
        return int(re.search(rf"{what}:\s+(\d+)", status.read())[1]) // 1024


def check_end(campaign, host, name):
    begun = time.monotonic()
    host.terminate()
    try:
        status = host.wait(3 * END)
    except subprocess.TimeoutExpired:
        status = "no end"
    took = time.monotonic() - begun
    campaign.highest("ms of the longest end", int(took * 1000))
    campaign.check(status == 0 and took < END, f"{name}: SIGTERM gave {status} after {took:.1f} s")


def attack(place, work, is_over):
    try:
        work(place, place.wire(), is_over)
    except (OSError, ValueError):
        pass  # the host has closed it, or has ended


def check_attack(campaign, name, usual):
    attackers, work, prepare, is_within = ATTACKS[name]
    with Place(campaign) as place:
        if prepare is not None:
            prepare(place)
        host, is_over = place.serve(), threading.Event()
        place.wire().exchange(READ)
        honest = HonestClients(place)
        threads = [threading.Thread(target=attack, args=(place, work, is_over))
                   for _ in range(attackers)]
        for thread in threads:
            thread.start()
        time.sleep(ATTACK if is_within else 3 * ATTACK)
        memory = memory_of(host)
        waits = honest.waits() if is_within else []
        check_end(campaign, host, name)
        if not is_within:
            honest.waits()
        is_over.set()
        for thread in threads:
            thread.join()
    campaign.highest("MiB at most", memory)
    campaign.check(memory < MEMORY, f"{name}: {memory} MiB")
    if is_within:
        check_waits(campaign, name, waits, usual)


def check_waits(campaign, name, waits, usual):
    campaign.count("honest requests", len(waits))
    if not campaign.check(waits, f"{name}: no honest client was answered"):
        return
    median = statistics.median(wait for wait, _ in waits)
    slowest = max(wait for wait, _ in waits)
    print(f"bounds: {name}: {1000 * median:.1f} ms, at most {1000 * slowest:.0f}, "
          f"usually {1000 * usual:.1f}", file=sys.stderr)
    campaign.check(all(good for _, good in waits), f"{name}: an honest client was refused")
    campaign.check(median < TIMES_USUAL * usual, f"{name}: a median of {1000 * median:.1f} ms")
    campaign.check(slowest < LONGEST_WAIT, f"{name}: an honest client waited {slowest:.1f} s")
    campaign.highest("ms of the longest wait", int(1000 * slowest))


def check_attacks(campaign):
    with Place(campaign) as place:
        place.serve()
        place.wire().exchange(READ)
        honest = HonestClients(place)
        time.sleep(ATTACK)
        usual = statistics.median(wait for wait, _ in honest.waits())
    campaign.highest("us of the usual median", int(usual * 1e6))
    for name in ATTACKS:
        check_attack(campaign, name, usual)
        campaign.count("attacks")


# Starts ------------------------------------------------------------------------------------------

def older_database(place):
    """One that takes long to upgrade, and a start that is at it."""
    database = sqlite3.connect(place.db / "phone.db")
    database.executescript((SOURCES / "tests/databases/settings_3.sql").read_text())
    database.execute("CREATE TABLE CALL_LOG (UserContext TEXT, UniqueId INTEGER PRIMARY KEY, "
                     "Category TEXT, EntryId TEXT, Surname TEXT)")
    database.executemany("INSERT INTO CALL_LOG (UserContext, Category, Surname) VALUES "
                         "('base', 'Missed', ?)", ((str(n),) for n in range(5000)))
    database.commit()
    database.close()


def lock_start(place):
    """Another user's lock on the file next to the socket."""
    place.lock = open(place.path / f".{place.socket.name}.das-start", "w", encoding="ascii")
    fcntl.flock(place.lock, fcntl.LOCK_EX)


def lock_folder(place):
    """Another start, which does not end."""
    place.lock = os.open(place.db, os.O_RDONLY)
    fcntl.flock(place.lock, fcntl.LOCK_EX)


def make_lists_pipes(place):
    (place.root / "Aurel_Deploy/DasGenConfigDeviceDataItems.csv").unlink()
    for name in ("DasGenConfigDeviceDataItems", "DasTagMappings", "DasUpdateValues"):
        os.mkfifo(place.root / "Aurel_Deploy" / f"{name}.csv")


def check_starts(campaign):
    """SIGTERM ends a start, and another start over the same goes well."""
    for prepare in (older_database, lock_start, lock_folder, make_lists_pipes):
        with Place(campaign) as place:
            prepare(place)
            host = place.popen("serve", "--socket", place.socket)
            time.sleep(campaign.random.uniform(0.3, 1))
            check_end(campaign, host, f"a start: {prepare.__name__}")
            campaign.count("starts that were ended")
            if prepare == older_database:
                place.serve()
                answer = place.wire().exchange(asked(request("rowcount_request",
                                                             schema="CallLogMissedCalls")))
                campaign.check("<count>5000<" in answer, f"after an upgrade: {answer!r}")
                place.end_host()


# Sizes -------------------------------------------------------------------------------------------

def check_sizes(campaign):
    """Lines at the limit and above it, deep ones, and answers above it."""
    with Place(campaign) as place:
        place.serve()
        wire = place.wire()
        for start, refusal in (("{", PARSE_ERROR), ("<", NAMELESS), ("x", PARSE_ERROR)):
            for length in (8 * MIB, 8 * MIB + 1):
                other = place.wire()
                answers = [other.exchange(start + " " * (length - 1)), ""]
                if length == 8 * MIB:
                    answers[1] = other.exchange(WORD)
                else:
                    answers[1] = other.receive()
                expected = [refusal, ANSWER if length == 8 * MIB else ""]
                campaign.check(answers == expected, f"{length} bytes of {start}: {answers}")
                campaign.count("long lines")
        text = '{"jsonrpc":"2.0","id":1,"method":"processRequest","params":{"Request":' \
               '"getCurrentUser","RequestLength":14,"x":%s}}'
        for depth, answer in ((30, ANSWER), (31, PARSE_ERROR)):
            campaign.check(wire.exchange(text % ("[" * depth + "]" * depth)) == answer,
                           f"depth {depth}")
        for _ in range(3):
            wire.exchange(asked(request("update_request", f"<a{_}>" + "x" * 6 * MIB + f"</a{_}>",
                                        "SipBaseSettings")))
        answer = wire.exchange(asked(request("readall_request", schema="SipBaseSettings")))
        campaign.check("<ReasonForMessage>failure<" in answer and len(answer) < 1000,
                       f"an answer above 16 MiB: {answer[:200]}")
        place.end_host()


def check_crowd(campaign):
    """1,200 clients at once; and a host that may open few files serves those that are in."""
    for limit, crowd in ((24, 44), (64, 84), (4096, 1200)):
        with Place(campaign) as place:
            host = place.serve(preexec_fn=lambda limit=limit: resource.setrlimit(
                resource.RLIMIT_NOFILE, (limit, limit)))
            wires = [place.wire() for _ in range(crowd)]
            for wire in wires:
                wire.send(WORD)
            campaign.check(wires[0].receive() == ANSWER, f"{limit} descriptors: no answer")
            for message in 5 * (READ, asked(contacts(2))):
                campaign.check("_response<" in wires[0].exchange(message), f"with {limit}")
            used = len(os.listdir(f"/proc/{host.pid}/fd"))
            campaign.check(used < limit, f"all of {limit} descriptors are taken")
            for wire in wires[:crowd // 2]:
                wire.close()
            for wire in wires[crowd // 2:crowd // 2 + 5]:
                campaign.check(wire.receive() == ANSWER, f"{limit} descriptors: a client waits")
            complaints = place.logged().count("No client can come in")
            campaign.check(complaints == int(limit < crowd), f"{complaints} complaints")
            campaign.count("crowds")
            place.end_host()


def check_log_reader(campaign):
    """A reader of the log that stops keeps no client waiting for ever."""
    with Place(campaign) as place:
        reader, writer = os.pipe()
        host = place.serve(stderr=writer)
        wire, begun = place.wire(), time.monotonic()
        for _ in range(200):
            wire.exchange(asked(request("update_request", "<Label>" + "x" * 2000)))
        campaign.check(time.monotonic() - begun < 10, "a stopped reader of the log")
        check_end(campaign, host, "a stopped reader of the log")
        os.close(reader)
        os.close(writer)


PARTS = (check_sizes, check_crowd, check_log_reader, check_starts, check_attacks)


def main():
    campaign = Campaign("bounds", "times everything is tried", 1)
    for _ in range(campaign.rounds):
        for part in PARTS:
            begun = time.monotonic()
            part(campaign)
            print(f"bounds: {part.__name__} {time.monotonic() - begun:.1f} s", file=sys.stderr)
    return campaign.end()


if __name__ == "__main__":
    sys.exit(main())
