# Debian packages of the installed components; scripts/package makes and tries them (preset "package").

if(NOT KILN_DEBIAN_PACKAGES)
    return()
endif()

set(soVersion ${PROJECT_VERSION_MAJOR})
set(packageOf_runtime libcommon${soVersion})
set(packageOf_dev libcommon-dev)
set(packageOf_tools kiln-tools)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "foundation library of Orbex for microscope images")
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The developers of Orbex <orbex@orbex.invalid>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Writes and reads microscope images with their acquisition record, runs work
in the background, keeps logs, and reports faults. This package has what
programs need to run.")

set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${packageOf_runtime} (= ${PROJECT_VERSION}), libboost-log-dev (>= 1.74), qtbase5-dev (>= 5.15)")
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "Headers, the files for CMake and pkg-config, and the schema of the record's
documents.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${packageOf_runtime} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "The command-line tool kiln imports, exports, checks and compares microscope
images with their acquisition record. The program viewer shows them.")

# What packages are built against this one depend on, and the refresh of the loader's cache.
set(control ${PROJECT_BINARY_DIR}/package/control)
file(WRITE ${control}/shlibs "libCommon ${soVersion} ${packageOf_runtime} (>= ${PROJECT_VERSION})\n")
file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${control}/shlibs ${control}/triggers)

set(overrides_runtime
    "# Loaded at run time by a name that has the full version; nobody links them.\n"
    "${packageOf_runtime}: sharedobject-in-library-directory-missing-soname *\n"
    "# CPack writes these scripts beside the trigger.\n"
    "${packageOf_runtime}: maintscript-calls-ldconfig *\n")
set(overrides_dev "# Qt's headers refuse to be compiled without it.\n" "${packageOf_dev}: pkg-config-bad-directive -fPIC *\n")

# What every package of Debian has: the changes and the licence.
string(TIMESTAMP packageDate "%a, %d %b %Y %H:%M:%S +0000" UTC)
find_program(GZIP gzip REQUIRED)
foreach(component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${component} upper)
    set(package ${packageOf_${component}})
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
    set(documents ${PROJECT_BINARY_DIR}/package/${package})
    configure_file(${PROJECT_SOURCE_DIR}/LICENSES/overview.md ${documents}/copyright COPYONLY)
    file(WRITE ${documents}/changelog
         "${package} (${PROJECT_VERSION}) unstable; urgency=medium\n\n  * See CHANGELOG.md of the sources.\n\n"
         " -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${packageDate}\n")
    execute_process(COMMAND ${GZIP} -9nf ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)
    if(overrides_${component})
        file(WRITE ${documents}/${package} ${overrides_${component}})
        install(
            FILES ${documents}/${package}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
            COMPONENT ${component})
    endif()
    install(
        FILES ${documents}/copyright ${documents}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        COMPONENT ${component})
endforeach()

# Manual pages of packages are compressed.
install(
    CODE "foreach(page kiln viewer)
    execute_process(COMMAND ${GZIP} -9nf \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1/\${page}.1\"
                    COMMAND_ERROR_IS_FATAL ANY)
endforeach()"
    COMPONENT tools)
include(CPack)
