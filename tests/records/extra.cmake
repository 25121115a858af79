# The examples walk files that the test makes. Strings of charging headers are from malloc, which the test can refuse
# where its calls come from objects of its own program. The heap of the tests must not call it too, which the compiler
# would make of its realloc of a null pointer.
target_compile_definitions(test-${name} PRIVATE VELNOR_CHARGING="$<TARGET_FILE:example-charging>"
                           VELNOR_CAPTURE="$<TARGET_FILE:example-capture>")
add_dependencies(test-${name} example-charging example-capture)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT VELNOR_TESTS_SHARED)
  target_compile_definitions(test-${name} PRIVATE VELNOR_REFUSES_MALLOC)
  target_compile_options(test-${name} PRIVATE -fno-builtin-realloc)
  target_link_options(test-${name} PRIVATE -Wl,--wrap=malloc -Wl,--wrap=free)
endif()
