# The kinds of targets that the tree is made of.

# kxtile_add_common_area(<area> SOURCES <files> [LIBRARIES <third party>])
# One area of libKxCommon: its sources and, privately, the third party that it wraps.
function(kxtile_add_common_area area)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LIBRARIES")
    add_library(kxcommon_${area} OBJECT ${ARG_SOURCES})
    target_include_directories(kxcommon_${area} PRIVATE
        "${PROJECT_SOURCE_DIR}/platform/common" "${PROJECT_SOURCE_DIR}/platform/feature"
        "${PROJECT_SOURCE_DIR}/include")
    target_link_libraries(kxcommon_${area} PRIVATE kxtile_flags ${ARG_LIBRARIES})
    target_link_libraries(KxCommon PRIVATE kxcommon_${area} ${ARG_LIBRARIES})
endfunction()

# kxtile_add_test(<name> LABELS <labels> SOURCES <files> [LIBRARIES <targets>])
# A GoogleTest program; every test in it becomes one of ctest's.
function(kxtile_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "LABELS;SOURCES;LIBRARIES")
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(${name} PRIVATE kxtile_flags ${ARG_LIBRARIES} GTest::gmock_main)
    # Values of parameters stay out of the names: some hold addresses, which change from run to run.
    gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60
                         PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 600)
endfunction()

# kxtile_add_bench(<name> SOURCES <files> [LIBRARIES <targets>])
# A Google Benchmark program; ctest runs it briefly so that it keeps working.
function(kxtile_add_bench name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LIBRARIES")
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE
        "${PROJECT_SOURCE_DIR}/bench" "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(${name} PRIVATE
        kxtile_flags ${ARG_LIBRARIES} benchmark::benchmark_main)
    add_test(NAME bench.${name} COMMAND ${name} --benchmark_min_time=0.001)
    set_tests_properties(bench.${name} PROPERTIES LABELS bench)
endfunction()
