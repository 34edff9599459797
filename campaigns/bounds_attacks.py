"""The attacks of the campaign bounds, and the honest clients next to them."""
import multiprocessing
import os
import sqlite3
import stat
import threading
import time

from host_campaign import Wire, asked, call, request

MIB = 1024 * 1024
READ = asked(request("read_request", "<ResultCols>Label</ResultCols><Id>100</Id>"))
HONEST, RATE = 8, 1000   # number of clients, and their requests a second


# Honest clients ----------------------------------------------------------------------------------

def ask_until(path, told, is_over):
    """One honest client: a read every few milliseconds; every tenth request is a write."""
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
    """Honest clients in a process of their own; waits() ends them."""

    def __init__(self, place):
        self.pipe, other = multiprocessing.Pipe()
        self.process = multiprocessing.Process(target=be_honest, args=(place.path, other))
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


def contacts(number, more=""):
    return request("write_request", entries(number, f"<Surname>n%d</Surname>{more}"), "PhoneBook")


def keys(number, identifier="101", text="x"):
    return request("update_request", entries(number, f"<Id>{identifier}</Id><Label>{text}</Label>"))


def settings(number, text="v"):
    return request("update_request", "".join(f"<i{n}>{text}</i{n}>" for n in range(number)),
                   "SipBaseSettings")


def calls(number, items):
    return request("write_request", entries(number, "<LogList>" + "<Item/>" * items + "</LogList>"),
                   "CallLogMissedCalls")


def is_closed(wire):
    """Whether the host has closed the connection of a client that does not read."""
    try:
        wire.socket.send(b"\n")
    except BlockingIOError:
        pass
    except ConnectionError:
        return True
    return False


def do_not_read(_, wire, is_over):
    """Requests large answers and reads nothing."""
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
        wire = Wire(place.path)
        wire.exchange(call("AddListener"))
        wire.exchange(call("AddLogListener", Level=6))
        wire.close()


def fill(place):
    """A database with contacts; an answer with all of them has one MiB."""
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
            pass  # only the superuser may do this; the pipes remain


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
    """Another process has locked the database: a batch fails after one wait of five seconds."""
    other = sqlite3.connect(place.db / "phone.db", isolation_level=None, check_same_thread=False)
    other.execute("BEGIN EXCLUSIVE")
    begun = time.monotonic()
    place.campaign.check("failure" in wire.exchange(asked(contacts(5))), "a batch was not refused")
    place.campaign.highest("ms of a batch under another's lock",
                           int((time.monotonic() - begun) * 1000))
    place.campaign.check(time.monotonic() - begun < 8, "a batch waits for each entry")
    for message in (asked(contacts(5)), READ, READ, READ, READ):  # SIGTERM interrupts some
        place.wire().send(message)
    is_over.wait()
    other.close()


# What honest clients may notice: nothing; the growth of a table without a key; anything.
WITHIN, GROWING, BEYOND = range(3)
VALUE = "x" * 7 * MIB
NAMES = request("read_request", "".join(f"<n{n:x}/>" for n in range(700000)))
CALLS = calls(1, 600000)
# Name: number of attackers, what they do, the preparation, and what honest clients may notice.
ATTACKS = {
    "600,000 empty calls": (4, again(asked(CALLS)), None, WITHIN),
    "more than 10,000 of each": (2, again(asked(contacts(300000)), asked(settings(200000)),
                                          asked(keys(100000))), None, WITHIN),
    "10,000 contacts": (1, again(asked(contacts(10000))), None, WITHIN),
    "10,000 settings": (1, again(asked(settings(10000))), None, WITHIN),
    "10,000 keys": (1, again(asked(keys(10000))), None, WITHIN),
    "10,000 new keys": (1, again(asked(keys(10000, "-%d"))), None, GROWING),
    "100,000 calls in 10,000 rows": (1, again(asked(calls(10000, 10))), None, WITHIN),
    "110,000 calls in 10,000 rows": (1, again(asked(calls(10000, 11))), None, WITHIN),
    "10,000 deletions": (1, again(asked(contacts(100)), asked(request(
        "delete_request", entries(10000, "<UniqueId>%d</UniqueId>"), "Conversations"))),
        None, WITHIN),
    "a value of 7 MiB": (2, again(asked(request("update_request", f"<a>{VALUE}</a>",
                                                "SipBaseSettings")),
                                  asked(request("readall_request", schema="SipBaseSettings"))),
                         None, WITHIN),
    "names without number": (2, again(
        asked(NAMES), call("setProfile", **{f"p{n}": n for n in range(300000)}),
        call("migrateUserData", baseValues="{" + ",".join(
            f'"t{n}":""' for n in range(300000)) + "}"),
        "<Method name='a'>" + "<Int name='i'>1</Int>" * 300000 + "</Method>"), None, WITHIN),
    "900 columns": (1, again(asked(request("read_request", "<ResultCols>" + " ".join(
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
