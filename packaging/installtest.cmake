# Installs the build into a fresh prefix under WORK and checks what an engineer would: the
# files in their places, `kelp --help`, and `kelp --check-images` started from another folder
# finding the images in the installed data folder.
set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/elsewhere)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
                OUTPUT_QUIET RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "cmake --install failed: ${rc}")
endif()

foreach(f ${BINDIR}/kelp ${BINDIR}/kelp-board
          ${DATADIR}/ASM/SAR_KELP.hex ${DATADIR}/ASM/SD_KELP.hex ${DATADIR}/ASM/58X_SDkelp.hex
          share/applications/org.kelpproject.kelp.desktop
          share/metainfo/org.kelpproject.kelp.metainfo.xml
          share/icons/hicolor/scalable/apps/org.kelpproject.kelp.svg)
    if(NOT EXISTS ${prefix}/${f})
        message(FATAL_ERROR "not installed: ${f}")
    endif()
endforeach()
if(EXISTS ${BUILD_DIR}/bin/kelp-cli AND NOT EXISTS ${prefix}/${BINDIR}/kelp-cli)
    message(FATAL_ERROR "not installed: ${BINDIR}/kelp-cli")
endif()

execute_process(COMMAND ${prefix}/${BINDIR}/kelp --help WORKING_DIRECTORY ${WORK}/elsewhere
                OUTPUT_VARIABLE help RESULT_VARIABLE rc)
if(NOT rc EQUAL 0 OR NOT help MATCHES "--check-images")
    message(FATAL_ERROR "kelp --help (${rc}):\n${help}")
endif()

execute_process(COMMAND ${prefix}/${BINDIR}/kelp --check-images
                WORKING_DIRECTORY ${WORK}/elsewhere
                OUTPUT_VARIABLE images RESULT_VARIABLE rc)
string(REGEX MATCHALL "[^\n]+: ok" found "${images}")
list(LENGTH found count)
if(NOT rc EQUAL 0 OR NOT count EQUAL 3 OR NOT images MATCHES "${DATADIR}/ASM/SAR_KELP.hex")
    message(FATAL_ERROR "kelp --check-images (${rc}):\n${images}")
endif()
file(REMOVE_RECURSE ${WORK})
