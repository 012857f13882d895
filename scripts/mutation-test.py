#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT
"""Mutation testing: changes one place of the sources at a time in a copy of the tree and runs the tests.

A mutant is killed when it does not build or a test fails, first in the dev build, then in the asan build. One of a lock,
which is removed or locks for reading where something is written, is killed only by a race that ThreadSanitizer reports.
Prints each mutant and a table by kind; exits 1 if fewer than 90 of 100 are killed, or a single lock of --locks is not.
Takes half an hour, --locks a few minutes: not part of CI.
"""
import argparse
import collections
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / 'build' / 'mutants'
STORE = ['tst_records', 'tst_store', 'tst_allocations', 'tst_replay', 'tst_decisions']
TESTS = {'dev': STORE, 'asan': STORE, 'tsan': ['tst_threads']}
ATTEMPTS = 3  # of a race to show

# The kinds of lock mutants; of each the functions in which --locks makes one: one or two of each record and table.
LOCKS = {
    'unlocked': ['VmNode::getValue', 'VmDatabasePrivate::removeNode', 'VmDatabasePrivate::getItemCount',
                 'VmDatabasePrivate::getRemoteAppId', 'VmDatabasePrivate::setSaasAppValue'],
    'read-locked': ['VmNode::setValue', 'VmPolicy::setValue', 'RemoteApp::setValue', 'VmDatabasePrivate::getVmPool',
                    'VmDatabasePrivate::setRemoteAppValue'],
}

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
    ('unlocked', r'^(\s+)Q(Read|Write)Locker locker\(.*$', r'\1;'), ('read-locked', r'QWriteLocker', 'QReadLocker'),
]
Mutant = collections.namedtuple('Mutant', 'path number kind function line changed')


def mutants():
    for path in sorted((ROOT / 'src').rglob('*')):
        if path.suffix not in ('.cpp', '.h'):
            continue
        function = ''
        for number, line in enumerate(path.read_text().splitlines()):
            code = line.split('//')[0].rstrip()
            if begin := re.match(r'(?:\S.*?| {4}static auto )\b((?:\w+::)*~?\w+)\(', code):
                function = begin[1]
            if not code.strip() or code.lstrip().startswith('#') or 'static constexpr char' in code:
                continue
            seen = set()
            for kind, search, replacement in RULES:
                changed = re.sub(search, replacement, code, count=1)
                if changed != code and changed not in seen:
                    seen.add(changed)
                    yield Mutant(path.relative_to(ROOT), number, kind, function, line, changed)


def outcome(preset):
    """What came of building the tests and running them: "passes", "race", or else what fails and how."""
    for test in ['', *TESTS[preset]]:
        command = [COPY / f'build/{preset}/tests/{test}'] if test else [
            'cmake', '--build', f'build/{preset}', '--target', *TESTS[preset]]
        # A mutant may spin, in a program that a test has started too: timeout kills both.
        done = subprocess.run(['timeout', '--signal=KILL', '60' if test else '600', *command], cwd=COPY, text=True,
                              errors='replace', stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              env={**os.environ, 'TSAN_OPTIONS': 'halt_on_error=1'})
        if 'WARNING: ThreadSanitizer: data race' in done.stdout:
            return 'race'
        if done.returncode != 0:
            return f'{test} ends with {done.returncode}' if test else 'does not build'
    return 'passes'


def judge(kind):
    """Whether a mutant in the copy is killed, and what came of it last."""
    if kind not in LOCKS:
        result = next((result for result in map(outcome, ('dev', 'asan')) if result != 'passes'), 'passes')
        return result != 'passes', result
    result = next((result for result in (outcome('tsan') for _ in range(ATTEMPTS)) if result == 'race'), 'no race')
    return result == 'race', result


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--locks', action='store_true', help='only mutants of locks: one or two of each record and table')
    parser.add_argument('--all', action='store_true', help='every mutant, with --locks every one of a lock')
    parser.add_argument('--most', type=int, default=240, help='without --all: how many, spread over all (240)')
    parser.add_argument('--only', default='', help='only mutants whose place or kind contains this text')
    options = parser.parse_args()

    chosen = [mutant for mutant in mutants() if options.only in f'{mutant.path}:{mutant.number + 1} {mutant.kind}']
    if options.locks:
        chosen = [mutant for mutant in chosen if mutant.kind in LOCKS
                  and (options.all or mutant.function in LOCKS[mutant.kind])]
    if not options.all:
        step = max(1.0, len(chosen) / options.most)
        chosen = [chosen[int(i * step)] for i in range(int(len(chosen) / step))]

    subprocess.run([ROOT / 'scripts/need-packages.sh', 'cmake', 'g++', 'ninja-build', 'qtbase5-dev'], check=True)
    shutil.rmtree(COPY, ignore_errors=True)
    shutil.copytree(ROOT, COPY, ignore=shutil.ignore_patterns('build', '.git'))
    presets = {preset for mutant in chosen for preset in (['tsan'] if mutant.kind in LOCKS else ['dev', 'asan'])}
    for preset in sorted(presets):
        subprocess.run(['cmake', '--preset', preset, '-DVMDATABASE_WERROR=OFF'], cwd=COPY, check=True,
                       stdout=subprocess.DEVNULL)
        if (result := outcome(preset)) != 'passes':
            sys.exit(f'Unchanged, in the {preset} build: {result}.')

    made, killed = collections.Counter(), collections.Counter()
    for mutant in chosen:
        file = COPY / mutant.path
        original = file.read_text()
        lines = original.splitlines()
        lines[mutant.number] = mutant.changed
        file.write_text('\n'.join(lines) + '\n')
        is_killed, result = judge(mutant.kind)
        file.write_text(original)
        made[mutant.kind] += 1
        killed[mutant.kind] += is_killed
        print(f'{"killed" if is_killed else "SURVIVES"}: {mutant.path}:{mutant.number + 1} {mutant.function} '
              f'({mutant.kind}): {result}', flush=True)
        if not is_killed:
            print(f'    {mutant.line.strip()}\n    {mutant.changed.strip()}', flush=True)
    for kind in made:
        print(f'{kind:11} {killed[kind]:4} of {made[kind]:4} killed')
    total, dead = sum(made.values()), sum(killed.values())
    print(f'{"all":11} {dead:4} of {total:4} killed: {100 * dead / total:.1f} of 100')
    return dead < (total if options.locks else 0.9 * total)


if __name__ == '__main__':
    sys.exit(main())
