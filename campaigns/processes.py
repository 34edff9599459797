"""Several processes on one database, and hosts that are killed under load: what was acknowledged
is there, once, and no request is there in part.

Usage: processes.py PROGRAMS [--rounds N] [--seed S]
"""
import re
import sqlite3
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor

from host_campaign import PATIENCE, Campaign, Place, asked, request

WORKERS = 8
STARTS = 3     # starts of "das request" by a worker in a round
MESSAGES = 12  # messages to each start
SERVED = 40    # messages of each of two clients of "das serve"
KILLS = 50     # hosts that are killed in a round
CLIENTS = 5    # clients of a host that is killed
LONGEST_LIFE = 0.15  # seconds that such a host runs under load

# Each inserted or changed row has a unique key, so that each acknowledged write can be found. For
# each kind: its request, how often its row must exist, and the column that identifies it.
KINDS = {
    "setting": (lambda name: request("update_request", f"<{name}>{name}</{name}>", "AudioSettings"),
                "SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Schema = 'AudioSettings' AND Value = ?"),
    "new setting": (lambda name: request("write_request", f"<{name}>{name}</{name}>",
                                         "AudioSettings"),
                    "SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Schema = 'AudioSettings' AND "
                    "Value = ?"),
    "contact": (lambda name: request("write_request", f"<Entry><Surname>{name}</Surname></Entry>",
                                     "PhoneBook"),
                "SELECT COUNT(*) FROM PHONE_BOOK WHERE Surname = ?"),
    "three contacts": (lambda name: request(
        "write_request", "".join(f"<Entry><Surname>{name} {row}</Surname></Entry>"
                                 for row in range(3)), "PhoneBook"),
                       "SELECT COUNT(*) / 3.0 FROM PHONE_BOOK WHERE Surname LIKE ? || ' _'"),
    "call": (lambda name: request(
        "write_request", f"<Entry><Surname>{name}</Surname><LogList><Item><Number>{name[1:]}"
        "</Number><TimeDate>1</TimeDate></Item></LogList></Entry>", "CallLog"),
             "SELECT COUNT(*) FROM CALL_LOG WHERE Surname = ?"),
    "device": (lambda name: request("write_request", f"<Entry><Id>{name}</Id><DeviceName>{name}"
                                    "</DeviceName></Entry>", "BluetoothTrusted"),
               "SELECT COUNT(*) FROM BLUETOOTH_TRUSTED WHERE DeviceName = ?"),
    "key": (lambda name: request("update_request", f"<Id>{number_of(name)}</Id><Label>{name}"
                                 "</Label>"),
            "SELECT COUNT(*) FROM FEATURE_KEYS WHERE Label = ?"),
    "two keys": (lambda name: request(
        "update_request", "".join(f"<Entry><Id>{number_of(name) + more}</Id><Label>{name}</Label>"
                                  "</Entry>" for more in (0, 500000)), "FeatureKeys"),
                 "SELECT COUNT(*) / 2.0 FROM FEATURE_KEYS WHERE Label = ?"),
}
# Tables without a key, which could store a row twice, and the columns that identify a row.
KEYLESS = {"CallGroup": "UserContext, CallGroup",
           **{table: "UserContext, Id" for table in (
               "ABBREVIATED_DIALLING", "ANALYTICS", "BCA_SETTINGS", "CANONICAL_LOOK_UP",
               "CONFIG_LOCK_DOWN", "DSS_KEY_SETTINGS", "FEATURE_KEYS", "FEATURE_KEY_SETTINGS",
               "FIXED_KEYS", "LINE_KEY_SETTINGS", "LOCAL_FUNCTION_LOCK_DOWN", "START_APPLICATION",
               "START_APPLICATION_FIXED_KEYS", "STIMULUS_KEY_SETTINGS")}}
# Schemas whose tables a first request makes, with their rows.
FIRST = ["AbbreviatedDialling", "CanonicalLookUp", "ConfigLockDown", "FeatureKeySettings",
         "LocalFunctionLockDown", "StartApplicationFixedKeys", "Analytics", "CodecSettings",
         "HeadsetPriorities", "SRTPEncryptionSettings"]


def number_of(name):
    return 100000 + int(name[1:])


class Writes:
    """Sends writes, and records which were acknowledged."""

    def __init__(self, campaign, last=0):
        self.random = campaign.random
        self.kinds = list(KINDS)
        self.last = last  # the number in the latest name
        self.made = []  # kind, name, and whether it was acknowledged

    def some(self, count):
        chosen = []
        for _ in range(count):
            self.last += 1
            chosen.append((self.random.choice(self.kinds), f"N{self.last}"))
        return chosen

    def note(self, writes, answers):
        for (kind, name), answer in zip(writes, answers):
            acknowledged = re.search(r"<ReasonForMessage>(write|update)_response<", answer)
            self.made.append((kind, name, acknowledged is not None))


def message_of(write):
    kind, name = write
    return KINDS[kind][0](name)


def run_request(campaign, place, writes):
    process = place.popen("request", stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    lines = "".join(message_of(write) + "\n" for write in writes)
    answers = process.communicate(lines.encode(), timeout=PATIENCE)[0].decode().splitlines()
    campaign.check(len(answers) == len(writes) and process.returncode in (0, 1),
                   f"{len(answers)} answers to {len(writes)} messages, {process.returncode}")
    return writes, answers


def run_client(place, writes):
    wire = place.wire()
    return writes, [wire.exchange(asked(message_of(write))).replace("\\\"", "\"")
                    for write in writes]


def write_until_the_end(wire, writes):
    """Sends one request after the other. If the host has ended, the last answer is blank."""
    answers = []
    for write in writes:
        try:
            answers.append(wire.exchange(asked(message_of(write))).replace("\\\"", "\""))
        except OSError:
            answers.append("")
        if not answers[-1]:
            break
    return writes[:len(answers)], answers


def check_database(campaign, place, writes, where):
    database = sqlite3.connect(place.db / "phone.db")
    found = database.execute("PRAGMA integrity_check").fetchone()[0]
    campaign.check(found == "ok", f"{where}: integrity_check: {found}")
    tables = {row[0] for row in
              database.execute("SELECT name FROM sqlite_master WHERE type = 'table'")}
    for kind, name, acknowledged in writes.made:
        rows = database.execute(KINDS[kind][1], [name]).fetchone()[0]
        campaign.count("writes")
        campaign.count("acknowledged", int(acknowledged))
        campaign.check(rows == 1 or (rows == 0 and not acknowledged),
                       f"{where}: {kind} {name}, {'acknowledged' if acknowledged else 'refused'}, "
                       f"is there {rows} times")
    campaign.check("kill" in where or not writes.made or any(done for _, _, done in writes.made),
                   f"{where}: no write was acknowledged")
    for table, key in KEYLESS.items():
        if table in tables:
            doubles = database.execute(f"SELECT COUNT(*) FROM (SELECT 1 FROM {table} GROUP BY "
                                       f"{key} HAVING COUNT(*) > 1)").fetchone()[0]
            campaign.check(doubles == 0, f"{where}: {table} has {doubles} keys twice")
    database.close()


def check_writes(campaign, with_host):
    """Eight processes at once, with or without a host, on an existing or a new database."""
    where = "next to a host" if with_host else "without a host"
    with Place(campaign) as place, ThreadPoolExecutor(WORKERS + 2) as pool:
        writes = Writes(campaign)
        if with_host:
            place.serve()
        tasks = []
        for _ in range(STARTS):
            tasks += [pool.submit(run_request, campaign, place, writes.some(MESSAGES))
                      for _ in range(WORKERS)]
        if with_host:
            tasks += [pool.submit(run_client, place, writes.some(SERVED)) for _ in range(2)]
        for task in tasks:
            writes.note(*task.result())
        campaign.count("processes", STARTS * WORKERS + int(with_host))
        if with_host:
            place.end_host()
        check_database(campaign, place, writes, where)


def check_first_requests(campaign):
    """The first requests to all tables, from eight processes at once."""
    with Place(campaign) as place, ThreadPoolExecutor(WORKERS) as pool:
        place.das("request", lines=["getCurrentUser"])
        hosts = [place.popen("serve", "--stdio", stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             bufsize=0) for _ in range(WORKERS)]
        for host in hosts:
            host.stdin.write(asked("getCurrentUser").encode() + b"\n")
            host.stdout.readline()
        barrier = threading.Barrier(WORKERS)

        def ask(host):
            barrier.wait()
            for schema in FIRST:
                host.stdin.write(asked(request("read_request", schema=schema)).encode() + b"\n")
            return host.communicate(timeout=PATIENCE)[0].count(b"\n")
        for answers in pool.map(ask, hosts):
            campaign.check(answers == len(FIRST), f"{answers} answers to {len(FIRST)} reads")
        campaign.count("processes", WORKERS + 1)
        check_database(campaign, place, Writes(campaign), "first requests")


def check_kills(campaign):
    """Kills a host with several clients at a random moment and starts it again."""
    with Place(campaign) as place, ThreadPoolExecutor(CLIENTS) as pool:
        acknowledged = 0
        for kill in range(KILLS):
            writes = Writes(campaign, kill * 1000000)
            host = place.serve()
            tasks = [pool.submit(write_until_the_end, place.wire(), writes.some(1000))
                     for _ in range(CLIENTS)]
            time.sleep(campaign.random.uniform(0.001, LONGEST_LIFE))
            host.kill()
            host.wait()
            for task in tasks:
                writes.note(*task.result())
            place.forget_host()
            acknowledged += sum(done for _, _, done in writes.made)
            check_database(campaign, place, writes, f"kill {kill}")
        campaign.count("kills", KILLS)
        campaign.check(acknowledged > 0, "no write was acknowledged before a kill")


def main():
    campaign = Campaign("processes", "times eight are let loose", 3)
    for _ in range(campaign.rounds):
        check_writes(campaign, True)
        check_writes(campaign, False)
        check_first_requests(campaign)
        check_kills(campaign)
    return campaign.end()


if __name__ == "__main__":
    sys.exit(main())
