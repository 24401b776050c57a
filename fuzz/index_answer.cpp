// The answer to an index request, from bytes to records: no input crashes, leaks or is undefined behaviour.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "json/json.h"
#include "json/record_reader.h"
#include "quotes/index_market_table.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = request::json::Document::Parse(reinterpret_cast<const char*>(data), size);
  const auto list = document.Root().ObjectAt("data").ArrayAt("list");
  const auto records = request::RecordReader<quotes::kIndexMarketSummaryTable>::ReadAll(list);
  if (records.size() != list.Size()) {
    std::abort();
  }
  return 0;
}
