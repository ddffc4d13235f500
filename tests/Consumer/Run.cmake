# Installs the library into a folder with a blank in its name, builds the README's first program against it, runs it, and
# looks at what it wrote with the installed tool. The program is also built by means of pkg-config, and compiled in a project that
# contains the library's sources. Called with BUILD_DIR, SOURCE_DIR, WORK_DIR, CXX, GENERATOR, EXE_SUFFIX, and
# for a cross build EMULATOR and TOOLCHAIN. PACKAGE in place of BUILD_DIR: the folder of an unpacked package.
set(prefix "${WORK_DIR}/a prefix")
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/build)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nended with ${result}:\n${output}")
    endif()
    set(output ${output} PARENT_SCOPE)
endfunction()

if(PACKAGE)
    file(COPY ${PACKAGE}/ DESTINATION ${prefix})
else()
    run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
endif()

# The program that a reader sees is the program that is built.
file(READ ${SOURCE_DIR}/README.md readme)
if(NOT readme MATCHES "```cpp\n(#include [^`]*)```")
    message(FATAL_ERROR "README.md has no first program")
endif()
file(WRITE ${WORK_DIR}/build/first_program.cpp "${CMAKE_MATCH_1}")

if(TOOLCHAIN)
    # The toolchain file keeps CMake from the libraries of the building machine; the installed one is added to its own.
    set(compiler -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_FIND_ROOT_PATH=${prefix}
        -DArdoKilnCommon_DIR=${prefix}/lib/cmake/ArdoKilnCommon)
else()
    set(compiler -DCMAKE_CXX_COMPILER=${CXX})
endif()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/Consumer -B ${WORK_DIR}/build -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Debug
    -DCMAKE_PREFIX_PATH=${prefix} ${compiler})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
if(TOOLCHAIN) # the system looks for DLLs beside the program
    file(GLOB libraries ${prefix}/bin/*.dll)
    file(COPY ${libraries} DESTINATION ${WORK_DIR}/build)
endif()
run(${CMAKE_COMMAND} -E chdir ${WORK_DIR} ${EMULATOR} build/first_program${EXE_SUFFIX})

if(NOT TOOLCHAIN)
    find_program(PKG_CONFIG pkg-config REQUIRED)
    set(ENV{PKG_CONFIG_PATH} "${prefix}/lib/pkgconfig")
    run(${PKG_CONFIG} --cflags --libs ardo-kiln-common)
    separate_arguments(flags UNIX_COMMAND "${output}")
    run(${CXX} ${WORK_DIR}/build/first_program.cpp -o ${WORK_DIR}/with_pkg_config ${flags})
    run(${CMAKE_COMMAND} -E chdir ${WORK_DIR} ${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${prefix}/lib" ./with_pkg_config)

    file(COPY ${WORK_DIR}/build/first_program.cpp DESTINATION ${WORK_DIR}/fetch)
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/Consumer/Fetch -B ${WORK_DIR}/fetch -G Ninja ${compiler}
        -DCOMMON_SOURCE_DIR=${SOURCE_DIR})
    # Ninja would first compile the sources that Common is linked of, which this object does not need.
    set(object CMakeFiles/first_program.dir/first_program.cpp.o)
    run(${CMAKE_COMMAND} -E chdir ${WORK_DIR}/fetch ninja -t commands -s ${object})
    run(${CMAKE_COMMAND} -E chdir ${WORK_DIR}/fetch sh -c "${output}")
    if(NOT EXISTS ${WORK_DIR}/fetch/${object})
        message(FATAL_ERROR "this does not compile the first program:\n${output}")
    endif()
endif()

# Wherever the installation is moved, the tool finds the library and the library its plug-ins.
file(RENAME ${prefix} "${prefix} that moved")
set(prefix "${prefix} that moved")
run(${EMULATOR} ${prefix}/bin/kiln${EXE_SUFFIX} import ${SOURCE_DIR}/tests/Data/images/cell.png ${WORK_DIR}/cell.tif)
run(${EMULATOR} ${prefix}/bin/kiln${EXE_SUFFIX} info ${WORK_DIR}/first.tif)
if(NOT output MATCHES "640 x 480" OR NOT output MATCHES "107 nm")
    message(FATAL_ERROR "the first program's image is not what it should be:\n${output}")
endif()
