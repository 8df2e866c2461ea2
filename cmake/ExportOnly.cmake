# Limits what a shared library exports to one C++ namespace.
#
#   export_only(<target> <namespace>)
function(export_only target exported_namespace)
  if(NOT CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
    return()  # elsewhere only what is marked leaves a library
  endif()
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/exported_symbols.map.in ${script} @ONLY)
  target_link_options(${target} PRIVATE LINKER:--version-script=${script})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()
