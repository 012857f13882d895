# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# The client that README.md shows is the one that is built.
file(READ ${SOURCE_DIR}/examples/minimal/minimal.cpp client)
file(READ ${SOURCE_DIR}/README.md readme)
string(REGEX REPLACE "^(//[^\n]*\n)+\n" "" client "${client}")
string(FIND "${readme}" "```cpp\n${client}```" place)
if(place EQUAL -1)
    message(FATAL_ERROR "README.md does not show examples/minimal/minimal.cpp as it is")
endif()
