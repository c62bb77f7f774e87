# nd_test(NAME SOURCES... [SHIPPED] [LINK lib...]): one GoogleTest program, registered with ctest as one test.
# By default it links nd-testing whole, so hidden classes and test hooks are within reach; SHIPPED links libnd as users get it.
find_package(GTest REQUIRED)

# Tests ask for more memory than there is, and sanitizers end such a program unless they are told not to.
set(nd_test_environment
    "ASAN_OPTIONS=path_list_append:allocator_may_return_null=1;TSAN_OPTIONS=path_list_append:allocator_may_return_null=1")

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
    endif()
    # Tests are built to find faults, not to run fast: less optimising keeps the gate short.
    target_compile_options(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O0>)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300 ENVIRONMENT_MODIFICATION "${nd_test_environment}")
endfunction()
