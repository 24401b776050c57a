// Host contract: the user's watch list.
#pragma once

#include <string>
#include <vector>

#include "frame/observer.h"
#include "host/export.h"

/// The user's own list of watched symbols, in the user's order, as an observed subject.
class IUserOptionalStock {
 public:
  /// Tells `observer` every change of the list from now on, and the present list once, on a thread of the
  /// host. The host holds the bare pointer until `Detach`.
  virtual void Attach(IUpdate1<std::vector<std::wstring>>* observer) = 0;

  /// After the return, no call of `observer` is running or will come (from other threads).
  virtual void Detach(IUpdate1<std::vector<std::wstring>>* observer) = 0;

 protected:
  ~IUserOptionalStock() = default;
};

/// The watch list of the process; null when the host has none.
STOCK_HOST_API IUserOptionalStock* GetUserOptionalStock();
