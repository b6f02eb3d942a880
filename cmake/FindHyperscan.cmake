# SPDX-License-Identifier: BSL-1.0
# Hyperscan, or Vectorscan, which has the same interface: the target Hyperscan::Hyperscan.
find_path(Hyperscan_INCLUDE_DIR hs.h PATH_SUFFIXES hs)
find_library(Hyperscan_LIBRARY hs)
mark_as_advanced(Hyperscan_INCLUDE_DIR Hyperscan_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Hyperscan
  REQUIRED_VARS Hyperscan_LIBRARY Hyperscan_INCLUDE_DIR)

if(Hyperscan_FOUND AND NOT TARGET Hyperscan::Hyperscan)
  add_library(Hyperscan::Hyperscan UNKNOWN IMPORTED)
  set_target_properties(Hyperscan::Hyperscan PROPERTIES
    IMPORTED_LOCATION ${Hyperscan_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${Hyperscan_INCLUDE_DIR})
endif()
