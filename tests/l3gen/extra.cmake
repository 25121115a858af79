# The generator itself, and what helps editors with definitions.
if(NOT VELNOR_SANITIZE)
  include(${CMAKE_CURRENT_LIST_DIR}/../editors/editors.cmake)
endif()
target_compile_definitions(test-${name} PRIVATE L3GEN="$<TARGET_FILE:l3gen>" L3_DEFINITIONS="${PROJECT_SOURCE_DIR}/src")
