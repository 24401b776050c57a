// The version store of a symbol's K-line packages: what is stored, what is refused, what is repaired.
#include "reference/package_version_store.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "reference/package_key.h"
#include "scripted_host.h"

namespace {

using reference::PackageKey;
using reference::PackageVersionStore;

const std::uint16_t kDayKey = PackageKey(1, 1);
const std::uint16_t kWeek = PackageKey(2, 1);

class VersionStore : public ::testing::Test {
 protected:
  static constexpr const wchar_t* kSymbol = L"sh600000";

  std::string Directory() const { return host.Directory() + "/kline/sh600000"; }
  std::string Path() const { return Directory() + "/trace.db"; }

  void Write(const std::string& path, const std::string& bytes) const {
    std::filesystem::create_directories(Directory());
    std::ofstream(path, std::ios::binary) << bytes;
  }

  // Runs a statement on the file behind the store's back; the first column of its first row.
  std::string Run(const std::string& statement) const {
    std::filesystem::create_directories(Directory());
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(Path().c_str(), &database), SQLITE_OK);
    std::string result;
    sqlite3_stmt* prepared = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database, statement.c_str(), -1, &prepared, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    if (sqlite3_step(prepared) == SQLITE_ROW) {
      result = reinterpret_cast<const char*>(sqlite3_column_text(prepared, 0));
    }
    sqlite3_finalize(prepared);
    sqlite3_close(database);
    return result;
  }

  static KLineMetaInfo Stored(std::uint16_t id) {
    PackageVersionStore store(kSymbol);
    EXPECT_TRUE(store.IsOpen());
    return store.Get(id).value_or(KLineMetaInfo());
  }

  ScriptedHost host;
};

TEST_F(VersionStore, makesDirectoryFileAndTable) {
  EXPECT_TRUE(PackageVersionStore(kSymbol).IsOpen());
  EXPECT_EQ(
      Run("select sql from sqlite_master where name='kline_pkg_info'"),
      "CREATE TABLE \"kline_pkg_info\" (id int primary key not null, version char(20) not null, count int "
      "not null)");
}

TEST_F(VersionStore, isEmptyWhenItIsNew) {
  EXPECT_EQ(Stored(kDayKey), KLineMetaInfo());
}

TEST_F(VersionStore, keepsWhatIsSet) {
  PackageVersionStore(kSymbol).Set(kDayKey, {L"20240315", 4711});
  EXPECT_EQ(Stored(kDayKey), (KLineMetaInfo{L"20240315", 4711}));
  EXPECT_EQ(Run("select id || '|' || version || '|' || count from kline_pkg_info"), "257|20240315|4711");
}

TEST_F(VersionStore, replacesARow) {
  PackageVersionStore store(kSymbol);
  store.Set(kDayKey, {L"1", 1});
  store.Set(kDayKey, {L"2", 2});
  EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{L"2", 2}));
  EXPECT_EQ(Run("select count(*) from kline_pkg_info"), "1");
}

TEST_F(VersionStore, keepsPackagesApart) {
  PackageVersionStore store(kSymbol);
  store.Set(kDayKey, {L"1", 1});
  store.Set(kWeek, {L"2", 2});
  store.Set(kDayKey, {L"3", 3});
  EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{L"3", 3}));
  EXPECT_EQ(store.Get(kWeek), (KLineMetaInfo{L"2", 2}));
  EXPECT_EQ(store.Get(PackageKey(3, 1)), KLineMetaInfo());
}

TEST_F(VersionStore, keepsExtremes) {
  PackageVersionStore store(kSymbol);
  const std::wstring longest(64, L'9');
  store.Set(0xFFFF, {longest, std::numeric_limits<std::int32_t>::min()});
  EXPECT_EQ(store.Get(0xFFFF), (KLineMetaInfo{longest, std::numeric_limits<std::int32_t>::min()}));
  store.Set(0, {L"", std::numeric_limits<std::int32_t>::max()});
  EXPECT_EQ(store.Get(0), (KLineMetaInfo{L"", std::numeric_limits<std::int32_t>::max()}));
}

TEST_F(VersionStore, keepsVersionsThatLookLikeSql) {
  PackageVersionStore store(kSymbol);
  for (const wchar_t* const version :
       {L"a'b", L"1; drop table kline_pkg_info; --", L"null", L"(select 1)", L"true", L"current_timestamp",
        L"kline_pkg_info", L"a b", L" 20240315", L" ", L"id "}) {
    store.Set(kDayKey, {version, 1});
    EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{version, 1}));
  }
}

TEST_F(VersionStore, refusesVersionsThatWouldChangeTheStatement) {
  PackageVersionStore store(kSymbol);
  store.Set(kDayKey, {L"1", 1});
  for (const wchar_t* const version : {L"2\",count=99,version=\"3", L"id", L"COUNT", L"version", L"_rowid_",
                                       L"版本", L"a\nb", L"100%d", L"a\\b"}) {
    store.Set(kDayKey, {version, 2});
    store.Set(kWeek, {version, 2});
    EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{L"1", 1}));
    EXPECT_EQ(store.Get(kWeek), KLineMetaInfo());
  }
}

TEST_F(VersionStore, readsANullCountAsZero) {
  Run("create table \"kline_pkg_info\" (id int primary key not null, version char(20) not null, count int)");
  Run("insert into kline_pkg_info values(257, '7', null)");
  EXPECT_EQ(Stored(kDayKey), (KLineMetaInfo{L"7", 0}));
}

TEST_F(VersionStore, readsARowWithoutAUsableVersionAsEmpty) {
  static_cast<void>(PackageVersionStore(kSymbol));
  Run("insert into kline_pkg_info values(257, 'zz\"zz', 5)");
  EXPECT_EQ(Stored(kDayKey), KLineMetaInfo());
  PackageVersionStore(kSymbol).Set(kDayKey, {L"8", 8});
  EXPECT_EQ(Stored(kDayKey), (KLineMetaInfo{L"8", 8}));
}

TEST_F(VersionStore, leavesOtherTablesOfTheFileAlone) {
  Run("create table other (x int)");
  PackageVersionStore(kSymbol).Set(kDayKey, {L"1", 1});
  EXPECT_EQ(Run("select count(*) from sqlite_master where name='other'"), "1");
}

TEST_F(VersionStore, mayBeOpenTwice) {
  PackageVersionStore first(kSymbol);
  PackageVersionStore second(kSymbol);
  first.Set(kDayKey, {L"1", 1});
  second.Set(kWeek, {L"2", 2});
  EXPECT_EQ(second.Get(kDayKey), (KLineMetaInfo{L"1", 1}));
  EXPECT_EQ(first.Get(kWeek), (KLineMetaInfo{L"2", 2}));
}

// --- What cannot be opened ---

// Also where the host would make a path of anything.
TEST_F(VersionStore, staysClosedForWhatIsNoSymbol) {
  host.GiveEveryTextADirectory();
  for (const wchar_t* const symbol : {L"", L"../evil", L"sh60000", L"bk0001"}) {
    PackageVersionStore store(symbol);
    EXPECT_FALSE(store.IsOpen());
    store.Set(kDayKey, {L"1", 1});
    EXPECT_EQ(store.Get(kDayKey), std::nullopt);
  }
  EXPECT_TRUE(std::filesystem::is_empty(host.Directory()));
}

TEST_F(VersionStore, staysClosedWithoutADirectory) {
  std::filesystem::create_directories(host.Directory() + "/kline");
  std::ofstream(Directory()) << "a file where the directory should be";
  PackageVersionStore store(kSymbol);
  EXPECT_FALSE(store.IsOpen());
  store.Set(kDayKey, {L"1", 1});
  EXPECT_EQ(store.Get(kDayKey), std::nullopt);
}

TEST_F(VersionStore, deletesNothingThatIsNotDamaged) {
  std::filesystem::create_directories(Path());
  EXPECT_FALSE(PackageVersionStore(kSymbol).IsOpen());
  EXPECT_TRUE(std::filesystem::is_directory(Path()));
}

TEST_F(VersionStore, swallowsErrorsAfterTheOpen) {
  PackageVersionStore store(kSymbol);
  store.Set(kDayKey, {L"1", 1});
  Run("drop table kline_pkg_info");
  EXPECT_EQ(store.Get(kDayKey), std::nullopt);
  store.Set(kDayKey, {L"2", 2});
}

// --- Repair ---

TEST_F(VersionStore, deletesADamagedFileAndMakesANewOneWithTheNextLoad) {
  Write(Path(), std::string(4096, 'x'));
  PackageVersionStore damaged(kSymbol);
  EXPECT_FALSE(damaged.IsOpen());
  damaged.Set(kDayKey, {L"1", 1});
  EXPECT_EQ(damaged.Get(kDayKey), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(Path()));
  PackageVersionStore(kSymbol).Set(kDayKey, {L"2", 2});
  EXPECT_EQ(Stored(kDayKey), (KLineMetaInfo{L"2", 2}));
}

// SQLite itself deletes a journal that it has rolled back or takes for garbage. One that a finished
// transaction has left, its head zeroed, it leaves alone, and shared memory without a log as well.
TEST_F(VersionStore, deletesTheJournalOfADamagedFileWithIt) {
  for (const char* const suffix : {"-journal", "-shm"}) {
    Write(Path(), std::string(4096, 'x'));
    Write(Path() + suffix, std::string(512, '\0'));
    EXPECT_FALSE(PackageVersionStore(kSymbol).IsOpen());
    EXPECT_TRUE(std::filesystem::is_empty(Directory())) << suffix;
  }
}

TEST_F(VersionStore, findsDamageBehindTheFirstPage) {
  PackageVersionStore(kSymbol).Set(kDayKey, {L"1", 1});
  {
    std::fstream file(Path(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(4096);
    file << std::string(4096, '\xFF');
  }
  EXPECT_FALSE(PackageVersionStore(kSymbol).IsOpen());
  EXPECT_TRUE(PackageVersionStore(kSymbol).IsOpen());
}

// The table was made in the damaged file, and the damage found one load later only.
TEST_F(VersionStore, findsDamageWhereThereIsNoTableYet) {
  Run("create table other (x int)");
  Run("create table gone (x int)");
  Run("drop table gone");
  {
    std::fstream file(Path(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(33);  // the first free page
    file.put('\x7F');
  }
  EXPECT_FALSE(PackageVersionStore(kSymbol).IsOpen());
  EXPECT_TRUE(PackageVersionStore(kSymbol).IsOpen());
}

// The whole file was deleted, and with it whatever else it held.
TEST_F(VersionStore, replacesATableOfOtherColumnsAndNothingElse) {
  const std::string table = "create table kline_pkg_info ";
  for (const std::string& schema :
       {table + "(id int primary key not null, edition char(20) not null, count int not null)",
        table + "(id int primary key not null, version char(20) not null)",
        table + "(count int not null, version char(20) not null, id int primary key not null)",
        table + "(id int primary key not null, version char(20) not null, count int not null, more int)",
        std::string("create view kline_pkg_info as select 257 as id, '7' as version, 7 as count")}) {
    std::filesystem::remove_all(Directory());
    Run("create table other as select 4711 as x");
    Run(schema);
    PackageVersionStore store(kSymbol);
    EXPECT_TRUE(store.IsOpen()) << schema;
    store.Set(kDayKey, {L"1", 1});
    EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{L"1", 1})) << schema;
    EXPECT_EQ(Run("select x from other"), "4711") << schema;
  }
}

// It might refuse every row, and the package would be downloaded again and again.
TEST_F(VersionStore, replacesATableWithATriggerOrAnIndexOfSomebodyElse) {
  for (const char* const other :
       {"create trigger no before insert on kline_pkg_info begin select raise(abort, 'no'); end",
        "create unique index one on kline_pkg_info (count)"}) {
    std::filesystem::remove_all(Directory());
    Run("create table other as select 4711 as x");
    Run("create table kline_pkg_info (id int primary key not null, version char(20) not null, count int not "
        "null)");
    Run(other);
    PackageVersionStore store(kSymbol);
    EXPECT_TRUE(store.IsOpen()) << other;
    store.Set(kDayKey, {L"1", 1});
    store.Set(kDayKey + 1, {L"2", 1});
    EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{L"1", 1})) << other;
    EXPECT_EQ(store.Get(kDayKey + 1), (KLineMetaInfo{L"2", 1})) << other;
    EXPECT_EQ(Run("select x from other"), "4711") << other;
  }
}

TEST_F(VersionStore, takesATableWhoseNamesAreWrittenInOtherLetters) {
  Run("create table KLINE_PKG_INFO (ID int, Version text, COUNT int)");
  Run("insert into kline_pkg_info values(257, '7', 8)");
  PackageVersionStore store(kSymbol);
  EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{L"7", 8}));
  store.Set(kDayKey, {L"8", 9});
  EXPECT_EQ(store.Get(kDayKey), (KLineMetaInfo{L"8", 9}));
}

TEST_F(VersionStore, takesAnEmptyFileForANewOne) {
  Write(Path(), "");
  EXPECT_TRUE(PackageVersionStore(kSymbol).IsOpen());
}

TEST_F(VersionStore, livesWithAFileThatCannotBeDeleted) {
  Write(Path(), std::string(4096, 'x'));
  host.FailRemoving(true);
  EXPECT_FALSE(PackageVersionStore(kSymbol).IsOpen());
  EXPECT_FALSE(PackageVersionStore(kSymbol).IsOpen());
}

// Where the user's directory has a name that is not ASCII, as Chinese ones have.
TEST(VersionStoreBelowAnyDirectory, keepsWhatIsSet) {
  const char* const set = std::getenv("TMPDIR");
  const std::optional<std::string> before = set != nullptr ? std::optional<std::string>(set) : std::nullopt;
  const std::string directory =
      std::filesystem::temp_directory_path() / ("csm 行情's-" + std::to_string(getpid()));
  std::filesystem::create_directories(directory);
  ASSERT_EQ(setenv("TMPDIR", directory.c_str(), 1), 0);
  {
    ScriptedHost host;
    ASSERT_EQ(host.Directory().rfind(directory, 0), 0U);
    PackageVersionStore(L"sh600000").Set(kDayKey, {L"1", 2});
    EXPECT_TRUE(std::filesystem::exists(host.Directory() + "/kline/sh600000/trace.db"));
    EXPECT_EQ(PackageVersionStore(L"sh600000").Get(kDayKey), (KLineMetaInfo{L"1", 2}));
  }
  before ? setenv("TMPDIR", before->c_str(), 1) : unsetenv("TMPDIR");
  std::filesystem::remove_all(directory);
}

}  // namespace
