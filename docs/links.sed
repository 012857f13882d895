# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Doxygen reads pages and headers through this, so that they stay plain. It links only what is named with its class, but
# pages name operations and keys without. \ref to nothing is an error: a page names no operation that does not exist.

# Not the database's.
s/`((destroyed|exec|fork|free|invokeMethod)\(\)|forkedFrom)`/<code>\1<\/code>/g

s/`([a-z]+([A-Z][A-Za-z]*)?)\(\)`/<code>\\ref VmDatabase::\1 "\1()"<\/code>/g
s/`([a-z]+[A-Z][A-Za-z]*|clear)`/<code>\\ref VmDatabase::\1 "\1"<\/code>/g
s/`([A-Za-z]+Key)`/<code>\\ref VdiVM::\1 "\1"<\/code>/g

# Sources of examples, and pages that a header names.
s/\[`([^`]*)`\]\(\.\.\/examples\/([^)]*)\)/<code>\\ref \2 "\1"<\/code>/g
s/docs\/([a-z-]+)\.md/[&](&)/g
