#!/usr/bin/python3
"""Measures das next to other stores of settings and contacts, each as its users call it.

Usage: peers.py PROGRAMS [--folder FOLDER] [--json FILE]

PROGRAMS is the folder of das. Each peer works in a folder of its own below FOLDER, which should be on a
disk, with its own settings for durability: the table says which, and how many syncs a write asks for.
Times are the smallest of many, in microseconds of a client in Python; SQLiteCpp alone runs in the
client's process. A peer that is not installed is named with its package; nothing is installed.
"""
import argparse
import json
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

CONTACTS = 1000
ROUNDS = 300
NAMES = ["read", "write", "search", "update"]
SCHEMA = """<schemalist><schema id="bench.peer" path="/bench/peer/">%s</schema></schemalist>""" % "".join(
    f'<key name="item{i}" type="s"><default>"0"</default></key>' for i in range(100))


def number(contact):
    return f"+49 171 2{100000 + contact}"


def smallest(work, rounds=ROUNDS):
    """Microseconds of @p work, which gets the number of its round."""
    times = []
    for i in range(rounds):
        begin = time.perf_counter()
        work(i)
        times.append(time.perf_counter() - begin)
    return min(times) * 1e6


class Lines:
    """A server of a Unix socket that answers in lines."""

    def __init__(self, command, path, folder):
        self.process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        self.socket = socket.socket(socket.AF_UNIX)
        for _ in range(500):
            try:
                self.socket.connect(str(path))
                break
            except OSError:
                time.sleep(0.02)

    def ask(self, data, is_whole=lambda answer: answer.endswith(b"\n")):
        self.socket.sendall(data)
        answer = b""
        while not is_whole(answer):
            piece = self.socket.recv(1 << 20)
            if not piece:
                raise ConnectionError("the server has gone")
            answer += piece
        return answer

    def end(self):
        self.socket.close()
        self.process.terminate()
        self.process.wait()


def das(programs, folder):
    host = Lines([programs / "das", "--db", folder, "serve", "--socket", folder / "s"], folder / "s", folder)

    def ask(schema, reason, body):
        text = (f'<?xml version="1.0" encoding="utf-8"?><Schema name="{schema}"><ReasonForMessage>{reason}'
                f"</ReasonForMessage>{body}</Schema>")
        call = {"jsonrpc": "2.0", "id": 1, "method": "processRequest",
                "params": {"Request": text, "RequestLength": len(text)}}
        return host.ask(json.dumps(call).encode() + b"\n")

    user = '<Context currentUser="base"></Context>'
    ask("AudioSettings", "write_request", "".join(f"<Item{i}>0</Item{i}>" for i in range(100)))
    ask("PhoneBook", "write_request", "".join(
        f"<Entry><Surname>Surname{i}</Surname><Mobile>{number(i)}</Mobile></Entry>" for i in range(CONTACTS)))
    host.ask(b'{"jsonrpc":"2.0","id":1,"method":"createPhonenumberIndices"}\n')
    times = {
        "read": smallest(lambda i: ask("AudioSettings", "read_request",
                                       user + "<ResultCols>Item50</ResultCols>")),
        "write": smallest(lambda i: ask("AudioSettings", "update_request", f"<Item50>{i + 1}</Item50>")),
        "search": smallest(lambda i: ask("PhoneBook", "search_phone_number",
                                         f"<Entry><Office>{number(i)}</Office><Mobile>{number(i)}</Mobile></Entry>")),
        "update": smallest(lambda i: ask(
            "PhoneBook", "update_request",
            f"<Select><UniqueID>50</UniqueID></Select><Entry><Mobile>{i}</Mobile></Entry>"))}
    host.end()
    return times


def redis(_, folder):
    server = Lines(["redis-server", "--port", "0", "--unixsocket", folder / "s", "--dir", folder, "--appendonly",
                    "yes", "--appendfsync", "always", "--save", ""], folder / "s", folder)

    def ask(*words):
        parts = [str(word).encode() for word in words]
        return server.ask(b"*%d\r\n" % len(parts) + b"".join(b"$%d\r\n%s\r\n" % (len(p), p) for p in parts),
                          lambda answer: answer.endswith(b"\r\n") and (answer[:1] != b"*" or answer.count(b"$") >= 4))

    def store(contact, mobile):
        ask("HSET", f"contact:{contact}", "surname", f"Surname{contact}", "mobile", mobile)
        ask("SET", f"number:{mobile}", contact)

    def search(i):
        found = ask("GET", f"number:{number(i)}").split(b"\r\n")[1].decode()
        ask("HGETALL", f"contact:{found}")

    def update(i):  # the record and its index, at once
        server.ask(b"".join(b"*%d\r\n" % len(c) + b"".join(b"$%d\r\n%s\r\n" % (len(p), p) for p in c) for c in (
            [b"MULTI"], [b"HSET", b"contact:50", b"mobile", b"%d" % i], [b"SET", b"number:%d" % i, b"50"], [b"EXEC"])),
            lambda answer: b"*2\r\n" in answer and answer.endswith(b"\r\n") and answer.split(b"*2\r\n")[1].count(b":") == 1
            and answer.endswith(b"+OK\r\n"))

    for i in range(CONTACTS):
        store(i, number(i))
    times = {"read": smallest(lambda i: ask("GET", "item50")) if ask("SET", "item50", "0") else 0,
             "write": smallest(lambda i: ask("SET", "item50", i)), "search": smallest(search),
             "update": smallest(update)}
    server.end()
    return times


def sqlitecpp(_, folder):
    source = Path(__file__).resolve().with_name("PeerSqliteCpp.cpp")
    subprocess.run(["c++", "-std=c++17", "-O2", "-o", folder / "peer", source, "-lSQLiteCpp", "-lsqlite3", "-lpthread"],
                   check=True)
    out = subprocess.run([folder / "peer", folder / "db"], check=True, capture_output=True, text=True).stdout
    return {line.split()[0]: float(line.split()[1]) for line in out.splitlines()}


def in_session(name, folder):
    """Runs a peer of the session bus in a session of its own."""
    (folder / "schemas").mkdir()
    (folder / "schemas" / "bench.gschema.xml").write_text(SCHEMA)
    if shutil.which("glib-compile-schemas"):
        subprocess.run(["glib-compile-schemas", folder / "schemas"], check=True)
    home = {"HOME": folder, "XDG_CONFIG_HOME": folder / "config", "XDG_DATA_HOME": folder / "data",
            "XDG_CACHE_HOME": folder / "cache", "XDG_RUNTIME_DIR": folder, "GSETTINGS_SCHEMA_DIR": folder / "schemas"}
    out = subprocess.run(["dbus-run-session", "--", sys.executable, __file__, "--inside", name, folder], check=True,
                         capture_output=True, text=True, timeout=300,
                         env={**os.environ, **{key: str(value) for key, value in home.items()}}).stdout
    return json.loads(out.splitlines()[-1])


def gsettings():
    from gi.repository import Gio
    settings = Gio.Settings.new("bench.peer")

    def write(i):
        settings.set_string("item50", str(i + 1))
        Gio.Settings.sync()

    return {"read": smallest(lambda i: settings.get_string("item50")), "write": smallest(write)}


def evolution():
    import gi
    for name in ["EBook", "EBookContacts", "EDataServer"]:
        gi.require_version(name, "1.2")
    from gi.repository import EBook, EBookContacts, EDataServer
    source = EDataServer.SourceRegistry.new_sync(None).ref_builtin_address_book()
    book = EBook.BookClient.connect_sync(source, 30, None)

    def contact(i):
        return EBookContacts.Contact.new_from_vcard(
            f"BEGIN:VCARD\nVERSION:3.0\nFN:Surname{i}\nN:Surname{i};;;;\nTEL;TYPE=CELL:{number(i)}\nEND:VCARD")

    made = book.add_contacts_sync([contact(i) for i in range(CONTACTS)], 0, None)
    uid = (made[1] if isinstance(made, tuple) else made)[50]
    changed = book.get_contact_sync(uid, None)[1]

    def update(i):
        changed.set_property("mobile-phone", str(i))
        book.modify_contact_sync(changed, 0, None)

    return {"search": smallest(lambda i: book.get_contacts_sync(f'(is "phone" "{number(i)}")', None), 50),
            "update": smallest(update, 50)}


# Name, packages with a file that shows each, durability of a write, how it is measured.
PEERS = [
    ("das", [], "rollback journal, synced before the answer: 4 syncs", das),
    ("redis", [("redis-server", "/usr/bin/redis-server")],
     "append-only file, appendfsync always: 1 sync", redis),
    ("SQLiteCpp, in process", [("libsqlitecpp-dev", "/usr/include/SQLiteCpp/SQLiteCpp.h")],
     "SQLite's defaults, rollback journal: 4 syncs", sqlitecpp),
    ("GSettings over dconf", [("python3-gi", "/usr/lib/python3/dist-packages/gi"),
                              ("dconf-gsettings-backend", "/usr/share/dbus-1/services/ca.desrt.dconf.service"),
                              ("libglib2.0-dev-bin", "/usr/bin/glib-compile-schemas"),
                              ("dbus-daemon", "/usr/bin/dbus-run-session")],
     "a new file, synced and renamed, waited for by g_settings_sync: 2 syncs", lambda _, folder: in_session("gsettings", folder)),
    ("evolution-data-server", [("gir1.2-ebook-1.2", "/usr/lib/x86_64-linux-gnu/girepository-1.0/EBook-1.2.typelib"),
                               ("evolution-data-server", "/usr/libexec/evolution-addressbook-factory"),
                               ("dbus-daemon", "/usr/bin/dbus-run-session")],
     "its address book is an SQLite database with a rollback journal: 2 syncs", lambda _, folder: in_session("evolution", folder)),
]


def measure(programs, place):
    for name, packages, durability, work in PEERS:
        missing = [package for package, file in packages if not Path(file).exists()]
        if missing:
            print(f"{name}: left out, there is no package {', '.join(missing)}", file=sys.stderr)
            continue
        with tempfile.TemporaryDirectory(prefix="peer-", dir=place) as folder:
            try:
                yield name, durability, work(programs, Path(folder))
            except (OSError, subprocess.SubprocessError, ConnectionError) as error:
                print(f"{name}: left out: {getattr(error, 'stderr', None) or error}", file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("programs", type=Path)
    parser.add_argument("--folder", type=Path)
    parser.add_argument("--json", type=Path)
    options = parser.parse_args()
    programs = options.programs.resolve()
    rows = [{"peer": name, "durability": durability, **times}
            for name, durability, times in measure(programs, options.folder or programs)]
    print("| | Read a value, µs | Write a value, µs | Find a number, µs | Change a contact, µs | Durability |\n"
          "|---|---:|---:|---:|---:|---|")
    for row in rows:
        cells = [f"{row[name]:.0f}" if name in row else "" for name in NAMES]
        print(f"| {row['peer']} | {' | '.join(cells)} | {row['durability']} |")
    if options.json:
        options.json.write_text(json.dumps(rows, indent=2) + "\n")
    return 0


if __name__ == "__main__":
    if sys.argv[1:2] == ["--inside"]:
        print(json.dumps({"gsettings": gsettings, "evolution": evolution}[sys.argv[2]]()))
        sys.exit(0)
    sys.exit(main())
