// An unpacked K-line package: the fast reader takes the same candles from every text as Qt's parser does.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "charts/kline_package.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const charts::Candles candles = charts::ReadPackage(text);
  if (candles != charts::ReadPackageByQt(text) || candles.size() > charts::CountLines(text)) {
    std::abort();
  }
  return 0;
}
