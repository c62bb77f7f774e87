# nd_test(NAME SOURCES... [SHIPPED] [LINK lib...]): one GoogleTest program, registered with ctest as one test.
# By default it links nd-testing whole, so hidden classes and test hooks are within reach; SHIPPED links libnd as users get it.
find_package(GTest REQUIRED)

# Tests ask for more memory than there is, and sanitizers end such a program unless they are told not to.
set(nd_test_environment
    "ASAN_OPTIONS=path_list_append:allocator_may_return_null=1;TSAN_OPTIONS=path_list_append:allocator_may_return_null=1")

# The headers that nearly every test includes and that aren't ours, compiled once. With g++ alone: clang goes without and so finds
# an include that is missing. Programs with other definitions couldn't use it: those that link libnd as shipped have none.
set(nd_test_headers <gmock/gmock.h> <gtest/gtest.h> <algorithm> <array> <cmath> <complex> <cstring> <functional> <limits> <memory>
    <optional> <random> <span> <sstream> <stdexcept> <string> <string_view> <thread> <utility> <variant> <vector>)

function(_nd_use_test_headers name)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        return()
    endif()
    get_property(first GLOBAL PROPERTY ND_TEST_WITH_HEADERS)
    if(first)
        target_precompile_headers(${name} REUSE_FROM ${first})
    else()
        target_precompile_headers(${name} PRIVATE ${nd_test_headers})
        set_property(GLOBAL PROPERTY ND_TEST_WITH_HEADERS ${name})
    endif()
endfunction()

function(nd_test name)
    cmake_parse_arguments(ARG "SHIPPED" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gmock nd_warnings)
    if(ARG_SHIPPED)
        target_link_libraries(${name} PRIVATE nd GTest::gtest_main)
    else()
        target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src)
        target_link_libraries(${name} PRIVATE nd_test_support)
        _nd_use_test_headers(${name})
    endif()
    # Tests are built to find faults, not to run fast: less optimising keeps the gate short.
    target_compile_options(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O0>)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300 ENVIRONMENT_MODIFICATION "${nd_test_environment}")
endfunction()
