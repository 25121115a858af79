# Whatever needs more than a compiler: each part says in one line why it is left out.
include(GNUInstallDirs)

find_path(VELNOR_CLI11 CLI/CLI.hpp)
if(VELNOR_CLI11 AND NOT VELNOR_COVERAGE) # the library alone is counted
  add_subdirectory(tools/velnor3gpp)
elseif(NOT VELNOR_CLI11)
  message(STATUS "Left out: the program (install libcli11-dev)")
endif()

find_package(GTest QUIET)
find_package(Threads QUIET)
if(GTest_FOUND AND Threads_FOUND)
  enable_testing()
  add_subdirectory(examples)
  add_subdirectory(tests)
  # The seeds tell most under the sanitizers; optimised code runs them too late to be worth building the targets again.
  if(NOT VELNOR_COVERAGE AND NOT CMAKE_BUILD_TYPE MATCHES "^Rel")
    add_subdirectory(fuzz fuzz-targets) # build/fuzz is the preset of that name
  endif()
else()
  message(STATUS "Left out: the tests (install libgtest-dev)")
endif()

if(NOT VELNOR_COVERAGE)
  add_subdirectory(bench)
endif()
