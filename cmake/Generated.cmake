# The generator, and what it makes of the definition files.
file(GLOB VELNOR_DEFINITIONS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.l3)
file(GLOB VELNOR_L3GEN_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/l3gen/*.cpp)
list(FILTER VELNOR_L3GEN_SOURCES EXCLUDE REGEX "/main\\.cpp$")
set(VELNOR_L3GEN "" CACHE FILEPATH "l3gen of another build tree; empty: built here")
if(CMAKE_CROSSCOMPILING OR VELNOR_SANITIZE MATCHES "memory" OR VELNOR_L3GEN)
  include(cmake/NativeGenerator.cmake)
else()
  add_library(l3gen_objects OBJECT ${VELNOR_L3GEN_SOURCES}) # the fuzz target of definitions takes them too
  target_include_directories(l3gen_objects PUBLIC ${PROJECT_SOURCE_DIR}) # the forms of rows that the engine knows
  target_compile_options(l3gen_objects PUBLIC -Wall -Wextra -O0) # it runs for a tenth of a second
  add_executable(l3gen tools/l3gen/main.cpp)
  target_link_libraries(l3gen PRIVATE l3gen_objects)
endif()

set(VELNOR_GENERATED_DIR ${PROJECT_BINARY_DIR}/generated)
set(VELNOR_GENERATED ${VELNOR_GENERATED_DIR}/src/L3Tables.cpp ${VELNOR_GENERATED_DIR}/src/L3TypeTable.cpp
    ${VELNOR_GENERATED_DIR}/src/L3TypeFacts.cpp)
set(VELNOR_GENERATED_HEADERS "")
set(stems "")
set(jumps "")
foreach(definition IN LISTS VELNOR_DEFINITIONS)
  file(STRINGS ${definition} lines REGEX "^module ")
  foreach(line IN LISTS lines)
    if(line MATCHES "file +([A-Za-z0-9]+)")
      list(APPEND stems ${CMAKE_MATCH_1})
    endif()
  endforeach()
endforeach()
list(REMOVE_DUPLICATES stems)
foreach(stem IN LISTS stems)
  list(APPEND jumps ${VELNOR_GENERATED_DIR}/src/${stem}.cpp)
  list(APPEND VELNOR_GENERATED ${VELNOR_GENERATED_DIR}/src/${stem}Dec.cpp ${VELNOR_GENERATED_DIR}/src/${stem}Enc.cpp)
  list(APPEND VELNOR_GENERATED_HEADERS ${VELNOR_GENERATED_DIR}/include/velnor3gpp/${stem}.h)
endforeach()

list(APPEND VELNOR_GENERATED ${jumps})

# The stamp tells that l3gen ran; the files themselves change only when their content does.
add_custom_command(
  OUTPUT ${VELNOR_GENERATED_DIR}/stamp
  BYPRODUCTS ${VELNOR_GENERATED} ${VELNOR_GENERATED_HEADERS} ${VELNOR_GENERATED_DIR}/src/L3Descriptors.h
  COMMAND l3gen ${VELNOR_GENERATED_DIR} ${VELNOR_DEFINITIONS}
  COMMAND ${CMAKE_COMMAND} -E touch ${VELNOR_GENERATED_DIR}/stamp
  DEPENDS l3gen ${VELNOR_DEFINITIONS}
  COMMENT "Generating the protocol types")
add_custom_target(velnor3gpp_generate DEPENDS ${VELNOR_GENERATED_DIR}/stamp)
# A direct coder may serve several types whose records are alike: it then goes through a record under another's name.
set(options -Wno-conversion -Wno-invalid-offsetof -fno-strict-aliasing)
if(VELNOR_TESTS_SHARED OR (VELNOR_SANITIZE AND NOT VELNOR_FUZZ))
  list(APPEND options -O0) # compiled over and over, or for one run of the tests
endif()
set_source_files_properties(${VELNOR_GENERATED} PROPERTIES COMPILE_OPTIONS "${options}")
# Straight code gains nothing by -O3 or by places that are even: 98 KB less, at 1.1 % more instructions at most. Blocks in
# the order they are written in, and small coders that are called instead of copied, make it 8 KB less at 0.7 % at most.
set(places -falign-functions=1 -falign-jumps=1 -falign-loops=1 -falign-labels=1 -freorder-blocks-algorithm=simple
           -fno-tree-vectorize -fno-inline-functions)
set_property(SOURCE ${VELNOR_GENERATED} APPEND PROPERTY COMPILE_OPTIONS
             $<$<NOT:$<CONFIG:Debug>>:-O2> "$<$<AND:$<NOT:$<CONFIG:Debug>>,$<CXX_COMPILER_ID:GNU>>:${places}>")
# Where they are jumps indeed, the functions that only hand on never stand on the stack.
set_property(SOURCE ${jumps} APPEND PROPERTY COMPILE_OPTIONS
             "$<$<NOT:$<CONFIG:Debug>>:-Os;-fno-asynchronous-unwind-tables;-fno-unwind-tables>")
