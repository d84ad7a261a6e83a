# Pictures that are fetched once instead of being kept in the tree.
#   KXTILE_BLUE_MARBLE      where the Blue Marble is looked for
#   KXTILE_HAS_BLUE_MARBLE  whether it is there
set(KXTILE_BLUE_MARBLE "${PROJECT_SOURCE_DIR}/build/assets/earth-blue-marble.jpg" CACHE FILEPATH
    "NASA's Blue Marble, 4096 x 2048 plate carrée; cmake/fetch_assets.sh fetches it")

# A file that appears or goes later makes the build configure itself again.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${KXTILE_BLUE_MARBLE}")
if(EXISTS "${KXTILE_BLUE_MARBLE}")
    set(KXTILE_HAS_BLUE_MARBLE TRUE)
else()
    set(KXTILE_HAS_BLUE_MARBLE FALSE)
endif()
