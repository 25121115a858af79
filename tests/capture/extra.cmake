target_compile_definitions(test-${name} PRIVATE VELNOR_CORPUS="${PROJECT_SOURCE_DIR}/tests/corpus/data")
