# SPDX-License-Identifier: BSL-1.0
# What a user of an installed copy gets: the library, its header, a CMake package and a
# pkg-config file. The components are the packages that a distribution makes of it: `library` for
# what programs run with, `development` for what they are built with.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/RegexClass)

install(TARGETS RegexClass EXPORT RegexClassTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
install(FILES
  ${PROJECT_SOURCE_DIR}/include/RegularExpression.hpp
  ${PROJECT_BINARY_DIR}/include/regexclass_export.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT RegexClassTargets NAMESPACE RegexClass:: DESTINATION ${package_dir}
  COMPONENT development)

# What a static library leaves to the program to link.
set(static_hyperscan OFF)
set(static_icu OFF)
set(static_requires)
if(REGEXCLASS_HYPERSCAN AND NOT REGEXCLASS_SHARED)
  set(static_hyperscan ON)
  list(APPEND static_requires libhs)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/FindHyperscan.cmake
    DESTINATION ${package_dir} COMPONENT development)
endif()
if(REGEXCLASS_ICU AND NOT REGEXCLASS_SHARED)
  set(static_icu ON)
  list(APPEND static_requires icu-i18n icu-uc)
endif()
if(static_requires)
  list(JOIN static_requires " " static_requires)
  set(pkgconfig_static_requires "Requires: ${static_requires}\n")
endif()
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/RegexClassConfig.cmake.in
  ${PROJECT_BINARY_DIR}/RegexClassConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/RegexClassConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/RegexClassConfig.cmake
  ${PROJECT_BINARY_DIR}/RegexClassConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/FindBoostHeaders.cmake
  DESTINATION ${package_dir} COMPONENT development)

if(NOT REGEXCLASS_SHARED)
  set(pkgconfig_static_cflags " -DREGEXCLASS_STATIC_DEFINE")
endif()
# There is no pkg-config file of Boost's headers to be required. Those of a cross compiler lie elsewhere.
get_filename_component(boost_includedir ${BoostHeaders_INCLUDE_DIR} ABSOLUTE)
if(CMAKE_CROSSCOMPILING)
  set(boost_includedir "\${includedir}")
elseif(NOT boost_includedir IN_LIST CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
  set(pkgconfig_boost_cflags " -I\${boost_includedir}")
endif()
# The prefix is found from where the file lies, so that a copied tree keeps working.
file(RELATIVE_PATH pkgconfig_prefix
  /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pkgconfig_prefix "${pkgconfig_prefix}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/regexclass.pc.in
  ${PROJECT_BINARY_DIR}/regexclass.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/regexclass.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
