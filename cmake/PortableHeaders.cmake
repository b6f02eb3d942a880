# SPDX-License-Identifier: BSL-1.0
# For a cross compiler: of the build system's headers only those that are for every system, by a
# folder that has nothing else.
set(headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers})
foreach(name boost CLI nlohmann)
  if(EXISTS /usr/include/${name} AND NOT EXISTS ${headers}/${name})
    file(CREATE_LINK /usr/include/${name} ${headers}/${name} SYMBOLIC)
  endif()
endforeach()
# The packages of these headers lead to the folder of all headers.
foreach(package CLI11 nlohmann_json)
  file(WRITE ${headers}/cmake/${package}Config.cmake
    "add_library(${package}::${package} INTERFACE IMPORTED)\n"
    "target_include_directories(${package}::${package} INTERFACE ${headers})\n")
  file(WRITE ${headers}/cmake/${package}ConfigVersion.cmake "set(PACKAGE_VERSION_COMPATIBLE TRUE)\n")
  set(${package}_DIR ${headers}/cmake)
endforeach()
set(BoostHeaders_INCLUDE_DIR ${headers} CACHE PATH "")
