// Holidays from one run to the next: what is stored, and what becomes of a file that is none of ours. Each
// test has a year to itself, because the process keeps what it was told.
#include "holidays.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zlib.h>

#include <chrono>
#include <string>
#include <vector>

#include "clock.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/singleton.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::ReadFile;
using host_test::TemporaryDirectory;
using host_test::WriteFile;
using stock_host::Holidays;
using namespace std::chrono_literals;

void Tell(int year, const std::vector<unsigned long>& days) {
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(year, days);
}

std::string FileOf(const std::string& lines) {
  return "csm-holidays 1 " +
         std::to_string(
             crc32(0, reinterpret_cast<const Bytef*>(lines.data()), static_cast<uInt>(lines.size()))) +
         "\n" + lines;
}

// A run in `directory` that is told nothing by any server.
class OneRun {
 public:
  explicit OneRun(const TemporaryDirectory& directory) {
    std::string error;
    EXPECT_TRUE(stock_host::Start(host_test::SettingsIn(directory), error)) << error;
  }
  ~OneRun() { stock_host::Stop(); }
  OneRun(const OneRun&) = delete;
  OneRun& operator=(const OneRun&) = delete;
};

TEST(Holidays, nextRunKnowsThem) {
  const TemporaryDirectory directory;
  {
    const OneRun run(directory);
    Tell(2041, {20410101, 20410102});
    Tell(2042, {});
    Tell(2043, {20430103});
    Tell(2043, {20430104});
  }
  Holidays next;
  EXPECT_FALSE(next.Know(2041y));
  next.Open(directory.Path("data"));
  EXPECT_TRUE(next.Know(2041y));
  EXPECT_TRUE(next.Contain(2041y / 1 / 1));
  EXPECT_TRUE(next.Contain(2041y / 1 / 2));
  EXPECT_FALSE(next.Contain(2041y / 1 / 3));
  EXPECT_TRUE(next.Know(2042y));
  EXPECT_FALSE(next.Know(2044y));
  EXPECT_FALSE(next.Contain(2043y / 1 / 3));
  EXPECT_TRUE(next.Contain(2043y / 1 / 4));
}

TEST(Holidays, startReadsThemBeforeAnybodyAsks) {
  const TemporaryDirectory directory;
  WriteFile(directory.Path("data/holidays"), FileOf("2045 20450102\n2046\n"));
  const OneRun run(directory);
  (void)stock_host::ServerClock().Learn(common::DateToTime(20450103, 12, 0, 0), 1, stock_host::Moment::Now());
  EXPECT_EQ(stock::GetLastTradingDate(20450103), 20441230U);  // 31 and 1 are Saturday and Sunday
  const auto nine = static_cast<std::uint32_t>(common::DateToTime(20450103, 9, 0, 0));
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(nine), 900);
}

TEST(Holidays, whatThisRunWasToldStandsAboveTheFile) {
  const TemporaryDirectory directory;
  Tell(2047, {20470103});
  WriteFile(directory.Path("data/holidays"), FileOf("2047 20470102\n"));
  { const OneRun run(directory); }
  Holidays next;
  next.Open(directory.Path("data"));
  EXPECT_TRUE(next.Contain(2047y / 1 / 3));
  EXPECT_FALSE(next.Contain(2047y / 1 / 2));
}

TEST(Holidays, fileIsWrittenOnlyWhenSomethingIsNew) {
  const TemporaryDirectory directory;
  const auto inode = [&] {
    struct stat info {};
    EXPECT_EQ(stat(directory.Path("data/holidays").c_str(), &info), 0);
    return info.st_ino;
  };
  {
    const OneRun run(directory);
    Tell(2048, {20480101});
  }
  const auto before = inode();
  {
    const OneRun run(directory);
    Tell(2048, {20480101});
  }
  EXPECT_EQ(inode(), before);
}

// Every cut and every changed byte.
TEST(Holidays, damagedFileIsLeftOutAndNamedInTheLog) {
  const std::string whole = FileOf("2049 20490101\n");
  std::vector<std::string> damaged{"", "2049 20490101\n", std::string(4096, '\0'),
                                   FileOf("2049 20490101\n") + "2"};
  for (std::size_t i = 0; i < whole.size(); ++i) {
    damaged.push_back(whole.substr(0, i));
    damaged.push_back(whole);
    damaged.back()[i] ^= 1;
  }
  const TemporaryDirectory directory;
  const OneRun run(directory);
  const std::string file = directory.Path("damaged/holidays");
  for (const std::string& text : damaged) {
    WriteFile(file, text);
    Holidays holidays;
    holidays.Open(directory.Path("damaged"));
    EXPECT_FALSE(holidays.Know(2049y)) << text;
    EXPECT_EQ(ReadFile(file), text);
  }
  EXPECT_NE(ReadFile(directory.Path("log/csm.log")).find("damaged/holidays\" is damaged"), std::string::npos);
  WriteFile(file, whole);
  Holidays holidays;
  holidays.Open(directory.Path("damaged"));
  EXPECT_TRUE(holidays.Know(2049y));
}

TEST(Holidays, fileThatCannotBeReadIsNamedInTheLog) {
  const TemporaryDirectory directory;
  const OneRun run(directory);
  WriteFile(directory.Path("odd/holidays/file"), "");
  Holidays holidays;
  holidays.Open(directory.Path("odd"));
  EXPECT_NE(ReadFile(directory.Path("log/csm.log")).find("odd/holidays\": Is a directory"),
            std::string::npos);
  WriteFile(directory.Path("large/holidays"), std::string((1U << 20) + 1, ' '));
  holidays.Open(directory.Path("large"));
  EXPECT_NE(ReadFile(directory.Path("log/csm.log")).find("large/holidays\": File too large"),
            std::string::npos);
  // No file is no trouble.
  const std::string before = ReadFile(directory.Path("log/csm.log"));
  holidays.Open(directory.Path("none"));
  EXPECT_EQ(ReadFile(directory.Path("log/csm.log")), before);
}

TEST(Holidays, fileThatCannotBeReplacedIsNamedInTheLog) {
  const TemporaryDirectory directory;
  WriteFile(directory.Path("data/holidays/file"), "");
  {
    const OneRun run(directory);
    Tell(2050, {20500101});
  }
  EXPECT_NE(ReadFile(directory.Path("log/csm.log")).find("the holidays are not kept"), std::string::npos);
}

TEST(Holidays, yearThatIsNoneIsLeftOut) {
  Tell(70000, {});
  Tell(-5, {});
  EXPECT_FALSE(stock_host::TheHolidays().Know(std::chrono::year(70000 - 65536)));
  EXPECT_FALSE(stock_host::TheHolidays().Know(std::chrono::year(-5)));
}

}  // namespace
