#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Mutation testing of the locks: removes one lock, or locks for reading where something is written, in a copy of the tree,
# builds the tsan preset and expects ThreadSanitizer to report a race in tst_threads. Prints a table; fails if a mutant
# survives. Without --all it makes only one or two mutants of each record and table.

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SELECTED = [
    "VmNode::getValue without lock",
    "VmNode::setValue locked for reading",
    "VmPolicy::setValue without lock",
    "RemoteApp::setValue locked for reading",
    "getVmPool, lock 2 locked for reading",
    "removeNode without lock",
    "getItemCount without lock",
    "setRemoteAppValue locked for reading",
    "getRemoteAppId without lock",
    "setSaasAppValue without lock",
]
SECONDS = 60  # of one run of the tests: a real race can make a map spin
ATTEMPTS = 3

root = pathlib.Path(__file__).resolve().parent.parent
lock_line = re.compile(r"^ +Q(Read|Write)Locker locker\(&(?:node->)?\w+\);\n", re.MULTILINE)
definition = re.compile(
    r"^(?:\S.*?(?:VmDatabasePrivate::|((?:Vm|Remote)\w+::))|    static auto )(\w+)\(", re.MULTILINE)


def mutants():
    """Every lock of the library, removed or weakened: name, file and the changed text of the file."""
    for path in sorted((root / "src").rglob("*.[ch]*")):
        text = path.read_text()
        names = []
        for lock in lock_line.finditer(text):
            function = [f for f in definition.finditer(text, 0, lock.start())][-1]
            names.append((function[1] or "") + function[2])
            count = names.count(names[-1])
            name = names[-1] + (f", lock {count}" if count > 1 else "")
            relative = path.relative_to(root)
            yield f"{name} without lock", relative, text[: lock.start()] + text[lock.end() :]
            if lock[1] == "Write":
                weaker = lock[0].replace("QWriteLocker", "QReadLocker")
                yield f"{name} locked for reading", relative, text[: lock.start()] + weaker + text[lock.end() :]


def build(copy):
    result = subprocess.run(
        ["cmake", "--build", "build/tsan", "--target", "tst_threads"], cwd=copy, text=True, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT)
    if result.returncode != 0:
        sys.exit(result.stdout)


def run(copy):
    """What came of the tests: "race", "clean", or else how they ended."""
    try:
        result = subprocess.run(
            [copy / "build/tsan/tests/tst_threads"], env={"TSAN_OPTIONS": "halt_on_error=1"}, timeout=SECONDS,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
    except subprocess.TimeoutExpired:
        return "spins"
    if "WARNING: ThreadSanitizer: data race" in result.stdout:
        return "race"
    return "clean" if result.returncode == 0 else f"exit status {result.returncode}"


def main():
    subprocess.run([root / "scripts/need-packages.sh", "cmake", "g++", "ninja-build", "qtbase5-dev"], check=True)
    changed = {name: (path, text) for name, path, text in mutants()}
    names = list(changed) if sys.argv[1:] == ["--all"] else SELECTED
    survivors = []
    with tempfile.TemporaryDirectory() as directory:
        copy = pathlib.Path(directory) / "tree"
        shutil.copytree(root, copy, ignore=shutil.ignore_patterns("build", ".git"))
        subprocess.run(["cmake", "--preset", "tsan"], cwd=copy, check=True, stdout=subprocess.DEVNULL)
        build(copy)
        outcome = run(copy)
        print(f"{'unchanged':<55} {outcome}", flush=True)
        if outcome != "clean":
            sys.exit(1)
        for name in names:
            path, text = changed[name]
            (copy / path).write_text(text)
            build(copy)
            for attempt in range(1, ATTEMPTS + 1):
                outcome = run(copy)
                if outcome == "race":
                    break
            else:
                survivors.append(name)
            print(f"{name:<55} {outcome}, run {attempt}", flush=True)
            shutil.copy(root / path, copy / path)
    print(f"{len(names) - len(survivors)} of {len(names)} mutants killed.")
    sys.exit(1 if survivors else 0)


main()
