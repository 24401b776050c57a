// A thin wrapper of SQLite: one connection, one query, one exception type. What is kept in a database is told
// in package_version_store.h. Not thread-safe: one thread at a time uses a connection and its queries.
#pragma once

#include <exception>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace reference {

/// Every error of the wrapper.
class CppSQLite3Exception final : public std::exception {
 public:
  CppSQLite3Exception(int code, std::string message) : code_(code), message_(std::move(message)) {}

  /// SQLite's primary result code.
  [[nodiscard]] int errorCode() const { return code_; }
  [[nodiscard]] const char* what() const noexcept override { return message_.c_str(); }

 private:
  int code_;
  std::string message_;
};

/// The rows of one statement, from the first on. Must be finalized before its database is closed.
class CppSQLite3Query {
 public:
  CppSQLite3Query(sqlite3* database, const char* statement);

  /// True when there is no row, or none any more.
  [[nodiscard]] bool eof() const { return eof_; }
  void nextRow();

  /// A column of the present row: as UTF-8 text, empty when null; as a number, 0 when null. Needs a row.
  [[nodiscard]] std::string getStringField(int column) const;
  [[nodiscard]] int getIntField(int column) const;

  /// Lets go of the statement. Done by the destructor as well.
  void finalize() {
    statement_.reset();
    eof_ = true;
  }

 private:
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement_;
  bool eof_ = true;
};

/// One connection.
class CppSQLite3DB {
 public:
  CppSQLite3DB();

  /// Opens the database file `path` (UTF-8), which is made if it does not exist. A file that others hold
  /// locked is waited for, 5 s at most per statement.
  void open(const std::string& path);

  [[nodiscard]] bool tableExists(const char* table);

  /// Runs a statement and returns the number of rows that it changed.
  int execDML(const char* statement);

  [[nodiscard]] CppSQLite3Query execQuery(const char* statement);

  /// The first column of the first row as a number; 0 when there is no row.
  [[nodiscard]] int execScalar(const char* statement);

  /// Does nothing when nothing is open.
  void close() { database_.reset(); }

 private:
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> database_;
};

/// A transaction that holds the write lock from its beginning; taken back unless it is committed.
class CppSQLite3Transaction {
 public:
  explicit CppSQLite3Transaction(CppSQLite3DB& database) : database_(database) {
    database_.execDML("begin immediate;");
  }
  CppSQLite3Transaction(const CppSQLite3Transaction&) = delete;
  CppSQLite3Transaction& operator=(const CppSQLite3Transaction&) = delete;
  ~CppSQLite3Transaction();

  void commit();

 private:
  CppSQLite3DB& database_;
  bool open_ = true;
};

}  // namespace reference
