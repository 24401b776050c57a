#include "market_server/endpoints/packages.h"

#include <array>
#include <optional>
#include <vector>

#include "market_server/endpoints/series.h"
#include "market_server/gzip.h"
#include "market_server/json_writer.h"

namespace market_server::endpoints {
namespace {

constexpr std::string_view kMetadata = "kline.meta.gzip";
constexpr std::string_view kPrefix = "kline.";
constexpr std::string_view kSuffix = ".gzip";

/// Splits "sh600000.day.bfq.20240315"; false unless there are just four parts.
bool Split(std::string_view text, std::array<std::string_view, 4>& parts) {
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::size_t dot = text.find('.');
    if ((dot == std::string_view::npos) != (i + 1 == parts.size())) return false;
    parts[i] = text.substr(0, dot);
    if (dot != std::string_view::npos) text.remove_prefix(dot + 1);
  }
  return true;
}

struct Package {
  const model::Security* security = nullptr;
  model::Period period = model::Period::kDay;
  model::Adjustment adjustment = model::Adjustment::kNone;
  model::Date through = 0;
};

/// What a file name stands for; none when it names no package, or one that is still to come at `instant`.
std::optional<Package> ReadName(const model::Market& market, std::string_view name, model::Instant instant) {
  if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix) ||
      name.size() < kPrefix.size() + kSuffix.size()) {
    return std::nullopt;
  }
  std::array<std::string_view, 4> parts;
  name.remove_prefix(kPrefix.size());
  name.remove_suffix(kSuffix.size());
  if (!Split(name, parts)) return std::nullopt;
  const model::Security* security = market.Find(parts[0]);
  const auto period = PeriodNamed(parts[1]);
  const auto adjustment = AdjustmentNamed(parts[2]);
  const auto through = model::Market::KLineVersionDate(parts[3]);
  if (security == nullptr || security->code != parts[0] || !period || !adjustment || !through)
    return std::nullopt;
  if (parts[3] > market.KLineVersionAt(instant) || !market.HasPackages(*security, *through))
    return std::nullopt;
  return Package{security, *period, *adjustment, *through};
}

std::string PackageText(const model::Market& market, const Package& package) {
  std::string text;
  for (const model::Candle& candle :
       market.Candles(*package.security, package.period, package.adjustment, package.through)) {
    JsonWriter json(text);
    CandleLine(json, candle);
    text.push_back('\n');
  }
  return text;
}

Answer NoSuchFile() {
  Answer answer;
  answer.status = 404;
  answer.content_type = "text/plain; charset=utf-8";
  answer.body = "no such file\n";
  return answer;
}

void Counts(JsonWriter& json, std::string_view period, std::uint32_t count) {
  json.Key(period);
  json.BeginObject();
  for (const std::string_view adjustment : {"b", "q", "h"}) json.Member(adjustment, count);
  json.EndObject();
}

}  // namespace

Answer Packages::Serve(const std::string& path, model::Instant instant) {
  const std::string name = path.substr(kStaticRoot.size());
  const bool metadata = name == kMetadata;
  const auto package = metadata ? std::nullopt : ReadName(market_, name, instant);
  if (!metadata && !package) return NoSuchFile();
  const std::string key = metadata ? name + " " + market_.KLineVersionAt(instant) : name;
  File file = Recall(key);
  if (file == nullptr) {
    const std::string text = metadata ? MetadataText(instant) : PackageText(market_, *package);
    if (text.empty()) return NoSuchFile();
    file = std::make_shared<const std::string>(Gzip(text));
    Keep(key, file);
  }
  Answer answer;
  answer.content_type = "application/gzip";
  answer.body = *file;
  return answer;
}

std::string Packages::MetadataText(model::Instant instant) const {
  const model::KLineMetadata metadata = market_.KLineMetadataAt(instant);
  std::string text = "version:" + metadata.version + "\np:" + std::to_string(metadata.counts.size()) + "\n";
  for (const model::KLineCounts& counts : metadata.counts) {
    text += counts.security->code;
    text.push_back(':');
    JsonWriter json(text);
    json.BeginObject();
    Counts(json, "d", counts.day);
    Counts(json, "w", counts.week);
    Counts(json, "m", counts.month);
    json.EndObject();
    text.push_back('\n');
  }
  return text;
}

Packages::File Packages::Recall(const std::string& key) {
  const std::lock_guard lock(mutex_);
  const auto found = index_.find(key);
  if (found == index_.end()) return nullptr;
  files_.splice(files_.begin(), files_, found->second);
  return found->second->second;
}

void Packages::Keep(const std::string& key, File file) {
  const std::lock_guard lock(mutex_);
  if (index_.contains(key) || file->size() > capacity_) return;
  size_ += file->size();
  files_.emplace_front(key, std::move(file));
  index_[key] = files_.begin();
  while (size_ > capacity_) {
    size_ -= files_.back().second->size();
    index_.erase(files_.back().first);
    files_.pop_back();
  }
}

}  // namespace market_server::endpoints
