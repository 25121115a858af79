# Counts lines and branches of the hand-written rooms while the tests run. The counts start anew with each run of ctest;
# the test "coverage" comes last, writes the report (coverage/ in the build tree) and fails below the bounds. Only what
# is counted does without optimisation, which would merge branches; the tests themselves run faster with it. The counters
# are plain ones, which take a fourth of the time of atomic ones, so that no test may count in two threads at once. Nor
# can code without optimisation keep keys in registers.
set(VELNOR_TEST_COUNTED "")
set(VELNOR_TEST_FILTER "*")
if(NOT VELNOR_COVERAGE)
  return()
endif()
find_program(VELNOR_GCOVR gcovr REQUIRED)
set_property(SOURCE ${VELNOR_RUNTIME} APPEND PROPERTY COMPILE_OPTIONS -O0 --coverage)
add_link_options(--coverage)

enable_testing()
set(VELNOR_TEST_COUNTED FIXTURES_REQUIRED counts)
set(VELNOR_TEST_FILTER "-*Threads*:NasSecurityMemory.*")
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/coverage)
set(objects ${PROJECT_BINARY_DIR}/CMakeFiles/velnor3gpp_objects.dir)
add_test(NAME coverage.reset COMMAND find ${objects} -name *.gcda -delete)
set_tests_properties(coverage.reset PROPERTIES FIXTURES_SETUP counts)
add_test(
  NAME coverage
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  COMMAND ${VELNOR_GCOVR} --root . --object-directory ${PROJECT_BINARY_DIR} ${objects}
          --filter rtxsrc/ --filter rtsrc/ --filter rt3gppsrc/ --filter src2/ --filter api/ --filter capture/
          --gcov-ignore-parse-errors --exclude-throw-branches --exclude-unreachable-branches
          --txt ${PROJECT_BINARY_DIR}/coverage/coverage.txt --html-details ${PROJECT_BINARY_DIR}/coverage/index.html
          --print-summary --fail-under-line 95 --fail-under-branch 85)
set_tests_properties(coverage PROPERTIES FIXTURES_CLEANUP counts)
