// The key file, apart from the rest of the configuration for the sake of its rules. No state, callable from
// any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace stock_host {

/// Reads "key_id = ..." and "key = ..." from a file that is the user's own and that nobody else may read or
/// write. False with `error` when it is not so or cannot be read; the key is never part of `error`.
[[nodiscard]] bool ReadKeyFile(const std::string& path, std::string& key_id, std::string& key,
                               std::string& error);

/// What `LoadSettings` makes of csm.ini and the environment, apart from the values.
struct SettingsReview {
  std::string ini;  ///< path of csm.ini
  bool has_ini = false;
  std::string trouble;                         ///< why csm.ini cannot be read; empty: nothing is wrong
  std::vector<std::string> unknown_keys;       ///< of csm.ini
  std::vector<std::string> misplaced_keys;     ///< of csm.ini: a secret that is not read there
  std::vector<std::string> unknown_variables;  ///< CSM_* that no setting has
  std::vector<std::string> odd_flags;          ///< neither true nor false, with their value
  std::string key_file;                        ///< path of the key file
  bool key_file_named = false;                 ///< by csm.ini or the environment, so that it must be there
  bool key_in_environment = false;
};
[[nodiscard]] SettingsReview ReviewSettings();

/// Why `reader` does not read a key file of this mode and owner; null when nothing is against it. The owner
/// may be the superuser.
[[nodiscard]] const char* RefusalOfKeyFile(mode_t mode, uid_t owner, uid_t reader);

}  // namespace stock_host
