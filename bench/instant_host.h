// The host of the benchmarks: every request is answered with the same bytes, on the calling thread, at once.
// Nothing is recorded, so that what is measured is the module. Tests use tests/scripted_host instead.
#pragma once

#include <string>

namespace instant_host {

/// The body of every answer from now on. Not thread-safe.
void SetAnswer(std::string body);

}  // namespace instant_host
