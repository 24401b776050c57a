// Index quotes from the simulated market to an observer, through real HTTP, the real host services and the
// library.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <string>
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

}  // namespace
