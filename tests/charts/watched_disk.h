// Stands between the program and the kernel for calls that change files: records them, or makes them fail. It
// sees the calls of the C library's functions by all code of the process, files below one directory only.
// Thread-safe.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace watched_disk {

/// One call that succeeded.
struct Operation {
  enum class Kind { kCreate, kWrite, kTruncate, kSync, kRename, kRemove, kMakeDirectory };

  Kind kind = Kind::kCreate;
  std::string path;        ///< of the file or directory
  std::string target;      ///< renames: the new path
  std::size_t offset = 0;  ///< writes: where; truncations: the new size
  std::string bytes;       ///< writes: what
};

/// Records from now on what happens below `directory`, an absolute path without symbolic links.
void Record(const std::string& directory);
/// Ends the recording.
[[nodiscard]] std::vector<Operation> TakeRecord();

/// What fails.
enum class Failing {
  kOnce,      ///< one operation, reading included
  kFromThen,  ///< it and all that follow, reading included
  kWriting,   ///< it and all that follow, save reading, flushing and removing: a full disk
  kChanging,  ///< it and all that follow, save reading: a disk that became read-only
};

/// Lets operation `number` (from 0) below `directory` fail with `error`, an errno.
void Fail(const std::string& directory, Failing failing, int number, int error);
/// Ends the failing. True when any operation failed.
bool StopFailing();

}  // namespace watched_disk
