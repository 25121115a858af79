# Whatever needs more than a compiler: each part says in one line why it is left out.
include(GNUInstallDirs)

# Tools and tests use the C++ standard library, which the memory sanitizer does not see into.
if(VELNOR_SANITIZE MATCHES "memory")
  enable_testing()
  add_subdirectory(tests/memory)
  return()
endif()

find_package(Threads QUIET)
find_path(VELNOR_CLI11 CLI/CLI.hpp)
if(VELNOR_CLI11 AND VELNOR_RAPIDJSON AND Threads_FOUND AND NOT VELNOR_COVERAGE) # the library alone is counted
  add_subdirectory(tools/velnor3gpp)
elseif(NOT VELNOR_CLI11 OR NOT VELNOR_RAPIDJSON)
  message(STATUS "Left out: the program (install libcli11-dev and rapidjson-dev)")
elseif(NOT Threads_FOUND)
  message(STATUS "Left out: the program (there are no threads)")
endif()

if(VELNOR_GTEST_SOURCE)
  # No package has it for another machine, or under a sanitizer that must see all code.
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  add_subdirectory(${VELNOR_GTEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  set(GTest_FOUND TRUE)
else()
  find_package(GTest QUIET)
endif()
if(GTest_FOUND AND Threads_FOUND)
  enable_testing()
  if(NOT CMAKE_CROSSCOMPILING)
    add_subdirectory(examples)
  endif()
  add_subdirectory(tests)
  add_subdirectory(tools/site)
  # The seeds tell most under the sanitizers; optimised code runs them too late to be worth building the targets again.
  if(NOT VELNOR_COVERAGE AND NOT CMAKE_BUILD_TYPE MATCHES "^Rel")
    add_subdirectory(fuzz fuzz-targets) # build/fuzz is the preset of that name
  endif()
else()
  message(STATUS "Left out: the tests (install libgtest-dev)")
endif()

# Only what the tests run is counted, and no time is measured under an emulator.
if(NOT VELNOR_COVERAGE AND NOT CMAKE_CROSSCOMPILING)
  add_subdirectory(bench)
endif()
