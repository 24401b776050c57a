#include "reference/sqlite_database.h"

#include <sqlite3.h>

#include <utility>

namespace reference {
namespace {

constexpr int kBusyMilliseconds = 5000;

[[noreturn]] void Throw(int result, sqlite3* database) {
  throw CppSQLite3Exception(result & 0xFF, database != nullptr ? sqlite3_errmsg(database) : "no memory");
}

}  // namespace

CppSQLite3Query::CppSQLite3Query(sqlite3* database, const char* statement)
    : statement_(nullptr, &sqlite3_finalize) {
  sqlite3_stmt* prepared = nullptr;
  const int result = sqlite3_prepare_v2(database, statement, -1, &prepared, nullptr);
  statement_.reset(prepared);
  if (result != SQLITE_OK) {
    Throw(result, database);
  }
  nextRow();
}

void CppSQLite3Query::nextRow() {
  const int result = sqlite3_step(statement_.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) {
    Throw(result, sqlite3_db_handle(statement_.get()));
  }
  eof_ = result == SQLITE_DONE;
}

std::string CppSQLite3Query::getStringField(int column) const {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  return text != nullptr ? std::string(text) : std::string();
}

int CppSQLite3Query::getIntField(int column) const {
  return sqlite3_column_int(statement_.get(), column);
}

CppSQLite3DB::CppSQLite3DB() : database_(nullptr, &sqlite3_close) {}

void CppSQLite3DB::open(const std::string& path) {
  close();
  sqlite3* opened = nullptr;
  const int result =
      sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  decltype(database_) database(opened, &sqlite3_close);
  if (result != SQLITE_OK) {
    Throw(result, opened);
  }
  sqlite3_busy_timeout(opened, kBusyMilliseconds);
  // Statements carry texts in double quotes; a library may be built to refuse that. What stands in the schema
  // of a file, on the other hand, is not trusted to call anything.
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DQS_DML, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  database_ = std::move(database);
}

bool CppSQLite3DB::tableExists(const char* table) {
  const std::string statement =
      std::string("select count(*) from sqlite_master where type='table' and name='") + table +
      "' collate nocase;";
  return execScalar(statement.c_str()) > 0;
}

int CppSQLite3DB::execDML(const char* statement) {
  CppSQLite3Query query(database_.get(), statement);
  while (!query.eof()) {
    query.nextRow();
  }
  return sqlite3_changes(database_.get());
}

CppSQLite3Query CppSQLite3DB::execQuery(const char* statement) {
  return {database_.get(), statement};
}

int CppSQLite3DB::execScalar(const char* statement) {
  const CppSQLite3Query query(database_.get(), statement);
  return query.eof() ? 0 : query.getIntField(0);
}

CppSQLite3Transaction::~CppSQLite3Transaction() {
  if (!open_) {
    return;
  }
  try {
    database_.execDML("rollback;");
  } catch (const CppSQLite3Exception&) {
    // Nothing is left to take back: SQLite did it when the error arose.
  }
}

void CppSQLite3Transaction::commit() {
  database_.execDML("commit;");
  open_ = false;
}

}  // namespace reference
