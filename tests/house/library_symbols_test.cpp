// The dynamic symbols of the two libraries, as the system's own tools see them. The behaviour of what is
// exported is tested elsewhere; quiet_load_test.cpp loads the module in earnest.
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Names = std::set<std::string>;

const Names kExports = {"DestroyStockMarket",   "GetCurrentStock",      "GetIndexMarket",
                        "GetMarginTrade",       "GetMoneyEffect",       "GetOptionalStockMarket",
                        "GetPlateMarket",       "GetPlateRanking",      "GetPlateStockMarket",
                        "GetSingleStockMarket", "GetStockCommon",       "GetStockDistribution",
                        "GetStockInOut",        "GetStockKLine",        "GetStockMLine",
                        "GetStockMarket",       "GetStockMarketState",  "GetStockPurchase",
                        "GetStockRanking",      "GetStockUnusualEvent", "GetStrengthRating"};

const Names kHostContract = {"GZipExtract",
                             "GetAsyn",
                             "GetSync",
                             "DownloadFileSyncWithRetry",
                             "GetUserOptionalStock",
                             "WriteProgramLogNoMask",
                             "WriteProgramLogString",
                             "UrlHelper::GetSigniture",
                             "UrlHelper::HistoryRoot",
                             "UrlHelper::StaticRoot",
                             "base::TaskManager::AddTask",
                             "base::TaskManagerInstance",
                             "common::Compare",
                             "common::DateToTime",
                             "common::ForceRemoveFile",
                             "common::GetCurrentServerDate",
                             "common::GetCurrentServerTime",
                             "common::IsSameWeek",
                             "common::LegalHoliday::SetHolidays",
                             "common::TellOfClockJumps",
                             "common::TimeToDate",
                             "common::s2ws",
                             "common::ws2s",
                             "pattern::CSingleton<UrlHelper>::GetInstance",
                             "pattern::CSingleton<common::LegalHoliday>::GetInstance",
                             "stock::CheckMarketStatus",
                             "stock::CheckSymbol",
                             "stock::ConvertStockStatus",
                             "stock::GetKLineFilePath",
                             "stock::GetKLineMetaFilePath",
                             "stock::GetLastTradingDate",
                             "stock::TimeSpanToNextMarketStatus"};

std::vector<std::string> LinesOf(const std::string& command) {
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string text;
  char buffer[4096];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) text.append(buffer, count);
  if (pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The first word of every line that nm prints in its portable form: the symbol.
Names Symbols(const std::string& options, const std::string& file) {
  Names symbols;
  for (const std::string& line : LinesOf(std::string(NM) + " -D -P " + options + " '" + file + "'"))
    symbols.insert(line.substr(0, line.find(' ')));
  return symbols;
}

// "common::s2ws" for the mangled form of common::s2ws[abi:cxx11](...): the name without tags and parameters.
std::string PlainName(const std::string& mangled) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> demangled(
      abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), std::free);
  if (status != 0) return mangled;
  const std::string whole = demangled.get();
  return whole.substr(0, whole.find_first_of("(["));
}

// The value in brackets of every line of the dynamic section with this tag.
std::vector<std::string> DynamicEntries(const std::string& tag) {
  std::vector<std::string> values;
  for (const std::string& line : LinesOf(std::string(READELF) + " -dW '" MODULE_FILE "'")) {
    if (line.find("(" + tag + ")") == std::string::npos) continue;
    const std::size_t open = line.find('[');
    values.push_back(open == std::string::npos ? line : line.substr(open + 1, line.find(']') - open - 1));
  }
  return values;
}

// In a sanitizer build the runtime stands in the program that loads the library, not all of it in sight of
// dlsym.
bool IsSanitizers(const std::string& symbol) {
  const char* const prefixes[] = {"__asan_", "__ubsan_", "__sanitizer_", "__lsan_", "__tsan_"};
  return std::any_of(std::begin(prefixes), std::end(prefixes),
                     [&symbol](const char* prefix) { return symbol.rfind(prefix, 0) == 0; });
}

TEST(ModuleLibrary, exportsExactlyTheTwentyOneFunctions) {
  EXPECT_EQ(kExports.size(), 21u);
  EXPECT_EQ(Symbols("--defined-only", MODULE_FILE), kExports);
}

TEST(ModuleLibrary, importsOnlyTheHostContractAndSystemLibraries) {
  std::vector<void*> libraries = {
      dlopen(nullptr, RTLD_LAZY)};  // a sanitizer's functions stand in the program
  for (const std::string& needed : DynamicEntries("NEEDED")) {
    void* library = dlopen(needed.c_str(), RTLD_LAZY | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    libraries.push_back(library);
  }
  ASSERT_GT(libraries.size(), 1u);
  std::size_t from_host = 0;
  for (const std::string& symbol : Symbols("--undefined-only", MODULE_FILE)) {
    const std::string bare = symbol.substr(0, symbol.find('@'));
    const bool in_system = std::any_of(libraries.begin(), libraries.end(), [&](void* library) {
      return dlsym(library, bare.c_str()) != nullptr;
    });
    const bool optional = bare == "__gmon_start__" || bare.rfind("_ITM_", 0) == 0 || IsSanitizers(bare);
    const bool in_contract = kHostContract.count(PlainName(bare)) > 0;
    EXPECT_TRUE(in_system || optional || in_contract) << PlainName(bare);
    from_host += in_contract ? 1 : 0;
  }
  EXPECT_GT(from_host, 0u);
}

TEST(ModuleLibrary, doesNotBringAHostOfItsOwn) {
  for (const std::string& needed : DynamicEntries("NEEDED"))
    EXPECT_EQ(needed.find("stock_host"), std::string::npos) << needed;
}

TEST(ModuleLibrary, isMarkedToStayLoaded) {
  const std::vector<std::string> flags = DynamicEntries("FLAGS_1");
  ASSERT_EQ(flags.size(), 1u);
  EXPECT_NE(flags[0].find("NODELETE"), std::string::npos) << flags[0];
}

TEST(HostLibrary, definesTheWholeContract) {
  Names defined;
  for (const std::string& symbol : Symbols("--defined-only", HOST_FILE))
    defined.insert(PlainName(symbol.substr(0, symbol.find('@'))));
  for (const std::string& name : kHostContract) EXPECT_TRUE(defined.count(name) > 0) << name;
}

}  // namespace
