# The generator for a build that cannot run its own, being for another machine or under the memory sanitizer: that of
# another build tree (VELNOR_L3GEN), or built here by this machine's default compiler.
set(generator ${VELNOR_L3GEN})
if(NOT generator)
  include(ExternalProject)
  set(generator ${PROJECT_BINARY_DIR}/native/l3gen)
  ExternalProject_Add(l3gen_native
    SOURCE_DIR ${PROJECT_SOURCE_DIR}
    BINARY_DIR ${PROJECT_BINARY_DIR}/native
    CMAKE_ARGS -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER} -DVELNOR3GPP_BUILD_PROGRAM=OFF
               -DVELNOR3GPP_BUILD_TESTS=OFF -DVELNOR3GPP_BUILD_BENCH=OFF
    BUILD_COMMAND ${CMAKE_COMMAND} --build . --target l3gen
    BUILD_BYPRODUCTS ${generator}
    BUILD_ALWAYS ON
    INSTALL_COMMAND "")
endif()
add_executable(l3gen IMPORTED)
set_target_properties(l3gen PROPERTIES IMPORTED_LOCATION ${generator} CROSSCOMPILING_EMULATOR "")
if(TARGET l3gen_native)
  add_dependencies(l3gen l3gen_native)
endif()
