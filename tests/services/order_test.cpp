// Newest wins, in every service: answers and failures of twenty requests come in random order on four
// threads, and what a view is told only ever moves forward; in the end it has the newest there is. In a
// second program, which runs with CSM_WITHOUT_ORDER=1, the rule is taken out, and every service must go back.
// Optimised, or with CSM_LONG=1, 1,000 rounds of each service.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "all_services.h"
#include "answers.h"
#include "fetches.h"
#include "frame/polled_subject.h"

namespace {

const bool kHasOrder = std::getenv("CSM_WITHOUT_ORDER") == nullptr;

#ifdef NDEBUG
const int kRounds = 1000;
#else
const int kRounds = std::getenv("CSM_LONG") != nullptr ? 1000 : 40;
#endif
constexpr int kRequests = 20;
constexpr int kThreads = 4;

// What a view was told in a round: the figures of answers, and nothing for the empty list of a failure.
using Figures = std::vector<std::optional<int>>;

struct Feed {
  const char* name;
  const char* path;
  std::string before, after;  // an answer is the figure between these
  std::function<void(AllServices&)> ask;
  std::function<void(AllServices&, const std::function<void()>&)> showing;
  std::function<Figures(AllServices&)> told;  // since the last look
  bool latest_only = false;
  bool tells_failures = false;
};

void PrintTo(const Feed& feed, std::ostream* stream) {
  *stream << feed.name;
}

// The feed of a polled service; `figure(data)` reads what an answer said.
template <class Subject, class Figure>
Feed Polled(const char* name, const char* path, std::string before, std::string after,
            Subject AllServices::*subject, Figure figure) {
  return {name,
          path,
          std::move(before),
          std::move(after),
          [subject](AllServices& all) {
            // The test alone asks: the service's own thread would add requests to a long run.
            auto& service = *(all.*subject).service;
            dynamic_cast<frame::PolledSubject<std::remove_reference_t<decltype(service)>>&>(service)
                .StopPolling();
            service.Refresh();
          },
          [subject](AllServices& all, const std::function<void()>& act) { (all.*subject).While(act); },
          [subject, figure](AllServices& all) {
            Figures figures;
            for (const auto& data : (all.*subject).view.Take()) figures.push_back(figure(data));
            return figures;
          }};
}

template <class Subject, class Fetch, class Figure>
Feed OnceAsked(const char* name, const char* path, std::string before, std::string after,
               Subject AllServices::*subject, Fetch fetch, Figure figure) {
  return {name,
          path,
          std::move(before),
          std::move(after),
          [subject, fetch](AllServices& all) { ((*(all.*subject).service).*fetch)(); },
          [](AllServices&, const std::function<void()>& act) { act(); },
          [subject, figure](AllServices& all) {
            Figures figures;
            for (const auto& list : (all.*subject).view.Take()) figures.push_back(figure(list));
            return figures;
          }};
}

std::vector<Feed> Feeds() {
  const auto first = [](const auto& rows) { return static_cast<int>(rows.at(0).vol.value); };
  const auto ranked = [](const auto& rows) { return static_cast<int>(rows.at(0).last.value); };
  const std::string row = R"({"data":[{"code":"sh600000","vol":)", rows_end = "}]}";
  const std::string listed = R"({"data":{"list":[{"code":"sh600000","vol":)", list_end = "}]}}";
  std::vector<Feed> feeds = {
      Polled("StockQuotes", "/pc/rt/get", row, rows_end, &AllServices::stock_market, first),
      Polled("SingleStock", "/pc/rt/stock_detail_list", listed, list_end, &AllServices::single_stock,
             [](const StockMarketItem& item) { return static_cast<int>(item.vol.value); }),
      Polled("OptionalStocks", "/pc/rt/stock_detail_list", listed, list_end, &AllServices::optional_stocks,
             first),
      Polled("PlateQuotes", "/pc/rt/get_bk_detail", row, rows_end, &AllServices::plate_market, first),
      Polled("StockRanking", "/pc/rt/get_stock_rank", R"({"data":[{"last":)", rows_end,
             &AllServices::stock_ranking, ranked),
      Polled("FiveMinuteRanking", "/pc/rt/stock_five_change", R"({"data":[{"last":)", rows_end,
             &AllServices::five_minute_ranking, ranked),
      Polled("PlateRanking", "/pc/rt/get_bk_rank", R"({"data":[{"cud":)", rows_end,
             &AllServices::plate_ranking, [](const auto& rows) { return rows.at(0).cud; }),
      Polled("MinuteLine", "/pc/rt/get_day_time",
             R"({"data":{"sh600000":{"date":"20240315","list":[{"min":931,"preclose":1,"last":)", "}]}}}",
             &AllServices::minute_line,
             [](const StockMLineData& line) { return static_cast<int>(line.days.at(0).points.at(0).price); }),
      Polled("KLine", "/pc/rt/get_day_kline",
             R"({"data":{"sh600000":{"date":"20240315","list":{"open":2,"high":4,"last":3,"low":1,"vol":)",
             "}}}}", &AllServices::kline,
             [](const StockKLineData& line) { return static_cast<int>(line.candles.back().volume); }),
      Polled("InOut", "/pc/rt/stock_in_out", R"({"data":{"list":[{"sh600000":{"mtime":)", "}}]}}",
             &AllServices::in_out, [](const StockInOutItem& item) { return static_cast<int>(item.mtime); }),
      Polled("StrengthRating", "/pc/rt/stock_min_num", R"({"data":{"list":[{"up":)", list_end,
             &AllServices::strength, [](const auto& rows) { return rows.at(0).up; }),
      Polled("Distribution", "/pc/rt/stock_distribute_num", R"({"data":{"up":)", "}}",
             &AllServices::distribution, [](const DistributionItem& item) { return item.up; }),
      Polled("MoneyEffect", "/pc/rt/stock_min_average", R"({"data":{"list":[{"time":)", list_end,
             &AllServices::money_effect, [](const auto& rows) { return rows.at(0).time; }),
      OnceAsked("MarginTrade", "/pc/rt/stock_trade", R"({"data":{"list":[{"sh":{"date":)", "}},{}]}}",
                &AllServices::margin, &IMarginTrade::FetchMarginTradeInfo,
                [](const auto& list) { return list.front().date; }),
      OnceAsked("StockPurchase", "/pc/rt/stock_buy", R"({"data":{"list":[{"pe":)", list_end,
                &AllServices::purchase, &IStockPurchase::FetchPurchaseInfo,
                [](const auto& list) { return static_cast<int>(list.front().pe); }),
  };
  Feed index =
      Polled("IndexQuotes", "/pc/rt/stock_detail_list", R"({"data":{"list":[{"last":)", list_end,
             &AllServices::index_market, [](const auto& rows) { return static_cast<int>(rows.at(0).last); });
  index.latest_only = true;
  Feed members = Polled("PlateStocks", "/pc/rt/get_bk_zone_list", R"({"data":[],"total_num":)", "}",
                        &AllServices::plate_stocks,
                        [](const PlateStockMarketData& data) { return static_cast<int>(data.total_num); });
  members.latest_only = true;
  Feed events = Polled("UnusualEvents", "/pc/monitor/get_monitor", R"({"data":{"list":[{"content":")",
                       R"("}]}})", &AllServices::events, [](const auto& list) -> std::optional<int> {
                         return list.empty() ? std::nullopt : std::optional(std::stoi(list.front().content));
                       });
  events.tells_failures = true;
  for (Feed& feed : {std::ref(index), std::ref(members), std::ref(events)}) feeds.push_back(std::move(feed));
  return feeds;
}

class Order : public ::testing::TestWithParam<Feed> {
 protected:
  Order() {
    // Tasks run at once: one that waited would be joined by whatever answer came meanwhile.
    all.host.SetTaskMode(ScriptedHost::TaskMode::kInline);
    answers::Allow(all.host, "");
    all.host.Allow(Script(feed.path).Held());
    all.host.Allow(Script("/kql").Inline(Answer::Body("{}")));
    for (const FetchCase& fetch : AllFetches()) {
      if (!fetch.lines.failed.empty()) all.host.AllowLine(fetch.lines.failed);
    }
    all.host.AllowLine(L"StockInOut::FetchStockInOutInfo Json Parse Error Code: 5");  // of a failure as well
  }

  // Makes twenty requests and calls `answer(number, answer)` for each, `number` being the host's, in random
  // order; about every fourth fails. Returns what the view was told of it.
  template <class AnswerIt>
  Figures Round(AnswerIt answer) {
    const int base = round_++ * kRequests;
    feed.showing(all, [&] {
      for (int request = 0; request < kRequests; ++request) feed.ask(all);
      const std::vector<std::size_t> held = all.host.HeldRequests();
      ASSERT_EQ(held.size(), static_cast<std::size_t>(kRequests));
      for (int request = 0; request < kRequests; ++request) {
        order[static_cast<std::size_t>(request)] = request;
        figures[static_cast<std::size_t>(request)] =
            random() % 4 == 0 ? std::nullopt : std::optional(base + request + 1);
      }
      std::shuffle(order.begin(), order.end(), random);
      for (const int request : order) {
        const auto place = static_cast<std::size_t>(request);
        answer(held[place], figures[place]
                                ? Answer::Body(feed.before + std::to_string(*figures[place]) + feed.after)
                                : Answer::Failed());
      }
      all.host.Settle();
      all.host.RunTasks();
      all.host.Settle();
    });
    all.host.ForgetRequests();
    return feed.told(all);
  }

  const Feed& feed = GetParam();
  AllServices all;
  std::mt19937 random{20240315};
  std::vector<int> order = std::vector<int>(kRequests);  // in which the latest round was answered
  Figures figures = Figures(kRequests);                  // of its requests; none: a failure

 private:
  int round_ = 0;
};

TEST_P(Order, movesForwardOnlyAndReachesTheNewest) {
  int steps_back = 0;
  int last_figure = 0;
  for (int round = 0; round < kRounds; ++round) {
    const Figures told = Round([this](std::size_t number, const Answer& answer) {
      all.host.CompleteOn(static_cast<int>(random() % kThreads), number, answer);
    });
    if (HasFatalFailure()) return;
    for (const std::optional<int>& figure : told) {
      if (!figure) continue;
      if (*figure < last_figure) ++steps_back;
      last_figure = *figure;
    }
    // The newest that was answered at all; a failure that is told is an answer too.
    auto newest = figures.rbegin();
    while (newest != figures.rend() && !*newest && !feed.latest_only && !feed.tells_failures) ++newest;
    if (kHasOrder && newest != figures.rend() && (*newest || feed.tells_failures)) {
      ASSERT_FALSE(told.empty()) << "round " << round;
      ASSERT_EQ(told.back(), *newest) << "round " << round;
    }
  }
  if (kHasOrder) {
    EXPECT_EQ(steps_back, 0);
  } else {
    EXPECT_GT(steps_back, 0) << "the test would not see a service that goes back";
  }
}

// What is dropped is what was overtaken, and nothing else. One thread, so that it is known what came first.
TEST_P(Order, tellsEveryAnswerThatNoNewerOneHasOvertaken) {
  for (int round = 0; round < kRounds; ++round) {
    const Figures told = Round([this](std::size_t number, const Answer& answer) {
      all.host.Complete(number, answer);
      all.host.RunTasks();
    });
    if (HasFatalFailure()) return;
    Figures expected;
    int newest = -1;
    for (const int request : order) {
      const std::optional<int> figure = figures[static_cast<std::size_t>(request)];
      if (request < newest || (!figure && !feed.tells_failures) ||
          (feed.latest_only && request != kRequests - 1)) {
        continue;
      }
      newest = request;
      expected.push_back(figure);
    }
    ASSERT_EQ(told, expected) << "round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Services, Order, ::testing::ValuesIn(Feeds()),
                         [](const auto& feed) { return std::string(feed.param.name); });

}  // namespace
