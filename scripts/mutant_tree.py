"""A copy of the tree in which faults stand that are switched on one at a time, by their number in MUTANT.

scripts/mutants and scripts/sabotages share it, so that one build serves all faults of a run.
"""
import os
import re
import resource
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
TREE = WORK / "tree"
PROGRAMS = WORK / "build" / "bin"
MEMORY = 4 << 30  # a fault that collects without end is stopped here

SWITCH = """#pragma once
#include <cstdlib>
inline bool dasMutant(int number) {
    static const char* const text = std::getenv("MUTANT");
    static const int active = text != nullptr ? std::atoi(text) : 0;
    return number == active;
}
"""


def write_tree(changed):
    """Makes the copy, with the texts in @p changed by their path. A file that stays as it is keeps its
    time, so that the next build is short."""
    listed = subprocess.run(["git", "ls-files", "-z", "-c", "-o", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\0")  # fmt: skip
    files = {name for name in listed if name and (ROOT / name).is_file()}
    texts = {name: (ROOT / name).read_bytes() for name in files}
    texts.update({name: text.encode() for name, text in changed.items()})
    texts["platform/include/dasMutant.h"] = SWITCH.encode()
    for name, text in texts.items():
        target = TREE / name
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists() or target.read_bytes() != text:
            target.write_bytes(text)
            shutil.copymode(ROOT / name, target) if name in files else None
    for target in [path for path in TREE.rglob("*") if path.is_file()]:
        if str(target.relative_to(TREE)) not in texts:
            target.unlink()


def switched(text, edits):
    """@p text with each (start, end, new, number) of @p edits in it. "@" in the new text is the number,
    which also stands in front: the words of the compiler lead back to it."""
    for start, end, new, number in sorted(edits, reverse=True):
        new = " ".join(new.replace("@", str(number)).split("\n"))
        text = f"{text[:start]}\n/*mutant {number}*/{new}\n{text[end:]}"
    return ('#include "dasMutant.h"\n' if edits else "") + text


def build(targets):
    """Builds @p targets. The numbers of the faults that do not compile; none when the programs are there."""
    configure = ["cmake", "-S", TREE, "-B", WORK / "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                 "-DDAS_BENCH=OFF", "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -w"]  # fmt: skip
    subprocess.run(configure, check=True, stdout=subprocess.DEVNULL)
    command = ["cmake", "--build", WORK / "build", "-j", str(os.cpu_count()), "--target", *targets, "--", "-k", "0"]
    run = subprocess.run(command, capture_output=True, text=True)
    if run.returncode == 0:
        return set()
    refused = set()
    for name, line in re.findall(r"((?:src|platform)/[\w/]+\.cpp):(\d+):\d+:\s+(?:error|required from)", run.stdout):
        match = re.search(r"/\*mutant (\d+)\*/", (TREE / name).read_text().split("\n")[int(line) - 1])
        if match:
            refused.add(int(match[1]))
    if not refused:
        sys.exit("the copy does not build:\n" + run.stdout[-4000:])
    return refused


def run_with(number, command, limit):
    """Runs @p command with fault @p number. How it ended, blank for well: a failed test, a finding, a
    signal, a status, or "no end" after @p limit seconds."""
    scratch = tempfile.mkdtemp(prefix="das-mutant-")
    os.chmod(scratch, 0o755)  # some tests run as another user
    try:
        run = subprocess.run(
            command, cwd=scratch, capture_output=True, text=True, errors="replace", timeout=limit,
            env={**os.environ, "MUTANT": str(number), "TMPDIR": scratch},
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY)))  # fmt: skip
    except subprocess.TimeoutExpired:
        return "no end"
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    if run.returncode == 0:
        return ""
    if run.returncode < 0:
        return f"signal {-run.returncode}"
    failed = (re.search(r"\[  FAILED  \] (\S+?)[ ,(]", run.stdout)
              or re.search(r"^(?:FAIL|ERROR): (\S+)", run.stderr, re.M)
              or re.search(r"found with --seed \d+: (.*)", run.stderr))  # fmt: skip
    return failed[1] if failed else f"status {run.returncode}"
