#include "reference/metadata_check.h"

#include <QDir>
#include <QFileInfo>
#include <utility>

#include "frame/succeeds.h"
#include "host/files.h"
#include "host/network.h"
#include "host/text.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/gates.h"
#include "request/urls.h"

namespace reference {
namespace {

constexpr int kDownloadTries = 3;
constexpr int kDownloadSeconds = 30;

// Null when the file is missing, damaged or no metadata.
std::shared_ptr<KLineMetadata> LoadFile(const std::wstring& path) {
  std::string text;
  return GZipExtract(path.c_str(), text) ? KLineMetadata::FromText(std::move(text)) : nullptr;
}

MetadataCheck Check(const HeldVersion& held_version) {
  if (!held_version()) {
    return {};
  }
  const std::string newest = FetchMetadataVersion();
  if (newest.empty()) {
    return {};
  }
  const std::optional<std::string> held = held_version();
  if (!held) {
    return {};
  }
  if (!held->empty() && newest <= *held) {
    return {true, nullptr};
  }
  const std::wstring directory = stock::GetKLineMetaFilePath();
  if (directory.empty()) {
    return {};
  }
  const std::wstring path = directory + L"/kline.meta.gzip";
  if (held->empty() && QFileInfo::exists(QString::fromStdWString(path))) {
    if (auto local = LoadFile(path); local != nullptr && newest <= local->Version()) {
      return {true, std::move(local)};
    }
  }
  if (!QDir().mkpath(QString::fromStdWString(directory)) ||
      !DownloadFileSyncWithRetry(request::KLineMetadataUrl(), path, kDownloadTries, kDownloadSeconds)) {
    return {};
  }
  auto loaded = LoadFile(path);
  const bool ok = loaded != nullptr;
  return {ok, std::move(loaded)};
}

}  // namespace

std::string FetchMetadataVersion() {
  const request::SyncAnswer came = request::AskNow(request::MetadataVersionUrl());
  const request::Answer answer = request::CheckAnswer(request::Fetch::kMetadataVersion, came.Raw());
  if (!answer) {
    return {};
  }
  std::string version = common::ws2s(answer.Root().Member("version").Text(), common::kUtf8);
  if (!request::IsPlainVersion(version)) {
    version.clear();
  }
  return version;
}

MetadataCheck CheckMetadata(const HeldVersion& held_version) noexcept {
  MetadataCheck check;
  static_cast<void>(frame::Succeeds([&] { check = Check(held_version); }));
  return check;
}

}  // namespace reference
