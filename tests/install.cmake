# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Installs into an empty prefix, then builds and runs a client by CMake package and by pkg-config.
set(dir ${BUILD_DIR}/install-test)
set(prefix ${dir}/prefix)
file(REMOVE_RECURSE ${dir})
file(MAKE_DIRECTORY ${dir})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}: ${result}\n${output}${errors}")
    endif()
    set(output "${output}${errors}" PARENT_SCOPE)
endfunction()

function(expect_desktop)
    if(NOT output MATCHES "\"Office\" \\(\"machine-1\"\\)")
        message(FATAL_ERROR "The client printed:\n${output}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
set(ENV{ASAN_OPTIONS} detect_leaks=0) # what the library leaves for compatibility
set(ENV{LD_LIBRARY_PATH} ${prefix}/${LIBDIR})
foreach(file libvmdatabase.so libvmdatabase.so.${SOVERSION} libvmdatabase.so.${VERSION})
    if(NOT EXISTS ${prefix}/${LIBDIR}/${file})
        message(FATAL_ERROR "${file} is not installed")
    endif()
endforeach()

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${dir}/package -G ${GENERATOR} -D CMAKE_PREFIX_PATH=${prefix} -D CLIENT=${CLIENT}
    -D CMAKE_CXX_COMPILER=${CXX} -D CMAKE_CXX_FLAGS=${CXX_FLAGS} -D CMAKE_BUILD_TYPE=${CONFIG})
run(${CMAKE_COMMAND} --build ${dir}/package)
run(${dir}/package/consumer)
expect_desktop()

# README.md's client, by the line that stands below it.
file(READ ${README} readme)
string(FIND "${readme}" "```cpp\n" begin)
math(EXPR begin "${begin} + 7")
string(SUBSTRING "${readme}" ${begin} -1 readme)
string(FIND "${readme}" "```" end)
string(SUBSTRING "${readme}" 0 ${end} client)
if(NOT readme MATCHES "\n(g\\+\\+ [^\n]*)\n")
    message(FATAL_ERROR "README.md shows no line that compiles the client")
endif()
set(line ${CMAKE_MATCH_1})
file(WRITE ${dir}/readme/client.cpp "${client}")
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(${CMAKE_COMMAND} -E chdir ${dir}/readme sh -c "${line} ${CXX_FLAGS}")
run(${dir}/readme/client)
expect_desktop()

# The installed recorder finds the library that it preloads.
if(NOT CXX_FLAGS MATCHES sanitize)
    run(${prefix}/bin/vmdatabase-record -o ${dir}/recording.jsonl -- ${dir}/readme/client)
    file(READ ${dir}/recording.jsonl recording)
    if(NOT recording MATCHES "getVmPoolNameList.*~VmDatabase")
        message(FATAL_ERROR "The recording is:\n${recording}")
    endif()
endif()
