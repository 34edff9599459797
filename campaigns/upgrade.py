"""The upgrade is all or nothing: starts over databases of earlier releases are killed before a
chosen file operation, and the next one has to end as if nothing had been.

Usage: upgrade.py PROGRAMS [--rounds N] [--seed S] [--seconds T]

A round is one killed start. The points are spread over all operations of all texts of
tests/databases/; with rounds enough each of them has its turn.
"""
import shutil
import sqlite3
import stat
import subprocess
import sys

from campaign import SOURCES, Campaign, Place

campaign = Campaign("upgrade", "starts are killed", 40000)
sys.argv[1:] = []
sys.path.insert(0, str(SOURCES / "tests/upgrade"))
from test_upgrade import CONTENTS, FORMS, dump, fill  # noqa: E402

TEXTS = SOURCES / "tests/databases"
COPY = "phone.db.before-upgrade"
VALUES = "TransportSettings,DLSport,18444\nAudioSettings,RingerMelody,7\n"
# Columns whose text differs from run to run.
ENCRYPTED = ("SELECT m.name, c.name FROM sqlite_master m, pragma_table_info(m.name) c "
             "WHERE m.type = 'table' AND (c.name LIKE '%Enc' OR (m.name LIKE '%_ENC' AND "
             "c.name = 'FtpPassword'))")
MOST_OF_PUT_BACK = 12  # operations of a start until the database is back


def settings_text(text):
    has_settings = "TABLE GENERAL_CONFIG" in (TEXTS / f"{text}.sql").read_text()
    return [text] if has_settings else ["settings_of_today", text]


class Upgrade:
    """The upgrade of one text: its database before and after, and how many operations it takes."""

    def __init__(self, text, user):
        self.name = f"{text} as {user}"
        self.place = Place(campaign.place / "work")
        self.start = campaign.programs / "das_interrupted_start"
        self.place.make()
        deploy = self.place.root / "Aurel_Deploy"
        (deploy / "DasUpdateValues.csv").write_text(VALUES)
        if text == "other_protocol":
            previous = self.place.root / ".QuilldeskRootFileSystemImageVersion.prev.txt"
            previous.write_text("V3R1 SIP 120\n")
        self.make_database(text, user)
        self.origin = campaign.place / "origin"
        shutil.rmtree(self.origin, ignore_errors=True)
        shutil.copytree(self.place.folder, self.origin)
        self.before = self.state("phone.db")
        self.operations, copied = self.whole_start()
        campaign.check(copied, f"{self.name}: no copy was made")
        self.after = self.state("phone.db")
        self.files = self.list_files()
        self.check_further_start()

    def make_database(self, text, user):
        db = sqlite3.connect(self.place.database)
        for part in settings_text(text):
            db.executescript((TEXTS / f"{part}.sql").read_text())
        for table in FORMS.get(text, []):
            fill(db, table, *CONTENTS["usual"])
        db.execute("UPDATE GENERAL_CONFIG SET Value = ? WHERE Name = 'MobilityCurrentUser'", [user])
        db.commit()
        db.close()

    def run(self, operation):
        return subprocess.run([self.start, str(operation)], env=self.place.environment,
                              capture_output=True, text=True, check=False, timeout=60)

    def whole_start(self):
        """How many operations a start takes, and whether it copied the database."""
        return map(int, self.run(0).stdout.splitlines()[-1].split())

    def list_files(self):
        """All but the key, and what a kill left half written under a name of its own."""
        return sorted(str(path.relative_to(self.place.folder))
                      for path in self.place.folder.rglob("*")
                      if not path.name.startswith("dascrypt.key") and ".csv.new-" not in path.name)

    def check_further_start(self):
        """One with nothing to do, which makes no copy; behind it the state is as it was."""
        _, copied = self.whole_start()
        campaign.check(not copied, f"{self.name}: a start with nothing to do made a copy")
        campaign.check(self.state("phone.db") == self.after,
                       f"{self.name}: a second start changed something")
        campaign.count("further starts without a copy")

    def restore(self):
        shutil.rmtree(self.place.folder)
        shutil.copytree(self.origin, self.place.folder)

    def state(self, name):
        """What a database holds, seen beside its place so that it stays as it is."""
        aside = campaign.place / "aside"
        shutil.rmtree(aside, ignore_errors=True)
        aside.mkdir()
        for file in [name, f"{name}-journal"]:
            if (self.place.db / file).exists():
                shutil.copy(self.place.db / file, aside)
        db = sqlite3.connect(aside / name)
        whole = db.execute("PRAGMA integrity_check").fetchone()[0]
        for table, column in db.execute(ENCRYPTED).fetchall():
            db.execute(f"UPDATE {table} SET {column} = '*' WHERE {column} <> ''")
        db.commit()
        db.close()
        campaign.check(whole == "ok", f"{self.name}: {name}: {whole}")
        return dump(aside / name)

    def check_killed(self, run, where):
        """Either the database or its copy is as it was, unless the upgrade had ended."""
        copy = self.place.db / COPY
        if copy.exists() and copy.stat().st_size > 0:
            campaign.count("killed with a copy beside")
            rights = stat.S_IMODE(copy.stat().st_mode)
            campaign.check(rights == 0o600, f"{where}: the copy has the rights {rights:o}")
            campaign.check(self.state(COPY) == self.before, f"{where}: the copy is another")
        elif "ended" in run.stderr:
            campaign.count("killed behind the upgrade")
        else:
            campaign.count("killed before the first change")
            campaign.check(self.state("phone.db") == self.before,
                           f"{where}: changed without a copy")

    def round(self, operation):
        self.restore()
        where = f"{self.name} before operation {operation} of {self.operations}"
        run = self.run(operation)
        if not campaign.check(run.returncode == -9, f"{where}: ended by {run.returncode}"):
            return
        self.check_killed(run, where)
        while campaign.random.random() < 0.3:
            again = campaign.random.randint(1, MOST_OF_PUT_BACK)
            where += f", then {again}"
            if self.run(again).returncode == -9:
                campaign.count("killed in the put-back or behind it")
        last = self.run(0)
        campaign.check(last.returncode == 0, f"{where}: the next start ended so: {last.stderr}")
        campaign.check(self.state("phone.db") == self.after, f"{where}: another end")
        campaign.check(self.list_files() == self.files,
                       f"{where}: files {set(self.list_files()) ^ set(self.files)}")


def main():
    texts = sorted(path.stem for path in TEXTS.glob("*.sql"))
    rounds_of_text = -(-campaign.rounds // len(texts))
    for number, text in enumerate(texts):
        upgrade = Upgrade(text, "base" if number % 2 == 0 else "visitor")
        campaign.count("operations", upgrade.operations)
        every = range(1, upgrade.operations + 1)
        points = every if len(every) <= rounds_of_text else sorted(
            campaign.random.sample(every, rounds_of_text))
        for point in points:
            if campaign.has_time():
                upgrade.round(point)
                campaign.count("rounds")
    return campaign.end()


if __name__ == "__main__":
    sys.exit(main())
