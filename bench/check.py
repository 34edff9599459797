"""Compares what the benchmarks measured and counted with bench/limits.json.

Usage: check.py [--short] [--results FILE] [--update] [--table] PROGRAMS

PROGRAMS is the folder of the programs. The short form compares counts alone: instructions,
allocations, bytes and syncs do not depend on what else the machine does. Counts and times in pairs
may exceed their limits by a fifth, since they find what has become slower. The limits of "pipe",
"starts" and "figures" and the syncs are what the service promises: nothing may exceed them. --update
writes the counts of this run into the file in place of the comparison, --table prints all values as
tables, --results keeps the measured times in FILE, or takes them from there when it exists.
"""
import argparse
import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

LIMITS = Path(__file__).resolve().with_name("limits.json")
SLACK = 1.2
# Their rounds take seconds under callgrind, and show nothing more than the smaller ones.
TOO_LONG_TO_COUNT = "^(?!.*(10000|1000x139|CopyAll|Write1000|Import1000))"
# Below this, the fixed memory of a request is larger than that of its rows.
LEAST_ROW_BYTES = 64 * 1024


def run(*command):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit(f"check.py: {command[0]} ended with {done.returncode}:\n{done.stderr[-2000:]}")


def results_of(programs, folder, name, *options):
    file = folder / f"{name}.json"
    run(programs / name, *options, "--json", file)
    return json.loads(file.read_text())


def measured(limits, programs, folder):
    """The results by kind of limit: rows of operations with microseconds, and figures with values.
    """
    operations = "|".join(limit["operation"] for limit in limits["pipe"])
    starts = results_of(programs, folder, "das_start_bench", "--rounds", 15)
    return {"pairs": results_of(programs, folder, "das_bench", "--quick") + starts,
            "starts": starts,
            "pipe": results_of(programs, folder, "das_pipe_bench", "--filter", operations),
            "figures": results_of(programs, folder, "das_remote_bench", "--quick")}


def counted(programs, folder):
    """For each operation: allocations, bytes and syncs of service and floor."""
    file = folder / "counts.json"
    run(programs / "das_bench", "--counts", "--disk", "", "--json", file)
    return {row["operation"]: row for row in json.loads(file.read_text())}


def add_instructions(counts, programs, folder):
    out = folder / "callgrind"
    run("valgrind", "--tool=callgrind", "--instr-atstart=no", f"--callgrind-out-file={out}",
        programs / "das_bench", "--counts", "--disk", "", "--filter", TOO_LONG_TO_COUNT)
    for file in folder.glob("callgrind.*"):
        text = file.read_text(errors="replace")
        name = re.search(r"^desc: Trigger: Client Request: (service|floor) (.*)$", text, re.M)
        total = re.search(r"^summary: (\d+)$", text, re.M)
        if name and total:
            counts[name[2]][name[1]]["instructions"] = int(total[1])


def to_limits(row):
    """Checks the counts of an operation against limits.json."""
    service, floor = row["service"], row["floor"]
    limits = {"allocations": service["allocations"], "syncs": service["syncs"]}
    if "instructions" in floor:
        limits["instructions"] = round(service["instructions"] / floor["instructions"], 3)
    return limits


def memory_of(row):
    """The maximum memory of a request without its answer, relative to the size of its rows."""
    return (row["service"]["peak_bytes"] - row["answer_bytes"]) / row["row_bytes"]


class Check:
    def __init__(self, limits):
        self.limits = limits
        self.failures = 0

    def compare(self, name, value, limit, slack=SLACK):
        verdict = "ok" if value <= limit else "above" if value <= limit * slack else "FAILED"
        self.failures += verdict == "FAILED"
        if verdict != "ok":
            print(f"{verdict:7} {name}: {value:.3f}, limit {limit}")

    def counts(self, counts):
        for name, row in counts.items():
            now = to_limits(row)
            before = self.limits["counts"].get(name)
            if before is None:
                self.failures += 1
                print(f"FAILED  {name}: no counts in {LIMITS.name}")
                continue
            for kind in now.keys() & before.keys():
                self.compare(f"{name} {kind}", now[kind], before[kind],
                             1 if kind == "syncs" else SLACK)
            if row["service"]["syncs"] > row["floor"]["syncs"]:
                self.failures += 1
                print(f"FAILED  {name} asks for more syncs than its floor")
            if row["row_bytes"] >= LEAST_ROW_BYTES and (row["writes"] or
                                                        row["answer_bytes"] > LEAST_ROW_BYTES):
                self.compare(f"{name} memory", memory_of(row), self.limits["memory"])

    def ratios(self, rows):
        for row in rows:
            for limit in self.limits["ratios"]:
                if re.search(limit["operation"], row["operation"]) and row["place"] in limit:
                    self.ratio(row, limit)
                    break
            else:
                self.failures += 1
                print(f"FAILED  {row['operation']}: no ratio in {LIMITS.name}")

    def ratio(self, row, limit):
        more = row["service_us"] - row["floor_us"]
        if row["place"] != "disk" or more > limit.get("disk_more_us", 0):
            self.compare(f"{row['operation']} on {row['place']}", row["ratio"],
                         limit[row["place"]])

    def pipe(self, rows):
        """The smallest times of das and of the hand-written program, over the same pipe."""
        for limit in self.limits["pipe"]:
            found = [row for row in rows if re.search(limit["operation"], row["operation"])]
            self.require(found, limit["operation"])
            for row in found:
                self.compare(f"{row['operation']} over a pipe, {row['place']}", row["ratio"],
                             limit[row["place"]], 1)

    def starts(self, rows):
        """The smallest processor times of a start, relative to a program that reads each row once.
        """
        for operation, limit in self.limits["starts"].items():
            found = [row for row in rows if row["operation"] == operation]
            self.require(found, operation)
            for row in found:
                self.compare(f"{operation} over its reads, {row['place']}",
                             row["processors_us"] / row["processors_of_reads_us"], limit, 1)

    def figures(self, rows):
        values = {row["name"]: row["value"] for row in rows}
        for name, limit in self.limits["figures"].items():
            self.require(name in values, name)
            value = values.get(name, 0)
            if "at_most" in limit:
                self.compare(name, value, limit["at_most"], 1)
            elif value < limit["at_least"]:
                self.failures += 1
                print(f"FAILED  {name}: {value:.3f}, at least {limit['at_least']}")

    def require(self, condition, name):
        if not condition:
            self.failures += 1
            print(f"FAILED  {name} was not measured")

    def growth(self, rows):
        times = {(row["operation"], row["place"]): row["service_us"] for row in rows}
        for limit in self.limits["growth"]:
            now, before = (times.get((limit[end], "memory")) for end in ("to", "from"))
            self.require(now and before, limit["to"])
            if now and before:
                self.compare(f"{limit['to']} over {limit['from']}", now / before,
                             limit["at_most"])


def print_tables(rows, counts):
    print("| Operation | Place | Service, µs | Floor, µs | Ratio |\n|---|---|---:|---:|---:|")
    for row in rows:
        print(f"| {row['operation']} | {row['place']} | {row['service_us']:.1f} | "
              f"{row['floor_us']:.1f} | {row['ratio']:.2f} |")
    print("\n| Operation | Instructions | Floor | Ratio | Allocations | Floor | Peak, KiB | "
          "Rows, KiB | Answer, KiB | Syncs |\n|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|")
    for name, row in counts.items():
        service, floor = row["service"], row["floor"]
        instructions = [service.get("instructions"), floor.get("instructions")]
        cells = [*(f"{n:,}" if n else "" for n in instructions),
                 f"{instructions[0] / instructions[1]:.2f}" if instructions[1] else "",
                 service["allocations"], floor["allocations"],
                 *(f"{n / 1024:.1f}" for n in
                   (service["peak_bytes"], row["row_bytes"], row["answer_bytes"])),
                 service["syncs"]]
        print(f"| {name} | " + " | ".join(map(str, cells)) + " |")


def in_lines(value):
    """The JSON of a limit, with a line for each item."""
    if isinstance(value, list):
        return "[\n" + ",\n".join("    " + json.dumps(item) for item in value) + "\n  ]"
    if isinstance(value, dict):
        return "{\n" + ",\n".join(f"    {json.dumps(name)}: {json.dumps(item)}"
                                  for name, item in value.items()) + "\n  }"
    return json.dumps(value)


def write_counts(limits, counts):
    limits["counts"] = {name: to_limits(row) for name, row in counts.items()}
    lines = [f'    {json.dumps(name)}: {json.dumps(value)}'
             for name, value in limits["counts"].items()]
    others = ",\n".join(f"  {json.dumps(key)}: {in_lines(value)}"
                        for key, value in limits.items() if key != "counts")
    LIMITS.write_text("{\n" + others + ',\n  "counts": {\n' + ",\n".join(lines) + "\n  }\n}\n")


def times(limits, results, programs, folder):
    if results and results.exists():
        return json.loads(results.read_text())
    rows = measured(limits, programs, folder)
    if results:
        results.write_text(json.dumps(rows, indent=2) + "\n")
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("programs", type=Path)
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--table", action="store_true")
    parser.add_argument("--results", type=Path)
    options = parser.parse_args()
    limits = json.loads(LIMITS.read_text())
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        rows = {} if options.short else times(limits, options.results, options.programs, folder)
        counts = counted(options.programs, folder)
        add_instructions(counts, options.programs, folder)
    if options.table:
        print_tables(rows.get("pairs", []), counts)
    if options.update:
        write_counts(limits, counts)
        return 0
    check = Check(limits)
    check.counts(counts)
    if rows:
        check.ratios(rows["pairs"])
        check.growth(rows["pairs"])
        check.pipe(rows["pipe"])
        check.starts(rows["starts"])
        check.figures(rows["figures"])
    print(f"{len(counts)} operations counted, {sum(map(len, rows.values()))} figures measured, "
          f"{check.failures} failed")
    return 1 if check.failures else 0


if __name__ == "__main__":
    sys.exit(main())
