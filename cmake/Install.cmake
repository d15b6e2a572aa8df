# What `cmake --install` puts where: the libraries with headers, a CMake package and pkg-config
# files; the programs with their manual pages. Components: Runtime, Development, Tools, Gateway.
include(GNUInstallDirs)

set(INFRASTRUCTURE_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

# infrastructure_install_tool(TARGET [COMPONENT]): the program, and docs/man/TARGET.1. Outside the system's own
# folders, the program finds the libraries by a path relative to itself.
function(infrastructure_install_tool target)
  if(NOT INFRASTRUCTURE_INSTALL)
    return()
  endif()
  set(component Tools ${ARGN})
  list(POP_BACK component component)
  set(page ${PROJECT_SOURCE_DIR}/docs/man/${target}.1)
  if(NOT EXISTS ${page})
    message(FATAL_ERROR "${target} is installed and has no manual page ${page}")
  endif()
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
  endif()
  install(TARGETS ${target} RUNTIME COMPONENT ${component})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
endfunction()

# The libraries, and all that another project needs to build with them.
function(infrastructure_install_library)
  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/infrastructure)
  install(TARGETS infrastructure EXPORT infrastructure)
  foreach(area IN LISTS INFRASTRUCTURE_AREAS)
    install(TARGETS infrastructure_${area} EXPORT infrastructure
            LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development
            ARCHIVE COMPONENT Development
            FILE_SET HEADERS COMPONENT Development)
  endforeach()
  install(EXPORT infrastructure NAMESPACE infrastructure:: FILE infrastructureTargets.cmake
          DESTINATION ${package_dir} COMPONENT Development)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/infrastructure.7
          DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT Development)

  include(CMakePackageConfigHelpers)
  get_target_property(type infrastructure_core TYPE)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
  configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/infrastructureConfig.cmake.in
    ${generated}/infrastructureConfig.cmake INSTALL_DESTINATION ${package_dir})
  write_basic_package_version_file(${generated}/infrastructureConfigVersion.cmake
                                   COMPATIBILITY SameMinorVersion)
  install(FILES ${generated}/infrastructureConfig.cmake
                ${generated}/infrastructureConfigVersion.cmake
          DESTINATION ${package_dir} COMPONENT Development)

  # A file for each library, and one for all.
  if(type STREQUAL STATIC_LIBRARY)
    set(static_requires ", spdlog")
    set(static_libs " -lsensors")
    set(static_store_libs " -lsqlite3")
  endif()
  infrastructure_install_pkg_config(
    core "Qt5Core >= 5.15, fmt >= 9${static_requires}" "-linfrastructure_core")
  infrastructure_install_pkg_config(
    media "infrastructure-core = ${PROJECT_VERSION}, Qt5Network >= 5.15" "-linfrastructure_media")
  infrastructure_install_pkg_config(link "infrastructure-media = ${PROJECT_VERSION}"
                                    "-linfrastructure_link")
  infrastructure_install_pkg_config(store "infrastructure-link = ${PROJECT_VERSION}"
                                    "-linfrastructure_store${static_store_libs}")
  infrastructure_install_pkg_config(board "infrastructure-core = ${PROJECT_VERSION}"
                                    "-linfrastructure_board${static_libs}")
  infrastructure_install_pkg_config(
    "" "infrastructure-store = ${PROJECT_VERSION}, infrastructure-board = ${PROJECT_VERSION}" "")
endfunction()

# infrastructure_install_pkg_config(AREA REQUIRES LIBS): infrastructure-AREA.pc. It finds its folders
# relative to itself, so that the tree may be installed or unpacked anywhere.
function(infrastructure_install_pkg_config area requires libs)
  file(RELATIVE_PATH prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" prefix "${prefix}")
  string(REGEX REPLACE "-$" "" name "infrastructure-${area}")
  set(file ${CMAKE_CURRENT_BINARY_DIR}/generated/${name}.pc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/infrastructure.pc.in ${file} @ONLY)
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endfunction()
