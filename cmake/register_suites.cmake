cmake_policy(VERSION 3.25)

# Run by ctest: registers one test for each suite of an executable, to be run in one process. Its start takes longer than most
# tests, under emulation and sanitizers above all. Those of long_suites are begun before all others.
function(register_suites prefix executable timeout long_suites)
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
    if(suite IN_LIST long_suites)
      set_tests_properties(${prefix}/${suite} PROPERTIES COST 1000)
    endif()
  endforeach()
endfunction()
