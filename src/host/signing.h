// Host contract: addresses of the servers and signing of quote API requests.
#pragma once

#include <map>
#include <string>

#include "host/export.h"

/// The one instance of the process comes from `pattern::CSingleton<UrlHelper>::GetInstance()`. Every
/// operation may be called from any thread.
class STOCK_HOST_API UrlHelper {
 public:
  /// The complete signed URL of a quote API request: server address, `path`, and `parameters` (UTF-8) as the
  /// query in byte order of their keys. Empty when no server or no key is configured. (The name is spelled as
  /// hosts know it.)
  std::wstring GetSigniture(const std::wstring& path, const std::map<std::string, std::string>& parameters);

  /// Root of the static file server, ending in "/".
  std::wstring StaticRoot();

  /// Address of the history query service, without a trailing "/".
  std::wstring HistoryRoot();
};
