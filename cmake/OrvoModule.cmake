# Compiler settings of all targets, and orvo_module(), which creates the library of a layer.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_COMPILE_OPTIONS_PIE -fPIC) # Also for programs, so that they share precompiled headers with libraries.
set(CMAKE_CXX_SCAN_FOR_MODULES OFF) # The code has no modules; scanning for them would double the compiler runs.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

set(ORVO_SANITIZERS "" CACHE STRING "Sanitizers to build with, for example address,undefined")

add_library(orvo_flags INTERFACE)
target_compile_options(orvo_flags INTERFACE
  -pthread
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wold-style-cast -Wcast-align -Wformat=2 -Wimplicit-fallthrough
  # Designated initialisers name only the fields that differ from their defaults.
  -Wno-missing-field-initializers)
if(ORVO_SANITIZERS)
  target_compile_options(orvo_flags INTERFACE -fsanitize=${ORVO_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(orvo_flags INTERFACE -fsanitize=${ORVO_SANITIZERS})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC reports false positives of these in sanitized standard headers.
    target_compile_options(orvo_flags INTERFACE
      -Wno-maybe-uninitialized -Wno-tsan -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
  endif()
endif()

# Common standard headers, precompiled to save a third of the build time. Files still include the headers that they use; the
# debug preset and the static analysis do not precompile, so they check that.
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/orvo_standard.cpp CONTENT "")
add_library(orvo_standard OBJECT ${CMAKE_BINARY_DIR}/orvo_standard.cpp)
target_link_libraries(orvo_standard PRIVATE orvo_flags)
set(ORVO_STANDARD_HEADERS
  <algorithm> <array> <charconv> <chrono> <cmath> <cstdint> <filesystem> <format> <functional> <map> <memory> <mutex>
  <optional> <ranges> <span> <stop_token> <string> <string_view> <system_error> <thread> <utility> <vector>)
target_precompile_headers(orvo_standard PRIVATE ${ORVO_STANDARD_HEADERS})

# orvo_precompiled(TARGET) makes the target use these headers.
function(orvo_precompiled TARGET)
  target_precompile_headers(${TARGET} REUSE_FROM orvo_standard)
endfunction()

# orvo_module(NAME [INCLUDED_AS FOLDER] [OWN_PRECOMPILED] SOURCES file... [PUBLIC target...] [PRIVATE target...])
#
# Creates the static library NAME from the current folder. Its headers are included as "NAME/Header.h" or
# "FOLDER/Header.h". Every module has an include folder that shows only that module, so that a header of a layer that is
# not linked cannot be included: the compiler checks the direction of the dependencies.
function(orvo_module NAME)
  cmake_parse_arguments(ARG "OWN_PRECOMPILED" "INCLUDED_AS" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  if(NOT ARG_INCLUDED_AS)
    set(ARG_INCLUDED_AS ${NAME})
  endif()
  set(view ${CMAKE_BINARY_DIR}/include/${NAME})
  file(REMOVE_RECURSE ${view}) # An older build folder may still show moved headers.
  cmake_path(GET ARG_INCLUDED_AS PARENT_PATH parent)
  file(MAKE_DIRECTORY ${view}/${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${ARG_INCLUDED_AS} SYMBOLIC)
  add_library(${NAME} STATIC ${ARG_SOURCES})
  target_include_directories(${NAME} PUBLIC ${view})
  target_link_libraries(${NAME} PUBLIC ${ARG_PUBLIC} PRIVATE orvo_flags ${ARG_PRIVATE})
  if(NOT ARG_OWN_PRECOMPILED)
    orvo_precompiled(${NAME})
  endif()
endfunction()
