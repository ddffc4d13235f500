# Installs the library, its headers and the files for find_package(ArdoKilnCommon) and pkg-config, in three components:
# "runtime" is what programs need to run, "dev" what they need to be built, "tools" the programs.

include(CMakePackageConfigHelpers)

set(configDir ${CMAKE_INSTALL_LIBDIR}/cmake/ArdoKilnCommon)

install(
    TARGETS Common
    EXPORT ArdoKilnCommonTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev
    FILE_SET generated DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(
    EXPORT ArdoKilnCommonTargets
    NAMESPACE ArdoKiln::
    DESTINATION ${configDir}
    COMPONENT dev)

configure_package_config_file(
    cmake/ArdoKilnCommonConfig.cmake.in ${PROJECT_BINARY_DIR}/ArdoKilnCommonConfig.cmake
    INSTALL_DESTINATION ${configDir}
    PATH_VARS CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ArdoKilnCommonConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(
    FILES ${PROJECT_BINARY_DIR}/ArdoKilnCommonConfig.cmake ${PROJECT_BINARY_DIR}/ArdoKilnCommonConfigVersion.cmake
    DESTINATION ${configDir}
    COMPONENT dev)

file(RELATIVE_PATH prefixFromPkgConfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/ardo-kiln-common.pc.in ${PROJECT_BINARY_DIR}/ardo-kiln-common.pc @ONLY)
install(
    FILES ${PROJECT_BINARY_DIR}/ardo-kiln-common.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT dev)

install(
    DIRECTORY share/
    DESTINATION ${CMAKE_INSTALL_DATADIR}/ArdoKilnCommon
    COMPONENT dev)
