# The libraries that Common uses. docs/dependencies.md says what for.

find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Widgets)
find_package(Boost 1.74 REQUIRED COMPONENTS log)
find_package(TIFF 4.5 REQUIRED)
find_package(JPEG REQUIRED)
find_package(spdlog 1.10 REQUIRED) # brings fmt
if(NOT WIN32)
    # libdw names functions, files and lines of a stack. It has no package file for CMake.
    find_library(KILN_DW_LIBRARY dw REQUIRED)
    find_library(KILN_ELF_LIBRARY elf REQUIRED)
    find_path(KILN_DW_INCLUDE_DIR elfutils/libdwfl.h REQUIRED)
    mark_as_advanced(KILN_DW_LIBRARY KILN_ELF_LIBRARY KILN_DW_INCLUDE_DIR)
    add_library(Dw::Dw UNKNOWN IMPORTED)
    set_target_properties(
        Dw::Dw
        PROPERTIES IMPORTED_LOCATION ${KILN_DW_LIBRARY}
                   INTERFACE_INCLUDE_DIRECTORIES ${KILN_DW_INCLUDE_DIR}
                   INTERFACE_LINK_LIBRARIES ${KILN_ELF_LIBRARY})
endif()
