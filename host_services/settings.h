// The key file, apart from the rest of the configuration for the sake of its rules. No state, callable from
// any thread.
#pragma once

#include <sys/types.h>

#include <string>

namespace stock_host {

/// Reads "key_id = ..." and "key = ..." from a file that is the user's own and that nobody else may read or
/// write. False with `error` when it is not so or cannot be read; the key is never part of `error`.
[[nodiscard]] bool ReadKeyFile(const std::string& path, std::string& key_id, std::string& key,
                               std::string& error);

/// Why `reader` does not read a key file of this mode and owner; null when nothing is against it. The owner
/// may be the superuser.
[[nodiscard]] const char* RefusalOfKeyFile(mode_t mode, uid_t owner, uid_t reader);

}  // namespace stock_host
