// Visibility of the module's 21 exported functions; nothing else leaves the library. The host contract has a
// macro of its own in host/export.h.
#pragma once

#define STOCK_MARKET_API __attribute__((visibility("default")))
