// One K-line package that is brought up to date again and again by the host services: its versions, the
// server that has them, and what is on disk.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "announced_packages.h"
#include "charts/kline_package.h"
#include "charts/series_loader.h"
#include "host/files.h"
#include "host/text.h"
#include "loopback_server.h"
#include "reference/package_version_store.h"
#include "stock_host.h"

namespace package_updates {

inline constexpr const wchar_t* kSymbol = L"sh600000";

/// Versions are numbers of eight digits.
inline std::wstring VersionText(int version) {
  return std::to_wstring(20'000'000 + version);
}

/// The package of a version: every line tells it, and none of them can be guessed by an unpacker.
inline std::string PackageText(int version) {
  std::string text;
  unsigned noise = static_cast<unsigned>(version) * 2654435761U + 1;
  for (int line = 0; line < 400; ++line) {
    noise = noise * 1664525U + 1013904223U;
    text += "[" + std::to_string(20100101 + line) + "," + std::to_string(version) + "," +
            std::to_string(noise) + ",3,4,5,6,7,8]\n";
  }
  return text;
}

/// The version that a whole package text is of; none for any other text.
inline std::optional<int> VersionOf(const std::string& text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string::npos) {
    return std::nullopt;
  }
  const int version = std::atoi(text.c_str() + comma + 1);
  return text == PackageText(version) ? std::optional(version) : std::nullopt;
}

inline std::string HistoryAnswer(int version) {
  std::string text = PackageText(version);
  text.pop_back();
  for (char& character : text) {
    if (character == '\n') character = ',';
  }
  return R"({"errno":0,"data":{"foo":{"list":[)" + text + "]}}}";
}

/// Serves every version as a package, and `history()` to queries.
inline host_test::LoopbackServer::Handler Serving(std::function<int()> history) {
  return [history = std::move(history)](host_test::LoopbackServer::Connection& connection) {
    for (std::string request; !(request = connection.ReadRequest()).empty();) {
      const std::size_t mark = request.find(".bfq.");
      const bool sent = mark == std::string::npos || mark > request.find('\r')
                            ? connection.Answer(HistoryAnswer(history()))
                            : connection.Answer(host_test::Gzipped(
                                  PackageText(std::atoi(request.c_str() + mark + 5) - 20'000'000)));
      if (!sent) {
        return;
      }
    }
  };
}

/// Starts the host services with this data directory and server.
inline void StartHost(const std::string& directory, const std::string& root) {
  stock_host::Settings settings;
  settings.static_root = root;
  settings.history_root = root.substr(0, root.size() - 1);
  settings.data_directory = directory + "/data";
  settings.log_directory = directory + "/log";
  settings.config_directory = directory + "/config";
  std::string error;
  if (!stock_host::Start(settings, error)) {
    throw std::runtime_error(error);
  }
}

/// One load of the package while `version` is announced. The version of the candles that came of it; none for
/// anything but a whole package.
inline std::optional<int> Load(AnnouncedPackages& packages, int version) {
  packages.Announce(VersionText(version));
  packages.Count(kSymbol, 1, 1, version);
  std::optional<int> loaded;
  const auto candles = charts::SeriesLoader([] { return true; }).Load({kSymbol}, {}).candles;
  if (candles != nullptr && !candles->empty()) {
    const int told = static_cast<int>(candles->front().preclose);
    if (*candles == charts::ReadPackage(PackageText(told))) loaded = told;
  }
  return loaded;
}

/// What is on disk of the package.
struct OnDisk {
  bool exists = false;
  std::optional<int> file;  // the version of a whole package
  KLineMetaInfo stored;

  /// The file is missing or whole, and the row is whole and not newer than the file. (An update removes the
  /// old file first: a row may outlive its file, which is then fetched again.)
  [[nodiscard]] bool IsSound() const {
    const bool whole_row = stored.version.empty() || stored.version == VersionText(stored.count);
    return whole_row && exists == file.has_value() && (!file || stored.count <= *file);
  }
};

inline std::string PackageDirectory() {
  return common::ws2s(stock::GetKLineFilePath(kSymbol), common::kUtf8);
}

inline OnDisk LookAtDisk() {
  OnDisk found;
  const std::string path = PackageDirectory() + "/1.1.dat";
  found.exists = std::filesystem::exists(path);
  std::string text;
  if (found.exists && GZipExtract(common::s2ws(path, common::kUtf8).c_str(), text)) {
    found.file = VersionOf(text);
  }
  found.stored = reference::PackageVersionStore(kSymbol).Get(257).value_or(KLineMetaInfo());
  return found;
}

}  // namespace package_updates
