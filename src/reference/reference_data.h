// The one reference-data object. Services read it through a guarded look-up: nobody keeps a pointer, because
// the host may end it at any moment.
#pragma once

#include <utility>

#include "frame/guarded.h"

class IStockCommon;

namespace reference {

frame::Guarded<IStockCommon>& ReferenceData();

/// The object, made when there is none; null when it cannot be made. One thread, the host's main thread.
IStockCommon* TheStockCommon();

/// Ends the object when the look-ups on it have returned.
void EndStockCommon();

template <class Function>
bool WithReferenceData(Function&& function) {
  return ReferenceData().Run(std::forward<Function>(function));
}

}  // namespace reference
