# What `cmake --install` puts where: the library with headers, a CMake package and a pkg-config
# file; programs with their manual pages. Components: Runtime, Development, Tools.
include(GNUInstallDirs)

set(INFRASTRUCTURE_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

# infrastructure_install_tool(TARGET): the program, and docs/man/TARGET.1. It finds the library
# where both have been installed, unless that is the system's own place.
function(infrastructure_install_tool target)
  if(NOT INFRASTRUCTURE_INSTALL)
    return()
  endif()
  set(page ${PROJECT_SOURCE_DIR}/docs/man/${target}.1)
  if(NOT EXISTS ${page})
    message(FATAL_ERROR "${target} is installed and has no manual page ${page}")
  endif()
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
  endif()
  install(TARGETS ${target} RUNTIME COMPONENT Tools)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tools)
endfunction()

# The library, and all that another project needs to build with it.
function(infrastructure_install_library)
  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/infrastructure)
  install(TARGETS infrastructure EXPORT infrastructure
          LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development
          ARCHIVE COMPONENT Development
          FILE_SET HEADERS COMPONENT Development)
  install(EXPORT infrastructure NAMESPACE infrastructure:: FILE infrastructureTargets.cmake
          DESTINATION ${package_dir} COMPONENT Development)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/infrastructure.7
          DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT Development)

  include(CMakePackageConfigHelpers)
  get_target_property(type infrastructure TYPE)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
  configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/infrastructureConfig.cmake.in
    ${generated}/infrastructureConfig.cmake INSTALL_DESTINATION ${package_dir})
  write_basic_package_version_file(${generated}/infrastructureConfigVersion.cmake
                                   COMPATIBILITY SameMinorVersion)
  install(FILES ${generated}/infrastructureConfig.cmake
                ${generated}/infrastructureConfigVersion.cmake
          DESTINATION ${package_dir} COMPONENT Development)

  # Found from where the file is, so that the tree may be installed or unpacked anywhere.
  file(RELATIVE_PATH prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" prefix "${prefix}")
  if(type STREQUAL STATIC_LIBRARY)
    set(static_requires ", spdlog")
    set(static_libs " -lsensors")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/infrastructure.pc.in ${generated}/infrastructure.pc
                 @ONLY)
  install(FILES ${generated}/infrastructure.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT Development)
endfunction()
