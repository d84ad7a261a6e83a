# The installed package: libraries, headers, find_package(KxTile).
include(CMakePackageConfigHelpers)

set(KXTILE_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/KxTile")
set(KXTILE_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/KxTile")

install(TARGETS KxTile KxCommon EXPORT KxTileTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        FILE_SET HEADERS DESTINATION "${KXTILE_INSTALL_INCLUDEDIR}"
        INCLUDES DESTINATION "${KXTILE_INSTALL_INCLUDEDIR}")
install(EXPORT KxTileTargets NAMESPACE KxTile:: DESTINATION "${KXTILE_INSTALL_CMAKEDIR}")

configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/KxTileConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/KxTileConfig.cmake"
    INSTALL_DESTINATION "${KXTILE_INSTALL_CMAKEDIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KxTileConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KxTileConfig.cmake"
              "${PROJECT_BINARY_DIR}/KxTileConfigVersion.cmake"
        DESTINATION "${KXTILE_INSTALL_CMAKEDIR}")

# The ready definitions, which kxtile finds by their bare names.
if(KXTILE_BUILD_APPS)
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/sources/"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/kxtile/sources" FILES_MATCHING PATTERN "*.toml")
endif()
