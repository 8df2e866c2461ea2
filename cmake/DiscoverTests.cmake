# Tells CTest of the tests of a program:
#
#   discover_tests(TARGET [PREFIX text] [FILTER text] [LABEL text])
#
# Each is a test of its own, so that any can be picked. With PACKAGE_MINDER_TEST_PROGRAMS the program is run in two halves
# instead, because starting it for each of a thousand tests takes longer than the tests do; what became of each is then
# in the folder test-programs of the build, as JUnit files.

include(GoogleTest)

option(PACKAGE_MINDER_TEST_PROGRAMS "Run whole test programs instead of test by test: for runs of everything" OFF)

function(discover_tests target)
  cmake_parse_arguments(PARSE_ARGV 1 tests "" "PREFIX;FILTER;LABEL" "")
  if(PACKAGE_MINDER_TEST_PROGRAMS)
    add_halves_of(${target})
  else()
    # When the tests are run, and with time for a program that starts under an emulator.
    gtest_discover_tests(${target}
      DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
      TEST_PREFIX "${tests_PREFIX}" TEST_FILTER "${tests_FILTER}"
      PROPERTIES LABELS "${tests_LABEL}" TIMEOUT 120
    )
  endif()
endfunction()

# Sees the arguments of discover_tests.
macro(add_halves_of target)
  set(results ${CMAKE_BINARY_DIR}/test-programs)
  # An empty one chooses none.
  set(filter ${tests_FILTER})
  if(NOT filter)
    set(filter "*")
  endif()
  file(MAKE_DIRECTORY ${results})
  foreach(half IN ITEMS 0 1)
    set(name whole.${target}.${half})
    # The drive under which wine has the machine's root.
    add_test(NAME ${name} COMMAND ${target}
      --gtest_brief=1 "--gtest_filter=${filter}" --gtest_output=xml:$<$<BOOL:${WIN32}>:Z:>${results}/${target}-${half}.xml
    )
    set_tests_properties(${name} PROPERTIES
      ENVIRONMENT "GTEST_TOTAL_SHARDS=2;GTEST_SHARD_INDEX=${half}" LABELS "${tests_LABEL}" TIMEOUT 1200
      FAIL_REGULAR_EXPRESSION " 0 tests from"
    )
  endforeach()
endmacro()
