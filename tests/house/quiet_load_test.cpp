// Loads the module into a program whose host contract aborts: whatever the module did on its own while it is
// loaded, or while nothing has been asked of it, would end this program. The symbols themselves are compared
// in library_symbols_test.cpp.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "host/host.h"

namespace {

[[noreturn]] void Called(const char* function) {
  std::fprintf(stderr, "the module called %s although nobody asked it for anything\n", function);
  std::abort();
}

long Threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                       std::filesystem::directory_iterator());
}

const char* const kExports[] = {"GetStockCommon",         "GetCurrentStock",      "GetIndexMarket",
                                "GetPlateMarket",         "GetPlateStockMarket",  "GetStockMarket",
                                "GetOptionalStockMarket", "GetSingleStockMarket", "GetStockRanking",
                                "GetPlateRanking",        "GetStockMLine",        "GetStockKLine",
                                "GetStockUnusualEvent",   "GetStockPurchase",     "GetMarginTrade",
                                "GetStockInOut",          "GetStrengthRating",    "GetStockDistribution",
                                "GetMoneyEffect",         "GetStockMarketState",  "DestroyStockMarket"};

// RTLD_NOW: every symbol that the module imports must be found, here or in the libraries that it names
// itself.
class QuietLoad : public testing::Test {
 protected:
  void SetUp() override {
    before_ = Threads();
    module_ = dlopen(MODULE_FILE, RTLD_NOW | RTLD_GLOBAL);
    ASSERT_NE(module_, nullptr) << dlerror();
  }

  long before_ = 0;
  void* module_ = nullptr;
};

TEST_F(QuietLoad, startsNoThreadAndCallsNoHostFunction) {
  EXPECT_EQ(Threads(), before_);
}

TEST_F(QuietLoad, offersEveryExport) {
  for (const char* name : kExports) EXPECT_NE(dlsym(module_, name), nullptr) << name;
}

TEST_F(QuietLoad, destroyWithoutAnyServiceDoesNothing) {
  auto destroy = reinterpret_cast<void (*)()>(dlsym(module_, "DestroyStockMarket"));
  ASSERT_NE(destroy, nullptr);
  destroy();
  destroy();
  EXPECT_EQ(Threads(), before_);
}

TEST_F(QuietLoad, staysLoadedAfterItIsClosed) {
  ASSERT_EQ(dlclose(module_), 0);
  EXPECT_NE(dlopen(MODULE_FILE, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace

namespace common {
std::int64_t GetCurrentServerTime() {
  Called("GetCurrentServerTime");
}
std::uint32_t GetCurrentServerDate() {
  Called("GetCurrentServerDate");
}
std::uint32_t TimeToDate(std::int64_t) {
  Called("TimeToDate");
}
std::int64_t DateToTime(std::uint32_t, int, int, int) {
  Called("DateToTime");
}
bool IsSameWeek(std::uint32_t, std::uint32_t) {
  Called("IsSameWeek");
}
int Compare(const std::wstring&, const std::wstring&, bool) {
  Called("Compare");
}
std::wstring s2ws(const std::string&, unsigned) {
  Called("s2ws");
}
std::string ws2s(const std::wstring&, unsigned) {
  Called("ws2s");
}
bool ForceRemoveFile(const wchar_t*) {
  Called("ForceRemoveFile");
}
void LegalHoliday::SetHolidays(int, const std::vector<unsigned long>&) {
  Called("SetHolidays");
}
}  // namespace common

namespace stock {
MarketStatus CheckMarketStatus(std::uint32_t) {
  Called("CheckMarketStatus");
}
std::int32_t TimeSpanToNextMarketStatus(std::uint32_t) {
  Called("TimeSpanToNextMarketStatus");
}
std::uint32_t GetLastTradingDate(std::uint32_t) {
  Called("GetLastTradingDate");
}
SymbolType CheckSymbol(const wchar_t*) {
  Called("CheckSymbol");
}
StockStatus ConvertStockStatus(const std::wstring&) {
  Called("ConvertStockStatus");
}
std::wstring GetKLineFilePath(const wchar_t*) {
  Called("GetKLineFilePath");
}
std::wstring GetKLineMetaFilePath() {
  Called("GetKLineMetaFilePath");
}
}  // namespace stock

namespace base {
std::uint32_t TaskManager::AddTask(const boost::function<void()>&) {
  Called("AddTask");
}
TaskManager* TaskManagerInstance() {
  Called("TaskManagerInstance");
}
}  // namespace base

namespace pattern {
template <>
UrlHelper* CSingleton<UrlHelper>::GetInstance() {
  Called("CSingleton<UrlHelper>::GetInstance");
}
template <>
common::LegalHoliday* CSingleton<common::LegalHoliday>::GetInstance() {
  Called("CSingleton<LegalHoliday>::GetInstance");
}
}  // namespace pattern

std::wstring UrlHelper::GetSigniture(const std::wstring&, const std::map<std::string, std::string>&) {
  Called("GetSigniture");
}
std::wstring UrlHelper::StaticRoot() {
  Called("StaticRoot");
}
std::wstring UrlHelper::HistoryRoot() {
  Called("HistoryRoot");
}
bool GetSync(const std::wstring&, std::string&, const std::map<std::string, std::string>&, int) {
  Called("GetSync");
}
void GetAsyn(const std::wstring&, const AsynCallback&, const std::map<std::string, std::string>&, int) {
  Called("GetAsyn");
}
bool DownloadFileSyncWithRetry(const std::wstring&, const std::wstring&, int, int) {
  Called("DownloadFileSyncWithRetry");
}
bool GZipExtract(const wchar_t*, std::string&) {
  Called("GZipExtract");
}
void WriteProgramLogString(unsigned, const wchar_t*) {
  Called("WriteProgramLogString");
}
void WriteProgramLogNoMask(const wchar_t*, ...) {
  Called("WriteProgramLogNoMask");
}
IUserOptionalStock* GetUserOptionalStock() {
  Called("GetUserOptionalStock");
}
