// The gate of version texts: what passes stands in a package's address and in the store's statements as it
// is, and comes back from both unchanged; what does not pass reaches neither.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/text.h"
#include "reference/sqlite_database.h"
#include "request/gates.h"
#include "request/urls.h"

namespace {

bool IsSafe(const std::string& version) {
  return !version.empty() && version.size() <= 64 &&
         version.find_first_not_of(
             " !$'()*+,-.0123456789:;<=>@ABCDEFGHIJKLMNOPQRSTUVWXYZ[]^_`"
             "abcdefghijklmnopqrstuvwxyz{|}~") == std::string::npos;
}

// A table in memory with a row of its own, to see whether a statement does only what it should.
class Table {
 public:
  Table() {
    database_.open(":memory:");
    database_.execDML("create table t (id int primary key not null, version char(20) not null, count int);");
    database_.execDML("insert into t values(1, \"untouched\", 1);");
    database_.execDML("insert into t values(2, \"old\", 2);");
  }

  // What the statement with `version` in double quotes leaves in its row.
  std::string AfterUpdate(const std::string& version) {
    database_.execDML(("update t set version=\"" + version + "\",count=3 where id=2;").c_str());
    const auto other = database_.execQuery("select version,count from t where id=1;");
    const auto row = database_.execQuery("select version,count from t where id=2;");
    if (other.getStringField(0) != "untouched" || other.getIntField(1) != 1 || row.getIntField(1) != 3) {
      std::abort();
    }
    return row.getStringField(0);
  }

 private:
  reference::CppSQLite3DB database_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const table = new Table;
  const std::string version(reinterpret_cast<const char*>(data), size);
  const std::wstring url = request::KLinePackageUrl(L"sh600000", 1, 1, version);
  if (!request::IsPlainVersion(version)) {
    if (!url.empty()) {
      std::abort();
    }
    return 0;
  }
  if (!IsSafe(version) || table->AfterUpdate(version) != version) {
    std::abort();
  }
  const std::string narrow = common::ws2s(url, common::kUtf8);
  if (!narrow.ends_with("." + version + ".gzip")) {
    std::abort();
  }
  return 0;
}
