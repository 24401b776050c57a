// Host contract: HTTP. Every function may be called from any thread.
#pragma once

#include <boost/function.hpp>
#include <cstddef>
#include <map>
#include <string>

#include "host/export.h"

/// Completion of an asynchronous request. `ok` is true for a complete answer with status 200; on another
/// status the body is handed over with `ok` false. `body` is null and `length` 0 when no answer came. The
/// bytes belong to the host and are valid during the call only.
using AsynCallback = boost::function<void(bool ok, const char* body, std::size_t length)>;

/// Performs a GET and returns when the answer is complete, or after `seconds` for the whole exchange. `body`
/// is replaced. True for a complete answer with status 200. Works from inside a completion.
STOCK_HOST_API bool GetSync(const std::wstring& url, std::string& body,
                            const std::map<std::string, std::string>& headers, int seconds);

/// Starts a GET and returns at once. `done` is called exactly once, on a thread of the host, never from
/// inside this call, after `seconds` at the latest.
STOCK_HOST_API void GetAsyn(const std::wstring& url, const AsynCallback& done,
                            const std::map<std::string, std::string>& headers, int seconds);

/// Downloads `url` to the file `path`, which is replaced as a whole or not at all. Up to `retries` tries,
/// each of at most `seconds`. True when the new file is in place, complete and a whole gzip file.
STOCK_HOST_API bool DownloadFileSyncWithRetry(const std::wstring& url, const std::wstring& path, int retries,
                                              int seconds);
