// The user's settings: csm.ini, the environment and the key file, read in one pass that gives the values and
// what is to be said about them. No state, callable from any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "stock_host.h"

namespace stock_host {

/// Reads "key_id = ..." and "key = ..." from a file that is the user's own and that nobody else may read or
/// write. False with `error` when it is not so or cannot be read; the key is never part of `error`.
[[nodiscard]] bool ReadKeyFile(const std::string& path, std::string& key_id, std::string& key,
                               std::string& error);

/// What there is to say about csm.ini, the environment and the key file.
struct SettingsReview {
  std::string ini;  ///< path of csm.ini
  bool has_ini = false;
  std::string trouble;                         ///< why csm.ini cannot be read; empty: nothing is wrong
  std::vector<std::string> odd_lines;          ///< numbers of lines of csm.ini that are nothing known
  std::vector<std::string> unknown_keys;       ///< of csm.ini
  std::vector<std::string> misplaced_keys;     ///< of csm.ini: a secret that is not read there
  std::vector<std::string> unknown_variables;  ///< CSM_* that no setting has
  std::vector<std::string> odd_flags;          ///< neither true nor false, with their value
  std::string key_file;                        ///< path of the key file
  std::string key_file_trouble;                ///< why it was not read, though it should have been
  bool key_file_ignored = false;               ///< read, and the environment says otherwise
  bool key_in_environment = false;
};

struct SettingsFound {
  Settings values;
  SettingsReview review;
};
[[nodiscard]] SettingsFound FindSettings();

/// Why `reader` does not read a key file of this mode and owner; null when nothing is against it. The owner
/// may be the superuser.
[[nodiscard]] const char* RefusalOfKeyFile(mode_t mode, uid_t owner, uid_t reader);

/// Why no server can be trusted with the certificates in `file`; empty when nothing is wrong with it, and for
/// an empty name.
[[nodiscard]] std::string TroubleOfCertificates(const std::string& file);

/// "one, two, three"
[[nodiscard]] std::string Joined(const std::vector<std::string>& texts);

}  // namespace stock_host
