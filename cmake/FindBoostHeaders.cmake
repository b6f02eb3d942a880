# SPDX-License-Identifier: BSL-1.0
# The headers of Boost: the target Boost::headers, by Boost's own configuration, or where there are
# headers alone, by these.
if(NOT TARGET Boost::headers)
  find_package(Boost ${BoostHeaders_FIND_VERSION} CONFIG QUIET)
endif()
if(TARGET Boost::headers)
  get_target_property(BoostHeaders_INCLUDE_DIR Boost::headers INTERFACE_INCLUDE_DIRECTORIES)
else()
  find_path(BoostHeaders_INCLUDE_DIR boost/version.hpp)
  mark_as_advanced(BoostHeaders_INCLUDE_DIR)
endif()

if(EXISTS ${BoostHeaders_INCLUDE_DIR}/boost/version.hpp)
  file(STRINGS ${BoostHeaders_INCLUDE_DIR}/boost/version.hpp BoostHeaders_VERSION
    REGEX "^#define BOOST_LIB_VERSION ")
  string(REGEX REPLACE ".*\"(.*)\".*" "\\1" BoostHeaders_VERSION "${BoostHeaders_VERSION}")
  string(REPLACE "_" "." BoostHeaders_VERSION "${BoostHeaders_VERSION}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(BoostHeaders
  REQUIRED_VARS BoostHeaders_INCLUDE_DIR VERSION_VAR BoostHeaders_VERSION)

if(BoostHeaders_FOUND AND NOT TARGET Boost::headers)
  add_library(Boost::headers INTERFACE IMPORTED)
  set_target_properties(Boost::headers PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${BoostHeaders_INCLUDE_DIR}")
endif()
