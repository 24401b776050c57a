// LoadSettings of the application header: csm.ini, the key file and the environment.
#include "settings.h"

#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/x509_vfy.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string_view>

#include "ascii.h"
#include "descriptor.h"
#include "files.h"
#include "log.h"

namespace stock_host {
namespace {

constexpr std::size_t kLargestKeyFile = 4096;
constexpr std::size_t kLargestIni = 256U << 10;

// One text setting: its key in csm.ini ("" if it has none there), its environment variable, its member.
struct TextSetting {
  std::string_view ini;
  const char* environment;
  std::string Settings::*member;
};
constexpr std::array<TextSetting, 11> kTexts{{
    {"server/api_root", "CSM_API_ROOT", &Settings::api_root},
    {"server/static_root", "CSM_STATIC_ROOT", &Settings::static_root},
    {"server/history_root", "CSM_HISTORY_ROOT", &Settings::history_root},
    {"server/proxy", "CSM_PROXY", &Settings::proxy},
    {"server/ca_file", "CSM_CA_FILE", &Settings::ca_file},
    {"directories/data", "CSM_DATA_DIRECTORY", &Settings::data_directory},
    {"directories/log", "CSM_LOG_DIRECTORY", &Settings::log_directory},
    {"log/level", "CSM_LOG_LEVEL", &Settings::log_level},
    {"", "CSM_KEY_ID", &Settings::key_id},
    {"", "CSM_KEY", &Settings::key},
    {"", "CSM_CONFIG_DIRECTORY", &Settings::config_directory},
}};

std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

void TakeFlag(const std::string& text, const std::string& name, bool& flag, SettingsReview& review) {
  const bool yes = text == "1" || text == "true" || text == "yes" || text == "on";
  const bool no = text == "0" || text == "false" || text == "no" || text == "off";
  if (yes || no) {
    flag = yes;
  } else if (!text.empty()) {
    review.odd_flags.push_back(name + "=" + text);
  }
}

// Calls `take` with "section/name" and value of each line. A value is everything behind the "=", without
// spaces and one pair of double quotes around it: no character of it means anything.
template <class Take>
void ReadIni(const std::string& text, SettingsReview& review, const Take& take) {
  std::string section;
  std::istringstream lines(text.starts_with("\xef\xbb\xbf") ? text.substr(3) : text);
  int number = 0;
  for (std::string whole; std::getline(lines, whole);) {
    ++number;
    const std::string_view line = Trimmed(whole);
    const std::size_t equals = line.find('=');
    if (line.empty() || line.front() == '#' || line.front() == ';') {
      continue;
    }
    if (line.front() == '[' && line.back() == ']') {
      section = std::string(Trimmed(line.substr(1, line.size() - 2))) + "/";
    } else if (equals == std::string_view::npos || equals == 0) {
      review.odd_lines.push_back(std::to_string(number));
    } else {
      std::string_view value = Trimmed(line.substr(equals + 1));
      if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        value = value.substr(1, value.size() - 2);
      }
      take(section + std::string(Trimmed(line.substr(0, equals))), std::string(value));
    }
  }
}

void TakeIni(Settings& values, SettingsReview& review) {
  const auto text = ReadWhole(review.ini, kLargestIni);
  review.has_ini = text || errno != ENOENT;
  if (!text) {
    review.trouble = review.has_ini ? SystemText(errno) : std::string();
    return;
  }
  ReadIni(*text, review, [&](const std::string& key, const std::string& value) {
    const auto* const setting =
        std::find_if(kTexts.begin(), kTexts.end(), [&](const TextSetting& one) { return key == one.ini; });
    if (setting != kTexts.end()) {
      values.*setting->member = value;
    } else if (key == "log/stderr") {
      TakeFlag(value, key, values.log_to_stderr, review);
    } else if (key == "key/file") {
      review.key_file = value;
    } else {
      (key == "key/key" || key == "server/key" ? review.misplaced_keys : review.unknown_keys).push_back(key);
    }
  });
}

void TakeEnvironment(Settings& values, SettingsReview& review) {
  for (const char* const* variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text = *variable;
    if (!text.starts_with("CSM_")) {
      continue;
    }
    const std::string name(text.substr(0, text.find('=')));
    const std::string value = Environment(name.c_str());
    const auto* const setting = std::find_if(kTexts.begin(), kTexts.end(),
                                             [&](const TextSetting& one) { return name == one.environment; });
    if (setting != kTexts.end()) {
      values.*setting->member = value.empty() ? values.*setting->member : value;
    } else if (name == "CSM_LOG_TO_STDERR") {
      TakeFlag(value, name, values.log_to_stderr, review);
    } else if (name == "CSM_KEY_FILE") {
      review.key_file = value.empty() ? review.key_file : value;
    } else {
      review.unknown_variables.push_back(name);
    }
  }
}

// A file that somebody has named must be there, the usual one need not.
void TakeKeyFile(const std::string& config, Settings& values, SettingsReview& review) {
  const bool named = !review.key_file.empty();
  if (!named) {
    review.key_file = config + "/key";
  }
  if ((!values.key.empty() && !values.key_id.empty()) ||
      (!named && (config.empty() || access(review.key_file.c_str(), F_OK) != 0))) {
    return;
  }
  std::string key_id;
  std::string key;
  if (!ReadKeyFile(review.key_file, key_id, key, review.key_file_trouble)) {
    return;
  }
  review.key_file_ignored = !values.key.empty() || (!values.key_id.empty() && values.key_id != key_id);
  if (!review.key_file_ignored) {
    values.key_id = key_id;
    values.key = key;
  }
}

}  // namespace

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    joined += (joined.empty() ? "" : ", ") + text;
  }
  return joined;
}

const char* RefusalOfKeyFile(mode_t mode, uid_t owner, uid_t reader) {
  if (!S_ISREG(mode)) {
    return "is no regular file";
  }
  if (owner != reader && owner != 0) {
    return "belongs to another user; it is not read";
  }
  if ((mode & 077U) != 0) {
    return "can be read or written by others; it is not read. Its mode must be 0600";
  }
  return nullptr;
}

bool ReadKeyFile(const std::string& path, std::string& key_id, std::string& key, std::string& error) {
  const auto failed = [&](const std::string& what) {
    error = "the key file \"" + path + "\" " + what;
    return false;
  };
  const Descriptor file = OpenFile(path, O_RDONLY);
  struct stat info {};
  if (!file.good() || fstat(file.get(), &info) != 0) {
    return failed("cannot be read: " + SystemText(errno));
  }
  if (const char* const refusal = RefusalOfKeyFile(info.st_mode, info.st_uid, geteuid())) {
    return failed(refusal);
  }
  const auto text = ReadWhole(file.get(), kLargestKeyFile);
  if (!text) {
    return failed("cannot be read, or is larger than a key file can be");
  }
  std::string found_id;
  std::string found_key;
  std::istringstream lines(*text);
  for (std::string whole; std::getline(lines, whole);) {
    const std::string_view line = Trimmed(whole);
    const std::size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string_view::npos) {
      continue;
    }
    const std::string_view name = Trimmed(line.substr(0, equals));
    if (name == "key_id") {
      found_id = Trimmed(line.substr(equals + 1));
    } else if (name == "key") {
      found_key = Trimmed(line.substr(equals + 1));
    }
  }
  if (found_id.empty() || found_key.empty()) {
    return failed(R"(needs a line "key_id = ..." and a line "key = ...")");
  }
  key_id = found_id;
  key = found_key;
  return true;
}

std::string TroubleOfCertificates(const std::string& file) {
  if (file.empty()) {
    return {};
  }
  std::error_code ignored;
  X509_STORE* const store = X509_STORE_new();
  // Nothing but a regular file: a pipe would be waited for.
  const bool good = store != nullptr && std::filesystem::is_regular_file(file, ignored) &&
                    X509_STORE_load_file(store, file.c_str()) == 1;
  X509_STORE_free(store);
  ERR_clear_error();
  return good ? std::string()
              : "the file of trusted certificates \"" + file + "\" cannot be read, or holds no certificate";
}

SettingsFound FindSettings() {
  SettingsFound found;
  std::string config = Environment("CSM_CONFIG_DIRECTORY");
  config = config.empty() ? DefaultConfigDirectory() : config;
  found.review.ini = config.empty() ? "csm.ini" : config + "/csm.ini";
  if (!config.empty()) {
    TakeIni(found.values, found.review);
  }
  TakeEnvironment(found.values, found.review);
  TakeKeyFile(config, found.values, found.review);
  found.review.key_in_environment = !Environment("CSM_KEY").empty();
  return found;
}

Settings LoadSettings() {
  SettingsFound found = FindSettings();
  const SettingsReview& review = found.review;
  const std::string ini = "settings: \"" + review.ini + "\" ";
  const auto say = [](bool wrong, Severity severity, const std::string& text) {
    if (wrong) {
      Log(severity, text);
    }
  };
  say(!review.trouble.empty(), Severity::kError, ini + "cannot be read: " + review.trouble);
  say(!review.odd_lines.empty(), Severity::kWarning,
      ini + "has lines that mean nothing: " + Joined(review.odd_lines));
  say(!review.unknown_keys.empty(), Severity::kWarning,
      ini + "has keys that mean nothing: " + Joined(review.unknown_keys));
  say(!review.misplaced_keys.empty(), Severity::kWarning,
      ini + "holds a key that is not read; it belongs in the key file");
  say(!review.odd_flags.empty(), Severity::kWarning,
      "settings: neither true nor false: " + Joined(review.odd_flags));
  say(!review.key_file_trouble.empty(), Severity::kError, "settings: " + review.key_file_trouble);
  say(review.key_file_ignored, Severity::kWarning,
      "settings: the key file is not used; the environment names another key id, or a key");
  return std::move(found.values);
}

}  // namespace stock_host
