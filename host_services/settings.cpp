// LoadSettings of the application header: csm.ini, the key file and the environment.
#include "settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <system_error>

#include "files.h"
#include "log.h"
#include "stock_host.h"

namespace stock_host {
namespace {

constexpr std::size_t kLargestKeyFile = 4096;

// One text setting: its key in csm.ini ("" if it has none there), its environment variable, its member.
struct TextSetting {
  const char* ini;
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

bool IsFlag(const std::string& text, bool& flag) {
  const bool yes = text == "1" || text == "true" || text == "yes" || text == "on";
  const bool no = text == "0" || text == "false" || text == "no" || text == "off";
  flag = yes || (flag && !no);
  return yes || no;
}

void ReadFlag(const std::string& text, const std::string& name, bool& flag) {
  if (!text.empty() && !IsFlag(text, flag)) {
    Log(Severity::kWarning, "settings: " + name + " is neither true nor false: " + text);
  }
}

// Empty when there is no such key. A value with commas is a list to the reader of ini files.
std::string IniText(const QSettings& ini, const char* key) {
  return ini.value(QString::fromLatin1(key)).toStringList().join(QLatin1Char(',')).toStdString();
}

void ReadIni(const std::string& path, Settings& settings, std::string& key_file) {
  const QString name = QString::fromStdString(path);
  if (!QFile::exists(name)) {
    return;
  }
  QSettings ini(name, QSettings::IniFormat);
  ini.setIniCodec("UTF-8");
  if (ini.status() != QSettings::NoError) {
    Log(Severity::kError, "settings: cannot read \"" + path + "\"; the defaults hold");
    return;
  }
  for (const TextSetting& setting : kTexts) {
    if (setting.ini[0] != '\0' && ini.contains(QString::fromLatin1(setting.ini))) {
      settings.*setting.member = IniText(ini, setting.ini);
    }
  }
  ReadFlag(IniText(ini, "log/stderr"), "log/stderr", settings.log_to_stderr);
  key_file = IniText(ini, "key/file");
  if (ini.contains(QStringLiteral("key/key")) || ini.contains(QStringLiteral("server/key"))) {
    Log(Severity::kWarning, "settings: a key in \"" + path + "\" is not read; it belongs in the key file");
  }
}

}  // namespace

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
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  const auto failed = [&](const std::string& what) {
    if (fd >= 0) {
      close(fd);
    }
    error = "the key file \"" + path + "\" " + what;
    return false;
  };
  if (fd < 0) {
    return failed("cannot be read: " + std::generic_category().message(errno));
  }
  struct stat info {};
  if (fstat(fd, &info) != 0) {
    return failed("cannot be read: " + std::generic_category().message(errno));
  }
  if (const char* const refusal = RefusalOfKeyFile(info.st_mode, info.st_uid, geteuid())) {
    return failed(refusal);
  }
  std::string text(kLargestKeyFile + 1, '\0');
  const ssize_t size = read(fd, text.data(), text.size());
  if (size < 0 || static_cast<std::size_t>(size) > kLargestKeyFile) {
    return failed("cannot be read, or is larger than a key file can be");
  }
  close(fd);
  text.resize(static_cast<std::size_t>(size));
  std::istringstream lines(text);
  std::string found_id;
  std::string found_key;
  const auto trimmed = [](const std::string& part) {
    const std::size_t first = part.find_first_not_of(" \t\r");
    return first == std::string::npos ? std::string()
                                      : part.substr(first, part.find_last_not_of(" \t\r") - first + 1);
  };
  for (std::string line; std::getline(lines, line);) {
    line = trimmed(line);
    if (line.empty() || line.front() == '#') {
      continue;
    }
    const std::size_t equals = line.find('=');
    const std::string name = trimmed(line.substr(0, equals));
    const std::string value = equals == std::string::npos ? std::string() : trimmed(line.substr(equals + 1));
    if (name == "key_id") {
      found_id = value;
    } else if (name == "key") {
      found_key = value;
    }
  }
  if (found_id.empty() || found_key.empty()) {
    error = "the key file \"" + path + R"(" needs a line "key_id = ..." and a line "key = ...")";
    return false;
  }
  key_id = found_id;
  key = found_key;
  return true;
}

SettingsReview ReviewSettings() {
  SettingsReview review;
  std::string config = Environment("CSM_CONFIG_DIRECTORY");
  config = config.empty() ? DefaultConfigDirectory() : config;
  review.ini = config + "/csm.ini";
  const QString name = QString::fromStdString(review.ini);
  review.has_ini = QFile::exists(name);
  bool ignored = false;
  const auto look_at_flag = [&](const std::string& flag, const std::string& text) {
    if (!text.empty() && !IsFlag(text, ignored)) {
      review.odd_flags.push_back(flag + "=" + text);
    }
  };
  if (review.has_ini) {
    QFile file(name);
    QSettings ini(name, QSettings::IniFormat);
    ini.setIniCodec("UTF-8");
    if (!file.open(QIODevice::ReadOnly)) {
      review.trouble = file.errorString().toStdString();
    } else if (ini.status() != QSettings::NoError) {
      review.trouble = "it is no ini file";
    } else {
      for (const QString& key : ini.allKeys()) {
        const std::string text = key.toStdString();
        const bool known = text == "log/stderr" || text == "key/file" ||
                           std::any_of(kTexts.begin(), kTexts.end(),
                                       [&](const TextSetting& setting) { return text == setting.ini; });
        if (text == "key/key" || text == "server/key") {
          review.misplaced_keys.push_back(text);
        } else if (!known) {
          review.unknown_keys.push_back(text);
        }
      }
      look_at_flag("log/stderr", IniText(ini, "log/stderr"));
      review.key_file = IniText(ini, "key/file");
    }
  }
  look_at_flag("CSM_LOG_TO_STDERR", Environment("CSM_LOG_TO_STDERR"));
  for (const char* const* variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const std::string variable_name = text.substr(0, text.find('='));
    if (text.starts_with("CSM_") && variable_name != "CSM_LOG_TO_STDERR" && variable_name != "CSM_KEY_FILE" &&
        std::none_of(kTexts.begin(), kTexts.end(),
                     [&](const TextSetting& setting) { return variable_name == setting.environment; })) {
      review.unknown_variables.push_back(variable_name);
    }
  }
  if (!Environment("CSM_KEY_FILE").empty()) {
    review.key_file = Environment("CSM_KEY_FILE");
  }
  review.key_file_named = !review.key_file.empty();
  if (!review.key_file_named) {
    review.key_file = config + "/key";
  }
  review.key_in_environment = !Environment("CSM_KEY").empty();
  return review;
}

Settings LoadSettings() {
  Settings settings;
  settings.config_directory = Environment("CSM_CONFIG_DIRECTORY");
  const std::string config =
      settings.config_directory.empty() ? DefaultConfigDirectory() : settings.config_directory;
  std::string key_file;
  ReadIni(config + "/csm.ini", settings, key_file);
  for (const TextSetting& setting : kTexts) {
    const std::string value = Environment(setting.environment);
    if (!value.empty()) {
      settings.*setting.member = value;
    }
  }
  ReadFlag(Environment("CSM_LOG_TO_STDERR"), "CSM_LOG_TO_STDERR", settings.log_to_stderr);
  if (!Environment("CSM_KEY_FILE").empty()) {
    key_file = Environment("CSM_KEY_FILE");
  }
  if (settings.key.empty() || settings.key_id.empty()) {
    const bool asked_for = !key_file.empty();
    const std::string path = asked_for ? key_file : config + "/key";
    std::string key_id;
    std::string key;
    std::string error;
    if (asked_for || access(path.c_str(), F_OK) == 0) {
      if (!ReadKeyFile(path, key_id, key, error)) {
        Log(Severity::kError, "settings: " + error);
      } else if ((!settings.key_id.empty() && settings.key_id != key_id) || !settings.key.empty()) {
        Log(Severity::kWarning,
            "settings: the key file is not used; the environment names another key id, or a key");
      } else {
        settings.key_id = key_id;
        settings.key = key;
      }
    }
  }
  return settings;
}

}  // namespace stock_host
