// The text of a K-line metadata file: no input crashes, leaks or is undefined behaviour, and what is read of
// it agrees with a plain reading line by line.
#include "reference/kline_metadata.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

#include "reference/package_key.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto metadata = reference::KLineMetadata::FromText(text);

  std::map<std::string, std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string line = text.substr(at, end - at);
    const std::size_t colon = line.find(':');
    if (colon != std::string::npos) {
      lines[line.substr(0, colon)] = line.substr(colon + 1);
    }
    at = end + 1;
  }
  if (metadata == nullptr) {
    return 0;
  }
  if (metadata->Version() != lines["version"]) {
    std::abort();
  }
  lines.erase("version");
  lines.erase("p");
  if (metadata->Size() != lines.size()) {
    std::abort();
  }
  for (const auto& [symbol, json] : lines) {
    const auto* const entry = metadata->Find(symbol);
    if (entry == nullptr || entry->json != json) {
      std::abort();
    }
    reference::PackageCounts counts;
    static_cast<void>(counts.Read(entry->json));
    for (int key = 0; key < 0x500; ++key) {
      static_cast<void>(counts.Get(static_cast<std::uint16_t>(key)));
    }
  }
  return 0;
}
