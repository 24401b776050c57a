#include "reference/reference_data.h"

#include "frame/single_objects.h"
#include "reference/stock_common.h"
#include "services.h"

namespace reference {

frame::Guarded<IStockCommon>& ReferenceData() {
  return frame::Immortal<frame::Guarded<IStockCommon>, IStockCommon>();
}

IStockCommon* TheStockCommon() {
  IStockCommon* const object = frame::Only<&MakeStockCommon>::Get();
  if (object != nullptr) {
    ReferenceData().Set(object);
  }
  return object;
}

void EndStockCommon() {
  ReferenceData().Clear();
  frame::Only<&MakeStockCommon>::End();
}

}  // namespace reference
