// Where the module's files live. Callable from any thread.
#pragma once

#include <string>

namespace stock_host {

/// $`variable`/csm when the variable holds an absolute path, else `fallback` below the user's home directory.
/// Empty when the user has none.
[[nodiscard]] std::string UserDirectory(const char* variable, const std::string& fallback);

[[nodiscard]] std::string DefaultDataDirectory();
[[nodiscard]] std::string DefaultLogDirectory();
[[nodiscard]] std::string DefaultConfigDirectory();

/// The root of all files of the module. The default one until it is set.
[[nodiscard]] std::string DataRoot();
void SetDataRoot(const std::string& directory);

/// Removes what interrupted downloads have left below the data root, unless another download is at it.
void SweepLeftovers();

}  // namespace stock_host
