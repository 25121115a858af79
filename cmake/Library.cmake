# The library: hand-written rooms, compiled once as objects for the libraries and for the tests.
file(GLOB VELNOR_RUNTIME CONFIGURE_DEPENDS
     rtxsrc/*/*.cpp rtsrc/*.cpp rt3gppsrc/*.cpp rt3gppsrc/engine/*.cpp src2/*.cpp api/*.cpp capture/*.cpp)
set_property(SOURCE api/types.cpp APPEND PROPERTY COMPILE_DEFINITIONS VELNOR3GPP_VERSION="${PROJECT_VERSION}")

include(cmake/Generated.cmake)
include(cmake/Coverage.cmake)
if(VELNOR_TESTS_SHARED)
  file(GLOB handWritten CONFIGURE_DEPENDS src2/*.cpp)
  set_property(SOURCE ${handWritten} APPEND PROPERTY COMPILE_OPTIONS -O0)
endif()
add_library(velnor3gpp_objects OBJECT ${VELNOR_RUNTIME} ${VELNOR_GENERATED})
add_dependencies(velnor3gpp_objects velnor3gpp_generate)
target_include_directories(velnor3gpp_objects PUBLIC ${PROJECT_SOURCE_DIR}/include ${VELNOR_GENERATED_DIR}/include
                           PRIVATE ${PROJECT_SOURCE_DIR} ${VELNOR_GENERATED_DIR}/src)
target_compile_options(velnor3gpp_objects PRIVATE ${VELNOR_WARNINGS} -fno-exceptions -fno-rtti)
target_compile_definitions(velnor3gpp_objects PRIVATE _FILE_OFFSET_BITS=64) # files above 2 GiB, also with words of 32 bits

set(guarded ${VELNOR_RUNTIME})
list(FILTER guarded INCLUDE REGEX "/(api|rtxsrc/(capture|streams|text))/")
velnorHarden(velnor3gpp_objects ${guarded})

velnorLibrary(velnor3gpp velnor3gpp ${PROJECT_SOURCE_DIR}/cmake/exports.map)
foreach(library IN LISTS VELNOR_LIBRARIES)
  target_include_directories(${library} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                             $<BUILD_INTERFACE:${VELNOR_GENERATED_DIR}/include>)
endforeach()
