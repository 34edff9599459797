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
TIMES_LENGTH, MORE = 12, 24   # of a message, and MiB: what is built from it
END = 5              # seconds that SIGTERM may take
LONGEST_WAIT = 2     # seconds of an honest client, where the attack is within the limits
TIMES_USUAL = 5      # of their median
HONEST, RATE = 8, 1000   # clients, and their requests a second
ATTACK = 1.5         # seconds


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
    for message in (asked(contacts(5)), READ, READ, READ, READ):  # so that SIGTERM finds some
        place.wire().send(message)
    is_over.wait()
    other.close()


# What honest clients may notice: nothing; that a table of theirs grows, which has no key; all.
WITHIN, GROWING, BEYOND = range(3)
VALUE = "x" * 7 * MIB
NAMES = request("read_request", "".join(f"<n{n:x}/>" for n in range(700000)))
CALLS = calls(1, 600000)
# Name: attackers, what they do, what is there before, and what honest clients may notice.
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


def memory_of(process, what="VmHWM"):
    """In MiB; VmHWM is the most that it ever had."""
    with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
        return int(re.search(rf"{what}:\s+(\d+)", status.read())[1]) // 1024


def growth_of(process, work):
    """How many MiB more than before a process has at most while something is done."""
    with open(f"/proc/{process.pid}/clear_refs", "w", encoding="ascii") as references:
        references.write("5")
    before = memory_of(process)
    work()
    return memory_of(process) - before


def slowness_of(process):
    """How many times longer the work of a process takes since others have the processors too."""
    used = waited = 0
    for thread in os.listdir(f"/proc/{process.pid}/task"):
        with open(f"/proc/{process.pid}/task/{thread}/schedstat", encoding="ascii") as times:
            on_processor, in_queue, _ = map(int, times.read().split())
        used, waited = used + on_processor, waited + in_queue
    return 1 + waited / max(used, 1)


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
    attackers, work, prepare, notice = ATTACKS[name]
    with Place(campaign) as place:
        if prepare is not None:
            prepare(place)
        host, is_over = place.serve(), threading.Event()
        place.wire().exchange(READ)
        honest = HonestClients(place) if notice != BEYOND else None
        threads = [threading.Thread(target=attack, args=(place, work, is_over))
                   for _ in range(attackers)]
        for thread in threads:
            thread.start()
        time.sleep(ATTACK * (4 if honest is None else min(6, usual[1])))
        memory, slowness = memory_of(host), slowness_of(host)
        waits = honest.waits() if honest is not None else []
        check_end(campaign, host, name)
        is_over.set()
        for thread in threads:
            thread.join()
        campaign.highest("bytes of a host's log", place.log.stat().st_size)
        campaign.check(place.log.stat().st_size < 8 * MIB, f"{name}: a log that grows")
    campaign.highest("MiB at most", memory)
    campaign.check(memory < MEMORY, f"{name}: {memory} MiB")
    if honest is not None:
        check_waits(campaign, name, waits, usual, slowness)


def check_waits(campaign, name, waits, usual, slowness):
    campaign.count("honest requests", len(waits))
    if not campaign.check(waits, f"{name}: no honest client was answered"):
        return
    median = statistics.median(wait for wait, _ in waits)
    slowest = max(wait for wait, _ in waits)
    print(f"bounds: {name}: {1000 * median:.1f} ms, at most {1000 * slowest:.0f}, "
          f"usually {1000 * usual[0]:.1f}, slower by {slowness:.1f}", file=sys.stderr)
    campaign.check(all(good for _, good in waits), f"{name}: an honest client was refused")
    limit = TIMES_USUAL * usual[0] * max(1, slowness / usual[1])
    campaign.check(ATTACKS[name][3] == GROWING or median < limit,
                   f"{name}: a median of {1000 * median:.1f} ms")
    campaign.check(slowest < LONGEST_WAIT * slowness,
                   f"{name}: an honest client waited {slowest:.1f} s")
    campaign.highest("ms of the longest wait", int(1000 * slowest))


def check_attacks(campaign):
    with Place(campaign) as place:
        place.serve()
        place.wire().exchange(READ)
        honest = HonestClients(place)
        time.sleep(ATTACK)
        usual = statistics.median(wait for wait, _ in honest.waits()), slowness_of(place.host)
    campaign.highest("us of the usual median", int(usual[0] * 1e6))
    for name in ATTACKS:
        check_attack(campaign, name, usual)
        campaign.count("attacks")


# Starts ------------------------------------------------------------------------------------------

def older_database(place, calls_in_it=5000):
    """One that takes long to upgrade."""
    database = sqlite3.connect(place.db / "phone.db")
    database.executescript((SOURCES / "tests/databases/settings_3.sql").read_text())
    database.execute("CREATE TABLE CALL_LOG (UserContext TEXT, UniqueId INTEGER PRIMARY KEY, "
                     "Category TEXT, EntryId TEXT, Surname TEXT)")
    database.executemany("INSERT INTO CALL_LOG (UserContext, Category, Surname) VALUES "
                         "('base', 'Missed', ?)", ((str(n),) for n in range(calls_in_it)))
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


# Memory and files --------------------------------------------------------------------------------

LARGE = "x" * 650
MESSAGES = {
    "settings": settings(10000, LARGE), "settings, refused": settings(200000),
    "keys": keys(10000, text=LARGE), "keys, refused": keys(100000),
    "contacts": contacts(10000, f"<Company>{LARGE}</Company>"),
    "contacts, refused": contacts(150000),
    "calls": calls(10000, 10).replace("<LogList>", f"<Surname>{LARGE[100:]}</Surname><LogList>"),
    "calls, refused": CALLS, "conversations": request("write_request", entries(
        10000, f"<PhonebookId>{LARGE}</PhonebookId>"), "Conversations"),
    "a value": request("update_request", f"<a>{VALUE}</a>", "SipBaseSettings"), "names": NAMES,
}


def check_memory(campaign):
    """What a message builds follows from its length."""
    for name, text in MESSAGES.items():
        with Place(campaign) as place:
            host, wire, message = place.serve(), place.wire(), asked(text)
            wire.exchange(READ)
            growth = growth_of(host, lambda wire=wire, message=message: wire.exchange(message))
            times = (growth - MORE) / (len(message) / MIB)
            campaign.check(times <= TIMES_LENGTH, f"{name}: {growth} MiB of {len(message)} bytes")
            campaign.highest("MiB of a message", growth)


def check_files(campaign):
    """Files of any length, and folders of any number."""
    with Place(campaign) as place:
        with open(place.root / "data/in.csv", "w", encoding="ascii") as file:
            file.writelines(f"base,,n{n}{2 * LARGE}\n" for n in range(10000))
        for number in range(8000):
            (place.root / f"data/{'few' if number < 2000 else 'more'}/{number}").mkdir(parents=True)
        host, wire = place.serve(), place.wire()
        wire.exchange(READ)
        honest, begun = HonestClients(place), time.monotonic()
        growth = growth_of(host, lambda: wire.exchange(call(
            "importDataForUser", schemaName="PhoneBook", userToImportFor=0,
            filePathAndName="/data/in.csv")))
        took = time.monotonic() - begun
        slowest = max(wait for wait, _ in honest.waits())
        campaign.check(slowest < took + 1, f"an import of {took:.1f} s: a wait of {slowest:.1f} s")
        growth = max(growth, growth_of(host, lambda: (wire.exchange(call(
            "exportData", schemaName="PhoneBook", userToExportFor=0,
            filePathAndName="/data/out.csv")), wire.exchange(asked("saveContactsToCSV")))))
        campaign.highest("MiB of imports and exports", growth)
        campaign.check(growth < MORE, f"an import or export of 13 MB takes {growth} MiB")
        for path in ("data/out.csv", "tmp/VX_contacts.csv"):
            size = (place.root / path).stat().st_size
            campaign.check(size > 20000 * len(LARGE), f"{path} has {size} bytes")
        times = []
        for path in ("/data/few", "/data"):
            begun = time.monotonic()
            answer = wire.exchange(call("readDirectory", Directory=path, DirReading=True,
                                        FileReading=True, SubDirReading=True))
            times.append(time.monotonic() - begun)
            campaign.check('"Acknowledge":true' in answer, f"{path}: {answer[:100]}")
        campaign.check(times[1] < 8 * times[0], f"readDirectory of 2,000 and 8,000: {times}")
        place.end_host()


def check_modes(campaign):
    """Whatever the umask, no other user may use a file of a host at any time."""
    with Place(campaign) as place:
        older_database(place, 5)
        (place.db / "phone.db").chmod(0o600)
        seen, is_over = {}, threading.Event()

        def watch():
            for _ in iter(is_over.is_set, True):
                for entry in os.scandir(place.db):
                    try:
                        mode = entry.stat(follow_symlinks=False).st_mode
                    except FileNotFoundError:
                        continue
                    seen[entry.name] = seen.get(entry.name, 0) | mode & 0o077

        watcher = threading.Thread(target=watch)
        watcher.start()
        place.serve(preexec_fn=lambda: os.umask(0))
        wire, give_up = place.wire(), time.monotonic() + 20
        while "phone.db-journal" not in seen and time.monotonic() < give_up:
            wire.exchange(asked(keys(18, text=str(time.monotonic_ns()))))
        for message in (call("factoryReset"), call("invokeACMSFactoryReset", EnableCreateDb=True),
                        asked(keys(2))):
            wire.exchange(message)
        campaign.check((place.db / "phone.db").exists(), "no database after a reset")
        is_over.set()
        watcher.join()
        place.end_host()
    campaign.check("phone.db-journal" in seen, "no journal was seen")
    campaign.check(not any(seen.values()), f"files with rights of others: {seen}")


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


PARTS = (check_sizes, check_memory, check_files, check_modes, check_crowd, check_log_reader,
         check_starts, check_attacks)


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
