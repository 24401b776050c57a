#include "reference/held_metadata.h"

#include "host/text.h"
#include "request/fetch_texts.h"

namespace reference {
namespace {

using Lock = std::lock_guard<std::mutex>;

}  // namespace

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
  std::int32_t count = 0;
  int error = 0;
  {
    const Lock lock(mutex_);
    metadata = metadata_;
    if (metadata == nullptr) {
      return {};
    }
    if (KLineMetadata::Symbol* const entry = metadata->Find(symbol)) {
      if (!entry->parsed) {
        error = entry->counts.Read(entry->json);
        entry->parsed = true;
      }
      count = entry->counts.Get(package);
    }
  }
  if (error != 0) {
    request::LogParseError(request::Fetch::kPackageCounts, error);
  }
  return {common::s2ws(metadata->Version(), common::kUtf8), count};
}

}  // namespace reference
