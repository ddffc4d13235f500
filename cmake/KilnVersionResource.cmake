# kiln_version_resource(TARGET DESCRIPTION)
#
# On Windows gives a program or DLL a version resource, which Explorer shows, and a program the manifest
# KilnProgram.manifest. Elsewhere nothing happens.
if(WIN32)
    enable_language(RC)
endif()

function(kiln_version_resource target arg_DESCRIPTION)
    if(NOT WIN32)
        return()
    endif()
    get_target_property(type ${target} TYPE)
    set(manifestFile ${PROJECT_SOURCE_DIR}/cmake/KilnProgram.manifest)
    set(manifest)
    if(type STREQUAL "EXECUTABLE")
        set(fileType VFT_APP)
        set(fileName ${target}.exe)
        if(MSVC)
            target_sources(${target} PRIVATE ${manifestFile}) # the linker adds it to a manifest of its own
        else()
            set(manifest "1 24 \"${manifestFile}\"") # 24: a manifest
        endif()
    else()
        set(fileType VFT_DLL)
        set(fileName ${target}.dll)
    endif()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/KilnVersion.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
endfunction()
