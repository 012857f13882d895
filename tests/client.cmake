# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Runs examples/client for some seconds and looks at what it has drawn.
file(WRITE ${DIR}/leaks.txt "leak:VmItemNode::VmItemNode\n") # the policy record that each item leaves behind
set(ENV{LSAN_OPTIONS} suppressions=${DIR}/leaks.txt:print_suppressions=0)
separate_arguments(command UNIX_COMMAND "${COMMAND} 4")
execute_process(COMMAND ${command} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${command}: ${result}\n${output}${errors}")
endif()
foreach(text
    "\n  Design 3 (10.0.0.3)\n"
    "\nNo connection to design-3\nOpened design-2\n"
    "\n  Design 2 (10.0.0.2)\n"
    "\n  Office 2 (10.0.0.2) machine-2 stopped\n\n" # the last line while the third server is away
    "Applications\n  Editor with clipboard\n  Mail without clipboard\n\n"
    "Applications\n  Editor with clipboard\n\n"
)
    string(FIND "${output}" "${text}" place)
    if(place EQUAL -1)
        message(SEND_ERROR "The client has not drawn\n${text}")
    endif()
endforeach()
if(output MATCHES "\n   ?\\(")
    message(SEND_ERROR "The client has drawn a pool without a name")
endif()
if(NOT errors STREQUAL "[ clear ] clear and free private db now!!\n[ ~VmDatabase ] Yes, free db now!!\n")
    message(SEND_ERROR "${errors}")
endif()
