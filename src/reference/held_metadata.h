// The K-line metadata that is held: replaced as a whole, version and counts together. How a file is read is
// in kline_metadata.h, when it is replaced in metadata_check.h. Thread-safe.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "reference/kline_metadata.h"
#include "reference/stock_common.h"

namespace reference {

class HeldMetadata {
 public:
  /// Null changes nothing.
  void Replace(std::shared_ptr<KLineMetadata> metadata);

  /// Empty while nothing is held.
  [[nodiscard]] std::string Version();

  /// What is known of a package of `symbol` (UTF-8). Counts that cannot be parsed are logged once, and 0.
  [[nodiscard]] KLineMetaInfo InfoOf(const std::string& symbol, std::uint16_t package);

 private:
  std::mutex mutex_;  // guards the pointer, and of what it points to the parsed counts
  std::shared_ptr<KLineMetadata> metadata_;
};

}  // namespace reference
