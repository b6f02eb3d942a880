# Debian packages, one for each install component: `cpack --preset package` behind a build of that
# preset leaves them in build/package.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_CONTACT "RegexClass maintainers")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
# Whatever the umask of who builds.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Finds what the binaries need; the library itself comes by the dependencies of components.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libregexclass${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libregexclass-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libboost1.81-dev | libboost-dev (>= 1.76)")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME regexclass)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)

include(CPack)
cpack_add_component(library
  DESCRIPTION "The shared library.")
cpack_add_component(development DEPENDS library
  DESCRIPTION "Development files: the header, a CMake package and a pkg-config file.")
cpack_add_component(tool DEPENDS library
  DESCRIPTION "A command line that matches, searches, splits and rewrites text and files.")
