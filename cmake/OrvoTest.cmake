# orvo_test() creates a test program and registers its tests with ctest.

include(GoogleTest)
find_package(GTest 1.15 REQUIRED)

# Builds the programs labelled "threads".
add_custom_target(thread_tests)

# Low optimisation, because tests are compiled more often than they run. Qt's per-folder definitions would keep them from
# sharing precompiled headers.
add_library(orvo_test_flags INTERFACE)
target_compile_options(orvo_test_flags INTERFACE $<$<CONFIG:Release>:-O1> -UQT_TESTCASE_BUILDDIR -UQT_TESTCASE_SOURCEDIR)

# GoogleTest and common headers of tests, precompiled.
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/orvo_test_standard.cpp CONTENT "")
add_library(orvo_test_standard OBJECT ${CMAKE_BINARY_DIR}/orvo_test_standard.cpp)
target_link_libraries(orvo_test_standard PRIVATE orvo_flags orvo_test_flags GTest::gmock)
target_precompile_headers(orvo_test_standard PRIVATE
  <gmock/gmock.h> <gtest/gtest.h>
  <algorithm> <chrono> <filesystem> <format> <fstream> <functional> <memory> <random> <string> <thread> <vector>)

# orvo_test(NAME SOURCES file... LINK target... [LABELS label...] [COST cost] [ALONE test...] [PRECOMPILED_OF target]
#   [ENVIRONMENT NAME=VALUE])
#
# Links GoogleTest with matchers and main(), and the helpers of tests/support ("TestSupport/Name.h"). Labels select tests:
# "slow" for those that take seconds (ctest -LE slow) and begin first, "threads" for the thread sanitizer (ctest -L threads).
# Tests with a higher COST begin earlier (slow ones have 10); use it for tests that mostly wait. ALONE names tests that
# measure; no other test runs beside them. PRECOMPILED_OF names a target whose precompiled headers are used.
function(orvo_test NAME)
  cmake_parse_arguments(ARG "" "COST;PRECOMPILED_OF;ENVIRONMENT" "SOURCES;LINK;LABELS;ALONE" ${ARGN})
  if(NOT ARG_PRECOMPILED_OF)
    set(ARG_PRECOMPILED_OF orvo_test_standard)
  endif()
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE orvo_flags orvo_test_flags TestSupport GTest::gmock_main ${ARG_LINK})
  target_precompile_headers(${NAME} REUSE_FROM ${ARG_PRECOMPILED_OF})
  if("threads" IN_LIST ARG_LABELS)
    add_dependencies(thread_tests ${NAME})
  endif()
  # A property without a value would consume the next name as its value.
  set(properties TIMEOUT 900)
  # The recogniser's threads would otherwise spin while they wait, on processors that other tests need. GStreamer would list
  # its plugins anew in every test with a cache folder of its own.
  set(environment OMP_WAIT_POLICY=passive GST_REGISTRY=${PROJECT_BINARY_DIR}/gst-registry.bin ${ARG_ENVIRONMENT})
  string(REPLACE ";" "\\\\;" environment "${environment}")
  list(APPEND properties ENVIRONMENT "${environment}")
  if(ARG_LABELS)
    string(REPLACE ";" "\\\\;" labels "${ARG_LABELS}")
    list(APPEND properties LABELS "${labels}")
  endif()
  if(NOT ARG_COST AND "slow" IN_LIST ARG_LABELS)
    set(ARG_COST 10)
  endif()
  if(ARG_COST)
    list(APPEND properties COST ${ARG_COST})
  endif()
  # Lists the tests when ctest runs, not during the build. A test that hangs fails.
  set(discovery DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
  if(ARG_ALONE)
    list(JOIN ARG_ALONE ":" alone)
    gtest_discover_tests(${NAME} ${discovery} TEST_FILTER "${alone}" PROPERTIES ${properties} RUN_SERIAL ON)
    set(others TEST_FILTER "-${alone}")
  endif()
  gtest_discover_tests(${NAME} ${discovery} ${others} PROPERTIES ${properties})
endfunction()
