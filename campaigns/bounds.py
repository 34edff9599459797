"""Attacks on a host by clients, files and other processes. Under each its memory stays bounded, honest
other clients are served, and SIGTERM ends it.

Usage: bounds.py PROGRAMS [--rounds N] [--seed S]
"""
import fcntl
import os
import re
import resource
import sqlite3
import statistics
import subprocess
import sys
import threading
import time

from bounds_attacks import (ATTACKS, BEYOND, CALLS, GROWING, MIB, NAMES, READ, VALUE, HonestClients,
                            calls, contacts, entries, keys, settings)
from host_campaign import SOURCES, Campaign, Place, asked, call, request

WORD = asked("getCurrentUser")
ANSWER = '{"jsonrpc":"2.0","id":1,"result":{"Response":"base"}}'
PARSE_ERROR = '{"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"Parse error"}}'
NAMELESS = '<Method name=""></Method>'

MEMORY = 256         # limit of a host's memory in MiB
TIMES_LENGTH, MORE = 12, 24   # a message may take this many times its length, and MiB more
END = 5              # seconds that SIGTERM may take
LONGEST_WAIT = 2     # seconds of an honest client's wait, if the attack is within the limits
TIMES_USUAL = 5      # the same as a multiple of the median
ATTACK = 1.5         # seconds


# Attacks -----------------------------------------------------------------------------------------

def memory_of(process, what="VmHWM"):
    """Memory of a process in MiB; VmHWM is its maximum so far."""
    with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
        return int(re.search(rf"{what}:\s+(\d+)", status.read())[1]) // 1024


def growth_of(process, work):
    """How many MiB more than before a process uses at most during some work."""
    with open(f"/proc/{process.pid}/clear_refs", "w", encoding="ascii") as references:
        references.write("5")
    before = memory_of(process)
    work()
    return memory_of(process) - before


def slowness_of(process):
    """How many times slower a process is because others use the processors too."""
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
    """A database that takes long to upgrade."""
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
    place.lock = open(place.place / f".{place.path.name}.das-start", "w", encoding="ascii")
    fcntl.flock(place.lock, fcntl.LOCK_EX)


def lock_folder(place):
    """Another start, which never ends."""
    place.lock = os.open(place.db, os.O_RDONLY)
    fcntl.flock(place.lock, fcntl.LOCK_EX)


def make_lists_pipes(place):
    (place.root / "Aurel_Deploy/DasGenConfigDeviceDataItems.csv").unlink()
    for name in ("DasGenConfigDeviceDataItems", "DasTagMappings", "DasUpdateValues"):
        os.mkfifo(place.root / "Aurel_Deploy" / f"{name}.csv")


def check_starts(campaign):
    """SIGTERM ends a start, and the next start with the same files succeeds."""
    for prepare in (older_database, lock_start, lock_folder, make_lists_pipes):
        with Place(campaign) as place:
            prepare(place)
            host = place.popen("serve", "--socket", place.path)
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
    """The memory for a message is limited by its length."""
    for name, text in MESSAGES.items():
        with Place(campaign) as place:
            host, wire, message = place.serve(), place.wire(), asked(text)
            wire.exchange(READ)
            growth = growth_of(host, lambda wire=wire, message=message: wire.exchange(message))
            times = (growth - MORE) / (len(message) / MIB)
            campaign.check(times <= TIMES_LENGTH, f"{name}: {growth} MiB of {len(message)} bytes")
            campaign.highest("MiB of a message", growth)


def check_files(campaign):
    """Files of any size, and any number of folders."""
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
    """With any umask, no other user can ever access a file of a host."""
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
    """Lines at the limit and beyond it, deeply nested ones, and answers beyond the limit."""
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
    """1,200 clients at once; a host that may open only a few files serves the connected clients."""
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
    """If a reader of the log stops, no client waits forever."""
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
