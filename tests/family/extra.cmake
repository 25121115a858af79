# The definitions and the rooms that error records lead to.
target_compile_definitions(test-${name} PRIVATE L3_DEFINITIONS="${PROJECT_SOURCE_DIR}/src" VELNOR_ROOT="${PROJECT_SOURCE_DIR}")
