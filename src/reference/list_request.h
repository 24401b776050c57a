// The requests that bring the lists: one for each, in the caller's thread. Thread-safe: no state.
#pragma once

#include <array>
#include <cstdint>

#include "request/answer.h"
#include "request/ask.h"

namespace reference {

/// What one request brings.
enum class ListName { kStocks, kPlates, kIndices, kPlatesOfStocks };
inline constexpr std::array kListNames = {ListName::kStocks, ListName::kPlates, ListName::kIndices,
                                          ListName::kPlatesOfStocks};

struct ListAnswer {
  request::SyncAnswer came;
  std::int64_t asked = 0;  ///< server's time before the request
};

/// Asks and waits. A failed exchange when something throws.
[[nodiscard]] ListAnswer AskForList(ListName list) noexcept;

/// The checked answer, which lives no longer than `answer`. Failures are logged.
[[nodiscard]] request::Answer CheckListAnswer(ListName list, const ListAnswer& answer);

}  // namespace reference
