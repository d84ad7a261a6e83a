# Compiler settings of our own targets, in one interface library so that third-party targets stay
# untouched. Include once, from the root.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_program(KXTILE_CCACHE ccache)
if(KXTILE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER "${KXTILE_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KXTILE_CCACHE}")
endif()

find_package(Threads REQUIRED)

add_library(kxtile_flags INTERFACE)
target_compile_options(kxtile_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Wformat=2
    # A position on a tile border must fall the same way everywhere.
    -ffp-contract=off)
target_link_libraries(kxtile_flags INTERFACE Threads::Threads)

if(KXTILE_WERROR)
    target_compile_options(kxtile_flags INTERFACE -Werror)
endif()

if(KXTILE_SANITIZE)
    target_compile_options(kxtile_flags INTERFACE
        -fsanitize=${KXTILE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kxtile_flags INTERFACE -fsanitize=${KXTILE_SANITIZE})
    # GCC 12 takes the checks inside <regex> for uses of what was not set.
    target_compile_options(kxtile_flags INTERFACE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
