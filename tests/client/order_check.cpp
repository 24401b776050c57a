// Delays, reordering and faults for a while; then prints what views saw in the wrong order.
//   order_check SECONDS ordered      ends with 0 when nothing was seen
//   order_check SECONDS disordered   ends with 0 when something was: for a library that does not look at its
//   stamps
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <list>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "c_stock_market.h"
#include "cli/temporary_directory.h"
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

struct IndexView final : IUpdate1<std::vector<IndexMarketSummary>> {
  void Update(const std::vector<IndexMarketSummary>& list) override {
    list.size() == 3 ? witness.See(list.front().last) : witness.SeeStranger();
  }
  Witness witness{"index quotes"};
};

struct PlateView final : IUpdate1<PlateStockMarketData> {
  void Update(const PlateStockMarketData& data) override {
    data.stocks.size() == 1 ? witness.See(data.stocks.front().last.value) : witness.SeeStranger();
  }
  Witness witness{"plate stocks"};
};

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

bool Await(const std::function<bool()>& reached, milliseconds limit) {
  const auto end = steady_clock::now() + limit;
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

  IndexView index;
  PlateView plate;
  std::list<StockView> stocks;
  Witness stock_items("stock items");
  Witness plate_items("plate items");
  GetIndexMarket()->Attach(&index);
  GetIndexMarket()->Resume(&index, true);
  GetPlateStockMarket()->Attach(&plate);
  GetPlateStockMarket()->SetTarget(&plate, {L"bk1001", 4, 2, 0, 9});
  GetPlateStockMarket()->Resume(&plate, true);
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
    return Await([&] { return server.Arrived(path) > before; }, seconds(10));
  };
  const auto ask_all = [&] {
    return ask("/pc/rt/stock_detail_list", [] { GetIndexMarket()->Refresh(); }) &&
           ask("/pc/rt/get_bk_zone_list", [] { GetPlateStockMarket()->Refresh(); }) &&
           ask("/pc/rt/stock_detail_list", [] { GetSingleStockMarket()->Refresh(); }) &&
           ask("/pc/rt/stock_price_list",
               [&] { GetStockMarket()->FetchStockItems(4, 2, 1, to_witness(stock_items)); }) &&
           ask("/pc/rt/bk_price_list",
               [&] { GetPlateMarket()->FetchPlateItems(4, 2, 1, to_witness(plate_items)); });
  };
  bool all_arrived = true;
  std::uint64_t rounds = 0;
  for (const auto end = steady_clock::now() + seconds(duration); steady_clock::now() < end; ++rounds) {
    all_arrived = all_arrived && ask_all();
  }

  // All is well again: one more round brings everybody to the newest state, without another key's.
  server.Heal();
  const bool quiet = Await([] { return stock_host::ReadCounters().under_way == 0; }, seconds(30));
  std::vector<const Witness*> ordered = {&index.witness, &plate.witness, &stock_items, &plate_items};
  std::vector<const Witness*> all = ordered;
  for (const StockView& view : stocks) {
    all.push_back(&view.witness);
  }
  std::vector<std::uint64_t> seen;
  for (const Witness* witness : all) {
    seen.push_back(witness->seen());
  }
  all_arrived = all_arrived && ask_all();
  const bool converged = Await(
      [&] {
        for (std::size_t i = 0; i < all.size(); ++i) {
          if (all[i]->seen() == seen[i]) {
            return false;
          }
        }
        return plate.witness.last() == static_cast<double>(server.Arrived("/pc/rt/get_bk_zone_list")) &&
               stock_items.last() == static_cast<double>(server.Arrived("/pc/rt/stock_price_list")) &&
               plate_items.last() == static_cast<double>(server.Arrived("/pc/rt/bk_price_list"));
      },
      seconds(20));

  GetIndexMarket()->Detach(&index);
  GetPlateStockMarket()->Detach(&plate);
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
  if (!all_arrived || !quiet || !converged || rounds == 0 || server.late() == 0 || server.broken() == 0) {
    std::printf("the run itself went wrong:%s%s%s\n", all_arrived ? "" : " a request did not come",
                quiet ? "" : " an answer did not come",
                converged ? "" : " not everybody is at the newest state");
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
