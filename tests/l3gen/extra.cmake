# The generator itself, and what it makes of forms.l3, which this program is built with.
set(forms ${CMAKE_CURRENT_BINARY_DIR}/forms)
add_custom_command(
  OUTPUT ${forms}/src/Forms.cpp ${forms}/src/FormsDec.cpp ${forms}/src/FormsEnc.cpp
  COMMAND l3gen ${forms} ${folder}/forms.l3
  DEPENDS l3gen ${folder}/forms.l3)
target_sources(test-${name} PRIVATE ${forms}/src/Forms.cpp ${forms}/src/FormsDec.cpp ${forms}/src/FormsEnc.cpp)
target_include_directories(test-${name} BEFORE PRIVATE ${forms}/include ${forms}/src)
target_compile_definitions(test-${name} PRIVATE L3GEN="$<TARGET_FILE:l3gen>" L3_DEFINITIONS="${PROJECT_SOURCE_DIR}/src")
target_compile_options(test-${name} PRIVATE -Wno-invalid-offsetof)
