// Lines of packages, rows of history answers, today's candle; and the fast reader against Qt's.
#include "charts/kline_package.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "scripted_host.h"

namespace {

using charts::Candles;
using charts::kShortLineDate;
using charts::ReadDayCandle;
using charts::ReadHistory;
using charts::ReadPackage;
using charts::ReadPackageByQt;

const KLineCandle kWorked{20170227, 1, 2, 3, 4, 5, 6, 7, 8};
const KLineCandle kShort{kShortLineDate, 0, 0, 0, 0, 0, 0, 0, 0};

// Both readers on one text; the plain one's candles.
Candles Read(const std::string& text) {
  const Candles candles = ReadPackage(text);
  EXPECT_EQ(candles, ReadPackageByQt(text)) << text.substr(0, 300);
  return candles;
}

TEST(KLinePackage, readsTheNineNumbersInTheirOrder) {
  EXPECT_EQ(Read("[20170227,1,2,3,4,5,6,7,8]"), (Candles{kWorked}));
  const KLineCandle candle = kWorked;
  EXPECT_EQ(candle.preclose, 1);
  EXPECT_EQ(candle.open, 2);
  EXPECT_EQ(candle.high, 3);
  EXPECT_EQ(candle.close, 4) << "close stands before low";
  EXPECT_EQ(candle.low, 5);
  EXPECT_EQ(candle.volume, 6U);
  EXPECT_EQ(candle.amount, 7);
  EXPECT_EQ(candle.turnover, 8);
}

TEST(KLinePackage, keepsTheOrderOfTheLines) {
  EXPECT_EQ(Read("[20170227,1,2,3,4,5,6,7,8]\n[20160101,9,8,7,6,5,4,3,2]\n[20170227,1,2,3,4,5,6,7,8]\n"),
            (Candles{kWorked, {20160101, 9, 8, 7, 6, 5, 4, 3, 2}, kWorked}));
}

TEST(KLinePackage, skipsEmptyLines) {
  EXPECT_EQ(Read("").size(), 0U);
  EXPECT_EQ(Read("\n").size(), 0U);
  EXPECT_EQ(Read("\n\n[20170227,1,2,3,4,5,6,7,8]\n\n\n[20170227,1,2,3,4,5,6,7,8]").size(), 2U);
}

TEST(KLinePackage, skipsLinesThatAreNoJson) {
  for (const char* line :
       {"not json", "[20170227,1,2,3,4,5,6,7,8", "20170227,1,2,3,4,5,6,7,8]", "[20170227,1,2,3,4,5,6,7,]",
        "[,]", "20170227", "\"text\"", "null", "true", " ", "\r", "[20170227,1,2,3,4,5,6,7,8]x",

        "[1,2,3,4,5,6,7,8,NaN]", "[1 2 3 4 5 6 7 8 9]", "['a']", "{\"a\":}", "[[[[", "\xFF"}) {
    EXPECT_EQ(Read(line).size(), 0U) << line;
  }
}

TEST(KLinePackage, makesTheCandleOf2016OfAShortLine) {
  for (const char* line : {"[]", "{}", "[20170227,1,2]", "[20170227,1,2,3,4,5,6,7]", "[[1,2,3,4,5,6,7,8,9]]",
                           "{\"date\":20170227}", " [ ] ", "[\"1,2,3,4,5,6,7,8,9\"]"}) {
    EXPECT_EQ(Read(line), (Candles{kShort})) << line;
  }
}

TEST(KLinePackage, takesTheFirstNineOfALongerLine) {
  EXPECT_EQ(Read("[20170227,1,2,3,4,5,6,7,8,9,10,11]"), (Candles{kWorked}));
  EXPECT_EQ(Read("[20170227,1,2,3,4,5,6,7,8,\"more\",{},[]]"), (Candles{kWorked}));
}

TEST(KLinePackage, acceptsBlanksAndCarriageReturns) {
  EXPECT_EQ(Read("  [20170227, 1, 2, 3,\t4, 5, 6, 7, 8]  "), (Candles{kWorked}));
  EXPECT_EQ(Read("[20170227,1,2,3,4,5,6,7,8]\r\n[20170227,1,2,3,4,5,6,7,8]\r\n"),
            (Candles{kWorked, kWorked}));
}

TEST(KLinePackage, readsWhatIsNoNumberAsZero) {
  EXPECT_EQ(Read("[\"20170227\",null,true,{},[],\"1\",false,7,8]"), (Candles{{0, 0, 0, 0, 0, 0, 0, 7, 8}}));
}

TEST(KLinePackage, convertsHostileNumbersWithoutHarm) {
  EXPECT_EQ(Read("[-1,1e308,-1e308,0.1,-0.0,1e-300,-5,1.5,2]"),
            (Candles{{0xFFFFFFFF, 1e308, -1e308, 0.1, 0, 1e-300,
                      std::numeric_limits<std::uint64_t>::max() - 4, 1.5, 2}}));
  EXPECT_EQ(Read("[20170227.9,1,2,3,4,5,6.9,7,8]"), (Candles{kWorked}));
  EXPECT_EQ(Read("[24465137523,1,2,3,4,5,1e30,7,8]"),
            (Candles{{24465137523ULL & 0xFFFFFFFF, 1, 2, 3, 4, 5, 0, 7, 8}}));
  EXPECT_EQ(Read("[20170227,1,2,3,4,5,18446744073709549568,7,8]")[0].volume, 18446744073709549568ULL);
  Read("[20170227,1e400,-1e400,1e-400,4,5,6,7,8]");
  Read("[20170227,0.000000000000000000000000000000000000000000001,2,3,4,5,99999999999999999999999,7,8]");
  Read("[20170227,5e-324,2.2250738585072014e-308,1.7976931348623157e308,4,5,6,7,8]");
  Read("[20170227,01,-,1.,1e,1e+,4,5,6]");
}

TEST(KLinePackage, readsALineWithANulAsQtDoes) {
  Read(std::string("[20170227,1,2,3,4,5,6,7,8]\0", 27));
  Read(std::string("[20170227,1,2,3\0,4,5,6,7,8]", 27));
  Read(std::string("\0\n\0\0", 4));
}

// A text of line ends only is small on the wire: it must not make room for as many candles.
TEST(KLinePackage, makesNoRoomForEmptyLines) {
  const Candles candles = ReadPackage(std::string(std::size_t{1} << 20, '\n'));
  EXPECT_EQ(candles.size(), 0U);
  EXPECT_LE(candles.capacity(), std::size_t{1} << 16);
}

TEST(KLinePackage, countsLines) {
  EXPECT_EQ(charts::CountLines("a\nb\n\nc"), 4U);
}

// --- The fast reader against Qt's ---

// Short numbers are put together from their digits, longer ones are not.
TEST(KLinePackage, readsNumbersOfEveryLengthAsQtDoes) {
  std::mt19937 random(20240315);  // NOLINT(cert-msc51-cpp): the same numbers in every run
  const auto below = [&random](int limit) {
    return std::uniform_int_distribution<int>(0, limit - 1)(random);
  };
  for (int round = 0; round < 100; ++round) {
    std::string text;
    for (int digits = 1; digits <= 20; ++digits) {
      text += "[";
      for (int place = 0; place < 9; ++place) {
        std::string number(1, static_cast<char>('1' + below(9)));
        while (static_cast<int>(number.size()) < digits) number += static_cast<char>('0' + below(10));
        if (const int point = below(digits + 1); point < digits) {
          number.insert(static_cast<std::size_t>(point), point == 0 ? "0." : ".");
        }
        text += (place == 0 ? "" : ",") + std::string(below(4) == 0 ? "-" : "") + number;
      }
      text += "]\n";
    }
    ASSERT_EQ(ReadPackage(text), ReadPackageByQt(text)) << text;
    ASSERT_EQ(ReadPackage(text).size(), 20U);
  }
  for (const char* number :
       {"999999999999999", "0.999999999999999", "9999999999999.99", "0.000000000000001", "-0", "-0.0", "0.00",
        "1.00000000000000", "9007199254740993", "0.1", "0.3", "2.675"}) {
    Read("[1,2,3,4,5,6,7,8," + std::string(number) + "]");
  }
}

// --- History answers ---

Candles History(const std::string& body) {
  const auto document = request::json::Document::Parse(body.data(), body.size());
  return ReadHistory(document.Root());
}

TEST(KLineHistoryAnswer, readsItsRowsInTheirOrder) {
  EXPECT_EQ(History(R"({"data":{"foo":{"list":[[20170227,1,2,3,4,5,6,7,8],[20160104,8,7,6,5,4,3,2,1]]}}})"),
            (Candles{kWorked, {20160104, 8, 7, 6, 5, 4, 3, 2, 1}}));
}

TEST(KLineHistoryAnswer, readsOddRowsAsAPackageReadsLines) {
  EXPECT_EQ(History(R"({"data":{"foo":{"list":[[],{},[1,2],null,7,["20170227",1,2,3,4,5,6,7,8,9]]}}})"),
            (Candles{kShort, kShort, kShort, kShort, kShort, {0, 1, 2, 3, 4, 5, 6, 7, 8}}));
}

TEST(KLineHistoryAnswer, hasNoRowsWithoutAList) {
  for (const char* body :
       {"{}", "[]", R"({"data":[]})", R"({"data":{"foo":[]}})", R"({"data":{"foo":{"list":{}}}})",
        R"({"data":{"bar":{"list":[[1,2,3,4,5,6,7,8,9]]}}})", ""}) {
    EXPECT_TRUE(History(body).empty()) << body;
  }
}

// --- Today's candle ---

std::optional<KLineCandle> Day(const std::string& entry) {
  const auto document = request::json::Document::Parse(entry.data(), entry.size());
  EXPECT_EQ(document.Error(), 0) << entry;
  return ReadDayCandle(document.Root(), L"sh600000");
}

TEST(KLineDay, readsItsMembersByName) {
  EXPECT_EQ(Day(R"({"date":"2017-02-27","list":{"tr":8,"amt":7,"vol":6,"low":5,"last":4,"high":3,"open":2,
                    "preclose":1,"other":9}})"),
            kWorked);
  EXPECT_EQ(Day(R"({"date":20170227,"list":[{"preclose":1,"open":2,"high":3,"last":4,"low":5,"vol":6,"amt":7,
                    "tr":8},{"open":9}]})"),
            kWorked)
      << "a number is a date, and a list holds the candle first";
}

TEST(KLineDay, readsMissingFiguresAsZero) {
  EXPECT_EQ(Day(R"({"date":"20240315","list":{"vol":0,"last":"5","open":null}})"), (KLineCandle{20240315}));
}

// Such a candle was dated 0 or 2429201248, and one of zeros took the place of today's.
TEST(KLineDay, isMissingWithoutADateOrWithoutFigures) {
  for (const char* const date :
       {"", R"("date":null,)", R"("date":"",)", R"("date":"today",)", R"("date":"2024-03",)",
        R"("date":"2024-03-15 10:00:00",)", R"("date":"00 2024-03-15",)", R"("date":0,)",
        R"("date":20240315100000,)", R"("date":-20240315,)", R"("date":"20241315",)", R"("date":"20240300",)",
        R"("date":[20240315],)"}) {
    EXPECT_EQ(Day("{" + std::string(date) + R"("list":{"last":4}})"), std::nullopt) << date;
    EXPECT_EQ(Day("{" + std::string(date) + R"("list":[{"last":4}]})"), std::nullopt) << date;
  }
  for (const char* const list : {"[7]", "[null]", R"(["last",4])", "[[4]]"}) {
    EXPECT_EQ(Day(R"({"date":"20240315","list":)" + std::string(list) + "}"), std::nullopt) << list;
  }
}

TEST(KLineDay, isTheFirstElementThatHoldsFigures) {
  EXPECT_EQ(Day(R"({"date":"20240315","list":[null,7,{"last":4},{"last":5}]})"),
            (KLineCandle{20240315, 0, 0, 0, 4}));
}

TEST(KLineDay, readsTheVolumeAsAnUnsignedNumber) {
  EXPECT_EQ(Day(R"({"date":"20240315","list":{"vol":1.8e19}})").value_or(KLineCandle()).volume,
            18000000000000000000ULL);
}

TEST(KLineDay, hasItsDateBesideItsFiguresOrAmongThem) {
  EXPECT_EQ(Day(R"({"list":[{"date":"2024-03-15","last":4}]})").value_or(KLineCandle()).date, 20240315U);
  EXPECT_EQ(
      Day(R"({"date":"2024-03-14","list":[{"date":"2024-03-15","last":4}]})").value_or(KLineCandle()).date,
      20240314U)
      << "the one beside the list counts";
}

TEST(KLineDay, isFoundUnderItsSymbolOrWithoutOne) {
  const auto last = [](const std::string& data) {
    return Day(data).value_or(KLineCandle{0, 0, 0, 0, -1}).close;
  };
  const auto entry = [](const std::string& price) {
    return R"("date":"20240315","list":{"last":)" + price + "}";
  };
  EXPECT_EQ(
      last(R"({"sh600000":{)" + entry("4") + R"(},"sh600001":{)" + entry("5") + "}," + entry("6") + "}"), 4);
  EXPECT_EQ(last("{" + entry("6") + "}"), 6);
  EXPECT_EQ(last(R"({"sh600001":{)" + entry("5") + "}}"), -1) << "another symbol's";
  EXPECT_EQ(last(R"({"sh600000":null,)" + entry("6") + "}"), -1) << "the symbol is there, without a candle";
}

// A symbol that was asked for in capitals never got today's candle.
TEST(KLineDay, isFoundWhateverTheCaseOfTheSymbol) {
  const std::string data = R"({"Sh600000":{"date":"20240315","list":{"last":4}}})";
  const auto document = request::json::Document::Parse(data.data(), data.size());
  for (const wchar_t* const symbol : {L"sh600000", L"SH600000", L"Sh600000"}) {
    EXPECT_EQ(ReadDayCandle(document.Root(), symbol).value_or(KLineCandle()).close, 4) << symbol;
  }
}

TEST(KLineDay, isMissingWithoutAList) {
  for (const char* entry :
       {"{}", R"({"date":"20240315"})", R"({"list":[]})", R"({"list":null})", R"({"list":7})"}) {
    EXPECT_EQ(Day(entry), std::nullopt) << entry;
  }
}

}  // namespace
