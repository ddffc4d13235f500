# How every target of this project is compiled: language level, warnings, sanitizers.

if(NOT CMAKE_SYSTEM_NAME MATCHES "^(Linux|Windows)$" OR NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|amd64|AMD64)$"
   OR NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
    message(FATAL_ERROR "Common supports 64-bit x86 processors on Linux and Windows, not ${CMAKE_SYSTEM_PROCESSOR} on "
                        "${CMAKE_SYSTEM_NAME}.")
endif()
set(kilnOldestGNU 12)
set(kilnOldestClang 14)
set(kilnOldestMSVC 19.30)
if(NOT DEFINED kilnOldest${CMAKE_CXX_COMPILER_ID}
   OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS kilnOldest${CMAKE_CXX_COMPILER_ID})
    message(FATAL_ERROR "Common supports gcc from version 12, clang from version 14 and MSVC from version 19.30 on, not "
                        "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}.")
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_package(Threads REQUIRED)

add_library(KilnCompiler INTERFACE)
if(MSVC)
    target_compile_options(
        KilnCompiler INTERFACE /W4 /permissive- /utf-8 /bigobj /Zc:__cplusplus
                               $<$<BOOL:${KILN_WARNINGS_AS_ERRORS}>:/WX>)
else()
    target_compile_options(
        KilnCompiler
        INTERFACE -Wall
                  -Wextra
                  -Wpedantic
                  -Wshadow
                  -Wconversion
                  -Wsign-conversion
                  -Wnon-virtual-dtor
                  -Woverloaded-virtual
                  -Wcast-qual
                  -Wformat=2
                  # It takes a source that a unity build includes for a header.
                  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wno-subobject-linkage>
                  $<$<BOOL:${KILN_WARNINGS_AS_ERRORS}>:-Werror>)
endif()

if(WIN32)
    # Without NOMINMAX the system's headers define macros min and max. The version is Windows 10, the oldest one supported.
    target_compile_definitions(KilnCompiler INTERFACE NOMINMAX _WIN32_WINNT=0x0A00)
    if(NOT MSVC)
        target_compile_options(KilnCompiler INTERFACE -Wa,-mbig-obj) # templates make more sections than the format has
    endif()
    # The system looks for DLLs beside the program.
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endif()

# What uses Qt is compiled with -fPIC, as Qt asks. So is everything else: the tests share one precompiled header.
target_compile_options(KilnCompiler INTERFACE $<TARGET_PROPERTY:Qt5::Core,INTERFACE_COMPILE_OPTIONS>)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # It takes the copy inside "text" + std::string for one onto itself when it optimises (its bug 105651).
    target_compile_options(KilnCompiler INTERFACE -Wno-restrict)
    if(WIN32)
        # The same for copies of short wide strings, with an array bound.
        target_compile_options(KilnCompiler INTERFACE -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
    endif()
endif()

if(KILN_SANITIZERS)
    target_compile_options(
        KilnCompiler INTERFACE -fsanitize=${KILN_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Instrumented code brings false warnings, as the compiler's manual says; preset check has the true ones.
        target_compile_options(KilnCompiler INTERFACE -Wno-error -Wno-maybe-uninitialized)
    endif()
    target_link_options(KilnCompiler INTERFACE -fsanitize=${KILN_SANITIZERS})
endif()
