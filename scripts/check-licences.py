#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Fails where a file of the tree has neither a copyright and a licence of its own nor an annotation in REUSE.toml, where a
# licence has no text in LICENSES/, and where an annotation or a text is for nothing. Needs no network.

import pathlib
import re
import subprocess
import sys
import tomllib

root = pathlib.Path(__file__).resolve().parent.parent
files = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=root, text=True,
                       check=True, stdout=subprocess.PIPE).stdout.splitlines()
files = [name for name in files if (root / name).exists()]
texts = {pathlib.PurePath(name).stem for name in files if name.startswith("LICENSES/")}
annotations = tomllib.loads((root / "REUSE.toml").read_text())["annotations"]


def pattern(glob):
    """What a path of REUSE.toml matches: * stays in its folder, ** does not."""
    parts = re.split(r"(\*\*|\*)", glob)
    return re.compile("".join({"**": ".*", "*": "[^/]*"}.get(part, re.escape(part)) for part in parts))


globs = {glob: annotation for annotation in annotations for glob in annotation["path"]}
used = set()
licences = set()
problems = []
for name in files:
    if name.startswith("LICENSES/") or name in ("LICENSE", "REUSE.toml"):
        continue
    head = (root / name).read_bytes()[:2000].decode(errors="replace")
    licence = re.search(r"SPDX-License-Identifier: ([\w.-]+)", head)
    if licence and "SPDX-FileCopyrightText: " in head:
        licences.add(licence[1])
        continue
    matching = [glob for glob in globs if pattern(glob).fullmatch(name)]
    used.update(matching)
    licences.update(globs[glob]["SPDX-License-Identifier"] for glob in matching)
    if not matching:
        problems.append(f"{name}: no SPDX lines, and no annotation in REUSE.toml")

problems += [f"REUSE.toml: {glob} is for no file" for glob in globs if glob not in used]
problems += [f"LICENSES/{licence}.txt is missing" for licence in sorted(licences - texts)]
problems += [f"LICENSES/{licence}.txt is for no file" for licence in sorted(texts - licences)]
if problems:
    sys.exit("\n".join(problems))
print(f"Licences: {len(files)} files, {', '.join(sorted(licences))}.")
