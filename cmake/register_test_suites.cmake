cmake_minimum_required(VERSION 3.25)

# Writes a CTest file with one test per Google Test suite of TEST_EXECUTABLE, named after the
# suite and running it with --gtest_filter=<suite>.*. Run after every link of the test binary.
#
# One process per suite rather than per test: starting the test binary costs more than most of
# its tests, and the tests of a suite share their fixtures' purpose, so a failure still names a
# small group (and the output names the test).
#
# Inputs: TEST_EXECUTABLE, CTEST_FILE, TIMEOUT, and LONG_SUITES: the suites that take far longer
# than the others (the two that export the whole example), given a cost so that a parallel run
# starts them first and they run beside the rest instead of after it. A fresh build has no
# timings for CTest to go by.

execute_process(COMMAND "${TEST_EXECUTABLE}" --gtest_list_tests
  OUTPUT_VARIABLE listing RESULT_VARIABLE result ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${TEST_EXECUTABLE} --gtest_list_tests failed (${result}):\n${errors}")
endif()

string(REPLACE "\n" ";" lines "${listing}")
set(suites)
foreach(line IN LISTS lines)
  # A suite's line starts in the first column and ends with a dot, perhaps before a comment
  # naming a type parameter; the tests under it are indented.
  if(line MATCHES "^([^ #][^ ]*)\\.( *#.*)?$")
    set(suite "${CMAKE_MATCH_1}")
    if(NOT suite MATCHES "(^|/)DISABLED_")
      list(APPEND suites "${suite}")
    endif()
  endif()
endforeach()
list(LENGTH suites count)
if(count EQUAL 0)
  message(FATAL_ERROR "${TEST_EXECUTABLE} lists no test suites")
endif()

set(content "# Generated from ${TEST_EXECUTABLE} --gtest_list_tests; ${count} suites.\n")
foreach(suite IN LISTS suites)
  string(APPEND content
    "add_test([=[${suite}]=] \"${TEST_EXECUTABLE}\" [=[--gtest_filter=${suite}.*]=] --gtest_brief=1)\n"
    "set_tests_properties([=[${suite}]=] PROPERTIES TIMEOUT ${TIMEOUT})\n")
  if(suite IN_LIST LONG_SUITES)
    string(APPEND content "set_tests_properties([=[${suite}]=] PROPERTIES COST 1000)\n")
  endif()
endforeach()
file(WRITE "${CTEST_FILE}.new" "${content}")
file(RENAME "${CTEST_FILE}.new" "${CTEST_FILE}")
