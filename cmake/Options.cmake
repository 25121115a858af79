# Switches of the build and the flags that go with them.

# A project that takes this one in (add_subdirectory, FetchContent) gets the libraries alone: none of these parts, no
# build type, no rules of installation, and its own default for the kind of library.
foreach(part "PROGRAM;the program" "SQLITE;the extension of SQLite" "TESTS;the tests" "FUZZ;the fuzz targets' seeds as tests" "BENCH;the benchmarks"
        "DOCS;the documents")
  list(GET part 0 name)
  list(GET part 1 what)
  option(VELNOR3GPP_BUILD_${name} "Build ${what}" ${PROJECT_IS_TOP_LEVEL})
endforeach()
# The page takes the library once more, for WebAssembly; what is built over and over goes without it.
set(web OFF)
if(PROJECT_IS_TOP_LEVEL AND CMAKE_BUILD_TYPE MATCHES "^Rel|^MinSize")
  set(web ON)
endif()
option(VELNOR3GPP_BUILD_WEB "Build the page for browsers (Emscripten)" ${web})
option(VELNOR3GPP_INSTALL "Have rules of installation" ${PROJECT_IS_TOP_LEVEL})
option(VELNOR3GPP_BUILD_ARCHIVES "Build static libraries beside the shared ones" OFF)
if(PROJECT_IS_TOP_LEVEL)
  option(BUILD_SHARED_LIBS "Shared libraries; OFF: static ones" ON)
endif()
option(VELNOR_WERROR "Warnings are errors in hand-written code" OFF)
option(VELNOR_COVERAGE "Count executed lines and branches of the hand-written library (gcov)" OFF)
option(VELNOR_TESTS_SHARED "Tests take the whole library from one shared object: a change links once" OFF)
option(VELNOR_FUZZ "Build the fuzz targets (clang)" OFF)
set(VELNOR_GTEST_SOURCE "" CACHE PATH "Build googletest from here instead of finding it, e.g. /usr/src/googletest")
set(VELNOR_SANITIZE "" CACHE STRING "Sanitizers, e.g. address,undefined or thread")

set(VELNOR_WARNINGS -Wall -Wextra -Wconversion)
if(VELNOR_WERROR)
  list(APPEND VELNOR_WARNINGS -Werror)
endif()
if(VELNOR_SANITIZE)
  add_compile_options(-fsanitize=${VELNOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # An enumeration member holds whatever the wire or the caller put there; it is tested as a number, not by its type.
  if(VELNOR_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=enum)
  endif()
  add_link_options(-fsanitize=${VELNOR_SANITIZE})
endif()
if(VELNOR_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "VELNOR_FUZZ needs clang: configure with the preset fuzz, after apt-get install clang libclang-rt-14-dev")
  endif()
  # Messages are octets without magic numbers: watching comparisons finds little and costs much.
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
endif()
