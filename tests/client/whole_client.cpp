#include "whole_client.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <list>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

namespace client_test {
namespace {

constexpr const wchar_t* kStock = L"sh600000";

template <class Data, class Key, class Service>
std::unique_ptr<Feed> Polled(std::string name, std::string endpoint, Service* service, const Key& key,
                             bool ask) {
  auto feed = std::make_unique<PolledFeed<Service, Data, Key>>(std::move(name), std::move(endpoint), service);
  feed->Show(key, ask);
  return feed;
}

template <class Data, class Service>
std::unique_ptr<Feed> OneShot(std::string name, std::string endpoint, Service* service,
                              void (Service::*fetch)(), bool ask) {
  auto feed =
      std::make_unique<OneShotFeed<Service, Data>>(std::move(name), std::move(endpoint), service, fetch);
  if (ask) {
    feed->Refresh();
  }
  return feed;
}

}  // namespace

bool Await(const std::function<bool()>& reached, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!reached()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

bool IsLongRun() {
  const char* const value = std::getenv("CSM_LONG");
  return value != nullptr && std::string_view(value) == "1";
}

WholeClient::WholeClient(const std::string& server_url) {
  stock_host::Settings settings;
  settings.api_root = server_url;
  settings.key_id = kKeyId;
  settings.key = kKey;
  settings.data_directory = directory_.path() + "/data";
  settings.log_directory = directory_.path() + "/log";
  settings.config_directory = directory_.path() + "/config";
  std::string error;
  if (!stock_host::Start(settings, error) || !stock_host::AddToWatchList(kStock, error) ||
      !stock_host::AddToWatchList(L"sz000001", error)) {
    throw std::runtime_error(error);
  }
}

WholeClient::~WholeClient() {
  Close();
  stock_host::Stop();
}

bool WholeClient::LoadReferenceData() {
  const auto outcome = std::make_shared<std::atomic<int>>(-1);
  GetStockCommon()->Init([outcome](bool ok) { *outcome = ok ? 1 : 0; });
  return Await([&outcome] { return *outcome >= 0; }) && *outcome == 1 && AwaitQuiet();
}

void WholeClient::Open(bool ask, const std::wstring& plate) {
  using Quotes = std::vector<StockMarketItem>;
  const auto polled = [&]<class Data, class Service, class Key>(std::type_identity<Data>, const char* name,
                                                                const char* endpoint, Service* service,
                                                                const Key& key) {
    feeds_.push_back(Polled<Data>(name, endpoint, service, key, ask));
  };
  polled(std::type_identity<StockMarketState>(), "market state", "", GetStockMarketState(),
         std::wstring(L"CN"));
  polled(std::type_identity<std::vector<IndexMarketSummary>>(), "index quotes", "/pc/rt/stock_detail_list",
         GetIndexMarket(), std::wstring());
  polled(std::type_identity<Quotes>(), "stock quotes", "/pc/rt/get", GetStockMarket(),
         StockRangeRankingTarget{1, 4, 2, 0, 49});
  polled(std::type_identity<StockMarketItem>(), "single stock", "/pc/rt/stock_detail_list",
         GetSingleStockMarket(), std::wstring(kStock));
  polled(std::type_identity<std::vector<OptionalMarketItem>>(), "watch list", "/pc/rt/stock_detail_list",
         GetOptionalStockMarket(), SortingTarget{3, 1});
  polled(std::type_identity<Quotes>(), "plate quotes", "/pc/rt/get_bk_detail", GetPlateMarket(),
         PlateRangeRankingTarget{1, 4, 2, 0, 49});
  polled(std::type_identity<PlateStockMarketData>(), "plate stocks", "/pc/rt/get_bk_zone_list",
         GetPlateStockMarket(), PlateStockRankingTarget{plate, 4, 2, 0, 49});
  polled(std::type_identity<std::vector<StockMarketSummary>>(), "stock ranking", "/pc/rt/get_stock_rank",
         GetStockRanking(1, false, false), RankingTarget{4, 2, 10});
  polled(std::type_identity<std::vector<StockMarketSummary>>(), "five-minute ranking",
         "/pc/rt/stock_five_change", GetStockRanking(1, true, false), RankingTarget{4, 2, 10});
  polled(std::type_identity<std::vector<PlateMarketSummary>>(), "plate ranking", "/pc/rt/get_bk_rank",
         GetPlateRanking(1, false), RankingTarget{4, 2, 10});
  polled(std::type_identity<StockMLineData>(), "minute line", "/pc/rt/get_day_time", GetStockMLine(),
         std::wstring(kStock));
  polled(std::type_identity<StockKLineData>(), "K-line", "/pc/rt/get_day_kline", GetStockKLine(),
         std::wstring(kStock));
  polled(std::type_identity<std::list<StockUnusualEventItem>>(), "unusual events", "/pc/monitor/get_monitor",
         GetStockUnusualEvent(), std::uint32_t{0});
  polled(std::type_identity<StockInOutItem>(), "in and out", "/pc/rt/stock_in_out", GetStockInOut(),
         std::wstring(kStock));
  polled(std::type_identity<std::vector<StrengthRatingItem>>(), "strength", "/pc/rt/stock_min_num",
         GetStrengthRating(), std::uint32_t{0});
  polled(std::type_identity<DistributionItem>(), "distribution", "/pc/rt/stock_distribute_num",
         GetStockDistribution(), std::uint32_t{0});
  polled(std::type_identity<std::vector<MoneyEffectItem>>(), "money effect", "/pc/rt/stock_min_average",
         GetMoneyEffect(), std::uint32_t{0});
  feeds_.push_back(OneShot<std::list<MarginTradeItem>>(
      "margin trading", "/pc/rt/stock_trade", GetMarginTrade(), &IMarginTrade::FetchMarginTradeInfo, ask));
  feeds_.push_back(OneShot<std::list<StockPurchaseItem>>("new shares", "/pc/rt/stock_buy", GetStockPurchase(),
                                                         &IStockPurchase::FetchPurchaseInfo, ask));
}

void WholeClient::Close() {
  for (const auto& feed : feeds_) {
    feed->Detach();
  }
  DestroyStockMarket();
  feeds_.clear();
}

void WholeClient::Destroy() {
  // The one service that outlives this call must not keep a view of ours.
  for (const auto& feed : feeds_) {
    if (feed->endpoint().empty()) {
      feed->Detach();
    }
  }
  DestroyStockMarket();
  feeds_.clear();
}

void WholeClient::RefreshAll() {
  for (const auto& feed : feeds_) {
    feed->Refresh();
  }
}

std::vector<std::uint64_t> WholeClient::Updates() const {
  std::vector<std::uint64_t> updates;
  for (const auto& feed : feeds_) {
    updates.push_back(feed->updates());
  }
  return updates;
}

testing::AssertionResult WholeClient::AwaitAll(const std::vector<std::uint64_t>& before, std::uint64_t more,
                                               std::chrono::milliseconds limit) const {
  const auto late = [&] {
    std::string names;
    for (std::size_t i = 0; i < feeds_.size(); ++i) {
      if (feeds_[i]->updates() < before[i] + more) {
        names += (names.empty() ? "" : ", ") + feeds_[i]->name();
      }
    }
    return names;
  };
  if (Await([&] { return late().empty(); }, limit)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "not told in time: " << late();
}

bool WholeClient::AwaitQuiet(std::chrono::milliseconds limit) {
  const auto sum = [](auto count) {
    std::uint64_t requests = 0;
    for (const auto& [name, endpoint] : stock_host::ReadCounters().endpoints) {
      requests += count(endpoint);
    }
    return requests;
  };
  const std::uint64_t out = sum([](const auto& endpoint) { return endpoint.requests; });
  return Await(
      [&] {
        return stock_host::ReadCounters().under_way == 0 ||
               sum([](const auto& endpoint) { return endpoint.succeeded + endpoint.failed; }) >= out;
      },
      limit);
}

bool WholeClient::AwaitSettled(std::chrono::milliseconds limit) const {
  std::vector<std::uint64_t> before;
  return Await(
      [&] {
        const std::vector<std::uint64_t> now = Updates();
        const bool settled = stock_host::ReadCounters().under_way == 0 && now == before;
        before = now;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return settled;
      },
      limit);
}

Feed& WholeClient::FeedNamed(const std::string& name) const {
  const auto found = std::find_if(feeds_.begin(), feeds_.end(), [&name](const std::unique_ptr<Feed>& feed) {
    return feed->name() == name;
  });
  if (found == feeds_.end()) {
    throw std::logic_error("there is no feed '" + name + "'");
  }
  return **found;
}

std::vector<std::string> WholeClient::WarningsFrom(std::size_t& from) const {
  std::vector<std::string> warnings;
  std::ifstream log(directory_.path() + "/log/csm.log");
  std::size_t number = 0;
  for (std::string line; std::getline(log, line); ++number) {
    if (number < from) {
      continue;
    }
    for (const std::string_view level : {"[warning] ", "[error] "}) {
      const std::size_t at = line.find(level);
      if (at != std::string::npos) {
        warnings.push_back(line.substr(at + level.size()));
      }
    }
  }
  from = number;
  return warnings;
}

}  // namespace client_test
