# Installs the library, its headers and the files for find_package(ArdoKilnCommon).

include(CMakePackageConfigHelpers)

set(configDir ${CMAKE_INSTALL_LIBDIR}/cmake/ArdoKilnCommon)

install(
    TARGETS Common
    EXPORT ArdoKilnCommonTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILE_SET generated DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(
    EXPORT ArdoKilnCommonTargets
    NAMESPACE ArdoKiln::
    DESTINATION ${configDir})

configure_package_config_file(cmake/ArdoKilnCommonConfig.cmake.in ${PROJECT_BINARY_DIR}/ArdoKilnCommonConfig.cmake
                              INSTALL_DESTINATION ${configDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ArdoKilnCommonConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ArdoKilnCommonConfig.cmake ${PROJECT_BINARY_DIR}/ArdoKilnCommonConfigVersion.cmake
        DESTINATION ${configDir})
install(DIRECTORY share/ DESTINATION ${CMAKE_INSTALL_DATADIR}/ArdoKilnCommon)
