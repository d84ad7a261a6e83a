# The target "format": clang-format over every source of ours.
find_program(KXTILE_CLANG_FORMAT clang-format)
if(KXTILE_CLANG_FORMAT)
    file(GLOB_RECURSE kxtile_sources CONFIGURE_DEPENDS
        include/*.h platform/*.h platform/*.cpp src/*.h src/*.cpp apps/*.h apps/*.cpp
        tests/*.h tests/*.cpp bench/*.h bench/*.cpp examples/*.cpp)
    add_custom_target(format COMMAND "${KXTILE_CLANG_FORMAT}" -i ${kxtile_sources} VERBATIM)
endif()
