# Writes OUTPUT, which tells ctest of each test suite of PROGRAM as an entry NAME.Suite. Run after the program is linked:
#
#   cmake -D PROGRAM=… -D EMULATOR=… -D NAME=… -D OUTPUT=… -D PROPERTIES=… -P TestSuites.cmake
#
# One process runs a whole suite. A process for each test, as CMake's own discovery has it, doubled the processor time
# of the tests: starting a sanitized program with its libraries costs more than most tests.
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${EMULATOR} ${PROGRAM} --gtest_list_tests OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\." suites "${listed}")
if(NOT suites)
  message(FATAL_ERROR "${PROGRAM} lists no tests")
endif()
string(JOIN " " command ${EMULATOR} ${PROGRAM})
set(entries "")
foreach(suite IN LISTS suites)
  string(STRIP "${suite}" suite)
  string(APPEND entries
    "add_test([=[${NAME}.${suite}]=] ${command} [=[--gtest_filter=${suite}*]=])\n"
    "set_tests_properties([=[${NAME}.${suite}]=] PROPERTIES ${PROPERTIES})\n")
endforeach()
string(REPLACE ".]=]" "]=]" entries "${entries}") # a suite's name is listed with a dot behind it
file(WRITE ${OUTPUT} "${entries}")
