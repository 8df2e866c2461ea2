include(CMakePackageConfigHelpers)

# Makes an installed library findable: a CMake package and a pkg-config file, both independent of where the
# tree is moved to. The component "dev" holds all of it.
#
#   install_library_package(<CMake package> <pkg-config module>)
function(install_library_package package module)
  set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${package})
  install(EXPORT ${package}-targets NAMESPACE zant:: DESTINATION ${cmake_dir} COMPONENT dev)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/${package}-config.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/${package}-config.cmake INSTALL_DESTINATION ${cmake_dir})
  # Minor versions only add; the SONAME says the same.
  write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/${package}-config-version.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/${package}-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/${package}-config-version.cmake
    DESTINATION ${cmake_dir} COMPONENT dev)

  set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_dir} /)
  string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${module}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${module}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${module}.pc DESTINATION ${pkgconfig_dir} COMPONENT dev)
endfunction()
