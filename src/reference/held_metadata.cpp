#include "reference/held_metadata.h"

#include <utility>

#include "host/text.h"
#include "request/fetch_texts.h"

namespace reference {

using Lock = std::lock_guard<std::mutex>;

void HeldMetadata::Replace(std::shared_ptr<KLineMetadata> metadata) {
  if (metadata != nullptr) {
    const Lock lock(mutex_);
    metadata_.swap(metadata);
  }
}

std::string HeldMetadata::Version() {
  const Lock lock(mutex_);
  return metadata_ != nullptr ? metadata_->Version() : std::string();
}

KLineMetaInfo HeldMetadata::InfoOf(const std::string& symbol, std::uint16_t package) {
  std::shared_ptr<KLineMetadata> metadata;
  KLineMetadata::Symbol* entry = nullptr;
  std::int32_t count = 0;
  bool parsed = true;
  {
    const Lock lock(mutex_);
    metadata = metadata_;
    if (metadata == nullptr) {
      return {};
    }
    entry = metadata->Find(symbol);
    if (entry != nullptr) {
      parsed = entry->parsed;
      count = parsed ? entry->counts.Get(package) : 0;
    }
  }
  if (!parsed) {
    PackageCounts counts;
    const int error = counts.Read(entry->json);
    bool first = false;
    {
      const Lock lock(mutex_);
      first = !std::exchange(entry->parsed, true);
      if (first) {
        entry->counts = counts;
      }
    }
    if (first && error != 0) {
      request::LogParseError(request::Fetch::kPackageCounts, error);
    }
    count = counts.Get(package);
  }
  return {common::s2ws(metadata->Version(), common::kUtf8), count};
}

}  // namespace reference
