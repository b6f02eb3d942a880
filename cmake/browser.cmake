# SPDX-License-Identifier: BSL-1.0
# Builds for browsers, as WebAssembly, with Debian's Emscripten.
# Exceptions of WebAssembly itself: those that go through JavaScript take six times as long.
set(CMAKE_CXX_FLAGS_INIT -fwasm-exceptions)
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)

include(${CMAKE_CURRENT_LIST_DIR}/PortableHeaders.cmake)
