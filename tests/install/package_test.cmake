# Installs the build into an empty folder, moves that folder, and builds and runs a project against
# it that knows nothing else.
#
# cmake -D BUILD=<our build> -D WORK=<folder to use> -D CONSUMER=<its sources> -D EXPECTED=<output>
#       -D GENERATOR=… -D COMPILER=… -D FLAGS=… -P package_test.cmake

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${WORK}/installed")
# A package must work wherever it is put.
file(RENAME "${WORK}/installed" "${WORK}/moved")

run("${CMAKE_COMMAND}" -S "${CONSUMER}" -B "${WORK}/build" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_FLAGS=${FLAGS}"
    "-DCMAKE_PREFIX_PATH=${WORK}/moved" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run("${CMAKE_COMMAND}" --build "${WORK}/build")

execute_process(COMMAND "${WORK}/build/consumer" OUTPUT_VARIABLE output
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
if(NOT output STREQUAL EXPECTED)
    message(FATAL_ERROR "the consumer printed '${output}', not '${EXPECTED}'")
endif()

# The program finds the ready definitions that were installed with it.
if(EXISTS "${WORK}/moved/bin/kxtile")
    execute_process(COMMAND "${CMAKE_COMMAND}" -E env --unset=KXTILE_SOURCES_PATH
                            "${WORK}/moved/bin/kxtile" source list
                    OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
    if(NOT listed MATCHES "\nosm +enabled")
        message(FATAL_ERROR "the installed kxtile lists no 'osm': '${listed}'")
    endif()
endif()
