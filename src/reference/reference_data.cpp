#include "reference/reference_data.h"

#include "frame/running.h"
#include "frame/single_objects.h"
#include "services.h"

namespace reference {

frame::Guarded<CStockCommon>& ReferenceData() {
  return frame::Immortal<frame::Guarded<CStockCommon>, CStockCommon>();
}

IStockCommon* MakeStockCommon() {
  return frame::MakeOrNull<CStockCommon>();
}

IStockCommon* TheStockCommon() {
  IStockCommon* const service = frame::Only<&MakeStockCommon>::Get();
  if (service != nullptr) {
    ReferenceData().Set(static_cast<CStockCommon*>(service));
  }
  return service;
}

void EndStockCommon() {
  ReferenceData().Clear();
  frame::Only<&MakeStockCommon>::End();
}

}  // namespace reference
