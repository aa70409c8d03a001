# `cmake --install`: the engine as both libraries with its public headers, the host interface, and the package files for
# find_package(sinew).

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/sinew)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/sinew-config.cmake.in ${PROJECT_BINARY_DIR}/sinew-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/sinew-config-version.cmake COMPATIBILITY SameMinorVersion)
install(TARGETS sinew_engine sinew_engine_shared sinew_hostapi EXPORT sinew-targets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/sinewengine/include/sinew DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/hostapi/zx ${PROJECT_SOURCE_DIR}/hostapi/glue
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sinew-hostapi)
install(EXPORT sinew-targets NAMESPACE sinew:: DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/sinew-config.cmake ${PROJECT_BINARY_DIR}/sinew-config-version.cmake
    DESTINATION ${package_dir})
