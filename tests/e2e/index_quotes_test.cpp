// Index quotes from the simulated market to an observer, through real HTTP, the real host services and the
// library.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "live_market.h"

namespace {

using IndexList = std::vector<IndexMarketSummary>;
using View = Collector<IndexList>;

constexpr const char* kMorning = "2024-03-15 10:30:00";

class IndexQuotesTest : public LiveMarketTest {
 protected:
  IndexQuotesTest() { options_.clock = kMorning; }

  // Attaches and resumes `view`, and waits for its first list.
  void Show(View& view) {
    GetIndexMarket()->Attach(&view);
    GetIndexMarket()->Resume(&view, true);
    ASSERT_TRUE(view.WaitFor(1));
  }

  // Waits until the log holds that many warnings. A round of the polling thread may ask beside the view: how
  // many requests there were is not the tests' to say, what each of them leads to is.
  void ExpectFailures(std::size_t count) {
    EXPECT_TRUE(AwaitTrue([&] { return Warnings().size() >= count; }));
    for (const std::string& warning : Warnings()) {
      EXPECT_EQ(warning, "IndexMarket::FetchIndexMarkets Failed.");
    }
  }
};

const std::vector<std::string> kNone;

TEST_F(IndexQuotesTest, deliversExactlyWhatTheServerAnswers) {
  options_.speed = 0;
  StartAll();
  View view;
  Show(view);
  const std::string body =
      Ask(L"/pc/rt/stock_detail_list", {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}});
  const QJsonObject answer = QJsonDocument::fromJson(QByteArray::fromStdString(body)).object();
  ASSERT_EQ(answer[QStringLiteral("errno")].toInt(-1), 0);
  const QJsonArray expected = answer[QStringLiteral("data")].toObject()[QStringLiteral("list")].toArray();
  const IndexList list = view.All().front();
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

TEST_F(IndexQuotesTest, deliversNewQuotesOnRefresh) {
  options_.speed = 60;
  StartAll();
  View view;
  Show(view);
  for (std::size_t count = 2; count < 2000 && view.All().back() == view.All().front(); ++count) {
    GetIndexMarket()->Refresh();
    ASSERT_TRUE(view.WaitFor(count));
  }
  EXPECT_NE(view.All().back(), view.All().front());
  EXPECT_EQ(Warnings(), kNone);
}

TEST_F(IndexQuotesTest, comesBackAfterAnOutage) {
  StartAll();
  View view;
  Show(view);
  EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kLive);

  server_.reset();
  for (std::size_t failures = 1; failures <= 3; ++failures) {
    GetIndexMarket()->Refresh();
    ExpectFailures(failures);
  }
  EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kFailing);
  const std::size_t updates = view.All().size();

  StartServer();
  GetIndexMarket()->Refresh();
  ASSERT_TRUE(view.WaitFor(updates + 1));
  EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kLive);
  // One line for each request that failed, none for those that went well.
  ASSERT_TRUE(AwaitQuiet());
  const stock_host::Counters counters = stock_host::ReadCounters();
  EXPECT_GE(counters.failures.connection, 1U);
  EXPECT_EQ(counters.failures.connection + counters.failures.timeout, counters.failed);
  EXPECT_EQ(Warnings().size(), counters.failed);
}

TEST_F(IndexQuotesTest, startsEvenWhenTheServerComesLater) {
  StartServer();
  server_.reset();
  StartHost();
  View view;
  GetIndexMarket()->Attach(&view);
  GetIndexMarket()->Resume(&view, true);
  ExpectFailures(1);
  StartServer();
  GetIndexMarket()->Refresh();
  EXPECT_TRUE(view.WaitFor(1));
}

TEST_F(IndexQuotesTest, dropsAnswersThatArriveAfterTheEnd) {
  options_.faults = {"latency::1:50"};
  StartAll();
  for (int i = 0; i < 20; ++i) {
    auto view = std::make_unique<View>();
    GetIndexMarket()->Attach(view.get());
    GetIndexMarket()->Resume(view.get(), true);
    DestroyStockMarket();
    view.reset();
  }
  // The answers come in while the services are gone; the next ones are served all the same.
  View view;
  Show(view);
  EXPECT_EQ(Warnings(), kNone);
}

TEST_F(IndexQuotesTest, survivesHostServicesThatStopFirst) {
  options_.faults = {"silence"};
  StartAll();
  View view;
  GetIndexMarket()->Attach(&view);
  GetIndexMarket()->Resume(&view, true);
  stock_host::Stop();
  GetIndexMarket()->Refresh();
  DestroyStockMarket();
  EXPECT_TRUE(view.All().empty());
  // What could not be written any more is in the log of the next start.
  StartHost();
  ExpectFailures(1);
}

TEST_F(IndexQuotesTest, runsAgainAfterEverythingWasStopped) {
  StartServer();
  for (int i = 0; i < 3; ++i) {
    StartHost();
    View view;
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
  View steady;
  Show(steady);
  std::atomic<bool> over{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&over] {
      while (!over) {
        auto view = std::make_unique<View>();
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
  for (std::size_t count = steady.All().size(); count < 50; ++count) {
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
