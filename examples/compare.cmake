# Runs PROGRAM, with INPUT on its standard input if there is such a file, and compares what it writes with EXPECTED.
if(NOT EXISTS ${INPUT})
  set(INPUT /dev/null)
endif()
execute_process(COMMAND ${PROGRAM} INPUT_FILE ${INPUT} OUTPUT_VARIABLE said ERROR_VARIABLE wrong RESULT_VARIABLE status)
file(READ ${EXPECTED} expected)
if(NOT status EQUAL 0 OR NOT "${said}" STREQUAL "${expected}")
  message(FATAL_ERROR "status ${status}\n${wrong}\nwritten:\n${said}\nexpected:\n${expected}")
endif()
