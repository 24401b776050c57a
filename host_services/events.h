// Who is told what happens inside the services. Callable from any thread.
#pragma once

#include <string_view>

#include "stock_host.h"

namespace stock_host {

/// Tells the listener, if there is one.
void Announce(Event::Kind kind, std::string_view text);

}  // namespace stock_host
