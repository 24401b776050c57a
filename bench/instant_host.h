// The host of the benchmarks and of the fuzz targets that run whole services: every request is answered with
// the same bytes, on the calling thread, at once. Nothing is recorded, so that what is measured is the
// module. Texts and symbols are converted by the real host services' functions. Tests use tests/scripted_host
// instead.
#pragma once

#include <string>
#include <vector>

namespace instant_host {

/// The body of every answer from now on. Callable while services run.
void SetAnswer(std::string body);

/// The watch list that is told to whoever attaches from now on.
void SetWatchList(std::vector<std::wstring> symbols);

/// From now on a thread other than the caller's never comes back from its next request: what a service does
/// is what the caller asks it to. A program that holds threads ends by `exit`, without ending the services.
void HoldOtherThreads();

/// Threads that are held so far.
[[nodiscard]] int HeldThreads();

}  // namespace instant_host
