# Each folder is an object library. All of them are linked into one shared library, Common.
#
#   kiln_begin_library()          declares Common and its export header
#   kiln_folder(NAME ...)         declares one folder of the library (see below)
#   kiln_plugin(NAME ...)         declares a part of the library that is loaded when it is first needed (see below)
#   kiln_end_library()            completes Common; no kiln_folder() after it
#   kiln_test(NAME ...)           declares a test program that runs twice, once in a hostile locale

include(GenerateExportHeader)

# Limits the exports of a library to the list in cmake/NAME.map. On Windows only what is marked is exported in any case.
function(kiln_limit_exports target name)
    if(NOT WIN32)
        set(map ${PROJECT_SOURCE_DIR}/cmake/${name}.map)
        target_link_options(${target} PRIVATE -Wl,--version-script=${map})
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
    endif()
endfunction()

function(kiln_begin_library)
    add_library(Common SHARED)
    add_library(ArdoKiln::Common ALIAS Common)
    set_target_properties(
        Common
        PROPERTIES VERSION ${PROJECT_VERSION}
                   SOVERSION ${PROJECT_VERSION_MAJOR}
                   EXPORT_NAME Common
                   VERIFY_INTERFACE_HEADER_SETS ON)
    target_link_libraries(Common PUBLIC Boost::log Qt5::Core PRIVATE KilnCompiler)
    target_compile_features(Common PUBLIC cxx_std_20)
    if(WIN32)
        set_target_properties(Common PROPERTIES PREFIX "") # Common.dll with every compiler
    else()
        target_link_options(Common PRIVATE -Wl,-z,nodelete) # signal handlers and a thread stay after dlclose
    endif()
    kiln_limit_exports(Common Common)

    # The generated headers belong to no folder, so every folder may include them.
    configure_file(${PROJECT_SOURCE_DIR}/cmake/KilnVersion.h.in ${PROJECT_BINARY_DIR}/generated/Ardo/KilnVersion.h @ONLY)
    generate_export_header(
        Common
        BASE_NAME KILN
        EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/generated/Ardo/KilnExport.h)
    target_sources(
        Common PUBLIC FILE_SET generated TYPE HEADERS BASE_DIRS ${PROJECT_BINARY_DIR}/generated FILES
                      ${PROJECT_BINARY_DIR}/generated/Ardo/KilnExport.h
                      ${PROJECT_BINARY_DIR}/generated/Ardo/KilnVersion.h)

    # The include directories and flags of all folders.
    add_library(KilnFolder INTERFACE)
    target_include_directories(KilnFolder INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
    target_compile_definitions(KilnFolder INTERFACE Common_EXPORTS)
    if(KILN_BUILD_TESTS)
        target_compile_definitions(KilnFolder INTERFACE KILN_EXPORT_FOR_TESTS=KILN_EXPORT)
    else()
        target_compile_definitions(KilnFolder INTERFACE KILN_EXPORT_FOR_TESTS=)
    endif()
    target_link_libraries(KilnFolder INTERFACE KilnCompiler Boost::headers)
endfunction()

# kiln_folder(NAME Conversion HEADERS String.h SOURCES String.cpp [LINK KilnPlatform ...])
#
# Declares the object library Kiln<NAME>. HEADERS are the public headers of the folder: they are installed,
# and the header check compiles each of them alone. Private headers are not listed. LINK are
# the folders and external libraries that this folder may include.
function(kiln_folder)
    cmake_parse_arguments(arg "" "NAME" "HEADERS;SOURCES;LINK" ${ARGN})
    set(target Kiln${arg_NAME})
    if(arg_SOURCES)
        add_library(${target} OBJECT ${arg_SOURCES})
        target_link_libraries(${target} PUBLIC KilnFolder ${arg_LINK})
        target_link_libraries(Common PRIVATE ${target})
    else()
        add_library(${target} INTERFACE)
        target_link_libraries(${target} INTERFACE KilnFolder ${arg_LINK})
    endif()
    if(arg_HEADERS)
        list(TRANSFORM arg_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        target_sources(Common PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
    endif()
endfunction()

# kiln_plugin(NAME CommonDialogs SOURCES ErrorDialogWindow.cpp LINK Qt5::Widgets)
#
# Declares a shared library of its own for what few programs need and what links large libraries. It stands beside
# Common, which loads it with Platform::PluginFunction(). It uses nothing of Common but headers, so Common can depend on
# it: who builds Common has its plug-ins, too.
function(kiln_plugin)
    cmake_parse_arguments(arg "" "NAME" "SOURCES;LINK" ${ARGN})
    add_library(${arg_NAME} MODULE ${arg_SOURCES})
    add_dependencies(Common ${arg_NAME})
    target_link_libraries(${arg_NAME} PRIVATE KilnCompiler Boost::headers ${arg_LINK})
    target_include_directories(${arg_NAME} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
    target_compile_definitions(${arg_NAME} PRIVATE KILN_EXPORT_FOR_TESTS=)
    kiln_limit_exports(${arg_NAME} Plugin)
    # The full version is part of the name: see Ardo/Kiln/Platform/Plugin.h. MODULE libraries are LIBRARY targets on
    # Windows as well, but stand in the folder of the programs there, as Common does.
    set_target_properties(
        ${arg_NAME}
        PROPERTIES PREFIX ""
                   OUTPUT_NAME ${arg_NAME}-${PROJECT_VERSION}
                   LIBRARY_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:Common>)
    if(KILN_INSTALL)
        install(TARGETS ${arg_NAME} LIBRARY DESTINATION $<IF:$<PLATFORM_ID:Windows>,${CMAKE_INSTALL_BINDIR},${CMAKE_INSTALL_LIBDIR}>
                                            COMPONENT runtime)
    endif()
endfunction()

function(kiln_end_library)
    kiln_version_resource(Common "${PROJECT_DESCRIPTION}")
    # CMake cannot derive the linker language from object libraries.
    set_target_properties(Common PROPERTIES LINKER_LANGUAGE CXX)
    if(MINGW)
        kiln_separate_debug_information(Common)
    endif()
endfunction()

# kiln_separate_debug_information(TARGET)
#
# Moves the debug information that gcc puts into programs and libraries for Windows to the folder "debug", which is not
# searched: it is 45 times as large as the rest of Common, and a library that reads symbols takes minutes for it. A
# debugger is told the file (gdb: "symbol-file", lldb: "target symbols add").
function(kiln_separate_debug_information target)
    add_custom_command(
        TARGET ${target}
        POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/debug
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}>
                ${PROJECT_BINARY_DIR}/debug/$<TARGET_FILE_NAME:${target}>.debug
        COMMAND ${CMAKE_STRIP} --strip-unneeded $<TARGET_FILE:${target}>
        COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${PROJECT_BINARY_DIR}/debug/$<TARGET_FILE_NAME:${target}>.debug
                $<TARGET_FILE:${target}>
        VERBATIM)
endfunction()

# The tests that do not run on Windows, each with its reason: sources of test programs, and single tests as SUITE.NAME.
set(kilnNotOnWindowsList ${PROJECT_SOURCE_DIR}/tests/NotOnWindows.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${kilnNotOnWindowsList})
file(STRINGS ${kilnNotOnWindowsList} kilnNotOnWindows REGEX "^[^#]")
list(TRANSFORM kilnNotOnWindows REPLACE ": .*" "")
set(kilnNotOnWindowsTests ${kilnNotOnWindows})
list(FILTER kilnNotOnWindowsTests EXCLUDE REGEX "[.]cpp$")

# kiln_uses_exception_records(SOURCE...)
#
# For sources of tests that use the members of EXCEPTION_RECORD and CONTEXT: on Windows these are in a header of the system,
# which comes first, so that no precompiled one is used.
function(kiln_uses_exception_records)
    if(WIN32)
        set_source_files_properties(
            ${ARGN} PROPERTIES SKIP_PRECOMPILE_HEADERS ON
                               COMPILE_OPTIONS "$<IF:$<CXX_COMPILER_ID:MSVC>,/FIwindows.h,-includewindows.h>")
    endif()
endfunction()

# kiln_test(NAME ImageIOTests SOURCES TiffExporterTest.cpp ... [LINK TIFF::TIFF] [THREADED])
#
# THREADED: the program uses threads in ways that ThreadSanitizer can judge. The target threaded_tests builds these
# programs, and their tests have the label "threaded".
#
# WITHOUT_ERROR_RECORD_CHECK: an unexpected log record of level error does not fail a test.
#
# The program takes its locale from the environment, which has a decimal comma in the second run.
#
# ONE_LOCALE: no second run, because other tests cover what the locale changes. ONE_LOCALE_TESTS SUITE.NAME ...: the same for
# some of its tests, which may have wildcards.
#
# ONE_LOCALE_ON_WINDOWS: no second run there. For programs that neither read nor write numbers by the C and C++ libraries,
# which differ between the systems, or whose work is done by other programs: the test programs alone have the locale there.
#
# On Windows the sources and tests of tests/NotOnWindows.txt are left out, and a program that has no other sources. All
# sources that end in Test_posix or Test_linux must be in that list. Sources that end in _win are for Windows only.
function(kiln_test)
    cmake_parse_arguments(arg "THREADED;WITHOUT_ERROR_RECORD_CHECK;ONE_LOCALE;ONE_LOCALE_ON_WINDOWS" "NAME"
                          "SOURCES;LINK;ONE_LOCALE_TESTS" ${ARGN})
    set(sources)
    foreach(source ${arg_SOURCES})
        file(RELATIVE_PATH listed ${PROJECT_SOURCE_DIR}/tests ${CMAKE_CURRENT_SOURCE_DIR}/${source})
        if(source MATCHES "Test_(posix|linux)[.]cpp$" AND NOT listed IN_LIST kilnNotOnWindows)
            message(FATAL_ERROR "tests/NotOnWindows.txt does not say why ${listed} does not run on Windows.")
        endif()
        if(WIN32)
            set(isLeftOut FALSE)
            if(listed IN_LIST kilnNotOnWindows OR source MATCHES "_(posix|linux)[.]cpp$")
                set(isLeftOut TRUE)
            endif()
        else()
            string(REGEX MATCH "_win[.]cpp$" isLeftOut "${source}")
        endif()
        if(NOT isLeftOut)
            list(APPEND sources ${source})
        endif()
    endforeach()
    if(NOT sources)
        return()
    endif()
    set(leftOut)
    if(WIN32)
        set(leftOut ${kilnNotOnWindowsTests})
    endif()
    list(JOIN leftOut ":" filter)
    list(APPEND leftOut ${arg_ONE_LOCALE_TESTS})
    list(JOIN leftOut ":" hostileFilter)
    add_executable(${arg_NAME} ${sources})
    kiln_version_resource(${arg_NAME} "Tests of Common")
    target_link_libraries(${arg_NAME} PRIVATE Common KilnTestSupport KilnCompiler ${arg_LINK})
    if(NOT arg_WITHOUT_ERROR_RECORD_CHECK)
        target_link_libraries(${arg_NAME} PRIVATE KilnErrorRecordCheck)
    endif()
    target_precompile_headers(${arg_NAME} REUSE_FROM KilnTestSupport)
    add_test(NAME ${arg_NAME} COMMAND ${arg_NAME} --gtest_filter=-${filter})
    set_tests_properties(${arg_NAME} PROPERTIES TIMEOUT 600)
    if(NOT arg_ONE_LOCALE AND NOT (WIN32 AND arg_ONE_LOCALE_ON_WINDOWS))
        add_test(NAME ${arg_NAME}.HostileLocale COMMAND ${arg_NAME} --gtest_filter=-${hostileFilter})
        set_tests_properties(${arg_NAME}.HostileLocale PROPERTIES ENVIRONMENT "${KILN_HOSTILE_ENVIRONMENT}" TIMEOUT 600)
    endif()
    if(arg_THREADED)
        if(NOT TARGET threaded_tests)
            add_custom_target(threaded_tests)
        endif()
        add_dependencies(threaded_tests ${arg_NAME})
        set_tests_properties(${arg_NAME} PROPERTIES LABELS threaded)
    endif()
endfunction()
