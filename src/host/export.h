// Visibility of the host contract's symbols. They are defined by the library or program that plays the host
// and must be visible to the module that imports them.
#pragma once

#define STOCK_HOST_API __attribute__((visibility("default")))
