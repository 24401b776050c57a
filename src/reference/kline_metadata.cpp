#include "reference/kline_metadata.h"

#include <algorithm>
#include <utility>

#include "json/json.h"
#include "request/gates.h"

namespace reference {
namespace {

constexpr std::size_t kMostSymbols = 200'000;
constexpr std::size_t kUsualLineLength = 120;

constexpr std::array<std::string_view, 3> kPeriodKeys = {"d", "w", "m"};
constexpr std::array<std::string_view, 3> kAdjustmentKeys = {"b", "q", "h"};

}  // namespace

std::int32_t PackageCounts::Get(std::uint16_t key) const {
  const std::size_t period = key >> 8;
  const std::size_t adjustment = key & 0xFF;
  if (period < 1 || period > kPeriods || adjustment < 1 || adjustment > kAdjustments) {
    return 0;
  }
  return counts_[period - 1][adjustment - 1];
}

int PackageCounts::Read(std::string_view json) {
  counts_ = {};
  const auto document = request::json::Document::Parse(json.data(), json.size());
  if (document.Error() != 0) {
    return document.Error();
  }
  for (std::size_t period = 0; period < kPeriods; ++period) {
    const request::json::Object adjustments = document.Root().ObjectAt(kPeriodKeys[period]);
    for (std::size_t adjustment = 0; adjustment < kAdjustments; ++adjustment) {
      counts_[period][adjustment] = adjustments.Member(kAdjustmentKeys[adjustment]).Integer();
    }
  }
  return 0;
}

std::shared_ptr<KLineMetadata> KLineMetadata::FromText(std::string text) {
  std::shared_ptr<KLineMetadata> metadata(new KLineMetadata(std::move(text)));
  if (!metadata->Split()) {
    metadata.reset();
  }
  return metadata;
}

bool KLineMetadata::Split() {
  const std::size_t expected = text_.size() / kUsualLineLength + 1;
  symbols_.reserve(expected);
  index_.reserve(expected);
  bool has_version = false;
  std::string_view rest = text_;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
      continue;
    }
    const std::string_view key = line.substr(0, colon);
    const std::string_view value = line.substr(colon + 1);
    if (key == "version") {
      version_ = value;
      has_version = true;
    } else if (key == "p") {
      continue;  // a number that nobody reads, and no symbol
    } else if (const auto [entry, added] = index_.try_emplace(key, symbols_.size()); added) {
      if (symbols_.size() == kMostSymbols) {
        return false;
      }
      symbols_.push_back({value, false, {}});
    } else {
      symbols_[entry->second].json = value;
    }
  }
  return (has_version || !symbols_.empty()) && (version_.empty() || request::IsPlainVersion(version_));
}

KLineMetadata::Symbol* KLineMetadata::Find(std::string_view symbol) {
  const auto found = index_.find(symbol);
  return found == index_.end() ? nullptr : &symbols_[found->second];
}

}  // namespace reference
