# What `cmake --install` lays down: the shared library, the headers (generated ones among them), and what CMake and
# pkg-config need to find them.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(velnor3gpp PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
install(TARGETS velnor3gpp EXPORT velnor3gppTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/velnor3gpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${VELNOR_GENERATED_DIR}/include/velnor3gpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/velnor3gpp)
install(EXPORT velnor3gppTargets FILE velnor3gppConfig.cmake NAMESPACE velnor3gpp:: DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velnor3gppConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/velnor3gppConfigVersion.cmake DESTINATION ${packageDir})
file(RELATIVE_PATH packageToPrefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/velnor3gpp.pc.in ${PROJECT_BINARY_DIR}/velnor3gpp.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velnor3gpp.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
