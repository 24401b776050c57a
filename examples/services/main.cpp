// Every service once, against a simulated market inside this program that stands still at half past two on a
// trading day, so that all figures are of one instant. Leaves nothing behind.
#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "c_stock_market.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"
#include "services.h"

namespace {

struct Example {
  const char* name;  // of the accessor, or of the operation that asks once
  bool (*show)();
};

// The lists first: candles and the watch list look things up in them.
constexpr std::array kExamples{
    Example{"GetStockCommon", ShowReferenceData},
    Example{"GetStockMarketState", ShowMarketState},
    Example{"GetIndexMarket", ShowIndexQuotes},
    Example{"GetStockMarket", ShowBoard},
    Example{"FetchStockItems", ShowNamesOfABoard},
    Example{"GetSingleStockMarket", ShowSingleQuote},
    Example{"GetOptionalStockMarket", ShowWatchList},
    Example{"GetPlateMarket", ShowPlates},
    Example{"GetPlateStockMarket", ShowPlateMembers},
    Example{"GetCurrentStock", ShowCurrentStock},
    Example{"GetStockRanking", ShowStockRanking},
    Example{"GetPlateRanking", ShowPlateRanking},
    Example{"GetStockMLine", ShowMinuteLine},
    Example{"FetchHistoryMLine", ShowPastMinuteLines},
    Example{"GetStockKLine", ShowCandles},
    Example{"FetchKLine", ShowMonths},
    Example{"GetStockUnusualEvent", ShowUnusualEvents},
    Example{"FetchUnusualEvent", ShowPastEvents},
    Example{"GetStockInOut", ShowFlows},
    Example{"GetStrengthRating", ShowStrength},
    Example{"GetStockDistribution", ShowDistribution},
    Example{"GetMoneyEffect", ShowMoneyEffect},
    Example{"GetMarginTrade", ShowMarginTrading},
    Example{"GetStockPurchase", ShowNewShares},
};

// A directory of this run's own, in place of the user's.
class Scratch {
 public:
  Scratch() {
    if (mkdtemp(path_.data()) == nullptr) {
      path_.clear();
    }
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_ = (std::filesystem::temp_directory_path() / "every_service.XXXXXX").string();
};

bool StartHost(const market_server::Server& market, const std::string& directory) {
  stock_host::Settings settings;
  settings.api_root = market.url();
  settings.key_id = market.key_id();
  settings.key = market.key();
  settings.data_directory = directory + "/data";
  settings.log_directory = directory + "/log";
  settings.config_directory = directory + "/config";
  std::string error;
  if (!stock_host::Start(settings, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return false;
  }
  return true;
}

}  // namespace

int main() {
  std::setlocale(LC_CTYPE, "C.UTF-8");  // names are Chinese
  const Scratch scratch;
  market_server::Options options;
  options.clock = "2024-03-14 14:30";
  options.speed = 0;
  market_server::Server market(options);
  market.Start();
  if (scratch.path().empty() || !StartHost(market, scratch.path())) {
    return 1;
  }
  int failures = 0;
  for (const auto& [name, show] : kExamples) {
    std::printf("%-23s ", name);
    if (!show()) {
      std::puts("nothing came");
      ++failures;
    }
  }
  DestroyStockMarket();
  stock_host::Stop();
  return failures == 0 ? 0 : 1;
}
