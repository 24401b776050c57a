// Delays, reordering and faults for a while; then prints what views saw in the wrong order.
//   order_check SECONDS ordered      ends with 0 when nothing was seen
//   order_check SECONDS disordered   ends with 0 when something was: for a library that does not look at its
//   stamps
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "c_stock_market.h"
#include "cli/temporary_directory.h"
#include "frame/polled_subject.h"
#include "host_services/stock_host.h"
#include "sequence_server.h"

namespace client_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// What was seen by one view or one kind of call-back.
class Witness {
 public:
  explicit Witness(std::string name) : name_(std::move(name)) {}

  void See(double number) {
    const std::lock_guard lock(mutex_);
    ++seen_;
    if (number < last_) {
      ++back_;
    }
    last_ = number;
  }
  void SeeStranger() { ++strangers_; }

  [[nodiscard]] double last() const {
    const std::lock_guard lock(mutex_);
    return last_;
  }
  [[nodiscard]] std::uint64_t seen() const {
    const std::lock_guard lock(mutex_);
    return seen_;
  }
  [[nodiscard]] std::uint64_t back() const {
    const std::lock_guard lock(mutex_);
    return back_;
  }
  [[nodiscard]] std::uint64_t strangers() const { return strangers_; }
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  const std::string name_;
  mutable std::mutex mutex_;  // guards the three members below
  double last_ = 0;
  std::uint64_t seen_ = 0;
  std::uint64_t back_ = 0;
  std::atomic<std::uint64_t> strangers_{0};
};

/// A service with one view, whose figure of each answer is the number that the server gave the request.
struct Feed {
  Feed(const char* its_name, const char* its_path) : path(its_path), witness(its_name) {}
  virtual ~Feed() = default;
  virtual void Ask() = 0;
  virtual void Leave() = 0;

  const std::string path;
  Witness witness;
};

template <class Service, class Data>
class ViewFeed final : public Feed, public IUpdate1<Data> {
 public:
  using Figure = std::function<double(const Data&)>;  // negative: nothing to see; the list of a failure
  ViewFeed(const char* name, const char* its_path, Service* service, Figure figure, std::function<void()> ask)
      : Feed(name, its_path), service_(service), figure_(std::move(figure)), ask_(std::move(ask)) {
    service_->Attach(this);
  }
  void Update(const Data& data) override {
    if (const double figure = figure_(data); figure >= 0) {
      witness.See(figure);
    }
  }
  void Ask() override { ask_(); }
  void Leave() override { service_->Detach(this); }

 private:
  Service* const service_;
  const Figure figure_;
  const std::function<void()> ask_;
};

using Feeds = std::list<std::unique_ptr<Feed>>;

// This program alone asks: the server numbers requests as they come, and one of a polling thread might pass
// one of ours on the way.
template <class Service>
void StopPolling(Service* service) {
  dynamic_cast<frame::PolledSubject<Service>&>(*service).StopPolling();
}

template <class Data, class Service, class Key, class Figure>
void AddPolled(Feeds& feeds, const char* name, const char* path, Service* service, const Key& key,
               Figure figure) {
  auto feed = std::make_unique<ViewFeed<Service, Data>>(name, path, service, figure,
                                                        [service] { service->Refresh(); });
  StopPolling(service);
  service->SetTarget(feed.get(), key);
  service->Resume(feed.get(), false);
  feeds.push_back(std::move(feed));
}

/// Every service that asks for one thing at a time, but those whose requests one witness below makes.
Feeds AllFeeds() {
  Feeds feeds;
  const auto first = [](const auto& rows) {
    return rows.empty() ? -1.0 : static_cast<double>(rows[0].last.value);
  };
  const std::wstring symbol = L"sh600000";
  AddPolled<std::vector<IndexMarketSummary>>(feeds, "index quotes", "/pc/rt/stock_detail_list",
                                             GetIndexMarket(), std::wstring(),
                                             [](const auto& rows) { return rows.at(0).last; });
  AddPolled<PlateStockMarketData>(feeds, "plate stocks", "/pc/rt/get_bk_zone_list", GetPlateStockMarket(),
                                  PlateStockRankingTarget{L"bk1001", 4, 2, 0, 9},
                                  [first](const auto& data) { return first(data.stocks); });
  AddPolled<std::vector<StockMarketItem>>(feeds, "board", "/pc/rt/get", GetStockMarket(),
                                          StockRangeRankingTarget{1, 4, 2, 0, 9}, first);
  AddPolled<std::vector<StockMarketItem>>(feeds, "plates", "/pc/rt/get_bk_detail", GetPlateMarket(),
                                          PlateRangeRankingTarget{1, 4, 2, 0, 9}, first);
  AddPolled<std::vector<StockMarketSummary>>(feeds, "stock ranking", "/pc/rt/get_stock_rank",
                                             GetStockRanking(1, false, false), RankingTarget{4, 2, 9}, first);
  AddPolled<std::vector<StockMarketSummary>>(feeds, "five minutes", "/pc/rt/stock_five_change",
                                             GetStockRanking(1, true, false), RankingTarget{4, 2, 9}, first);
  AddPolled<std::vector<PlateMarketSummary>>(feeds, "plate ranking", "/pc/rt/get_bk_rank",
                                             GetPlateRanking(1, false), RankingTarget{4, 2, 9},
                                             [](const auto& rows) { return rows.at(0).cud; });
  AddPolled<StockMLineData>(feeds, "minute line", "/pc/rt/get_day_time", GetStockMLine(), symbol,
                            [](const auto& line) { return line.days.at(0).points.at(0).price; });
  AddPolled<StockKLineData>(feeds, "candles", "/pc/rt/get_day_kline", GetStockKLine(), symbol,
                            [](const auto& line) { return static_cast<double>(line.candles.back().volume); });
  AddPolled<std::list<StockUnusualEventItem>>(
      feeds, "events", "/pc/monitor/get_monitor", GetStockUnusualEvent(), std::uint32_t{0},
      [](const auto& list) {
        return list.empty()
                   ? -1.0
                   : std::stod(std::string(list.front().content.begin(), list.front().content.end()));
      });
  AddPolled<StockInOutItem>(feeds, "flows", "/pc/rt/stock_in_out", GetStockInOut(), symbol,
                            [](const auto& item) { return static_cast<double>(item.mtime); });
  AddPolled<std::vector<StrengthRatingItem>>(feeds, "strength", "/pc/rt/stock_min_num", GetStrengthRating(),
                                             std::uint32_t{0},
                                             [](const auto& rows) { return rows.at(0).up; });
  AddPolled<DistributionItem>(feeds, "distribution", "/pc/rt/stock_distribute_num", GetStockDistribution(),
                              std::uint32_t{0}, [](const auto& item) { return item.up; });
  AddPolled<std::vector<MoneyEffectItem>>(feeds, "money effect", "/pc/rt/stock_min_average", GetMoneyEffect(),
                                          std::uint32_t{0}, [](const auto& rows) { return rows.at(0).time; });
  feeds.push_back(std::make_unique<ViewFeed<IMarginTrade, std::list<MarginTradeItem>>>(
      "margin", "/pc/rt/stock_trade", GetMarginTrade(), [](const auto& list) { return list.front().date; },
      [] { GetMarginTrade()->FetchMarginTradeInfo(); }));
  feeds.push_back(std::make_unique<ViewFeed<IStockPurchase, std::list<StockPurchaseItem>>>(
      "new shares", "/pc/rt/stock_buy", GetStockPurchase(),
      [](const auto& list) { return static_cast<double>(list.front().pe); },
      [] { GetStockPurchase()->FetchPurchaseInfo(); }));
  return feeds;
}

/// Order is promised for one request at a time only; whose data it is always.
struct StockView final : IUpdate1<StockMarketItem> {
  explicit StockView(std::wstring its_symbol)
      : symbol(std::move(its_symbol)), witness("stock " + std::string(symbol.begin(), symbol.end())) {}
  void Update(const StockMarketItem& item) override {
    item.code == symbol ? witness.See(item.last.value) : witness.SeeStranger();
  }
  const std::wstring symbol;
  Witness witness;
};

bool Await(const std::function<bool()>& reached) {
  const auto end = steady_clock::now() + seconds(60);
  while (!reached()) {
    if (steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(milliseconds(1));
  }
  return true;
}

int Run(int duration, bool expect_order) {
  const cli::TemporaryDirectory directory;
  SequenceServer server(20240315);
  stock_host::Settings settings;
  settings.api_root = server.url();
  settings.key_id = "tester";
  settings.key = "a secret of the test";
  settings.data_directory = settings.config_directory = settings.log_directory = directory.path();
  settings.log_level = "off";
  std::string error;
  if (!stock_host::Start(settings, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 2;
  }

  Feeds feeds = AllFeeds();
  std::list<StockView> stocks;
  Witness stock_items("stock items");
  Witness plate_items("plate items");
  StopPolling(GetSingleStockMarket());
  for (const wchar_t* const symbol : {L"sh600001", L"sz000002", L"sz300003"}) {
    StockView& view = stocks.emplace_back(symbol);
    GetSingleStockMarket()->Attach(&view);
    GetSingleStockMarket()->SetTarget(&view, view.symbol);
    GetSingleStockMarket()->Resume(&view, true);
  }

  const auto to_witness = [](Witness& witness) {
    return [&witness](const CodeNameList& list) {
      list.size() == 1 ? witness.See(std::stod(std::string(list[0].second.begin(), list[0].second.end())))
                       : witness.SeeStranger();
    };
  };
  // A request is made when the one before has come to the server: so the numbers are in the order of the
  // requests.
  const auto ask = [&server](const std::string& path, const std::function<void()>& request) {
    const std::uint64_t before = server.Arrived(path);
    request();
    return Await([&] { return server.Arrived(path) > before; });
  };
  const auto ask_all = [&] {
    for (const auto& feed : feeds) {
      if (!ask(feed->path, [&feed] { feed->Ask(); })) {
        return false;
      }
    }
    return ask("/pc/rt/stock_detail_list", [] { GetSingleStockMarket()->Refresh(); }) &&
           ask("/pc/rt/stock_price_list",
               [&] { GetStockMarket()->FetchStockItems(4, 2, 1, to_witness(stock_items)); }) &&
           ask("/pc/rt/bk_price_list",
               [&] { GetPlateMarket()->FetchPlateItems(4, 2, 1, to_witness(plate_items)); });
  };
  bool all_arrived = true;
  std::uint64_t rounds = 0;
  const auto has_gone_back = [&] {
    return stock_items.back() > 0 || plate_items.back() > 0 ||
           std::any_of(feeds.begin(), feeds.end(), [](const auto& feed) { return feed->witness.back() > 0; });
  };
  // How soon the control loses its order is chance: it goes on until it has, but not for ever.
  constexpr seconds kMostOfControl(60);
  const auto begin = steady_clock::now();
  const auto goes_on = [&] {
    const auto passed = steady_clock::now() - begin;
    return passed < seconds(duration) || (!expect_order && passed < kMostOfControl && !has_gone_back());
  };
  for (; all_arrived && goes_on(); ++rounds) {
    all_arrived = ask_all();
  }

  // All is well again: one more round brings everybody to the newest state, without another key's.
  server.Heal();
  const bool quiet = Await([] { return stock_host::ReadCounters().under_way == 0; });
  std::vector<const Witness*> ordered = {&stock_items, &plate_items};
  for (const auto& feed : feeds) {
    ordered.push_back(&feed->witness);
  }
  std::vector<const Witness*> all = ordered;
  for (const StockView& view : stocks) {
    all.push_back(&view.witness);
  }
  std::vector<std::uint64_t> seen;
  for (const Witness* witness : all) {
    seen.push_back(witness->seen());
  }
  all_arrived = all_arrived && ask_all();
  const bool converged = Await([&] {
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (all[i]->seen() == seen[i]) {
        return false;
      }
    }
    for (const auto& feed : feeds) {
      if (feed->path != "/pc/rt/stock_detail_list" &&
          feed->witness.last() != static_cast<double>(server.Arrived(feed->path))) {
        return false;
      }
    }
    return stock_items.last() == static_cast<double>(server.Arrived("/pc/rt/stock_price_list")) &&
           plate_items.last() == static_cast<double>(server.Arrived("/pc/rt/bk_price_list"));
  });

  for (const auto& feed : feeds) {
    feed->Leave();
  }
  for (StockView& view : stocks) {
    GetSingleStockMarket()->Detach(&view);
  }
  DestroyStockMarket();
  stock_host::Stop();

  std::uint64_t back = 0;
  std::uint64_t strangers = 0;
  for (const Witness* witness : ordered) {
    back += witness->back();
  }
  for (const Witness* witness : all) {
    strangers += witness->strangers();
    std::printf("%-16s told %6llu times, %llu times of an older state, %llu times of another key's\n",
                witness->name().c_str(), static_cast<unsigned long long>(witness->seen()),
                static_cast<unsigned long long>(witness->back()),
                static_cast<unsigned long long>(witness->strangers()));
  }
  std::printf("%llu rounds in %d s, %llu answers late, %llu broken\n",
              static_cast<unsigned long long>(rounds), duration,
              static_cast<unsigned long long>(server.late()),
              static_cast<unsigned long long>(server.broken()));
  // Without order an older answer may well be the last word, so the control need not converge.
  const bool settled = converged || !expect_order;
  if (!all_arrived || !quiet || !settled || rounds == 0 || server.late() == 0 || server.broken() == 0) {
    std::printf("the run itself went wrong:%s%s%s\n", all_arrived ? "" : " a request did not come",
                quiet ? "" : " an answer did not come",
                settled ? "" : " not everybody is at the newest state");
    return 2;
  }
  return (back == 0) == expect_order && strangers == 0 ? 0 : 1;
}

}  // namespace
}  // namespace client_test

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("order_check SECONDS ordered|disordered\n", stderr);
    return 2;
  }
  return client_test::Run(std::atoi(argv[1]), std::string_view(argv[2]) == "ordered");
}
