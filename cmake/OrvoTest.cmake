# orvo_test(), which makes one test program and tells ctest about every test in it.

include(GoogleTest)
find_package(GTest 1.15 REQUIRED)

# Builds the programs labelled "threads".
add_custom_target(thread_tests)

# orvo_test(NAME SOURCES file... LINK target... [LABELS label...])
#
# Every program also gets GoogleTest with matchers and its main(), and the helpers of tests/support ("TestSupport/Name.h").
# Labels choose what ctest runs: "slow" for what takes seconds (ctest -LE slow), "threads" for what the thread sanitizer is
# for (ctest -L threads).
function(orvo_test NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;LABELS" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE orvo_flags TestSupport GTest::gmock_main ${ARG_LINK})
  if("threads" IN_LIST ARG_LABELS)
    add_dependencies(thread_tests ${NAME})
  endif()
  string(REPLACE ";" "\\;" labels "${ARG_LABELS}")
  # Tests are listed when ctest runs, so that building stays building. A test that hangs is a failed test.
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 LABELS "${labels}")
endfunction()
