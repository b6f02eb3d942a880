# SPDX-License-Identifier: BSL-1.0
# Builds for Windows x64 on Debian, with MinGW; the programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Of the system's headers only those that are for every system, by a folder that has nothing else.
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
set(Boost_NO_BOOST_CMAKE ON)
set(Boost_INCLUDE_DIR ${headers} CACHE PATH "")
