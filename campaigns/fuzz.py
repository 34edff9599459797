"""Runs the targets of the fuzzer, two side by side, each for so many seconds.

Usage: fuzz.py FOLDER [--rounds SECONDS] [--seed S] [TARGET...]

FOLDER is where das_fuzz stands. A finding is left in build/fuzz/findings/TARGET/; it belongs into
fuzz/regressions/TARGET/, where the ordinary tests repeat it.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[1]
TARGETS = ["request", "wire", "datafile", "devicefile", "calltimes", "database"]
AT_ONCE = 2
# Seconds for one input: each statement waits 5 seconds for a locked database.
LONGEST_INPUT = 25


def corpora(target):
    """The folders with the first inputs of a run."""
    folders = [SOURCES / "fuzz" / kind / target for kind in ("corpus", "regressions")]
    if target == "request":
        folders.append(SOURCES / "examples")
    return [str(folder) for folder in folders if folder.is_dir()]


def figures_of(output):
    """The number of inputs, of covered code positions, and of inputs that reached new ones."""
    units = re.findall(r"stat::number_of_executed_units:\s*(\d+)", output)
    covered = re.findall(r" cov: (\d+)", output)
    corpus = re.findall(r" corp: (\d+)/", output)
    return [int(each[-1]) if each else 0 for each in (units, covered, corpus)]


def run(target, options, place):
    grown = place / target
    grown.mkdir()
    findings = SOURCES / "build" / "fuzz" / "findings" / target
    findings.mkdir(parents=True, exist_ok=True)
    before = set(findings.iterdir())
    dictionary = SOURCES / "fuzz" / "dictionaries" / f"{target}.dict"
    command = [str(Path(options.folder) / "das_fuzz"), f"--target={target}", str(grown),
               *corpora(target), f"-max_total_time={options.rounds}", f"-timeout={LONGEST_INPUT}",
               f"-report_slow_units={LONGEST_INPUT}",
               f"-seed={options.seed}", "-rss_limit_mb=2048", "-print_final_stats=1",
               "-print_pcs=0", "-verbosity=1", f"-artifact_prefix={findings}/"]
    if dictionary.exists():
        command.append(f"-dict={dictionary}")
    began = time.monotonic()
    done = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                          errors="replace", env={**os.environ, "DAS_FUZZ_PLACE": str(place)})
    took = max(time.monotonic() - began, 0.001)
    inputs, covered, corpus = figures_of(done.stderr)
    found = sorted(set(findings.iterdir()) - before)
    figures = (f"{inputs} inputs in {took:.0f} s, {inputs / took:.0f} a second, {covered} places "
               f"reached, {corpus} inputs kept")
    if done.returncode != 0 or found:
        print(f"fuzz: found with --seed {options.seed}: {target}: status {done.returncode}, "
              f"{', '.join(map(str, found))}\n{done.stderr[-4000:]}", file=sys.stderr, flush=True)
        return figures, max(len(found), 1)
    # A fuzzer that did not run can find nothing, so that is a failure.
    return figures, 0 if inputs > 0 and covered > 0 else 1


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder")
    parser.add_argument("--rounds", type=int, default=20, help="how many seconds a target")
    parser.add_argument("--seed", type=int, default=time.time_ns() % 1000000 + 1)
    parser.add_argument("targets", nargs="*")
    options = parser.parse_args()
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    place = Path(tempfile.mkdtemp(prefix="das-fuzz-", dir=memory))
    targets = options.targets or TARGETS
    try:
        with ThreadPoolExecutor(AT_ONCE) as pool:
            results = list(pool.map(lambda target: run(target, options, place), targets))
    finally:
        shutil.rmtree(place, ignore_errors=True)
    print(f"fuzz: seed {options.seed}")
    for target, (figures, _) in zip(targets, results):
        print(f"fuzz: {target} {figures}")
    findings = sum(found for _, found in results)
    print(f"fuzz: findings {findings}")
    return 1 if findings else 0


sys.exit(main())
