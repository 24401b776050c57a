// The host of the benchmarks: every request is answered with the same bytes, on the calling thread, at once.
// Nothing is recorded, so that what is measured is the module. Texts and symbols are converted by the real
// host services' functions. Tests use tests/scripted_host instead.
#pragma once

#include <string>
#include <vector>

namespace instant_host {

/// The body of every answer from now on. Callable while services run.
void SetAnswer(std::string body);

/// The watch list that is told to whoever attaches from now on.
void SetWatchList(std::vector<std::wstring> symbols);

}  // namespace instant_host
