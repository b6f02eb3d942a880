// SPDX-License-Identifier: BSL-1.0
// The functions of the module that the page loads. Memory that begins a call is the caller's, who
// gets it from malloc; the answer stays until the next call.
#include <emscripten/emscripten.h>

#include "Bridge.hpp"

namespace {

playground::Answer answer;

}  // namespace

extern "C" {

/// Runs the request; the functions below tell where its answer is.
EMSCRIPTEN_KEEPALIVE void Run(const char* request, std::size_t size) {
  answer = {};
  answer = playground::Run(std::string(request, size));
}

EMSCRIPTEN_KEEPALIVE const char* Json() { return answer.json.data(); }
EMSCRIPTEN_KEEPALIVE std::size_t JsonSize() { return answer.json.size(); }
EMSCRIPTEN_KEEPALIVE const std::int32_t* Spans() { return answer.spans.data(); }
EMSCRIPTEN_KEEPALIVE std::size_t SpansSize() { return answer.spans.size(); }
}
