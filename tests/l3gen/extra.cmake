# The generator itself.
target_compile_definitions(test-${name} PRIVATE L3GEN="$<TARGET_FILE:l3gen>" L3_DEFINITIONS="${PROJECT_SOURCE_DIR}/src")
