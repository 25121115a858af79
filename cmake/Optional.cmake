# Whatever needs more than a compiler: each part says in one line why it is left out.
find_package(GTest QUIET)
find_package(Threads QUIET)
if(GTest_FOUND AND Threads_FOUND)
  enable_testing()
  add_subdirectory(tests)
else()
  message(STATUS "Left out: the tests (install libgtest-dev)")
endif()
