# Whatever needs more than a compiler: each part says in one line why it is left out. VELNOR3GPP_BUILD_... turns a part off.
include(GNUInstallDirs)

# Tools and tests use the C++ standard library, which the memory sanitizer does not see into.
if(VELNOR_SANITIZE MATCHES "memory")
  enable_testing()
  add_subdirectory(tests/memory)
  return()
endif()

find_package(Threads QUIET)
if(VELNOR3GPP_BUILD_PROGRAM AND NOT VELNOR_COVERAGE) # the library alone is counted
  find_path(VELNOR_CLI11 CLI/CLI.hpp)
  if(VELNOR_CLI11 AND VELNOR_RAPIDJSON AND Threads_FOUND)
    add_subdirectory(tools/velnor3gpp)
  elseif(NOT Threads_FOUND)
    message(STATUS "Left out: the program (there are no threads)")
  else()
    message(STATUS "Left out: the program (install libcli11-dev and rapidjson-dev)")
  endif()
endif()

if(VELNOR3GPP_BUILD_SQLITE)
  add_subdirectory(sqlite)
endif()

if(VELNOR3GPP_BUILD_TESTS)
  include(cmake/Tests.cmake)
endif()

# Only what the tests run is counted, and no time is measured under an emulator.
if(VELNOR3GPP_BUILD_BENCH AND NOT VELNOR_COVERAGE AND NOT CMAKE_CROSSCOMPILING)
  add_subdirectory(bench)
endif()

# The page for browsers; Emscripten's own build tree has nothing else.
if(VELNOR3GPP_BUILD_WEB AND (EMSCRIPTEN OR NOT CMAKE_CROSSCOMPILING) AND NOT VELNOR_COVERAGE)
  add_subdirectory(web)
endif()
