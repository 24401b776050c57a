// Host contract: access to the host's single instances.
#pragma once

#include "host/export.h"

namespace pattern {

/// One object of `T` per process, whichever library asks. The host library defines `GetInstance` for
/// `UrlHelper` and `common::LegalHoliday`; this header only declares it.
template <class T>
class STOCK_HOST_API CSingleton {
 public:
  /// The object; never null, never deleted. Callable from any thread.
  static T* GetInstance();
};

}  // namespace pattern
