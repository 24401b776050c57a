// The one reference-data service of the process: made when somebody needs it, ended by the host at any
// moment. Services reach it through `WithReferenceData`, because nobody may keep a pointer to it.
#pragma once

#include <utility>

#include "frame/guarded.h"
#include "reference/stock_common_service.h"

namespace reference {

/// The service, made if there is none; null, without throwing, when it cannot be made; the next call
/// tries again. With `EndStockCommon` for one thread, the host's main thread.
[[nodiscard]] IStockCommon* TheStockCommon();

/// Makes the service unreachable, waits for the functions that run on it, and ends it. Nothing happens when
/// there is none.
void EndStockCommon();

/// Access to the service while it lives. Any thread. Tests put a stand-in there.
[[nodiscard]] frame::Guarded<CStockCommon>& ReferenceData();

/// Runs `function(CStockCommon&)` if the service exists; it is not ended before the function returns. False,
/// without a call, when it does not exist. It is not made for this.
template <class Function>
bool WithReferenceData(Function&& function) {
  return ReferenceData().Run(std::forward<Function>(function));
}

}  // namespace reference
