// Index quotes from the simulated market to an observer, through real HTTP, the real host services and the
// library.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "live_market.h"

namespace {

using IndexList = std::vector<IndexMarketSummary>;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kPatience(30);
constexpr const char* kMorning = "2024-03-15 10:30:00";

// Keeps every list that it is told.
class Collector final : public IUpdate1<IndexList> {
 public:
  void Update(const IndexList& list) override {
    const std::lock_guard lock(mutex_);
    lists_.push_back(list);
    arrived_.notify_all();
  }

  // False when there are fewer than `count` lists in time.
  bool WaitFor(std::size_t count, milliseconds limit = kPatience) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, limit, [&] { return lists_.size() >= count; });
  }

  // False when no list that is as wanted arrives in time.
  bool WaitForLast(const std::function<bool(const IndexList&)>& wanted) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, kPatience, [&] { return !lists_.empty() && wanted(lists_.back()); });
  }

  std::vector<IndexList> lists() {
    const std::lock_guard lock(mutex_);
    return lists_;
  }

 private:
  std::mutex mutex_;  // guards lists_
  std::condition_variable arrived_;
  std::vector<IndexList> lists_;
};

class IndexQuotesTest : public LiveMarketTest {
 protected:
  IndexQuotesTest() { options_.clock = kMorning; }

  // Attaches and resumes `view`, and waits for its first list.
  void Show(Collector& view) {
    GetIndexMarket()->Attach(&view);
    GetIndexMarket()->Resume(&view, true);
    ASSERT_TRUE(view.WaitFor(1));
  }

  // What the server answers to the service's own request at this moment.
  static std::string AnswerOfTheServer() {
    return Ask(L"/pc/rt/stock_detail_list", {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}});
  }

  // The warnings and errors in the log so far, without time and level.
  std::vector<std::string> Warnings() {
    std::vector<std::string> warnings;
    std::ifstream log(directory_.path() + "/log/csm.log");
    for (std::string line; std::getline(log, line);) {
      for (const std::string level : {"[warning] ", "[error] "}) {
        const std::size_t at = line.find(level);
        if (at != std::string::npos) {
          warnings.push_back(line.substr(at + level.size()));
        }
      }
    }
    return warnings;
  }

  // Reads the log until it holds `count` warnings; the test has failed when that does not come.
  std::vector<std::string> WaitForWarnings(std::size_t count) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (Warnings().size() < count && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(milliseconds(5));
    }
    return Warnings();
  }
};

// A round of the polling thread may ask beside the view: how many requests there were is not the tests' to
// say, what each of them leads to is.
void ExpectNothingBut(const std::string& line, const std::vector<std::string>& warnings) {
  EXPECT_FALSE(warnings.empty());
  for (const std::string& warning : warnings) {
    EXPECT_EQ(warning, line);
  }
}

const std::vector<std::string> kNone;
constexpr const char* kFailedLine = "IndexMarket::FetchIndexMarkets Failed.";

TEST_F(IndexQuotesTest, deliversExactlyWhatTheServerAnswers) {
  options_.speed = 0;
  StartAll();
  Collector view;
  Show(view);
  const QJsonObject answer = QJsonDocument::fromJson(QByteArray::fromStdString(AnswerOfTheServer())).object();
  ASSERT_EQ(answer[QStringLiteral("errno")].toInt(-1), 0);
  const QJsonArray expected = answer[QStringLiteral("data")].toObject()[QStringLiteral("list")].toArray();
  const IndexList list = view.lists().front();
  ASSERT_EQ(list.size(), 3U);
  ASSERT_EQ(expected.size(), 3);
  for (int i = 0; i < 3; ++i) {
    const QJsonObject row = expected[i].toObject();
    const IndexMarketSummary& quote = list[static_cast<std::size_t>(i)];
    EXPECT_EQ(quote.code, row[QStringLiteral("code")].toString().toStdWString());
    EXPECT_EQ(quote.name, row[QStringLiteral("name")].toString().toStdWString());
    EXPECT_EQ(quote.last, row[QStringLiteral("last")].toDouble());
    EXPECT_EQ(quote.change, row[QStringLiteral("change")].toDouble());
    EXPECT_EQ(quote.diff, row[QStringLiteral("diff")].toDouble());
    EXPECT_EQ(quote.null_flags, 0U);
  }
  EXPECT_EQ(list[0].code, L"sh000001");
  EXPECT_EQ(list[1].code, L"sz399001");
  EXPECT_EQ(list[2].code, L"sz399006");
  EXPECT_GT(list[0].last, 0);
}

TEST_F(IndexQuotesTest, followsTheClockOfTheServer) {
  StartAll();
  Collector view;
  Show(view);
  EXPECT_EQ(common::GetCurrentServerDate(), 20240315U);
  EXPECT_EQ(stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime())),
            stock::kMarketMorning);
}

TEST_F(IndexQuotesTest, deliversNewQuotesOnRefresh) {
  options_.speed = 60;
  StartAll();
  Collector view;
  Show(view);
  for (std::size_t count = 2; count < 2000 && view.lists().back() == view.lists().front(); ++count) {
    GetIndexMarket()->Refresh();
    ASSERT_TRUE(view.WaitFor(count));
  }
  EXPECT_NE(view.lists().back(), view.lists().front());
  EXPECT_EQ(Warnings(), kNone);
}

TEST_F(IndexQuotesTest, handsTheLatestListToALateObserverAtOnce) {
  options_.speed = 0;
  StartAll();
  Collector first;
  Show(first);
  Collector late;
  GetIndexMarket()->Attach(&late);
  ASSERT_FALSE(late.lists().empty());
  EXPECT_EQ(late.lists().front(), first.lists().front());
}

TEST_F(IndexQuotesTest, logsTheErrorNumberOfTheServerAndKeepsTheList) {
  StartAll();
  Collector view;
  Show(view);
  server_->SetFaults({"errno::1:4711"});
  GetIndexMarket()->Refresh();
  ExpectNothingBut("IndexMarket::FetchIndexMarkets Response Error Code: 4711", WaitForWarnings(1));
  Collector late;
  GetIndexMarket()->Attach(&late);
  ASSERT_EQ(late.lists().size(), 1U);
  EXPECT_EQ(late.lists().back(), view.lists().back());
}

TEST_F(IndexQuotesTest, logsTheParsersCodeForAnAnswerThatIsNoJson) {
  StartAll();
  Collector view;
  Show(view);
  server_->SetFaults({"not_json"});
  QJsonParseError error;
  QJsonDocument::fromJson(QByteArray::fromStdString(AnswerOfTheServer()), &error);
  ASSERT_NE(error.error, QJsonParseError::NoError);
  GetIndexMarket()->Refresh();
  ExpectNothingBut("IndexMarket::FetchIndexMarkets Json Parse Error Code: " + std::to_string(error.error),
                   WaitForWarnings(1));
}

TEST_F(IndexQuotesTest, isSilentAboutAnEmptyBody) {
  StartAll();
  Collector view;
  Show(view);
  server_->SetFaults({"empty_body"});
  GetIndexMarket()->Refresh();
  EXPECT_EQ(AnswerOfTheServer(), "");
  server_->SetFaults({});
  const std::size_t before = view.lists().size();
  GetIndexMarket()->Refresh();
  EXPECT_TRUE(view.WaitFor(before + 1));
  EXPECT_EQ(Warnings(), kNone);
}

TEST_F(IndexQuotesTest, deliversAnEmptyListForAnAnswerWithoutRows) {
  StartAll();
  Collector view;
  Show(view);
  server_->SetFaults({"no_rows"});
  GetIndexMarket()->Refresh();
  EXPECT_TRUE(view.WaitForLast([](const IndexList& list) { return list.empty(); }));
}

TEST_F(IndexQuotesTest, comesBackAfterAnOutage) {
  StartAll();
  Collector view;
  Show(view);
  EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kLive);

  server_.reset();
  for (std::size_t failures = 1; failures <= 3; ++failures) {
    GetIndexMarket()->Refresh();
    ExpectNothingBut(kFailedLine, WaitForWarnings(failures));
  }
  EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kFailing);
  const std::size_t updates = view.lists().size();

  StartServer();
  GetIndexMarket()->Refresh();
  ASSERT_TRUE(view.WaitFor(updates + 1));
  EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kLive);
  // One line for each request that failed, none for those that went well.
  const stock_host::Counters counters = stock_host::ReadCounters();
  EXPECT_GE(counters.failures.connection, 1U);
  EXPECT_EQ(counters.failures.connection + counters.failures.timeout, counters.failed);
  EXPECT_EQ(Warnings().size(), counters.failed);
}

TEST_F(IndexQuotesTest, startsEvenWhenTheServerComesLater) {
  StartServer();
  server_.reset();
  StartHost();
  Collector view;
  GetIndexMarket()->Attach(&view);
  GetIndexMarket()->Resume(&view, true);
  ExpectNothingBut(kFailedLine, WaitForWarnings(1));
  StartServer();
  GetIndexMarket()->Refresh();
  EXPECT_TRUE(view.WaitFor(1));
}

TEST_F(IndexQuotesTest, givesUpASilentServerAfterThreeSeconds) {
  StartAll();
  Collector view;
  Show(view);
  server_->SetFaults({"silence"});
  const auto start = std::chrono::steady_clock::now();
  GetIndexMarket()->Refresh();
  ExpectNothingBut(kFailedLine, WaitForWarnings(1));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, milliseconds(2900));
  EXPECT_LT(waited, seconds(6));
  EXPECT_GE(stock_host::ReadCounters().failures.timeout, 1U);
}

TEST_F(IndexQuotesTest, endsAtOnceWithRequestsUnderWay) {
  options_.faults = {"silence"};
  StartAll();
  for (int i = 0; i < 20; ++i) {
    Collector view;
    GetIndexMarket()->Attach(&view);
    GetIndexMarket()->Resume(&view, true);
    GetIndexMarket()->Refresh();
    const auto start = std::chrono::steady_clock::now();
    DestroyStockMarket();
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(1));
    EXPECT_TRUE(view.lists().empty());
  }
  const auto start = std::chrono::steady_clock::now();
  stock_host::Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(1));
}

TEST_F(IndexQuotesTest, dropsAnswersThatArriveAfterTheEnd) {
  options_.faults = {"latency::1:50"};
  StartAll();
  for (int i = 0; i < 20; ++i) {
    auto view = std::make_unique<Collector>();
    GetIndexMarket()->Attach(view.get());
    GetIndexMarket()->Resume(view.get(), true);
    DestroyStockMarket();
    view.reset();
  }
  // The answers come in while the services are gone; the next ones are served all the same.
  Collector view;
  Show(view);
  EXPECT_EQ(Warnings(), kNone);
}

TEST_F(IndexQuotesTest, survivesHostServicesThatStopFirst) {
  options_.faults = {"silence"};
  StartAll();
  Collector view;
  GetIndexMarket()->Attach(&view);
  GetIndexMarket()->Resume(&view, true);
  stock_host::Stop();
  GetIndexMarket()->Refresh();
  DestroyStockMarket();
  EXPECT_TRUE(view.lists().empty());
  // What could not be written any more is in the log of the next start.
  StartHost();
  ExpectNothingBut(kFailedLine, WaitForWarnings(1));
}

TEST_F(IndexQuotesTest, runsAgainAfterEverythingWasStopped) {
  StartServer();
  for (int i = 0; i < 3; ++i) {
    StartHost();
    Collector view;
    Show(view);
    GetIndexMarket()->Detach(&view);
    DestroyStockMarket();
    stock_host::Stop();
  }
  EXPECT_EQ(Warnings(), kNone);
}

TEST_F(IndexQuotesTest, letsViewsComeAndGoWhileAnswersArrive) {
  options_.speed = 60;
  options_.faults = {"jitter::1:5"};
  StartAll();
  Collector steady;
  Show(steady);
  std::atomic<bool> over{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&over] {
      while (!over) {
        auto view = std::make_unique<Collector>();
        GetIndexMarket()->Attach(view.get());
        // Every request makes the answers to those before it old: these views leave the asking to the steady
        // one.
        GetIndexMarket()->Resume(view.get(), false);
        GetIndexMarket()->Suspend(view.get());
        GetIndexMarket()->Detach(view.get());
        view.reset();
      }
    });
  }
  for (std::size_t count = steady.lists().size(); count < 50; ++count) {
    GetIndexMarket()->Refresh();
    EXPECT_TRUE(steady.WaitFor(count + 1));
  }
  over = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(Warnings(), kNone);
}

}  // namespace
