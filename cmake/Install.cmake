# What `cmake --install` lays down, in five components: `runtime` (the shared libraries), `dev` (headers, what CMake and
# pkg-config need to find them, static libraries, the schema of JSON), `program`, `sqlite` and `doc`.
if(NOT VELNOR3GPP_INSTALL)
  return()
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# installLibrary(TARGET DESCRIPTION REQUIRED): a library, its archive and its file for pkg-config.
function(installLibrary target description required)
  install(TARGETS ${target} EXPORT velnor3gppTargets
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
          INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  if(TARGET ${target}_static)
    install(TARGETS ${target}_static ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
  endif()
  # A program that is linked with the archive needs no more than the libraries named here.
  set(VELNOR_PC_PRIVATE "")
  file(RELATIVE_PATH VELNOR_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  set(VELNOR_PC_NAME ${target})
  set(VELNOR_PC_DESCRIPTION ${description})
  set(VELNOR_PC_REQUIRED ${required})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/velnor3gpp.pc.in ${PROJECT_BINARY_DIR}/${target}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()

set(headers ${PROJECT_SOURCE_DIR}/include/velnor3gpp ${VELNOR_GENERATED_DIR}/include/velnor3gpp)
installLibrary(velnor3gpp "Coder of 3GPP layer-3 messages" "")
if(TARGET velnor3gpp_json)
  installLibrary(velnor3gpp_json "3GPP layer-3 messages as JSON" "velnor3gpp = ${PROJECT_VERSION}")
  list(APPEND headers ${PROJECT_SOURCE_DIR}/json/include/velnor3gpp)
endif()
install(DIRECTORY ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/velnor3gpp)
install(EXPORT velnor3gppTargets NAMESPACE velnor3gpp:: DESTINATION ${packageDir} COMPONENT dev)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velnor3gppConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/velnor3gppConfigVersion.cmake ${PROJECT_SOURCE_DIR}/cmake/velnor3gppConfig.cmake
        DESTINATION ${packageDir} COMPONENT dev)

install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT doc)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT doc USE_SOURCE_PERMISSIONS PATTERN CMakeLists.txt EXCLUDE PATTERN *.in EXCLUDE)
