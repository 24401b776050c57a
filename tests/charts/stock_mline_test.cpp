// Minute lines from request to view.
#include "charts/stock_mline.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scripted_ticks.h"
#include "service_fixture.h"
#include "services.h"

namespace {

constexpr const char* kToday = "/pc/rt/get_day_time";
constexpr const char* kPastDay = "/pc/rt/get_day_htime";
constexpr const char* kPastDays = "/pc/rt/get_choice_htime";

// The entry of one symbol: a single point.
std::string Entry(const std::string& date, double last) {
  return R"({"date":")" + date + R"(","list":[{"min":930,"last":)" + std::to_string(last) +
         R"(,"preclose":10}]})";
}

Answer Data(const std::string& members) {
  return Answer::Body(R"({"errno":0,"data":{)" + members + "}}");
}

Answer Line(const std::string& symbol, double last, const std::string& date = "20240315") {
  return Data("\"" + symbol + "\":" + Entry(date, last));
}

double Price(const StockMLineData& line) {
  if (line.days.empty() || line.days[0].points.empty()) {
    ADD_FAILURE() << "a line without points";
    return 0;
  }
  return line.days[0].points[0].price;
}

class StockMLine : public ChartServiceTest<IStockMLine, StockMLineData> {
 protected:
  StockMLine() : ChartServiceTest(charts::MakeStockMLine) {}

  MLineCallback Keep() {
    return [this](const StockMLineData& line) { got.push_back(line); };
  }

  ScriptedTicks ticks;
  std::vector<StockMLineData> got;
};

TEST_F(StockMLine, asksForNothingWhenNobodyLooks) {
  service->Attach(&view);
  service->SetTarget(&view, L"sh600000");
  service->Fetch();
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(StockMLine, asksForAllShownSymbolsAtOnce) {
  RecordingObserver<StockMLineData> second;
  RecordingObserver<StockMLineData> same;
  RecordingObserver<StockMLineData> hidden;
  Show(view, L"sh600000");
  Show(second, L"sz399001");
  Show(same, L"sh600000");
  Show(hidden, L"sh600003");
  service->Suspend(&hidden);
  host.Expect(Script(kToday).Setting(30).Inline(Data("\"sh600000\":" + Entry("20240315", 1) +
                                                     ",\"sz399001\":" + Entry("20240315", 2) +
                                                     ",\"sh600003\":" + Entry("20240315", 3))));
  service->OnTimer();
  ASSERT_EQ(host.RequestCount(), 1U);
  const Request request = host.Requests()[0];
  EXPECT_EQ(request.kind, Request::Kind::kAsync);
  // The order of the symbols is that of the observers' addresses.
  const std::string list = request.parameters.at("stock_arr");
  EXPECT_TRUE(list == R"(["sh600000","sz399001"])" || list == R"(["sz399001","sh600000"])") << list;
  EXPECT_EQ(request.parameters.size(), 1U);
  EXPECT_EQ(Price(view.Last()), 1.0);
  EXPECT_EQ(Price(same.Last()), 1.0);
  EXPECT_EQ(Price(second.Last()), 2.0);
  EXPECT_EQ(hidden.Count(), 0U);
  for (auto* observer : {&second, &same, &hidden}) service->Detach(observer);
}

TEST_F(StockMLine, keepsTheLineForThoseWhoComeBackSoon) {
  Show(view, L"sh600000");
  host.Expect(Script(kToday).Inline(Line("sh600000", 1)));
  service->Refresh();
  service->Suspend(&view);
  ticks.Advance(300);
  service->Resume(&view, true);
  EXPECT_EQ(view.Count(), 2U);
  EXPECT_EQ(view.Updates()[0], view.Updates()[1]);
  service->Suspend(&view);
  ticks.Advance(1);
  host.Expect(Script(kToday).Inline(Line("sh600000", 2)));
  service->Resume(&view, true);
  EXPECT_EQ(Price(view.Last()), 2.0);
}

// `{"sh600000": null}` wiped a good line, and so did `{"sh600000": []}`.
TEST_F(StockMLine, keepsTheLineWhenTheEntryIsNone) {
  Show(view, L"sh600000");
  host.Expect(Script(kToday).Inline(Line("sh600000", 1)));
  service->Refresh();
  for (const char* const entry : {"null", "7", "\"\"", "true", "[]", "[null]", "[{},7]"}) {
    host.Expect(Script(kToday).Inline(Data("\"sh600000\":" + std::string(entry))));
    service->Refresh();
    EXPECT_EQ(view.Count(), 1U) << entry;
  }
  service->Suspend(&view);
  service->Resume(&view, true);
  EXPECT_EQ(Price(view.Last()), 1.0) << "nor is it forgotten";
}

TEST_F(StockMLine, forgetsTheLineOfASymbolThatIsLeft) {
  Show(view, L"sh600000");
  RecordingObserver<StockMLineData> second;
  Show(second, L"sh600000");
  host.Expect(Script(kToday).Inline(Line("sh600000", 1)));
  service->Refresh();
  service->SetTarget(&second, L"sh600001");
  service->Suspend(&view);
  host.Expect(Script(kToday).Inline(Line("sh600000", 2)));
  service->Resume(&view, true);
  EXPECT_EQ(Price(view.Last()), 2.0);
  service->RemoveTarget(&view);
  service->SetTarget(&view, L"sh600000");
  service->Suspend(&view);
  host.Expect(Script(kToday).Inline(Line("sh600000", 3)));
  service->Resume(&view, true);
  EXPECT_EQ(Price(view.Last()), 3.0);
  service->Detach(&second);
}

TEST_F(StockMLine, tellsOfADayWithoutPoints) {
  Show(view, L"sh600000");
  host.Expect(Script(kToday).Inline(Data(R"("sh600000":{"date":"2024-03-15","list":[]})")));
  service->Refresh();
  EXPECT_EQ(view.Last(), (StockMLineData{L"sh600000", 0, {{20240315, {}}}}));
}

// --- Spelling ---

// A view of "SH600000" was told nothing when the answer said "sh600000".
TEST_F(StockMLine, tellsEachViewInItsOwnSpelling) {
  RecordingObserver<StockMLineData> small;
  RecordingObserver<StockMLineData> other;
  Show(view, L"SH600000");
  Show(small, L"sh600000");
  Show(other, L"sh600001");
  host.Expect(Script(kToday).Inline(Line("sh600000", 1)));
  service->Refresh();
  ASSERT_EQ(view.Count(), 1U);
  EXPECT_EQ(view.Last().symbol, L"SH600000");
  EXPECT_EQ(Price(view.Last()), 1.0);
  ASSERT_EQ(small.Count(), 1U);
  EXPECT_EQ(small.Last().symbol, L"sh600000");
  EXPECT_EQ(other.Count(), 0U);
  host.Expect(Script(kToday).Inline(Data("\"sh600000\":" + Entry("20240315", 2) + ",\"SH600000\":" +
                                         Entry("20240315", 3) + ",\"Sh600000\":" + Entry("20240315", 4))));
  service->Refresh();
  EXPECT_EQ(view.Count() + small.Count(), 4U);
  EXPECT_EQ(Price(view.Last()), 3.0) << "an entry in the very spelling comes first";
  EXPECT_EQ(Price(small.Last()), 2.0);
  service->Detach(&small);
  service->Detach(&other);
}

TEST_F(StockMLine, handsALineToACallbackInTheSpellingOfItsRequest) {
  host.SetTaskMode(ScriptedHost::TaskMode::kInline);
  host.Expect(Script(kToday).Inline(Line("sh600000", 1)));
  service->FetchMLine(L"SH600000", 0, Keep());
  host.Expect(Script(kPastDay).Inline(Line("sh600000", 2)));
  service->FetchHistoryMLine(L"SH600000", 20240314, 0, Keep());
  ASSERT_EQ(got.size(), 2U);
  EXPECT_EQ(got[0].symbol, L"SH600000");
  EXPECT_EQ(got[1].symbol, L"SH600000");
  EXPECT_EQ(Price(got[1]), 2.0);
}

TEST_F(StockMLine, handsTodaysLineToACallback) {
  Show(view, L"sh600000");
  host.Expect(Script(kToday).With({{"stock_arr", R"(["sh600000"])"}}).Setting(8).Inline(Line("sh600000", 1)));
  service->FetchMLine(L"sh600000", 0, Keep());
  EXPECT_EQ(host.RequestCount(), 0U) << "the request belongs into a task";
  EXPECT_EQ(host.RunTasks(), 1U);
  EXPECT_EQ(host.Requests()[0].kind, Request::Kind::kSync);
  ASSERT_EQ(got.size(), 1U);
  EXPECT_EQ(Price(got[0]), 1.0);
  EXPECT_EQ(got[0].preclose, 10.0);
  EXPECT_EQ(view.Count(), 0U);
  // It is not kept either.
  host.Expect(Script(kToday).Inline(Line("sh600000", 2)));
  service->Suspend(&view);
  service->Resume(&view, true);
  EXPECT_EQ(Price(view.Last()), 2.0);
}

TEST_F(StockMLine, sendsAnAnswerWithoutCallbackTheWayOfAPolledOne) {
  Show(view, L"sh600000");
  for (const int argument : {0, 5, -1}) {
    host.Expect(Script(kToday)
                    .With({{"stock_arr", R"(["sh600000"])"}})
                    .Setting(30)
                    .Inline(Line("sh600000", argument + 9)));
    service->FetchMLine(L"sh600000", argument, {});
    EXPECT_EQ(Price(view.Last()), argument + 9);
  }
  service->Suspend(&view);
  service->Resume(&view, true);
  EXPECT_EQ(view.Count(), 4U) << "it was kept";
}

TEST_F(StockMLine, asksForOnePastDay) {
  host.Expect(Script(kPastDay)
                  .With({{"stock", "sh600000"}, {"date", "20240314"}})
                  .Setting(30)
                  .Times(3)
                  .Inline(Line("sh600000", 5, "2024-03-14")));
  for (const int days : {0, -1, -2147483647}) {
    service->FetchHistoryMLine(L"sh600000", 20240314, days, Keep());
  }
  ASSERT_EQ(got.size(), 3U);
  EXPECT_EQ(host.Requests()[0].kind, Request::Kind::kAsync);
  EXPECT_EQ(got[0].days[0].date, 20240314U);
}

TEST_F(StockMLine, readsAPastDayThatStandsWithoutItsSymbol) {
  host.Expect(Script(kPastDay).Inline(Answer::Body(R"({"errno":0,"data":)" + Entry("20240314", 5) + "}")));
  service->FetchHistoryMLine(L"sh600000", 20240314, 0, Keep());
  ASSERT_EQ(got.size(), 1U);
  EXPECT_EQ(got[0].symbol, L"sh600000");
  EXPECT_EQ(Price(got[0]), 5.0);
}

TEST_F(StockMLine, asksForSeveralPastDaysInATask) {
  host.Expect(Script(kPastDays)
                  .With({{"stock", "sh600000"}, {"date", "20240314"}, {"rn", "2"}})
                  .Setting(8)
                  .Inline(Data("\"sh600000\":[" + Entry("20240313", 4) + "," + Entry("20240314", 5) + "]")));
  service->FetchHistoryMLine(L"sh600000", 20240314, 2, Keep());
  EXPECT_EQ(host.RequestCount(), 0U);
  EXPECT_EQ(host.RunTasks(), 1U);
  EXPECT_EQ(host.Requests()[0].kind, Request::Kind::kSync);
  ASSERT_EQ(got.size(), 1U);
  ASSERT_EQ(got[0].days.size(), 2U);
  EXPECT_EQ(got[0].days[1].date, 20240314U);
}

TEST_F(StockMLine, tellsActiveViewsOfAPastDayWithoutKeepingIt) {
  Show(view, L"sh600000");
  RecordingObserver<StockMLineData> hidden;
  Show(hidden, L"sh600000");
  service->Suspend(&hidden);
  RecordingObserver<StockMLineData> other;
  Show(other, L"sh600001");
  host.Expect(Script(kPastDay).Inline(Line("sh600000", 5, "20240314")));
  service->FetchHistoryMLine(L"sh600000", 20240314, 0, {});
  host.Expect(Script(kPastDays).Inline(Line("sh600000", 6, "20240314")));
  service->FetchHistoryMLine(L"sh600000", 20240314, 1, {});
  host.RunTasks();
  EXPECT_EQ(view.Count(), 2U);
  EXPECT_EQ(hidden.Count() + other.Count(), 0U);
  host.Expect(Script(kToday).Inline(Line("sh600000", 7)));
  service->Resume(&hidden, true);
  EXPECT_EQ(Price(hidden.Last()), 7.0);
  service->Detach(&hidden);
  service->Detach(&other);
}

TEST_F(StockMLine, ignoresANullSymbol) {
  service->FetchMLine(nullptr, 0, Keep());
  service->FetchMLine(nullptr, 0, {});
  service->FetchHistoryMLine(nullptr, 20240314, 0, Keep());
  service->FetchHistoryMLine(nullptr, 20240314, 5, Keep());
  EXPECT_EQ(host.RunTasks() + host.RequestCount(), 0U);
}

TEST_F(StockMLine, dropsWhatComesAfterItsEnd) {
  service->Attach(&view);
  service->SetTarget(&view, L"sh600000");
  service->Resume(&view, false);
  host.Expect(Script(kToday).Held());
  host.Expect(Script(kPastDay).Held());
  service->Refresh();
  service->FetchHistoryMLine(L"sh600000", 20240314, 0, Keep());
  service->FetchHistoryMLine(L"sh600000", 20240314, 5, Keep());  // sends nothing when its task comes too late
  service.reset();
  host.Complete(0, Line("sh600000", 1));
  host.Complete(1, Line("sh600000", 1));
  host.RunTasks();
  EXPECT_EQ(view.Count(), 0U);
  EXPECT_TRUE(got.empty());
  service.reset(charts::MakeStockMLine());
}

}  // namespace
