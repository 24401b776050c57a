#include "reference/package_version_store.h"

#include <sqlite3.h>

#include <QDir>
#include <QFileInfo>
#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "host/files.h"
#include "host/text.h"
#include "request/gates.h"

namespace reference {
namespace {

constexpr const char* kTable = "kline_pkg_info";

// A statement of at most 259 bytes; nothing when it would be longer.
class Statement {
 public:
  template <class... Arguments>
  explicit Statement(const char* format, Arguments... arguments) {
    const int length = std::snprintf(text_.data(), text_.size(), format, arguments...);
    fits_ = length >= 0 && static_cast<std::size_t>(length) < text_.size();
  }

  [[nodiscard]] explicit operator bool() const { return fits_; }
  [[nodiscard]] const char* Text() const { return text_.data(); }

 private:
  std::array<char, 260> text_{};
  bool fits_ = false;
};

// Texts go into statements as they are, in double quotes: nothing may pass that ends the quotes or names a
// column.
bool MayBeStored(std::string_view version) {
  return version.empty() || request::IsPlainVersion(version);
}

// Throws when any page of the file is not what it should be. Reading alone would not find that, and the store
// would stay useless for good.
void CheckPages(CppSQLite3DB& database) {
  const CppSQLite3Query verdict = database.execQuery("pragma integrity_check(1);");
  if (verdict.eof() || verdict.getStringField(0) != "ok") {
    throw CppSQLite3Exception(SQLITE_CORRUPT, "integrity check");
  }
}

// Rows are read by position, found by id and inserted without names.
bool HasColumns(CppSQLite3DB& database) {
  const Statement columns("pragma table_info(\"%s\");", kTable);
  CppSQLite3Query column = database.execQuery(columns.Text());
  for (const char* const name : {"id", "version", "count"}) {
    if (column.eof() || sqlite3_stricmp(column.getStringField(1).c_str(), name) != 0) {
      return false;
    }
    column.nextRow();
  }
  return column.eof();
}

// A trigger or an index of somebody else's could refuse every row.
bool IsAlone(CppSQLite3DB& database) {
  const Statement others(
      "select count(*) from sqlite_master where lower(tbl_name)='%s' and type<>'table' and sql is not null;",
      kTable);
  return database.execScalar(others.Text()) == 0;
}

// Makes the table, also in the place of one with other columns, with an index or a trigger, and of a view: it
// might never take a row. All other tables stay.
void EnsureTable(CppSQLite3DB& database) {
  const bool exists = database.tableExists(kTable);
  if (exists && HasColumns(database) && IsAlone(database)) {
    return;
  }
  const Statement drop(exists ? "drop table \"%s\";" : "drop view if exists \"%s\";", kTable);
  database.execDML(drop.Text());
  const Statement create(
      "create table \"%s\" (id int primary key not null, version char(20) not null, count int not null);",
      kTable);
  database.execDML(create.Text());
}

// Whether an error at opening says that the file itself is bad. A lock, a full disk or a missing permission
// does not. The statements of the opening are right, so a plain error comes from what the file says of
// itself; and so do a refusal to write to a file that could be written, and a store of a few pages that wants
// more memory than there is.
bool IsDamage(int code, const QFileInfo& file) {
  switch (code) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR:
    case SQLITE_FORMAT:
    case SQLITE_NOMEM:
    case SQLITE_TOOBIG:
      return true;
    case SQLITE_READONLY:
      return file.isWritable() && QFileInfo(file.path()).isWritable();
    default:
      return false;
  }
}

std::wstring PackageDirectory(const wchar_t* symbol) {
  if (symbol == nullptr || !request::IsPlainSymbol(symbol)) {
    return {};
  }
  return stock::GetKLineFilePath(symbol);
}

}  // namespace

PackageVersionStore::PackageVersionStore(const wchar_t* symbol) : directory_(PackageDirectory(symbol)) {
  if (!directory_.empty() && QDir().mkpath(QString::fromStdWString(directory_))) {
    Open(directory_ + L"/trace.db");
  }
}

void PackageVersionStore::Open(const std::wstring& path) {
  std::optional<int> error;
  try {
    database_.open(common::ws2s(path, common::kUtf8));
    // Test and creation are one step: of two stores that open a new file at once, one makes the table.
    CppSQLite3Transaction transaction(database_);
    // A table is not made in a damaged file either.
    CheckPages(database_);
    EnsureTable(database_);
    transaction.commit();
    open_ = true;
  } catch (const CppSQLite3Exception& exception) {
    error = exception.errorCode();
  }
  if (!error) {
    return;
  }
  database_.close();
  const QFileInfo file(QString::fromStdWString(path));
  if (IsDamage(*error, file)) {
    for (const wchar_t* const suffix : {L"", L"-journal", L"-wal", L"-shm"}) {
      common::ForceRemoveFile((path + suffix).c_str());
    }
  }
}

std::optional<KLineMetaInfo> PackageVersionStore::Get(std::uint16_t id) {
  const Statement read("select * from \"%s\" where id=%d;", kTable, static_cast<int>(id));
  std::string version;
  int count = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!open_) {
      return std::nullopt;
    }
    try {
      const CppSQLite3Query row = database_.execQuery(read.Text());
      if (row.eof()) {
        return KLineMetaInfo();
      }
      version = row.getStringField(1);
      count = row.getIntField(2);
    } catch (const CppSQLite3Exception&) {
      return std::nullopt;
    }
  }
  if (!MayBeStored(version)) {
    return KLineMetaInfo();
  }
  return KLineMetaInfo{common::s2ws(version, common::kUtf8), count};
}

void PackageVersionStore::Set(std::uint16_t id, const KLineMetaInfo& info) {
  const std::string version = common::ws2s(info.version, common::kUtf8);
  if (!MayBeStored(version)) {
    return;
  }
  const int key = id;
  const Statement present("select count(*) from \"%s\" where id=%d;", kTable, key);
  const Statement update("update \"%s\" set version=\"%s\",count=%d where id=%d;", kTable, version.c_str(),
                         info.count, key);
  const Statement insert("insert into %s values(%d, \"%s\", %d);", kTable, key, version.c_str(), info.count);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!open_) {
    return;
  }
  try {
    // One transaction, or two stores could both find no row and both insert one.
    CppSQLite3Transaction transaction(database_);
    const Statement& write = database_.execScalar(present.Text()) > 0 ? update : insert;
    if (write) {
      database_.execDML(write.Text());
      transaction.commit();
    }
  } catch (const CppSQLite3Exception&) {
    // The package is brought to disk again by the next load.
  }
}

}  // namespace reference
