# The library's objects, to compare with; the extension brings a library of its own.
target_sources(test-${name} PRIVATE $<TARGET_OBJECTS:velnor3gpp_json_objects>)
target_include_directories(test-${name} PRIVATE ${PROJECT_SOURCE_DIR}/json/include)
add_dependencies(test-${name} velnor3gpp_sqlite)
target_compile_definitions(test-${name} PRIVATE VELNOR_EXTENSION="$<TARGET_FILE:velnor3gpp_sqlite>"
                           VELNOR_CORPUS="${PROJECT_SOURCE_DIR}/tests/corpus/data")
target_link_libraries(test-${name} PRIVATE ${VELNOR_SQLITE})
