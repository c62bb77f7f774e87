# What users get: the targets nd::nd (C) and nd::engine (in-process C++), under the same names in the build tree, and their
# installation with a CMake package (find_package(nd)), pkg-config files, manual pages and the nd tool.
include(CMakePackageConfigHelpers)

# Headers of the platform that the public C++ headers include; installed under include/nd/platform, out of C users' way.
set(ND_ENGINE_PLATFORM foundation/core/except foundation/usm)

# Errors of the library pass through C callers as exceptions, so whoever uses nd::nd is compiled with unwind tables.
target_compile_options(nd INTERFACE -fexceptions)
add_library(nd::nd ALIAS nd)

add_library(nd_engine INTERFACE)
target_link_libraries(nd_engine INTERFACE nd Boost::headers)
target_compile_features(nd_engine INTERFACE cxx_std_20)
foreach(library IN LISTS ND_ENGINE_PLATFORM)
    target_include_directories(nd_engine INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src/platform/${library}/include>)
    install(DIRECTORY src/platform/${library}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nd/platform
            FILES_MATCHING PATTERN "*.hpp")
endforeach()
target_include_directories(nd_engine INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/nd/platform>)
set_target_properties(nd_engine PROPERTIES EXPORT_NAME engine)
add_library(nd::engine ALIAS nd_engine)

install(TARGETS nd nd_engine EXPORT nd-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY src/api/include/nd ${PROJECT_BINARY_DIR}/src/api/include/nd DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp" PATTERN "*.f90")
install(FILES tools/nd/include/nd/host.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nd)
install(DIRECTORY ${PROJECT_BINARY_DIR}/src/api/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)

file(RELATIVE_PATH library_from_tool ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(nd_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_tool}")
install(TARGETS nd_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/nd)
install(EXPORT nd-targets NAMESPACE nd:: DESTINATION ${package_dir})
configure_package_config_file(cmake/nd-config.cmake.in ${PROJECT_BINARY_DIR}/nd-config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/nd-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/nd-config.cmake ${PROJECT_BINARY_DIR}/nd-config-version.cmake
              cmake/nd_add_addon.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(module nd nd-engine)
    configure_file(cmake/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
