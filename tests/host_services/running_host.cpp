#include "running_host.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace host_test {

namespace {

std::string MakeDirectory() {
  std::string path = std::filesystem::temp_directory_path().string() + "/host_test.XXXXXX";
  if (mkdtemp(path.data()) == nullptr) {
    throw std::runtime_error("no temporary directory");
  }
  return path;
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() : path_(MakeDirectory()) {}

TemporaryDirectory::TemporaryDirectory(const char* shared_through) : shared_through_(shared_through) {
  if (const char* const parents = std::getenv(shared_through)) {
    path_ = parents;
    owned_ = false;
    return;
  }
  path_ = MakeDirectory();
  setenv(shared_through, path_.c_str(), 1);
}

TemporaryDirectory::~TemporaryDirectory() {
  if (!owned_) {
    return;
  }
  if (shared_through_ != nullptr) {
    unsetenv(shared_through_);
  }
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::Path(const std::string& name) const {
  return name.empty() ? path_ : path_ + "/" + name;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

stock_host::Settings SettingsIn(const TemporaryDirectory& directory) {
  stock_host::Settings settings;
  settings.data_directory = directory.Path("data");
  settings.log_directory = directory.Path("log");
  settings.config_directory = directory.Path("config");
  return settings;
}

RunningHost::RunningHost(stock_host::Settings settings) {
  const stock_host::Settings places = SettingsIn(directory_);
  settings.data_directory = places.data_directory;
  settings.log_directory = places.log_directory;
  settings.config_directory = places.config_directory;
  std::string error;
  if (!stock_host::Start(settings, error)) {
    throw std::runtime_error(error);
  }
}

RunningHost::~RunningHost() {
  stock_host::Stop();
}

std::string RunningHost::LogFile() const {
  return ReadFile(directory_.Path("log/csm.log"));
}

}  // namespace host_test
