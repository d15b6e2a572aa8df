# Debian packages of the components: `cmake --workflow --preset package`, or `cpack -G DEB`
# in any build directory except that of a cross build, where the packager would look at this machine's
# architecture and libraries.
if(CMAKE_CROSSCOMPILING)
  return()
endif()
set(CPACK_PACKAGE_VENDOR "The maintainers")
set(CPACK_PACKAGE_CONTACT "The maintainers <maintainers@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Runtime Development Tools)
if(INFRASTRUCTURE_BUILD_EXAMPLES AND INFRASTRUCTURE_BUILD_GATEWAY)
  list(APPEND CPACK_COMPONENTS_ALL Gateway)
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/CompressManuals.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/infrastructure)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(runtime libinfrastructure${INFRASTRUCTURE_SOVERSION})
set(same_version "${runtime} (= ${PROJECT_VERSION})")
# The first line of a description is what lists of packages show; the rest follows it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "shared layer of a video instrument - libraries
The state tree, its mirrors and its store, packets and their links, records,
video, captions, IP media, PTP and the board.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libinfrastructure-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${same_version}, qtbase5-dev (>= 5.15), libfmt-dev (>= 9)")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "shared layer of a video instrument - development
Headers, a CMake package, pkg-config files and an overview page.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME infrastructure-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "shared layer of a video instrument - tools
A datacore server and its command-line client, a recorder of links, the board's
report, tools for payload identifiers, captions and frames, and the
verification host with its reference files.")

set(CPACK_DEBIAN_GATEWAY_PACKAGE_NAME infrastructure-gateway)
set(CPACK_DEBIAN_GATEWAY_PACKAGE_SECTION web)
set(CPACK_DEBIAN_GATEWAY_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_GATEWAY_DESCRIPTION "shared layer of a video instrument - gateway
The state of datacore servers for browsers, scripts and Prometheus, with its
page.")

include(CPack)
