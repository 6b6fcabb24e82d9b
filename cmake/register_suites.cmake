# Run by ctest: registers one test for each suite of an executable, to be run in one process. Under emulation the start of
# a process takes longer than most tests.
function(register_suites prefix executable timeout)
  if(NOT EXISTS ${executable})
    add_test(${prefix}/not-built ${executable})
    return()
  endif()
  execute_process(COMMAND ${ARGN} ${executable} --gtest_list_tests
    OUTPUT_VARIABLE listing RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${executable} does not list its tests: ${result}")
  endif()
  string(REGEX MATCHALL "(^|\n)[A-Za-z][^\n]*" suites "${listing}")
  foreach(suite IN LISTS suites)
    string(REGEX REPLACE "^\n?([^ \n]*)\\.([ \n].*)?$" "\\1" suite "${suite}")
    add_test(${prefix}/${suite} ${ARGN} ${executable} --gtest_filter=${suite}.*)
    set_tests_properties(${prefix}/${suite} PROPERTIES TIMEOUT ${timeout})
  endforeach()
endfunction()
