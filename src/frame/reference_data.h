// How services read the reference data: nobody keeps a pointer to it, because the host may end it at any
// moment. Thread-safe.
#pragma once

#include <utility>

#include "frame/guarded.h"

class IStockCommon;

namespace frame {

/// The one reference-data object, while it lives. The registry sets and clears it.
Guarded<IStockCommon>& ReferenceData();

/// Runs `function(IStockCommon&)` if the reference data exists; it is not ended before the function returns.
/// False, without a call, when it does not exist. It is not made for this.
template <class Function>
bool WithReferenceData(Function&& function) {
  return ReferenceData().Run(std::forward<Function>(function));
}

}  // namespace frame
