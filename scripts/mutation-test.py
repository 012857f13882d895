#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT
"""Mutation testing: changes one place of the sources at a time in a copy of the tree and runs the tests.

A mutant is killed when the library no longer builds or a test fails: first in the dev build; a survivor runs in the asan
build, and a changed lock in the tsan build. Prints each survivor and a table by kind; exits 1 if fewer than 90 of 100 are
killed. Takes half an hour: not part of CI.

usage: scripts/mutation-test.py [--most N] [--only TEXT]
"""
import argparse
import collections
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / 'build' / 'mutants'
TESTS = ['tst_records', 'tst_store', 'tst_allocations', 'tst_replay', 'tst_decisions']

# kind, what is searched in a line, what replaces it
RULES = [
    ('operator', r' == ', ' != '), ('operator', r' != ', ' == '), ('operator', r' && ', ' || '), ('operator', r' \|\| ', ' && '),
    ('operator', r' < ', ' <= '), ('operator', r' > ', ' < '), ('operator', r' >= ', ' > '), ('operator', r' \+= ', ' -= '),
    ('operator', r' -= ', ' += '), ('operator', r'\? (.+) : (.+);', r'? \2 : \1;'),
    ('constant', r'\b0\b(?!x)', '1'), ('constant', r'(?<!%)\b1\b', '2'), ('constant', r'\b(3|7|10)\b', '5'),
    ('constant', r'VdiVM::(\w+)Key\b', 'VdiVM::OsTypeKey'), ('constant', r'VdiVM::ItemNode', 'VdiVM::PoolNode'),
    ('constant', r'VdiVM::PoolNode', 'VdiVM::ItemNode'), ('constant', r'emptyText\(\)', 'QString()'), ('constant', r'return false', 'return true'),
    ('constant', r'return true', 'return false'), ('constant', r'nullptr;', 'reinterpret_cast<VmPoolNode *>(8);'),
    ('condition', r'\bif \((.+)\) \{$', r'if (!(\1)) {'), ('condition', r'\bif \((.+)\)$', r'if (!(\1))'),
    ('condition', r'^(\s+)continue;', r'\1break;'), ('condition', r'^(\s+)break;', r'\1continue;'),
    ('statement', r'^(\s+)(?!return|using|static|const|auto|Q[A-Z]|int |bool |uint |Vm\w+ \*)[\w~][^{}=]*;$', r'\1;'),
    ('statement', r'^(\s+)\w[\w.>-]* [-+]?= [^;]*;$', r'\1;'), ('statement', r'^(\s+)return;', r'\1;'),
    ('arguments', r'\((\w+), (\w+)\);', r'(\2, \1);'), ('arguments', r'\(parentUuid\)', '(uuid)'), ('arguments', r'\(uuid\)', '(parentUuid)'),
    ('arguments', r'\.arg\(prefix\)\.arg\(name\)', '.arg(prefix, name)'), ('arguments', r'<< uuid << (.+) << parentUuid', r'<< parentUuid << \1 << uuid'),
    ('text', r'"([^"]*?)([a-z])(\W*)"', r'"\1\2#\3"'), ('text', r'"(\w[^"]*) "', r'"\1"'), ('text', r'"([^"]*)%1([^"]*)"', r'"\1\2 %1"'),
    ('severity', r'Log::critical', 'Log::info'), ('severity', r'Log::info', 'Log::critical'), ('severity', r'Log::(\w+)\("\w+"\)', r'Log::\1()'),
    ('lifetime', r'deleteLater\(\)', 'blockSignals(true)'), ('lifetime', r'\bdelete ([^;]+);', r'(void)(\1);'), ('lifetime', r'qDeleteAll\((\w+)\)', r'(void)\1'),
    ('lock', r'^(\s+)Q(Read|Write)Locker locker\(.*$', r'\1;'), ('lock', r'QWriteLocker', 'QReadLocker'),
]


def mutants():
    for path in sorted((ROOT / 'src').rglob('*')):
        if path.suffix not in ('.cpp', '.h'):
            continue
        lines = path.read_text().splitlines()
        for number, line in enumerate(lines):
            code = line.split('//')[0].rstrip()
            if not code.strip() or code.lstrip().startswith('#') or 'static constexpr char' in code:
                continue
            seen = set()
            for kind, search, replacement in RULES:
                changed = re.sub(search, replacement, code, count=1)
                if changed != code and changed not in seen:
                    seen.add(changed)
                    yield path.relative_to(ROOT), number, kind, line, changed


def run(command, seconds):
    try:
        done = subprocess.run(command, cwd=COPY, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=seconds, check=False)
        return done.returncode == 0
    except subprocess.TimeoutExpired:
        return False


def survives(preset, tests):
    if not run(['cmake', '--build', f'build/{preset}', '--target', 'vmdatabase'], 300):
        return False
    return all(run([f'build/{preset}/tests/{test}'], 60) for test in tests)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--most', type=int, default=240, help='how many mutants, spread over all (240)')
    parser.add_argument('--only', default='', help='only mutants whose place or kind contains this text')
    options = parser.parse_args()

    subprocess.run([ROOT / 'scripts/need-packages.sh', 'cmake', 'g++', 'ninja-build', 'qtbase5-dev'], check=True)
    shutil.rmtree(COPY, ignore_errors=True)
    shutil.copytree(ROOT, COPY, ignore=shutil.ignore_patterns('build', '.git'))
    for preset in ('dev', 'asan', 'tsan'):
        for command in (['cmake', '--preset', preset, '-DVMDATABASE_WERROR=OFF'], ['cmake', '--build', '--preset', preset]):
            subprocess.run(command, cwd=COPY, check=True, stdout=subprocess.DEVNULL)
        if not survives(preset, ['tst_threads'] if preset == 'tsan' else TESTS):
            sys.exit(f'The {preset} build does not pass unchanged.')

    chosen = [mutant for mutant in mutants() if options.only in f'{mutant[0]}:{mutant[1] + 1} {mutant[2]}']
    step = max(1.0, len(chosen) / options.most)
    chosen = [chosen[int(i * step)] for i in range(int(len(chosen) / step))]
    made, killed = collections.Counter(), collections.Counter()
    for path, number, kind, line, changed in chosen:
        original = (COPY / path).read_text()
        lines = original.splitlines()
        lines[number] = changed
        (COPY / path).write_text('\n'.join(lines) + '\n')
        if kind == 'lock':
            alive = survives('tsan', ['tst_threads'])
        else:
            alive = survives('dev', TESTS) and survives('asan', TESTS)
        (COPY / path).write_text(original)
        made[kind] += 1
        killed[kind] += not alive
        if alive:
            print(f'survived: {path}:{number + 1} ({kind})\n    {line.strip()}\n    {changed.strip()}', flush=True)
    for kind in made:
        print(f'{kind:10} {killed[kind]:3} of {made[kind]:3} killed')
    total, share = sum(made.values()), 100 * sum(killed.values()) / sum(made.values())
    print(f'{sum(killed.values())} of {total} mutants killed: {share:.1f} of 100')
    return share < 90


if __name__ == '__main__':
    sys.exit(main())
