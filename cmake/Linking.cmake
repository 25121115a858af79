# How a library is made of its objects, and what it is compiled and linked with against faults of memory.
include(CheckCXXCompilerFlag)

# Shared unless BUILD_SHARED_LIBS says otherwise, also within a parent that says nothing.
set(VELNOR_KIND SHARED)
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  set(VELNOR_KIND STATIC)
endif()

# Only the linkers of ELF know version scripts and -z.
if(WIN32 OR APPLE OR EMSCRIPTEN)
  set(VELNOR_ELF OFF)
else()
  set(VELNOR_ELF ON)
endif()

# Before 1.0 each minor version may break what was linked against the one before, so both numbers are in the name.
set(VELNOR_SOVERSION ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(VELNOR_SOVERSION 0.${PROJECT_VERSION_MINOR})
endif()

# Lengths that the compiler knows are tested where memory is copied or printed into; this needs optimised code. The
# guard of the stack costs 2 % of the instructions of decoding and 3.5 % of protecting, so that it stands only in
# GUARDED sources, which handle text, files and what callers hand in. A sanitizer sees more than both.
function(velnorHarden target)
  if(WIN32)
    target_compile_definitions(${target} PRIVATE VELNOR3GPP_BUILDING __USE_MINGW_ANSI_STDIO=1)
    target_compile_options(${target} PRIVATE -Wa,-mbig-obj) # the table of types has more sections than fit otherwise
  endif()
  if(VELNOR_SANITIZE OR VELNOR_COVERAGE OR NOT VELNOR_ELF)
    return()
  endif()
  if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE") # a build that brings its own level keeps it
    target_compile_definitions(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:_FORTIFY_SOURCE=2>)
  endif()
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -fstack-protector-strong)
endfunction()

# The library TARGET, for others velnor3gpp::NAME, of the objects TARGET_objects; it exports what the version script MAP
# names. With VELNOR3GPP_BUILD_ARCHIVES there is TARGET_static, too, a file of the same name. VELNOR_LIBRARIES lists
# what was made.
function(velnorLibrary target name map)
  add_library(${target} ${VELNOR_KIND} $<TARGET_OBJECTS:${target}_objects>)
  add_library(velnor3gpp::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name} VERSION ${PROJECT_VERSION} SOVERSION ${VELNOR_SOVERSION})
  set(made ${target})
  if(VELNOR3GPP_BUILD_ARCHIVES AND VELNOR_KIND STREQUAL "SHARED")
    add_library(${target}_static STATIC $<TARGET_OBJECTS:${target}_objects>)
    set_target_properties(${target}_static PROPERTIES OUTPUT_NAME ${target})
    list(APPEND made ${target}_static)
  endif()
  # Neither library needs the run-time of C++, so that a program in C is linked by the compiler of C.
  set_target_properties(${made} PROPERTIES LINKER_LANGUAGE C)
  set(VELNOR_LIBRARIES ${made} PARENT_SCOPE)
  if(NOT VELNOR_ELF OR VELNOR_KIND STREQUAL "STATIC")
    return()
  endif()
  # What no exported operation reaches stays out, above all the table of all types: a quarter of the relocations.
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic -Wl,--gc-sections -Wl,--version-script=${map} -Wl,-z,relro
                      -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)
  if(NOT VELNOR_SANITIZE) # whose functions the program brings along
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
endfunction()
