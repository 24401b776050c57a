// The index market under test. The program's link decides where it comes from: the library's export
// (index_market_from_export.cpp) or the class's own factory (index_market_from_factory.cpp).
#pragma once

#include "quotes/index_market.h"

/// A running service.
IIndexMarket* BeginIndexMarket();

/// Ends it.
void EndIndexMarket(IIndexMarket* service);
