# Orvo::Whisper, the speech library: the system's, or else the one that tools/speech.sh builds in build/whisper for this
# machine's processor. With ORVO_PORTABLE_SPEECH, the one in build/whisper-portable, which is installed with the application.

option(ORVO_PORTABLE_SPEECH "Link the speech library for any processor, for packages" OFF)
add_library(orvo_whisper INTERFACE)
add_library(Orvo::Whisper ALIAS orvo_whisper)

pkg_check_modules(whisper QUIET IMPORTED_TARGET whisper>=1.8)
if(whisper_FOUND)
  target_link_libraries(orvo_whisper INTERFACE PkgConfig::whisper)
  set(ORVO_PORTABLE_SPEECH OFF)
elseif(ORVO_PORTABLE_SPEECH)
  set(made ${PROJECT_SOURCE_DIR}/build/whisper-portable)
  set(ORVO_SPEECH_LIBRARIES ${made}/lib)
  if(NOT EXISTS ${made}/lib/libwhisper.so)
    message(FATAL_ERROR "There is no speech library. tools/speech.sh portable makes it.")
  endif()
  target_include_directories(orvo_whisper SYSTEM INTERFACE ${made}/include)
  target_link_libraries(orvo_whisper INTERFACE ${made}/lib/libwhisper.so ${made}/lib/libggml.so ${made}/lib/libggml-base.so)
else()
  set(made ${PROJECT_SOURCE_DIR}/build/whisper)
  if(NOT EXISTS ${made}/lib/libwhisper.a)
    message(FATAL_ERROR "There is no speech library. tools/speech.sh makes it.")
  endif()
  find_library(openmp gomp PATHS ${CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES} /usr/lib/gcc/${CMAKE_CXX_LIBRARY_ARCHITECTURE}/14 REQUIRED)
  target_include_directories(orvo_whisper SYSTEM INTERFACE ${made}/include)
  target_link_libraries(orvo_whisper INTERFACE
    ${made}/lib/libwhisper.a ${made}/lib/libggml.a ${made}/lib/libggml-cpu.a ${made}/lib/libggml-base.a
    ${openmp} Threads::Threads ${CMAKE_DL_LIBS})
endif()
