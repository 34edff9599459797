"""Kills: a host under several clients is killed at a random moment and started again; what its
clients have been told as written has to be there.

Usage: kills.py PROGRAMS [--rounds N] [--seed S] [--seconds T]

A round is one kill. Every fifth start is killed on its way, too, over a database that needs its
upgrade again.
"""
import json
import signal
import socket
import sqlite3
import subprocess
import sys
import threading
import time

from campaign import Campaign, Place

HEAD = '<?xml version="1.0" encoding="utf-8"?>'
ROUNDS_OF_DATABASE = 100  # then it is made anew, so that it stays small
KEYS = range(100, 108)
LONGEST_LIFE = 0.08       # seconds of a host under load
LONGEST_START = 0.06      # and of one that is killed in its upgrade
# What an earlier release left undone: the start changes it back, in several steps.
MAKE_OLD = """
ALTER TABLE CallGroup RENAME TO CallGroup_NOW;
CREATE TABLE CallGroup (CallGroup TEXT, CallGroupName TEXT, RingToneID TEXT);
INSERT INTO CallGroup SELECT CallGroup, CallGroupName, RingToneID FROM CallGroup_NOW
    WHERE UserContext = 'base';
DROP TABLE CallGroup_NOW;
DELETE FROM FEATURE_KEYS WHERE Id = '1017';
"""


def message(schema, reason, body=""):
    return (f'{HEAD}<Schema name="{schema}"><ReasonForMessage>{reason}</ReasonForMessage>'
            f"{body}</Schema>")


def entry(**cells):
    return "<Entry>" + "".join(f"<{name}>{value}</{name}>"
                               for name, value in cells.items()) + "</Entry>"


class Connection:
    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(30)
        try:
            self.socket.connect(path)
        except OSError:
            self.socket.close()
            raise
        self.rest = b""

    def request(self, text):
        """The answer to a request; None when the host went before it was there."""
        line = json.dumps({"jsonrpc": "2.0", "id": 1, "method": "processRequest",
                           "params": {"Request": text, "RequestLength": len(text.encode())}})
        try:
            self.socket.sendall(line.encode() + b"\n")
            while b"\n" not in self.rest:
                part = self.socket.recv(65536)
                if not part:
                    return None
                self.rest += part
        except (ConnectionError, BrokenPipeError):
            return None
        line, self.rest = self.rest.split(b"\n", 1)
        return json.loads(line)["result"]["Response"]

    def close(self):
        self.socket.close()


class Writer:
    """What one kind of client writes. `expected` is what it was told as stored, by key; `open` is
    what the write that had no answer would make of it."""

    def __init__(self, number):
        self.number, self.turn = number, 0
        self.expected, self.open = {}, None
        self.acknowledged = 0

    def write(self, connection):
        """One write; False when the host has gone."""
        self.turn += 1
        text, after = self.next()
        self.open = after
        answer = connection.request(text)
        if answer is None:
            return False
        if "_response</ReasonForMessage>" not in answer:
            raise ValueError(f"{text} was answered by {answer}")
        self.expected, self.open = after, None
        self.acknowledged += 1
        return True

    def settle(self, found):
        """Whether the rows found are those that must be there; they are what is expected next."""
        if found == self.expected:
            fits = "nothing more"
        elif self.open is not None and found == self.open:
            fits = "the open write"
        else:
            return None
        self.expected, self.open = found, None
        return fits


class Settings(Writer):
    """One item each time: new ones, and changes."""

    def next(self):
        name, value = f"Client{self.number}Item{self.turn % 40}", f"value {self.turn}"
        return (message("AudioSettings", "update_request",
                        f'<Context currentUser="base"><{name}>{value}</{name}></Context>'),
                {**self.expected, name: value})

    def rows(self, db):
        return dict(db.execute("SELECT Name, Value FROM GENERAL_CONFIG WHERE Schema = "
                               "'AudioSettings' AND Name LIKE ?", [f"Client{self.number}Item%"]))


class Contacts(Writer):
    """Batches of three contacts, and every fourth time the deletion of one."""

    def next(self):
        if self.turn % 4 == 0 and self.expected:
            gone = min(self.expected)
            after = {name: number for name, number in self.expected.items() if name != gone}
            return message("PhoneBook", "delete_request", entry(Surname=gone)), after
        new = {f"C{self.number} {self.turn:09} {row}": f"+49{self.turn}" for row in range(3)}
        body = "".join(entry(Surname=name, Office=number) for name, number in new.items())
        return message("PhoneBook", "write_request", body), {**self.expected, **new}

    def rows(self, db):
        return dict(db.execute("SELECT Surname, Office FROM PHONE_BOOK WHERE Surname LIKE ?",
                               [f"C{self.number} %"]))


class Calls(Writer):
    def next(self):
        name, number = f"D{self.number} {self.turn:09}", f"89{self.number}{self.turn:09}"
        call = f"<Item><Number>{number}</Number><TimeDate>{self.turn}</TimeDate></Item>"
        body = f"<Entry><Surname>{name}</Surname><LogList>{call}</LogList></Entry>"
        return (message("CallLog", "write_request", f'<Context currentUser="base">{body}</Context>'),
                {**self.expected, name: 1})

    def rows(self, db):
        return dict(db.execute("SELECT Surname, COUNT(*) FROM CALL_LOG WHERE Surname LIKE ? "
                               "GROUP BY 1", [f"D{self.number} %"]))


class Keys(Writer):
    """All keys in one request: the labels stand together or not at all."""

    schema, table = "FeatureKeys", "FEATURE_KEYS"

    def next(self):
        after = {str(key): f"{self.turn} of {key}" for key in KEYS}
        body = "".join(entry(Id=key, Label=label) for key, label in after.items())
        return message(self.schema, "update_request", body), after

    def rows(self, db):
        return dict(db.execute(f"SELECT Id, Label FROM {self.table} WHERE UserContext = 'base' "
                               "AND Id + 0 BETWEEN ? AND ? AND Label LIKE '% of %'",
                               [KEYS[0], KEYS[-1]]))


class Groups(Writer):
    """One row of a table that the upgrade rebuilds."""

    def next(self):
        group, name = str(1 + self.turn % 16), f"Group {self.turn}"
        return (message("CallGroup", "update_request", f"<Select><CallGroup>{group}</CallGroup>"
                        f"</Select><Entry><CallGroupName>{name}</CallGroupName></Entry>"),
                {**self.expected, group: name})

    def rows(self, db):
        return dict(db.execute("SELECT CallGroup, CallGroupName FROM CallGroup WHERE UserContext = "
                               "'base' AND CallGroupName <> ''"))


KINDS = [Settings, Contacts, Calls, Keys, Groups]


class Host:
    """A host on the database of a place, its clients, and what becomes of them."""

    def __init__(self, campaign):
        self.campaign = campaign
        self.place = Place(campaign.place)
        self.socket = str(campaign.place / "socket")
        self.answers_wrong = []

    def start(self):
        return subprocess.Popen([self.campaign.programs / "das", "serve", "--socket", self.socket],
                                env=self.place.environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def connect(self, process):
        while process.poll() is None:
            try:
                return Connection(self.socket)
            except OSError:
                time.sleep(0.001)
        raise ChildProcessError(f"the host ended by {process.returncode}")

    def make(self):
        """A new database, its tables, and clients that have written nothing."""
        self.place.make()
        self.writers = [kind(number) for number, kind in enumerate(KINDS)]
        self.whole_start(*[message(schema, "read_request") for schema in
                           ["PhoneBook", "CallLog", "FeatureKeys", "CallGroup"]])

    def whole_start(self, *requests):
        """A host that is killed when it has answered; the socket is there before the service is."""
        connection = self.connect(process := self.start())
        for request in requests or ["getCurrentUser"]:
            connection.request(request)
        connection.close()
        self.end(process)

    @staticmethod
    def end(process):
        process.send_signal(signal.SIGKILL)
        process.wait()

    def write_until_killed(self, writer, connection):
        try:
            while writer.write(connection):
                pass
        except Exception as error:  # told by the main thread, with the seed
            self.answers_wrong.append(repr(error))
        connection.close()

    def live(self):
        """A host under load until it is killed."""
        process = self.start()
        connections = [self.connect(process) for _ in self.writers]
        connections[0].request("getCurrentUser")  # answered when the start has ended
        threads = [threading.Thread(target=self.write_until_killed, args=pair)
                   for pair in zip(self.writers, connections)]
        for thread in threads:
            thread.start()
        time.sleep(self.campaign.random.uniform(0.001, LONGEST_LIFE))
        self.end(process)
        for thread in threads:
            thread.join()

    def kill_in_upgrade(self):
        """Makes the database old, and kills the start that brings it up to date."""
        db = sqlite3.connect(self.place.database)
        db.executescript(MAKE_OLD)
        db.close()
        process = self.start()
        time.sleep(self.campaign.random.uniform(0, LONGEST_START))
        self.end(process)
        if (self.place.db / "phone.db.before-upgrade").exists():
            self.campaign.count("starts killed with a copy beside")
        self.campaign.count("starts killed")
        self.whole_start()

    def check(self, where):
        db = sqlite3.connect(self.place.database)
        whole = db.execute("PRAGMA integrity_check").fetchone()[0]
        self.campaign.check(whole == "ok", f"{where}: {whole}")
        for writer in self.writers:
            fits = writer.settle(found := writer.rows(db))
            kind = type(writer).__name__
            if fits is None:
                lost = sorted(set(writer.expected.items()) - set(found.items()))[:5]
                more = sorted(set(found.items()) - set(writer.expected.items()))[:5]
                self.campaign.found(f"{where}: {kind} lack {lost}, have {more}")
                writer.expected, writer.open = found, None
            elif fits == "the open write":
                self.campaign.count("unanswered writes that were stored")
        db.close()
        for error in self.answers_wrong:
            self.campaign.found(f"{where}: {error}")
        self.answers_wrong.clear()


def main():
    campaign = Campaign("kills", "kills", 20000)
    host = Host(campaign)
    acknowledged = 0
    for number in range(campaign.rounds):
        if not campaign.has_time():
            break
        if number % ROUNDS_OF_DATABASE == 0:
            host.make()
        before = sum(writer.acknowledged for writer in host.writers)
        host.live()
        acknowledged += sum(writer.acknowledged for writer in host.writers) - before
        host.check(f"kill {number}")
        if number % 5 == 4:
            host.kill_in_upgrade()
            host.check(f"start killed behind kill {number}")
        campaign.count("kills")
    campaign.figures["acknowledged writes"] = acknowledged
    campaign.check(acknowledged > 0 or campaign.rounds == 0, "no write was acknowledged")
    return campaign.end()


if __name__ == "__main__":
    sys.exit(main())
