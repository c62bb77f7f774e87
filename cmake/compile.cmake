# How every target of libnd is compiled: warnings, sanitizers, visibility, compiler cache, and nd_object_library().

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(CCACHE ccache)
if(CCACHE AND NOT ND_COVERAGE)
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
    # Without these two ccache keeps no source that uses a precompiled header.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()

# Warnings are errors. The named exceptions are false alarms of g++ 12 on std::string operations and on inlined vectors.
add_library(nd_warnings INTERFACE)
target_compile_options(nd_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
    $<$<CXX_COMPILER_ID:GNU>:-Wno-error=restrict -Wno-error=stringop-overflow -Wno-error=array-bounds
                             -Wno-error=maybe-uninitialized -Wno-error=stringop-overread>)

# C code and stubs carry unwind tables: an exception of the library passes through them to the caller.
add_compile_options(-fexceptions -fno-semantic-interposition -ffp-contract=off -fno-omit-frame-pointer
                    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(ND_SANITIZE)
    add_compile_options(-fsanitize=${ND_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ND_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        add_compile_options(-fno-sanitize=vptr)
    endif()
    add_compile_definitions(ND_SANITIZED=1)
endif()
if(ND_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link) # the fuzzer sees which branches an input takes
endif()
if(ND_TORTURE)
    add_compile_definitions(ND_TORTURE=1)
endif()
if(ND_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
if(ND_LTO AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(ND_LTO_FLAGS -flto=auto -ffat-lto-objects) # fat: the unit tests link the same objects without the optimiser
endif()

# nd_object_library(NAME SOURCES... [INCLUDE dir...] [LINK lib...] [TEST_HOOKS source...])
# One group of the library's objects. All groups are linked once into libnd and once into nd-testing; the sources under
# TEST_HOOKS go into nd-testing only, so that the library as shipped has no setter that a test needs.
function(nd_object_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;INCLUDE;LINK;TEST_HOOKS" ${ARGN})
    _nd_add_objects(${name} ND_OBJECT_LIBRARIES "${ARG_SOURCES}" "${ARG_INCLUDE}" "${ARG_LINK}")
    if(ARG_TEST_HOOKS)
        _nd_add_objects(${name}_test_hooks ND_TESTING_OBJECT_LIBRARIES "${ARG_TEST_HOOKS}" "${ARG_INCLUDE}" "${ARG_LINK}")
    endif()
endfunction()

# Inner loops are built for several instruction sets, one source each, told apart by the end of its name;
# foundation/core/cpu/instruction_set.hpp tells how one of them is chosen at run time.
set(ND_OPTIONS_OF_avx2 -mavx2)
set(ND_OPTIONS_OF_avx512 -mavx512f -mavx512bw -mavx512dq -mavx512vl -mprefer-vector-width=512)

function(_nd_add_objects name property sources include link)
    add_library(${name} OBJECT ${sources})
    foreach(source IN LISTS sources)
        if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64" AND source MATCHES "_(avx2|avx512)\\.cpp$")
            set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${ND_OPTIONS_OF_${CMAKE_MATCH_1}}")
        endif()
    endforeach()
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/src/api/include ${include})
    target_compile_options(${name} PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden ${ND_LTO_FLAGS})
    target_link_libraries(${name} PUBLIC ${link} PRIVATE nd_warnings)
    set_property(GLOBAL APPEND PROPERTY ${property} ${name})
endfunction()
