add_dependencies(test-${name} velnor3gpp_program)
target_compile_definitions(test-${name} PRIVATE VELNOR_PROGRAM="$<TARGET_FILE:velnor3gpp_program>"
                           VELNOR_SAMPLES="${PROJECT_SOURCE_DIR}/samples")
