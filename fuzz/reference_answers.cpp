// The answers to the requests of the reference data, each byte text read as every one of them: no input
// crashes, leaks or is undefined behaviour; what is held can be looked up.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "json/json.h"
#include "reference/legal_holidays.h"
#include "reference/plate_membership.h"
#include "reference/reference_lists.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = request::json::Document::Parse(reinterpret_cast<const char*>(data), size);
  const request::json::Object root = document.Root();
  const request::json::Object payload = root.ObjectAt("data");

  for (const BaseInfoItem& stock : reference::ReadStockLists(root).shanghai) {
    if (stock.type != 1 && stock.type != 4 && stock.type != 5 && stock.type != 6) {
      std::abort();
    }
  }
  for (const BaseInfoItem& plate : reference::ReadPlateLists(root).kind2) {
    if (plate.type != 2) {
      std::abort();
    }
  }
  static_cast<void>(reference::ReadIndexLists(payload));

  const reference::PlateMembership membership = reference::ReadPlateMembership(payload);
  for (const reference::StockPlatesEntry& entry : membership) {
    if (reference::FindPlates(membership, entry.symbol) == nullptr) {
      std::abort();
    }
  }
  for (const unsigned long day : reference::ReadHolidays(payload.ArrayAt("list")).days) {
    if (day < 101 || day > 99991231) {
      std::abort();
    }
  }
  return 0;
}
