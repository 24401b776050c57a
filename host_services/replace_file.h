// Replacing a file as a whole: after a crash at any moment the path holds the old bytes or the new ones. No
// state.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace stock_host {

/// Told after each step; a test ends the process there.
enum class ReplaceStep { kCreated, kWritten, kSynced, kRenamed };

/// Writes `bytes` to a new file beside `path`, flushes it to the disk, renames it to `path` and flushes the
/// directory. False, with `error`, when a step fails; the new file is then removed and `path` is as it was.
[[nodiscard]] bool ReplaceFile(const std::string& path, std::string_view bytes, std::string& error,
                               const std::function<void(ReplaceStep)>& told = {});

/// True for the name of a new file that was not renamed yet.
[[nodiscard]] bool IsLeftoverName(std::string_view name);

/// Removes a new file that a crash has left. False when a running replacement, of any process, is at it.
bool RemoveLeftover(const std::string& path);

}  // namespace stock_host
