# SPDX-License-Identifier: BSL-1.0
# For Windows, one archive of all, with the documents, and the tool's manual as a page for browsers
# where there is what makes one.
if(WIN32)
  install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
  # What has come into the tool from others.
  foreach(package libcli11-dev nlohmann-json3-dev mingw-w64-x86-64-dev g++-mingw-w64-x86-64-posix)
    install(FILES /usr/share/doc/${package}/copyright RENAME ${package}
      DESTINATION ${CMAKE_INSTALL_DOCDIR}/licences OPTIONAL)
  endforeach()
  find_program(MANDOC mandoc)
  if(MANDOC)
    set(manual ${PROJECT_BINARY_DIR}/regexclass.html)
    execute_process(COMMAND ${MANDOC} -T html tools/regexclass.1 OUTPUT_FILE ${manual}
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
  endif()
  set(CPACK_GENERATOR ZIP)
  set(CPACK_STRIP_FILES ON)
  include(CPack)
  return()
endif()

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
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libregexclass-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libboost-dev | libboost1.81-dev")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME regexclass)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libregexclass-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)

# What Debian's policy wants in a package beside its files. Only there: an installation by hand has
# no packages to be described.
function(regexclass_debian_files component package)
  set(directory ${PROJECT_BINARY_DIR}/debian/${package})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${directory}/changelog @ONLY)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/overrides.in ${directory}/overrides @ONLY)
  if(component STREQUAL "library")
    file(READ ${PROJECT_SOURCE_DIR}/cmake/debian/overrides-library more)
    file(APPEND ${directory}/overrides "${more}")
  endif()
  execute_process(COMMAND gzip -9nf ${directory}/changelog COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${directory}/changelog.gz
    DESTINATION share/doc/${package} COMPONENT ${component})
  install(FILES ${directory}/overrides RENAME ${package}
    DESTINATION share/lintian/overrides COMPONENT ${component})
endfunction()

if(REGEXCLASS_DEBIAN_PACKAGES)
  regexclass_debian_files(library ${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME})
  regexclass_debian_files(development ${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME})
  regexclass_debian_files(tool ${CPACK_DEBIAN_TOOL_PACKAGE_NAME})
  set(development_docs share/doc/${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME})
  install(DIRECTORY docs/ DESTINATION ${development_docs} COMPONENT development)
  install(DIRECTORY examples DESTINATION ${development_docs} COMPONENT development
    FILES_MATCHING PATTERN "*.cpp")
  if(DOXYGEN_FOUND)
    regexclass_debian_files(documentation ${CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME})
    install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/site/ COMPONENT documentation OPTIONAL
      DESTINATION share/doc/${CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME}/html)
  endif()
  # Behind the tool's own rule, which has put it there.
  install(CODE [[execute_process(COMMAND gzip -9nf
    "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/man/man1/regexclass.1")]] COMPONENT tool)
endif()

include(CPack)
cpack_add_component(library
  DESCRIPTION "The shared library.")
cpack_add_component(development DEPENDS library
  DESCRIPTION "Development files: the header, a CMake package and a pkg-config file.
Tested on Debian 12, 13 and unstable, with GCC 12 to 16 and Boost 1.81 to 1.92.")
cpack_add_component(tool DEPENDS library
  DESCRIPTION "A command line that matches, searches, splits and rewrites text and files.")
if(REGEXCLASS_DEBIAN_PACKAGES AND DOXYGEN_FOUND)
  cpack_add_component(documentation
    DESCRIPTION "The documents as a site: guide, reference, pages on single subjects.")
endif()
