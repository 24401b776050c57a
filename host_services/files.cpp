#include "files.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <vector>

#include "host/files.h"
#include "host/text.h"
#include "log.h"
#include "replace_file.h"
#include "symbols.h"

namespace stock_host {
namespace {

struct Root {
  std::mutex mutex;  // guards directory
  std::string directory;
};

// Leaked: callable until the very end of the process.
Root& TheRoot() {
  static Root* const state = new Root;
  return *state;
}

// Empty when the user has none: any other place could have been prepared by somebody else.
std::string Home() {
  const char* const home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') {
    return home;
  }
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
      entry.pw_dir[0] == '/') {
    return entry.pw_dir;
  }
  return {};
}

// A symbolic link in the tree could lead elsewhere.
bool LiesUnder(const std::filesystem::path& path, const std::filesystem::path& root) {
  std::error_code error;
  const auto real_root = std::filesystem::weakly_canonical(root, error);
  if (error) {
    return false;
  }
  const auto real_path = std::filesystem::weakly_canonical(path, error);
  if (error) {
    return false;
  }
  const auto relative = real_path.lexically_relative(real_root);
  return !relative.empty() && *relative.begin() != "..";
}

std::wstring Checked(const std::string& root, const std::string& path) {
  if (root.empty()) {
    return {};
  }
  if (!LiesUnder(path, root)) {
    Log(Severity::kError, "files: \"" + path + "\" does not lie in the data directory");
    return {};
  }
  return common::s2ws(path, common::kUtf8);
}

}  // namespace

std::string UserDirectory(const char* variable, const std::string& fallback) {
  const char* const value = std::getenv(variable);
  if (value != nullptr && value[0] == '/') {
    return std::string(value) + "/csm";
  }
  const std::string home = Home();
  return home.empty() ? std::string() : home + "/" + fallback;
}

std::string DefaultDataDirectory() {
  return UserDirectory("XDG_DATA_HOME", ".local/share/csm");
}
std::string DefaultLogDirectory() {
  return UserDirectory("XDG_STATE_HOME", ".local/state/csm");
}
std::string DefaultConfigDirectory() {
  return UserDirectory("XDG_CONFIG_HOME", ".config/csm");
}

std::string DataRoot() {
  Root& state = TheRoot();
  const std::lock_guard lock(state.mutex);
  if (state.directory.empty()) {
    state.directory = DefaultDataDirectory();
  }
  return state.directory;
}

void SetDataRoot(const std::string& directory) {
  Root& state = TheRoot();
  const std::lock_guard lock(state.mutex);
  state.directory = directory;
}

void SweepLeftovers() {
  std::error_code error;
  std::filesystem::recursive_directory_iterator entry(
      DataRoot(), std::filesystem::directory_options::skip_permission_denied, error);
  for (const std::filesystem::recursive_directory_iterator end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored) && !entry->is_symlink(ignored) &&
        IsLeftoverName(entry->path().filename().string()) && RemoveLeftover(entry->path().string())) {
      Log(Severity::kInfo, "files: removed what an interrupted download left: " + entry->path().string());
    }
  }
}

}  // namespace stock_host

namespace common {

bool ForceRemoveFile(const wchar_t* path) {
  if (path == nullptr || *path == L'\0') {
    return false;
  }
  const std::string narrow = ws2s(path, kUtf8);
  return unlink(narrow.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR;
}

}  // namespace common

namespace stock {

std::wstring GetKLineFilePath(const wchar_t* symbol) {
  const std::wstring gated = symbol == nullptr ? std::wstring() : stock_host::SecuritySymbol(symbol);
  if (gated.empty()) {
    return {};
  }
  const std::string root = stock_host::DataRoot();
  return stock_host::Checked(root, root + "/kline/" + common::ws2s(gated, common::kUtf8));
}

std::wstring GetKLineMetaFilePath() {
  const std::string root = stock_host::DataRoot();
  return stock_host::Checked(root, root + "/metadata");
}

}  // namespace stock
