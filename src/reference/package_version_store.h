// What was last brought to disk of a symbol's K-line packages: version and number of records of each, in a
// small database beside the package files. What the server offers is in kline_metadata.h. Thread-safe;
// several stores of one symbol, in one process or several, may be open at once.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "reference/sqlite_database.h"
#include "reference/stock_common.h"

namespace reference {

/// Opened for one load of K-lines, and closed with it. Errors never leave it: a store that cannot be opened
/// says and takes nothing. A file that is damaged, or no store, is deleted when it is opened; the
/// next store makes a new one.
class PackageVersionStore {
 public:
  /// Opens the store of `symbol`, and makes it, with its directory, if it does not exist.
  explicit PackageVersionStore(const wchar_t* symbol);
  PackageVersionStore(const PackageVersionStore&) = delete;
  PackageVersionStore& operator=(const PackageVersionStore&) = delete;

  /// What is stored for a package (see package_key.h). Empty when nothing is, and when what is stored cannot
  /// be a version. No value when the store cannot be read: it says nothing of the package then.
  [[nodiscard]] std::optional<KLineMetaInfo> Get(std::uint16_t id);

  /// Stores `info` for a package. A version that may not stand in a statement is not stored.
  void Set(std::uint16_t id, const KLineMetaInfo& info);

  /// False when the store could not be opened.
  [[nodiscard]] bool IsOpen() const { return open_; }

  /// The directory of the symbol's packages and of this store. Empty, without a question to the host, for
  /// null and for what is no "sh" or "sz" and six digits: texts of servers and views do not become paths.
  [[nodiscard]] const std::wstring& Directory() const { return directory_; }

 private:
  void Open(const std::wstring& path);

  const std::wstring directory_;
  std::mutex mutex_;  // guards database_
  CppSQLite3DB database_;
  bool open_ = false;  // written by the constructor only
};

}  // namespace reference
