# The built library and its headers as a stranger finds them; the examples are built and run with them.
add_dependencies(test-${name} velnor3gpp)
target_compile_definitions(test-${name} PRIVATE
  VELNOR_LIBRARY="$<TARGET_FILE:velnor3gpp>" VELNOR_CC="${CMAKE_C_COMPILER}" VELNOR_CXX="${CMAKE_CXX_COMPILER}"
  VELNOR_NM="${CMAKE_NM}" VELNOR_READELF="${CMAKE_READELF}"
  VELNOR_INCLUDE="${PROJECT_SOURCE_DIR}/include" VELNOR_ROOT="${PROJECT_SOURCE_DIR}"
  VELNOR_GENERATED_INCLUDE="${VELNOR_GENERATED_DIR}/include" VELNOR_EXPORTS="${PROJECT_SOURCE_DIR}/cmake/exports.map")
add_dependencies(test-${name} example-decode example-loop example-session)
if(TARGET velnor3gpp_json)
  add_dependencies(test-${name} example-json)
  target_compile_definitions(test-${name} PRIVATE VELNOR_JSON_LIBRARY="$<TARGET_FILE:velnor3gpp_json>")
endif()
target_compile_definitions(test-${name} PRIVATE VELNOR_EXAMPLES="$<TARGET_FILE_DIR:example-decode>")
find_program(VELNOR_DOXYGEN doxygen)
if(VELNOR_DOXYGEN)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/documentation)
  configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/documentation/Doxyfile @ONLY)
  add_test(NAME Exports.HeadersAreDocumented COMMAND ${VELNOR_DOXYGEN} ${PROJECT_BINARY_DIR}/documentation/Doxyfile)
  set_tests_properties(Exports.HeadersAreDocumented PROPERTIES TIMEOUT 300)
else()
  message(STATUS "Left out: the test of the headers' documentation (install doxygen)")
endif()
