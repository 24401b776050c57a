// Host contract: where the module's files live, and file operations. Every function may be called from any
// thread.
#pragma once

#include <string>

#include "host/export.h"

namespace common {

/// Deletes a file. True when no such file is left, also when there was none.
STOCK_HOST_API bool ForceRemoveFile(const wchar_t* path);

}  // namespace common

namespace stock {

/// The directory of a symbol's K-line packages, without a trailing separator. Empty when `symbol` is not
/// "sh" or "sz" and six digits, in any case.
STOCK_HOST_API std::wstring GetKLineFilePath(const wchar_t* symbol);

/// The directory of the K-line metadata file, without a trailing separator.
STOCK_HOST_API std::wstring GetKLineMetaFilePath();

}  // namespace stock

/// Unpacks the gzip file `path` into `text`. False, with `text` empty, when the file cannot be read, is no
/// complete gzip file, or unpacks to more than 64 MiB.
STOCK_HOST_API bool GZipExtract(const wchar_t* path, std::string& text);
