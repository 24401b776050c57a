// Host contract: the program log. Both functions may be called from any thread.
#pragma once

#include "host/export.h"

/// Appends a fixed message. The module always passes all ones as `mask`.
STOCK_HOST_API void WriteProgramLogString(unsigned mask, const wchar_t* text);

/// Appends a message made from a printf-style wide format, without masking.
STOCK_HOST_API void WriteProgramLogNoMask(const wchar_t* format, ...);
