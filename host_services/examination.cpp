// ExamineSetup of the application header: everything that can be wrong before the first request, found at
// once and put into words for a person. No state, callable from any thread.
#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "addresses.h"
#include "descriptor.h"
#include "files.h"
#include "log.h"
#include "settings.h"
#include "stock_host.h"
#include "watch_list.h"

namespace stock_host {
namespace {

using State = Finding::State;
using Findings = std::vector<Finding>;

constexpr std::uintmax_t kLittleSpace = 200U << 20;  // K-line packages of a diligent user
constexpr std::uintmax_t kNoSpace = 1U << 20;

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

void ExamineIni(const SettingsReview& review, const Settings& settings, Findings& findings) {
  const std::string file = Quoted(review.ini);
  if (!review.trouble.empty()) {
    findings.push_back({State::kFailed, "settings", file + " cannot be read: " + review.trouble,
                        "make it a text file that you may read, or remove it"});
    return;
  }
  const std::size_t before = findings.size();
  if (!review.misplaced_keys.empty()) {
    findings.push_back({State::kWarning, "settings",
                        file + " holds a key that is not read (" + Joined(review.misplaced_keys) + ")",
                        "move it to the key file " + Quoted(review.key_file)});
  }
  if (!review.odd_lines.empty()) {
    findings.push_back({State::kWarning, "settings",
                        file + " has lines that mean nothing: " + Joined(review.odd_lines),
                        "write [section] or key=value, or begin the line with #"});
  }
  if (!review.unknown_keys.empty()) {
    findings.push_back({State::kWarning, "settings",
                        file + " has keys that mean nothing: " + Joined(review.unknown_keys),
                        "correct their names, or remove them"});
  }
  if (!review.odd_flags.empty()) {
    findings.push_back({State::kWarning, "settings", "neither true nor false: " + Joined(review.odd_flags),
                        "write true or false"});
  }
  if (!settings.log_level.empty() && !IsLogLevel(settings.log_level)) {
    findings.push_back({State::kFailed, "settings",
                        "the log level " + Quoted(settings.log_level) + " is none",
                        "choose trace, debug, info, warn, error or off"});
  }
  if (findings.size() == before) {
    findings.push_back(
        {State::kGood, "settings", review.has_ini ? file : "no " + file + ": the defaults hold", {}});
  }
}

void ExamineEnvironment(const SettingsReview& review, Findings& findings) {
  if (review.unknown_variables.empty()) {
    findings.push_back({State::kGood, "environment", "every CSM_* variable is known", {}});
    return;
  }
  findings.push_back({State::kWarning, "environment",
                      "variables that mean nothing: " + Joined(review.unknown_variables),
                      "correct their names, or unset them"});
}

void ExamineAddresses(Settings settings, Findings& findings) {
  const std::string trouble = TroubleOfCertificates(settings.ca_file);
  if (!trouble.empty()) {
    findings.push_back({State::kFailed, "server address", trouble, "correct server/ca_file or CSM_CA_FILE"});
    return;
  }
  settings.key_id.clear();
  settings.key.clear();
  std::string error;
  const auto addresses = ParseAddresses(settings, error);
  if (!addresses) {
    findings.push_back(
        {State::kFailed, "server address", error, "write it as http://host:port or https://host:port"});
    return;
  }
  findings.push_back(
      {State::kGood,
       "server address",
       addresses->scheme.empty() ? "none is configured" : addresses->Origin() + addresses->base_path,
       {}});
}

void ExamineKey(const SettingsReview& review, const Settings& settings, Findings& findings) {
  const std::string file = Quoted(review.key_file);
  if (!review.key_in_environment && !review.key_file_trouble.empty()) {
    findings.push_back(
        {State::kFailed, "key", review.key_file_trouble,
         "make it a file of your own with mode 0600 (chmod 600) and the lines key_id = ... and "
         "key = ..."});
    return;
  }
  if (settings.key_id.empty() && settings.key.empty()) {
    findings.push_back({State::kWarning, "key",
                        "none is configured; no server but a simulated one can be asked",
                        "write a key file " + file + " with mode 0600, or set CSM_KEY_ID and CSM_KEY"});
    return;
  }
  Settings alone;
  alone.key_id = settings.key_id;
  alone.key = settings.key;
  std::string error;
  if (!ParseAddresses(alone, error)) {
    findings.push_back({State::kFailed, "key", error,
                        review.key_in_environment || access(review.key_file.c_str(), F_OK) != 0
                            ? "correct CSM_KEY_ID and CSM_KEY; both must be set"
                            : "correct " + file});
    return;
  }
  findings.push_back(
      {State::kGood,
       "key",
       "key id " + settings.key_id + " from " + (review.key_in_environment ? "the environment" : file),
       {}});
}

// Empty when a file can be made and written in `directory`, which is made if missing.
std::string TryToWrite(const std::string& directory) {
  if (directory.empty()) {
    return "cannot be chosen: the user has no home directory";
  }
  if (!MakeDirectories(directory)) {
    return "cannot be made: " + SystemText(errno);
  }
  std::string probe = directory + "/probe.XXXXXX";
  const Descriptor file(mkostemp(probe.data(), O_CLOEXEC));
  const bool written = file.good() && WriteAll(file.get(), "probe");
  const int number = errno;
  if (file.good()) {
    unlink(probe.c_str());
  }
  return written ? std::string() : "cannot be written: " + SystemText(number);
}

void ExamineDirectory(const std::string& subject, const std::string& directory, const std::string& variable,
                      Findings& findings) {
  const std::string trouble = TryToWrite(directory);
  if (!trouble.empty()) {
    findings.push_back({State::kFailed, subject, Quoted(directory) + " " + trouble,
                        "give yourself the right to write there, or name another one in " + variable});
    return;
  }
  struct statvfs space {};
  if (statvfs(directory.c_str(), &space) == 0) {
    const std::uintmax_t free = std::uintmax_t{space.f_bavail} * space.f_frsize;
    if (free < kLittleSpace) {
      findings.push_back({free < kNoSpace ? State::kFailed : State::kWarning, subject,
                          Quoted(directory) + " has " + std::to_string(free >> 20U) + " MiB left",
                          "make room, or name another one in " + variable});
      return;
    }
  }
  findings.push_back({State::kGood, subject, Quoted(directory), {}});
}

void ExamineWatchList(const std::string& config, Findings& findings) {
  const std::string path = config + "/watchlist.txt";
  std::string error;
  const auto content = WatchListFile::Read(path, error);
  if (!content) {
    findings.push_back({State::kFailed, "watch list", error, "make it a text file that you may read"});
    return;
  }
  const std::string text = Quoted(path) + ": " + std::to_string(content->Members().size()) + " securities";
  const std::size_t refused = content->Refused().size();
  if (refused > 0) {
    findings.push_back({State::kWarning, "watch list",
                        text + ", and lines that are none: " + std::to_string(refused),
                        "write one symbol a line (sh600000), at most 1000; begin other lines with #"});
    return;
  }
  findings.push_back({State::kGood, "watch list", text, {}});
}

}  // namespace

std::vector<Finding> ExamineSetup() {
  const auto [settings, review] = FindSettings();
  const auto chosen = [](const std::string& text, std::string (*standard)()) {
    return text.empty() ? standard() : text;
  };
  const std::string config = chosen(settings.config_directory, &DefaultConfigDirectory);
  Findings findings;
  ExamineIni(review, settings, findings);
  ExamineEnvironment(review, findings);
  ExamineAddresses(settings, findings);
  ExamineKey(review, settings, findings);
  ExamineDirectory("data directory", chosen(settings.data_directory, &DefaultDataDirectory),
                   "CSM_DATA_DIRECTORY", findings);
  ExamineDirectory("log directory", chosen(settings.log_directory, &DefaultLogDirectory), "CSM_LOG_DIRECTORY",
                   findings);
  ExamineDirectory("configuration directory", config, "CSM_CONFIG_DIRECTORY", findings);
  ExamineWatchList(config, findings);
  return findings;
}

}  // namespace stock_host
