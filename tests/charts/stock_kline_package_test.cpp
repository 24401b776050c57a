// Where a K-line's history comes from: disk, package, history query; and what is left on disk.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "kline_fixture.h"

namespace {

using namespace kline_test;

const KLineCandle kTuesday = Candle(20240312, 10);
const KLineCandle kWednesday = Candle(20240313, 20);
const KLineCandle kThursday = Candle(20240314, 30);
const std::vector<KLineCandle> kDays = {kTuesday, kWednesday, kThursday};
const std::list<KLineCandle> kSeries(kDays.begin(), kDays.end());
const std::string kNewPackage = PackagePath("sh600000", "day", "bfq", "20240314");

using KLinePackages = KLineTest;

TEST_F(KLinePackages, readsAPackageThatIsCurrentWithoutARequest) {
  Keep(L"20240314", kDays);
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(host.RequestCount(), 1U) << "the day's candle alone";
}

// It had no history, and the row of the same stock in small letters was emptied.
TEST_F(KLinePackages, belongToTheStockWhateverTheCaseOfItsSymbol) {
  host.GiveEveryTextADirectory();
  const auto load = [this] {
    host.Expect(Script(kDayPath).Inline(NoToday()));
    service->FetchKLine(L"SH600000", 1, 1, KLineTest::Keep());
    return got.back().candles;
  };
  Keep(L"20240314", kDays);
  EXPECT_EQ(load(), kSeries);
  EXPECT_EQ(Stored(), (KLineMetaInfo{L"20240314", 3}));
  packages.Announce(L"20240315");
  host.Expect(
      Script(PackagePath("sh600000", "day", "bfq", "20240315")).Inline(Answer::Body(Gzip(Package(kDays)))));
  EXPECT_EQ(load(), kSeries);
  EXPECT_TRUE(std::filesystem::exists(File()));
  EXPECT_FALSE(std::filesystem::exists(host.Directory() + "/kline/SH600000"));
}

TEST_F(KLinePackages, readsAPackageThatIsNewerThanAnnounced) {
  Keep(L"20240315", kDays);
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Stored().version, L"20240315");
}

TEST_F(KLinePackages, downloadsAPackageThatIsMissing) {
  packages.Count(L"sh600000", 1, 1, 3);
  host.Expect(Script(kNewPackage).Setting(30).Inline(Answer::Body(Gzip(Package(kDays)))));
  EXPECT_EQ(Load(), kSeries);
  const Request request = host.RequestsTo(kNewPackage).at(0);
  EXPECT_EQ(request.kind, Request::Kind::kDownload);
  EXPECT_EQ(request.url, L"http://static.test/kline.sh600000.day.bfq.20240314.gzip");
  EXPECT_EQ(request.retries, 3);
  EXPECT_EQ(common::ws2s(request.destination, common::kUtf8), File());
  EXPECT_EQ(Stored(), (KLineMetaInfo{L"20240314", 3}));
  EXPECT_EQ(Bytes(File()), Gzip(Package(kDays))) << "the file stays as it was downloaded";
}

TEST_F(KLinePackages, replacesAPackageThatIsStale) {
  Keep(L"20240313", {kTuesday});
  packages.Count(L"sh600000", 1, 1, 3);
  host.Expect(Script(kNewPackage).Inline([this](const Request&) {
    EXPECT_FALSE(std::filesystem::exists(File())) << "the old file goes before the new one is fetched";
    EXPECT_EQ(Stored(), (KLineMetaInfo{L"20240313", 1})) << "the store follows the file";
    return Answer::Body(Gzip(Package(kDays)));
  }));
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Stored(), (KLineMetaInfo{L"20240314", 3}));
}

TEST_F(KLinePackages, replacesAStalePackageThatCannotBeRemoved) {
  Keep(L"20240313", {kTuesday});
  host.FailRemoving(true);
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(Package(kDays)))));
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Stored().version, L"20240314");
}

TEST_F(KLinePackages, comparesVersionsAsTexts) {
  Keep(L"9", kDays);
  EXPECT_EQ(Load(), kSeries);
  packages.Announce(L"a");
  host.Expect(Script(PackagePath("sh600000", "day", "bfq", "a")).Inline(Answer::Body(Gzip(Package(kDays)))));
  Load();
  EXPECT_EQ(Stored().version, L"a");
}

TEST_F(KLinePackages, asksTheHistoryServiceWhenTheDownloadFails) {
  Keep(L"20240313", {kTuesday});
  packages.Count(L"sh600000", 1, 1, 3);
  for (int load = 0; load < 2; ++load) {
    host.Expect(Script(kNewPackage).Inline(Answer::Failed()));
    host.Expect(Script(kHistoryPath)
                    .With(Query("sh600000", "kline.day", "bfq", 3))
                    .Setting(8)
                    .Inline(History(kDays)));
    EXPECT_EQ(Load(), kSeries) << "load " << load;
    EXPECT_EQ(Stored(), (KLineMetaInfo{L"20240313", 1})) << "so that a later load tries again";
    EXPECT_FALSE(std::filesystem::exists(File()));
    PassBackOff();
  }
  EXPECT_EQ(host.RequestsTo(kHistoryPath)[0].kind, Request::Kind::kSync);
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(Package(kDays)))));
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Stored(), (KLineMetaInfo{L"20240314", 3}));
}

// A stock without a package, and a full disk, cost three tries and a query with every load.
TEST_F(KLinePackages, leavesAFailedDownloadAloneForTenMinutes) {
  host.Expect(Script(kNewPackage).Times(2).Inline(Answer::Failed()));
  host.Expect(Script(kHistoryPath).Times(2).Inline(History(kDays)));
  for (int minute = 0; minute < 20; ++minute) {
    EXPECT_EQ(Load(), kSeries) << minute;
    EXPECT_EQ(host.RequestsTo(kNewPackage).size(), minute < 10 ? 1U : 2U) << minute;
    steady.Advance(60'000);
  }
}

TEST_F(KLinePackages, leavesAFailedDownloadAloneThoughNothingElseCanBeHad) {
  host.Expect(Script(kNewPackage).Times(2).Inline(Answer::Failed()));
  host.Expect(Script(kHistoryPath).Times(20).Inline(Answer::Failed()));
  for (int minute = 0; minute < 20; ++minute) {
    EXPECT_EQ(Load(), List({})) << minute;
    EXPECT_EQ(host.RequestsTo(kNewPackage).size(), minute < 10 ? 1U : 2U) << minute;
    steady.Advance(60'000);
  }
}

TEST_F(KLinePackages, triesAnotherVersionAtOnce) {
  host.Expect(Script(kNewPackage).Inline(Answer::Failed()));
  host.Expect(Script(kHistoryPath).Inline(History(kDays)));
  EXPECT_EQ(Load(), kSeries);
  packages.Announce(L"20240315");
  host.Expect(Script(PackagePath("sh600000", "day", "bfq", "20240315"))
                  .Inline(Answer::Body(Gzip(Package({kThursday})))));
  EXPECT_EQ(Load().size(), 1U);
}

TEST_F(KLinePackages, asksForAThousandRowsWhereNoCountIsAnnounced) {
  host.Expect(Script(kNewPackage).Inline(Answer::Failed()));
  host.Expect(Script(kHistoryPath).With(Query("sh600000", "kline.day", "bfq", 1000)).Inline(History(kDays)));
  EXPECT_EQ(Load(), kSeries);
}

TEST_F(KLinePackages, doesNotTrustADownloadThatCannotBeUnpacked) {
  for (const std::string& bytes :
       {std::string("no gzip"), std::string(), Gzip(Package(kDays)).substr(0, 40)}) {
    host.Expect(Script(kNewPackage).Inline(Answer::Body(bytes)));
    host.Expect(Script(kHistoryPath).Inline(History(kDays)));
    EXPECT_EQ(Load(), kSeries);
    EXPECT_EQ(Stored(), KLineMetaInfo());
    PassBackOff();
  }
}

TEST_F(KLinePackages, doesNotTrustAnEmptyDownloadWhereOneCandleIsAnnounced) {
  packages.Count(L"sh600000", 1, 1, 1);
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(""))));
  host.Expect(
      Script(kHistoryPath).With(Query("sh600000", "kline.day", "bfq", 1)).Inline(History({kThursday})));
  EXPECT_EQ(Load(), List({kThursday}));
  EXPECT_EQ(Stored(), KLineMetaInfo());
}

// Equal versions never cause a download: the row goes, and the next load finds the package stale.
TEST_F(KLinePackages, fetchesADamagedOrMissingPackageWithTheNextLoad) {
  const std::string whole = Gzip(Package(kDays));
  std::string bent = whole;
  bent[bent.size() / 2] ^= 0x20;
  for (const std::string& bytes :
       {std::string(), whole.substr(0, 30), std::string("no gzip"), bent, std::string("missing")}) {
    service.reset(charts::MakeStockKLine());
    Keep(L"20240314", kDays);
    Write(File(), bytes);
    if (bytes == "missing") std::filesystem::remove(File());
    host.Expect(Script(kHistoryPath).Inline(History(kDays)));
    EXPECT_EQ(Load(), kSeries);
    EXPECT_EQ(Stored(), KLineMetaInfo());
    host.Expect(Script(kNewPackage).Inline(Answer::Body(whole)));
    EXPECT_EQ(Load(), kSeries);
    EXPECT_EQ(Bytes(File()), whole);
    EXPECT_EQ(Stored().version, L"20240314");
  }
}

TEST_F(KLinePackages, readsAPackageWhoseStoreIsDamagedAsItStands) {
  Keep(L"20240314", kDays);
  Write(Directory() + "/trace.db", "this is no database, and it is long enough to be looked at as one");
  EXPECT_EQ(Load(), kSeries);
  EXPECT_FALSE(std::filesystem::exists(Directory() + "/trace.db"));
  // The next start makes a new store, which knows of no package.
  service.reset(charts::MakeStockKLine());
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(Package(kDays)))));
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Stored().version, L"20240314");
}

// A store that could not be opened made a good package look stale: it was removed.
TEST_F(KLinePackages, leavesAPackageAloneWhoseStoreCannotBeOpened) {
  Write(File(), Gzip(Package(kDays)));
  std::filesystem::create_directories(Directory() + "/trace.db");
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Bytes(File()), Gzip(Package(kDays)));
  EXPECT_EQ(host.RequestsTo(kNewPackage).size(), 0U);

  service.reset(charts::MakeStockKLine());
  std::filesystem::remove(File());
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(Package(kDays)))));
  EXPECT_EQ(Load(), kSeries) << "without a package on disk it is downloaded";
}

// And so did a store that another program held locked.
TEST_F(KLinePackages, leavesAPackageAloneWhoseStoreIsLocked) {
  Keep(L"20240313", kDays);
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open((Directory() + "/trace.db").c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "begin exclusive", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(Load(), kSeries);
  sqlite3_close(other);
  EXPECT_EQ(Bytes(File()), Gzip(Package(kDays)));
}

TEST_F(KLinePackages, readsWhatIsOnDiskWhileNothingIsAnnounced) {
  Keep(L"20240314", kDays);
  packages.Announce(L"");
  EXPECT_EQ(Load(), kSeries);
}

TEST_F(KLinePackages, asksTheHistoryServiceWhereNothingIsAnnouncedNorHeld) {
  packages.Announce(L"");
  host.Expect(Script(kHistoryPath).With(Query("sh600000", "kline.day", "bfq", 1000)).Inline(History(kDays)));
  EXPECT_EQ(Load(), kSeries);
}

TEST_F(KLinePackages, looksAgainWhenTheAnnouncementComes) {
  Keep(L"20240313", kDays);
  packages.Announce(L"");
  EXPECT_EQ(Load(), kSeries);
  packages.Announce(L"20240314");
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(Package({kThursday})))));
  EXPECT_EQ(Load(), List({kThursday}));
}

TEST_F(KLinePackages, keepsAFileForWhichNoAddressCanBeMade) {
  Keep(L"20240314", kDays);
  packages.Announce(L"2025/../x");
  host.Expect(Script(kHistoryPath).Inline(History({kThursday})));
  EXPECT_EQ(Load(), kSeries) << "what the query does not reach is not lost";
  EXPECT_EQ(Bytes(File()), Gzip(Package(kDays)));
  EXPECT_EQ(Stored().version, L"20240314");
}

TEST_F(KLinePackages, hasAPackageForEveryPeriodAndAdjustment) {
  const std::vector<std::string> periods = {"day", "week", "month"};
  const std::vector<std::string> adjustments = {"bfq", "qfq", "hfq"};
  for (int period = 1; period <= 3; ++period) {
    for (int adjustment = 1; adjustment <= 3; ++adjustment) {
      const int mark = period * 10 + adjustment;
      packages.Count(L"sh600000", period, adjustment, mark);
      host.Expect(Script(PackagePath("sh600000", periods[static_cast<std::size_t>(period - 1)],
                                     adjustments[static_cast<std::size_t>(adjustment - 1)], "20240314"))
                      .Inline(Answer::Body(Gzip(Package({Candle(20240314, mark)})))));
      EXPECT_EQ(Load(period, adjustment), List({Candle(20240314, mark)}));
      EXPECT_EQ(got.back().period, period);
      EXPECT_EQ(got.back().adjustment, adjustment);
      EXPECT_EQ(Stored(period, adjustment), (KLineMetaInfo{L"20240314", mark}));
      EXPECT_TRUE(std::filesystem::exists(File(period, adjustment)));
    }
  }
}

TEST_F(KLinePackages, asksTheHistoryServiceByPeriodAndAdjustment) {
  packages.Announce(L"");
  host.Expect(
      Script(kHistoryPath).With(Query("sh600000", "kline.week", "qfq", 1000)).Inline(History({kThursday})));
  EXPECT_EQ(Load(2, 2), List({kThursday}));
  host.Expect(
      Script(kHistoryPath).With(Query("sh600000", "kline.month", "hfq", 1000)).Inline(History({kThursday})));
  EXPECT_EQ(Load(3, 3), List({kThursday}));
}

TEST_F(KLinePackages, deliversNothingButTodayWhenEverythingFails) {
  for (const Answer& answer :
       {Answer::Failed(), Answer::Failed("x"), Answer::Body("?"), Answer::Body(""),
        Answer::Body(R"({"errno":5})"),
        Answer::Body(R"({"errno":5,"data":{"foo":{"list":[[20240314,1,2,3,4,5,6,7,8]]}}})")}) {
    host.Expect(Script(kNewPackage).Inline(Answer::Failed()));
    host.Expect(Script(kHistoryPath).Inline(answer));
    EXPECT_EQ(Load(1, 1, Today("sh600000", Candle(20240315, 40))), List({Candle(20240315, 40)}));
    PassBackOff();
  }
}

TEST_F(KLinePackages, reusesALoadedPackageAllDay) {
  Keep(L"20240314", kDays);
  EXPECT_EQ(Load(), kSeries);
  std::filesystem::remove_all(Directory());
  EXPECT_EQ(Load(), kSeries);
  EXPECT_FALSE(std::filesystem::exists(Directory())) << "not even the store is opened";
}

TEST_F(KLinePackages, readsAgainOnAnotherDay) {
  Keep(L"20240314", kDays);
  EXPECT_EQ(Load(), kSeries);
  Keep(L"20240314", {kWednesday, kThursday});
  host.SetTime(20240318, 10, 0, 0);
  host.Expect(Script(kHistoryPath).Inline(History({Candle(20240315, 40)})));
  EXPECT_EQ(Load(), List({kWednesday, kThursday, Candle(20240315, 40)}));
}

TEST_F(KLinePackages, readsAgainWhenANewerVersionIsAnnounced) {
  Keep(L"20240314", kDays);
  EXPECT_EQ(Load(), kSeries);
  packages.Announce(L"20240315");
  host.Expect(Script(PackagePath("sh600000", "day", "bfq", "20240315"))
                  .Inline(Answer::Body(Gzip(Package({kThursday, Candle(20240315, 40)})))));
  EXPECT_EQ(Load(), List({kThursday, Candle(20240315, 40)}));
}

TEST_F(KLinePackages, asksOnceForTheTailThatAPackageLacks) {
  Keep(L"20240314", {kTuesday});
  host.Expect(Script(kHistoryPath)
                  .With(Query("sh600000", "kline.day", "bfq", 3))
                  .Inline(History({kTuesday, kWednesday, kThursday})));
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(host.RequestsTo(kHistoryPath).size(), 1U);
  EXPECT_EQ(Stored(), (KLineMetaInfo{L"20240314", 1})) << "what the query brought is not stored";
  EXPECT_EQ(Bytes(File()), Gzip(Package({kTuesday})));
}

TEST_F(KLinePackages, asksOnceForATailThatDoesNotExist) {
  Keep(L"20240314", {kTuesday});
  host.Expect(Script(kHistoryPath).Inline(History({kTuesday})));
  EXPECT_EQ(Load(), List({kTuesday}));
  EXPECT_EQ(Load(), List({kTuesday}));
}

// A failed query for the tail left the series without it for the rest of the day.
TEST_F(KLinePackages, asksAgainForATailThatDidNotCome) {
  Keep(L"20240314", {kTuesday});
  for (const Answer& answer :
       {Answer::Failed(), Answer::Body("?"), Answer::Body(""), Answer::Body(R"({"errno":3})")}) {
    host.Expect(Script(kHistoryPath).Inline(answer));
    EXPECT_EQ(Load(), List({kTuesday}));
  }
  std::filesystem::remove_all(Directory());
  host.Expect(Script(kHistoryPath).Inline(History(kDays)));
  EXPECT_EQ(Load(), kSeries) << "the package itself is not read again";
  EXPECT_EQ(Load(), kSeries);
}

TEST_F(KLinePackages, countsTheTailFromTheLastTradingDay) {
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(2024, {20240313, 20240314});
  Keep(L"20240314", {kTuesday});
  EXPECT_EQ(Load(), List({kTuesday})) << "the two days after it were holidays";
  EXPECT_EQ(host.RequestsTo(kHistoryPath).size(), 0U);
}

TEST_F(KLinePackages, asksForAThousandRowsOfTailAtMost) {
  Keep(L"20240314", {Candle(20150105, 1)});
  host.Expect(Script(kHistoryPath).With(Query("sh600000", "kline.day", "bfq", 1000)).Inline(History(kDays)));
  EXPECT_EQ(Load().size(), 4U);
  service.reset(charts::MakeStockKLine());
  Write(File(), Gzip("[]\n"));
  host.Expect(Script(kHistoryPath).With(Query("sh600000", "kline.day", "bfq", 1000)).Inline(History(kDays)));
  EXPECT_EQ(Load().size(), 4U);
}

// An empty file in place of a package was rejected once, and trusted by the next load.
TEST_F(KLinePackages, doesNotTrustAnEmptyPackageWhereCandlesAreAnnounced) {
  packages.Count(L"sh600000", 1, 1, 3);
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip("\n"))));
  host.Expect(Script(kHistoryPath).Times(2).Inline(History(kDays)));
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Stored(), KLineMetaInfo());
  service.reset(charts::MakeStockKLine());
  reference::PackageVersionStore(L"sh600000").Set(257, {L"20240314", 3});
  EXPECT_EQ(Load(), kSeries) << "nor on disk";
}

TEST_F(KLinePackages, takesAnEmptyPackageAsItIs) {
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(""))));
  EXPECT_TRUE(Load().empty());
  EXPECT_EQ(Stored().version, L"20240314");
}

TEST_F(KLinePackages, keepsTheOddLinesOfAPackage) {
  Keep(L"20240314", kDays);
  Write(File(), Gzip("[]\n{}\nno json\n[1,2,3]\n\n" + Package(kDays)));
  const KLineCandle odd{20160101};
  EXPECT_EQ(Load(), List({odd, odd, odd, kTuesday, kWednesday, kThursday}));
}

TEST_F(KLinePackages, reachesTheLastTradingDayWhateverLineIsTheLast) {
  Keep(L"20240314", kDays);
  Write(File(), Gzip(Package(kDays) + "[1,2,3]\nno json\n"));
  EXPECT_EQ(Load(), List({kTuesday, kWednesday, kThursday, KLineCandle{20160101}}));
  EXPECT_EQ(host.RequestCount(), 1U) << "the day's candle alone";
}

// Some kilobytes on the wire, gigabytes as candles.
TEST_F(KLinePackages, refusesAPackageOfTooManyLines) {
  std::string text;
  for (int line = 0; line < 1'000'001; ++line) text += "{}\n";
  host.Expect(Script(kNewPackage).Inline(Answer::Body(Gzip(text))));
  host.Expect(Script(kHistoryPath).Inline(History(kDays)));
  EXPECT_EQ(Load(), kSeries);
  EXPECT_EQ(Stored(), KLineMetaInfo());
}

TEST_F(KLinePackages, mayHaveNoPlaceOnDisk) {
  host.GiveEveryTextADirectory();
  for (const wchar_t* symbol : {L"", L"bk0001", L"../../etc", L"sh60000", L"hello"}) {
    got.clear();
    host.Expect(Script(kDayPath).Inline(NoToday()));
    service->FetchKLine(symbol, 1, 1, KLineTest::Keep());
    ASSERT_EQ(got.size(), 1U) << "and no request but the day's";
    EXPECT_TRUE(got[0].candles.empty());
  }
  EXPECT_EQ(host.RequestCount(), 5U);
  EXPECT_FALSE(std::filesystem::exists(host.Directory() + "/kline"));
}

}  // namespace
